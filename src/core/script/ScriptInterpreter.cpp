#include "script/ScriptInterpreter.h"

#include "base/ComponentError.h"
#include "script/ScriptBuiltins.h"
#include "script/ScriptError.h"
#include "script/ScriptObject.h"
#include "script/ScriptPage.h"
#include "script/ScriptParser.h"
#include "script/ScriptPending.h"
#include "script/ScriptProgram.h"

using namespace Qt::StringLiterals;

namespace qrt::script {

namespace {

using Expression = ScriptProgram::Expression;
using Statement = ScriptProgram::Statement;
using Procedure = ScriptProgram::Procedure;
using Block = ScriptProgram::Block;

// Bounds the C++ recursion of one run (expressions, blocks and calls
// together), whatever shape the script has.
constexpr int MaxNativeDepth = 2000;

// Work in proportion to what a value holds, for the step budget.
qint64 weight(const ScriptValue &value)
{
    if (value.type() == ScriptValue::Type::String)
        return value.textLength() / 64;
    if (value.isArray())
        return value.elementCount();
    return 0;
}

[[noreturn]] void tooDeep()
{
    throw ScriptError(u"script stopped: too deep"_s);
}

} // namespace

class ScriptInterpreter::Run
{
public:
    explicit Run(ScriptInterpreter &interpreter)
        : m_limits(interpreter.m_limits)
        , m_program(*interpreter.m_program)
        , m_hostGlobals(interpreter.m_hostGlobals)
        , m_pageGlobals(interpreter.m_pageGlobals)
    {}

    int pendingLine() const { return m_pendingLine; }

    void runPage()
    {
        m_pageGlobals.clear();
        for (const QString &key : m_program.globals)
            m_pageGlobals.insert(key, {});
        Frame page;
        FrameScope scope(*this, page);
        execute(m_program.statements);
    }

    ScriptValue call(const QString &name, const ScriptValues &args)
    {
        const auto it = m_program.procedures.constFind(name.toLower());
        if (it == m_program.procedures.cend())
            throw ScriptError(u"there is no procedure '%1' on the page"_s.arg(name));
        return call(**it, args);
    }

private:
    enum class Flow { Next, Exit };

    struct Frame
    {
        const Procedure *procedure = nullptr; // none at page level
        // A procedure has a handful of variables: a list searched in order
        // costs less than a hash made for every call.
        std::vector<std::pair<QString, ScriptValue>> locals;
        ScriptValue result;
        std::vector<std::shared_ptr<ScriptObject>> with;
    };

    struct FrameScope
    {
        FrameScope(Run &r, Frame &frame)
            : run(r)
            , saved(r.m_frame)
        {
            run.m_frame = &frame;
        }
        ~FrameScope() { run.m_frame = saved; }
        Run &run;
        Frame *saved;
    };

    struct Nest
    {
        explicit Nest(Run &r)
            : run(r)
        {
            if (run.m_nesting >= MaxNativeDepth)
                tooDeep();
            ++run.m_nesting;
        }
        ~Nest() { --run.m_nesting; }
        Run &run;
    };

    void step(qint64 work = 1)
    {
        m_steps += work;
        if (m_steps > m_limits.steps)
            throw ScriptError(u"script stopped: too many steps"_s);
    }

    ScriptBuiltins::Bounds bounds() const { return {m_limits.textLength, m_limits.arrayLength}; }

    // Procedures.

    ScriptValue call(const Procedure &procedure, const ScriptValues &args)
    {
        if (args.size() != static_cast<std::size_t>(procedure.parameters.size()))
            throw ScriptError(u"wrong number of arguments for '%1'"_s.arg(procedure.name));
        if (m_callDepth >= m_limits.callDepth)
            tooDeep();
        struct Depth
        {
            explicit Depth(int &d)
                : depth(++d)
            {}
            ~Depth() { --depth; }
            int &depth;
        } depth(m_callDepth);
        Frame frame;
        frame.procedure = &procedure;
        frame.locals.reserve(
            static_cast<std::size_t>(procedure.parameters.size() + procedure.locals.size()));
        for (qsizetype i = 0; i < procedure.parameters.size(); ++i)
            frame.locals.emplace_back(procedure.parameters[i], args[static_cast<std::size_t>(i)]);
        for (const QString &key : procedure.locals)
            if (!procedure.parameters.contains(key))
                frame.locals.emplace_back(key, ScriptValue());
        FrameScope scope(*this, frame);
        execute(procedure.body);
        return frame.result;
    }

    const Procedure *procedure(const QString &key) const
    {
        const auto it = m_program.procedures.constFind(key);
        return it == m_program.procedures.cend() ? nullptr : it->get();
    }

    // Variables.

    ScriptValue *variable(const QString &key)
    {
        for (auto &[name, value] : m_frame->locals)
            if (name == key)
                return &value;
        if (const auto it = m_pageGlobals.find(key); it != m_pageGlobals.end())
            return &*it;
        return nullptr;
    }

    const ScriptValue *readable(const QString &key)
    {
        if (const ScriptValue *v = variable(key))
            return v;
        const auto it = m_hostGlobals.constFind(key);
        return it == m_hostGlobals.cend() ? nullptr : &*it;
    }

    ScriptValue &writable(const QString &key, const QString &name)
    {
        if (ScriptValue *v = variable(key))
            return *v;
        if (m_frame->procedure && m_frame->procedure->isFunction && m_frame->procedure->key == key)
            return m_frame->result;
        if (m_hostGlobals.contains(key))
            throw ScriptError(u"cannot assign to '%1'"_s.arg(name));
        undefined(name);
    }

    [[noreturn]] static void undefined(const QString &name)
    {
        throw ScriptError(u"'%1' is not defined"_s.arg(name));
    }

    // Statements.

    Flow execute(const Block &block)
    {
        for (const auto &statement : block)
            if (execute(*statement) == Flow::Exit)
                return Flow::Exit;
        return Flow::Next;
    }

    Flow execute(const Statement &s)
    {
        Nest nest(*this);
        try {
            step();
            return perform(s);
        } catch (const ScriptPending &) {
            if (m_pendingLine == 0)
                m_pendingLine = s.line;
            throw;
        } catch (ScriptError &error) {
            if (error.line() == 0)
                error.setLine(s.line);
            throw;
        } catch (const ComponentError &error) {
            throw ScriptError(error.description, s.line);
        } catch (const std::bad_alloc &) {
            throw ScriptError(u"out of memory"_s, s.line);
        } catch (const std::exception &error) {
            throw ScriptError(QString::fromUtf8(error.what()), s.line);
        } catch (...) {
            throw ScriptError(u"an object failed"_s, s.line);
        }
    }

    Flow perform(const Statement &s)
    {
        switch (s.kind) {
        case Statement::Kind::Assign:
        case Statement::Kind::Set:
            assign(s);
            return Flow::Next;
        case Statement::Kind::Call:
            callStatement(s);
            return Flow::Next;
        case Statement::Kind::If:
            for (const ScriptProgram::Branch &branch : s.branches)
                if (!branch.condition || evaluate(*branch.condition).toBool())
                    return execute(branch.body);
            return Flow::Next;
        case Statement::Kind::For:
            return forLoop(s);
        case Statement::Kind::ForEach:
            return forEachLoop(s);
        case Statement::Kind::With:
            return with(s);
        case Statement::Kind::ExitSub:
        case Statement::Kind::ExitFunction:
            return Flow::Exit;
        }
        return Flow::Next;
    }

    void assign(const Statement &s)
    {
        const ScriptValue value = evaluate(*s.value);
        if (s.kind == Statement::Kind::Set && !value.isObjectReference())
            throw ScriptError(
                u"Object required: Set takes an object, not %1"_s.arg(value.typeName()));
        if (s.kind == Statement::Kind::Assign && value.isObjectReference())
            throw ScriptError(u"an object is assigned with Set"_s);
        const Expression &target = *s.target;
        switch (target.kind) {
        case Expression::Kind::Name:
            writable(target.key, target.name) = value;
            return;
        case Expression::Kind::NameCall: {
            const ScriptValues args = evaluate(target.operands);
            ScriptValue &array = writable(target.key, target.name);
            if (!array.isArray() || args.size() != 1)
                throw ScriptError(u"'%1' is not an array"_s.arg(target.name));
            array.setElement(args.front().toInteger(), value);
            return;
        }
        case Expression::Kind::Member:
            objectOf(target)->setProperty(target.name, value);
            return;
        default:
            throw ScriptError(u"cannot assign to this expression"_s);
        }
    }

    void callStatement(const Statement &s)
    {
        const Expression &target = *s.target;
        const bool parenthesised = target.kind == Expression::Kind::NameCall ||
                                   target.kind == Expression::Kind::MemberCall;
        const ScriptProgram::Expressions &argExpressions = parenthesised ? target.operands : s.args;
        if (target.kind == Expression::Kind::Member ||
            target.kind == Expression::Kind::MemberCall) {
            const std::shared_ptr<ScriptObject> object = objectOf(target);
            object->call(target.name, evaluate(argExpressions));
            return;
        }
        const ScriptValues args = evaluate(argExpressions);
        if (const Procedure *p = procedure(target.key)) {
            call(*p, args);
            return;
        }
        if (ScriptBuiltins::has(target.key)) {
            callBuiltin(target.key, args);
            return;
        }
        if (readable(target.key))
            throw ScriptError(u"'%1' is not a procedure"_s.arg(target.name));
        undefined(target.name);
    }

    Flow forLoop(const Statement &s)
    {
        const double start = evaluate(*s.value).toNumber();
        const double end = evaluate(*s.end).toNumber();
        ScriptValue &counter = writable(s.key, s.name);
        counter = start;
        while (counter.toNumber() <= end) {
            step();
            if (execute(s.body) == Flow::Exit)
                return Flow::Exit;
            counter = counter.toNumber() + 1;
        }
        return Flow::Next;
    }

    Flow forEachLoop(const Statement &s)
    {
        const ScriptValue collection = evaluate(*s.value);
        ScriptValue &element = writable(s.key, s.name);
        if (collection.isArray()) {
            for (const ScriptValue &item : collection.elements()) {
                step();
                element = item;
                if (execute(s.body) == Flow::Exit)
                    return Flow::Exit;
            }
            return Flow::Next;
        }
        if (!collection.isObject())
            throw ScriptError(
                u"For Each needs a collection or an array, not %1"_s.arg(collection.typeName()));
        ScriptObject &object = collection.toObject();
        const qsizetype count = object.itemCount();
        for (qsizetype i = 0; i < count; ++i) {
            step();
            element = object.itemAt(i);
            if (execute(s.body) == Flow::Exit)
                return Flow::Exit;
        }
        return Flow::Next;
    }

    Flow with(const Statement &s)
    {
        m_frame->with.push_back(evaluate(*s.target).objectPointer());
        struct Pop
        {
            ~Pop() { frame->with.pop_back(); }
            Frame *frame;
        } pop{m_frame};
        return execute(s.body);
    }

    // Expressions.

    ScriptValues evaluate(const ScriptProgram::Expressions &expressions)
    {
        ScriptValues values;
        values.reserve(expressions.size());
        for (const auto &e : expressions)
            values.push_back(evaluate(*e));
        return values;
    }

    // The object of a member access: the expression before the dot, or the
    // innermost With object.
    std::shared_ptr<ScriptObject> objectOf(const Expression &member)
    {
        if (member.object)
            return evaluate(*member.object).objectPointer();
        if (m_frame->with.empty())
            throw ScriptError(u"'.%1' stands outside a With block"_s.arg(member.name));
        return m_frame->with.back();
    }

    ScriptValue evaluate(const Expression &e)
    {
        Nest nest(*this);
        step();
        switch (e.kind) {
        case Expression::Kind::Literal:
            return e.value;
        case Expression::Kind::Name:
            if (const ScriptValue *v = readable(e.key))
                return *v;
            return callByName(e, {});
        case Expression::Kind::NameCall: {
            const ScriptValues args = evaluate(e.operands);
            if (const ScriptValue *v = readable(e.key))
                return index(*v, args, e.name);
            return callByName(e, args);
        }
        case Expression::Kind::Member:
        case Expression::Kind::MemberCall:
            return member(e);
        case Expression::Kind::Index: {
            const ScriptValue object = evaluate(*e.object);
            return index(object, evaluate(e.operands), u"the value"_s);
        }
        case Expression::Kind::Concatenate:
            return concatenate(e.operands);
        case Expression::Kind::Equal:
            return ScriptValue::equals(evaluate(*e.operands[0]), evaluate(*e.operands[1]));
        case Expression::Kind::NotEqual:
            return !ScriptValue::equals(evaluate(*e.operands[0]), evaluate(*e.operands[1]));
        case Expression::Kind::Is:
            return ScriptValue::same(evaluate(*e.operands[0]), evaluate(*e.operands[1]));
        case Expression::Kind::Negate:
            return -evaluate(*e.operands[0]).toNumber();
        }
        return {};
    }

    ScriptValue member(const Expression &e)
    {
        // The object first, then the arguments, as VBScript evaluates them.
        const std::shared_ptr<ScriptObject> object = objectOf(e);
        ScriptValue result = e.kind == Expression::Kind::Member
                                 ? object->getProperty(e.name)
                                 : object->call(e.name, evaluate(e.operands));
        step(weight(result));
        return result;
    }

    ScriptValue callByName(const Expression &e, const ScriptValues &args)
    {
        if (const Procedure *p = procedure(e.key))
            return call(*p, args);
        if (ScriptBuiltins::has(e.key))
            return callBuiltin(e.key, args);
        undefined(e.name);
    }

    ScriptValue callBuiltin(const QString &key, const ScriptValues &args)
    {
        for (const ScriptValue &arg : args)
            step(weight(arg));
        ScriptValue result = ScriptBuiltins::call(key, args, bounds());
        step(weight(result));
        return result;
    }

    ScriptValue index(const ScriptValue &value, const ScriptValues &args, const QString &name)
    {
        if (value.isArray()) {
            if (args.size() != 1)
                throw ScriptError(u"wrong number of subscripts for '%1'"_s.arg(name));
            return value.element(args.front().toInteger());
        }
        if (value.isObject()) {
            ScriptValue result = value.toObject().item(args);
            step(weight(result));
            return result;
        }
        throw ScriptError(u"Type mismatch: '%1' is neither an array nor an object"_s.arg(name));
    }

    ScriptValue concatenate(const ScriptProgram::Expressions &operands)
    {
        QStringList parts;
        qsizetype length = 0;
        for (const auto &operand : operands) {
            parts << evaluate(*operand).toText();
            length += parts.back().size();
            if (length > m_limits.textLength)
                throw ScriptError(
                    u"the text would be longer than %1 characters"_s.arg(m_limits.textLength));
        }
        step(length / 64);
        return parts.join(QString());
    }

    const Limits &m_limits;
    const ScriptProgram &m_program;
    const QHash<QString, ScriptValue> &m_hostGlobals;
    QHash<QString, ScriptValue> &m_pageGlobals;
    Frame *m_frame = nullptr;
    qint64 m_steps = 0;
    int m_callDepth = 0;
    int m_nesting = 0;
    int m_pendingLine = 0;
};

ScriptInterpreter::ScriptInterpreter(const Limits &limits)
    : m_limits(limits)
    , m_loadFailure(ScriptOutcome::failed(0, u"no script is loaded"_s))
{}

ScriptInterpreter::~ScriptInterpreter() = default;

ScriptOutcome ScriptInterpreter::load(const ScriptPage &page)
{
    if (m_running)
        return ScriptOutcome::failed(0, u"the script is already running"_s);
    m_program.reset();
    auto program = std::make_unique<ScriptProgram>();
    try {
        for (const ScriptPage::Script &script : page.scripts())
            ScriptParser::parse(script.text, script.firstLine, *program);
    } catch (const ScriptError &error) {
        m_loadFailure = ScriptOutcome::failed(error.line(), error.message());
        return m_loadFailure;
    }
    m_program = std::move(program);
    return ScriptOutcome::completed();
}

ScriptOutcome ScriptInterpreter::load(QStringView script, int firstLine)
{
    ScriptPage page;
    page.addScript(script.toString(), firstLine);
    return load(page);
}

bool ScriptInterpreter::hasProcedure(const QString &name) const
{
    return m_program && m_program->procedures.contains(name.toLower());
}

void ScriptInterpreter::setGlobal(const QString &name, ScriptValue value)
{
    m_hostGlobals.insert(name.toLower(), std::move(value));
}

ScriptOutcome ScriptInterpreter::run(const QString &procedure, const ScriptValues &args)
{
    if (!m_program)
        return m_loadFailure;
    if (m_running) // an object ran the script again from inside a call
        return ScriptOutcome::failed(0, u"the script is already running"_s);
    m_running = true;
    struct Running
    {
        ~Running() { flag = false; }
        bool &flag;
    } running{m_running};
    Run run(*this);
    try {
        run.runPage();
        return ScriptOutcome::completed(procedure.isEmpty() ? ScriptValue()
                                                            : run.call(procedure, args));
    } catch (const ScriptPending &) {
        return ScriptOutcome::pending(run.pendingLine());
    } catch (const ScriptError &error) {
        return ScriptOutcome::failed(error.line(), error.message());
    } catch (const std::exception &error) { // outside any statement
        return ScriptOutcome::failed(0, QString::fromUtf8(error.what()));
    }
}

ScriptValue ScriptInterpreter::global(const QString &name) const
{
    return m_pageGlobals.value(name.toLower());
}

} // namespace qrt::script
