#include "script/ScriptParser.h"

#include "script/ScriptError.h"
#include "script/ScriptLexer.h"
#include "script/ScriptProgram.h"

#include <QSet>

using namespace Qt::StringLiterals;

namespace qrt::script {

namespace {

using Token = ScriptLexer::Token;
using Expression = ScriptProgram::Expression;
using ExpressionPtr = ScriptProgram::ExpressionPtr;
using Statement = ScriptProgram::Statement;
using StatementPtr = std::unique_ptr<Statement>;
using Block = ScriptProgram::Block;
using Procedure = ScriptProgram::Procedure;

// Words that cannot name a variable or procedure: the keywords of the subset
// and those of VBScript it leaves out, so that such a script fails to parse
// rather than reading them as names.
bool isReserved(const QString &key)
{
    static const QSet<QString> words = {
        u"and"_s,   u"byref"_s,    u"byval"_s,    u"call"_s,     u"case"_s,   u"class"_s,
        u"const"_s, u"dim"_s,      u"do"_s,       u"each"_s,     u"else"_s,   u"elseif"_s,
        u"empty"_s, u"end"_s,      u"erase"_s,    u"error"_s,    u"exit"_s,   u"explicit"_s,
        u"false"_s, u"for"_s,      u"function"_s, u"get"_s,      u"goto"_s,   u"if"_s,
        u"in"_s,    u"is"_s,       u"let"_s,      u"loop"_s,     u"mod"_s,    u"new"_s,
        u"next"_s,  u"not"_s,      u"nothing"_s,  u"null"_s,     u"on"_s,     u"option"_s,
        u"or"_s,    u"preserve"_s, u"private"_s,  u"property"_s, u"public"_s, u"redim"_s,
        u"rem"_s,   u"resume"_s,   u"select"_s,   u"set"_s,      u"step"_s,   u"sub"_s,
        u"then"_s,  u"to"_s,       u"true"_s,     u"until"_s,    u"wend"_s,   u"while"_s,
        u"with"_s,  u"xor"_s,
    };
    return words.contains(key);
}

ExpressionPtr makeExpression(Expression::Kind kind)
{
    auto e = std::make_unique<Expression>();
    e->kind = kind;
    return e;
}

class Parser
{
public:
    Parser(std::vector<Token> tokens, int firstLine, ScriptProgram &program)
        : m_tokens(std::move(tokens))
        , m_offset(firstLine - 1)
        , m_program(program)
    {}

    void run()
    {
        for (;;) {
            skipLineEnds();
            if (peek().kind == Token::Kind::End)
                return;
            if (atWord(u"Sub") || atWord(u"Function"))
                procedure();
            else if (StatementPtr s = statement())
                m_program.statements.push_back(std::move(s));
        }
    }

private:
    // Tokens.

    const Token &peek(std::size_t ahead = 0) const
    {
        return m_tokens[std::min(m_pos + ahead, m_tokens.size() - 1)];
    }
    const Token &take()
    {
        const Token &t = peek();
        if (m_pos < m_tokens.size() - 1)
            ++m_pos;
        return t;
    }
    int line() const { return peek().line + m_offset; }

    bool atWord(QStringView word, std::size_t ahead = 0) const
    {
        const Token &t = peek(ahead);
        return t.kind == Token::Kind::Name && t.text.compare(word, Qt::CaseInsensitive) == 0;
    }
    bool acceptWord(QStringView word)
    {
        if (!atWord(word))
            return false;
        take();
        return true;
    }
    void expectWord(QStringView word)
    {
        if (!acceptWord(word))
            expected(u"'%1'"_s.arg(word));
    }
    bool atSymbol(QStringView symbol) const
    {
        return peek().kind == Token::Kind::Symbol && peek().text == symbol;
    }
    bool acceptSymbol(QStringView symbol)
    {
        if (!atSymbol(symbol))
            return false;
        take();
        return true;
    }
    void expectSymbol(QStringView symbol)
    {
        if (!acceptSymbol(symbol))
            expected(u"'%1'"_s.arg(symbol));
    }
    bool atLineEnd() const { return peek().kind == Token::Kind::LineEnd; }
    void expectLineEnd()
    {
        if (!atLineEnd())
            expected(u"end of statement"_s);
        take();
    }
    void skipLineEnds()
    {
        while (atLineEnd())
            take();
    }
    // A name the script may give a variable or procedure.
    QString name()
    {
        const Token &t = peek();
        if (t.kind != Token::Kind::Name || isReserved(t.text.toLower()))
            expected(u"a name"_s);
        return take().text;
    }

    [[noreturn]] void fail(const QString &message) const { throw ScriptError(message, line()); }
    [[noreturn]] void expected(const QString &what) const
    {
        const Token &t = peek();
        QString found;
        switch (t.kind) {
        case Token::Kind::LineEnd:
            found = u"the end of the line"_s;
            break;
        case Token::Kind::End:
            found = u"the end of the script"_s;
            break;
        case Token::Kind::String:
            found = u"a string"_s;
            break;
        default:
            found = u"'%1'"_s.arg(t.text);
        }
        fail(u"expected %1, found %2"_s.arg(what, found));
    }

    // Keeps the nesting of blocks and expressions within bounds.
    struct Nest
    {
        explicit Nest(Parser &p)
            : parser(p)
        {
            if (++parser.m_depth > ScriptParser::MaxNesting)
                parser.fail(u"the script is nested too deeply"_s);
        }
        ~Nest() { --parser.m_depth; }
        Parser &parser;
    };

    // Procedures.

    void procedure()
    {
        const int startLine = line();
        if (m_procedure)
            fail(u"a procedure cannot stand inside another"_s);
        auto p = std::make_shared<Procedure>();
        p->isFunction = take().text.compare(u"Function"_s, Qt::CaseInsensitive) == 0;
        p->line = startLine;
        p->name = name();
        p->key = p->name.toLower();
        if (acceptSymbol(u"(") && !acceptSymbol(u")")) {
            do {
                const QString key = name().toLower();
                if (p->parameters.contains(key))
                    fail(u"the parameter '%1' is named twice"_s.arg(key));
                p->parameters << key;
            } while (acceptSymbol(u","));
            expectSymbol(u")");
        }
        expectLineEnd();
        m_procedure = p.get();
        p->body = block({u"End"});
        m_procedure = nullptr;
        expectWord(u"End");
        expectWord(p->isFunction ? u"Function" : u"Sub");
        expectLineEnd();
        std::shared_ptr<const Procedure> &slot = m_program.procedures[p->key];
        if (slot)
            throw ScriptError(u"the procedure '%1' is defined twice"_s.arg(p->name), startLine);
        slot = std::move(p);
    }

    // Statements up to a line that starts with one of the terminators,
    // which is left for the caller.
    Block block(std::initializer_list<QStringView> terminators)
    {
        Nest nest(*this);
        Block statements;
        for (;;) {
            skipLineEnds();
            if (peek().kind == Token::Kind::End)
                expected(u"'%1'"_s.arg(*terminators.begin()));
            for (QStringView word : terminators)
                if (atWord(word))
                    return statements;
            if (StatementPtr s = statement())
                statements.push_back(std::move(s));
        }
    }

    StatementPtr startStatement(Statement::Kind kind)
    {
        auto s = std::make_unique<Statement>();
        s->kind = kind;
        s->line = line();
        return s;
    }

    // One statement and its line end; null for a Dim, which only declares.
    StatementPtr statement()
    {
        if (atWord(u"Sub") || atWord(u"Function"))
            fail(u"a procedure cannot stand inside another"_s);
        if (acceptWord(u"Dim")) {
            dim();
            expectLineEnd();
            return nullptr;
        }
        StatementPtr s;
        if (atWord(u"If"))
            return ifStatement();
        if (atWord(u"For"))
            s = atWord(u"Each", 1) ? forEachStatement() : forStatement();
        else if (atWord(u"With"))
            s = withStatement();
        else
            s = simpleStatement();
        expectLineEnd();
        return s;
    }

    void dim()
    {
        QStringList &names = m_procedure ? m_procedure->locals : m_program.globals;
        do {
            const QString key = name().toLower();
            if (atSymbol(u"("))
                fail(u"arrays with bounds are not supported"_s);
            if (!names.contains(key))
                names << key;
        } while (acceptSymbol(u","));
    }

    // What may follow the Then of a one-line If: an assignment, a call or
    // an Exit.
    StatementPtr simpleStatement()
    {
        if (atWord(u"Exit"))
            return exitStatement();
        if (atWord(u"Set")) {
            StatementPtr s = startStatement(Statement::Kind::Set);
            take();
            s->target = assignable(postfix());
            expectSymbol(u"=");
            s->value = expression();
            return s;
        }
        if (peek().kind == Token::Kind::Name && isReserved(peek().text.toLower()))
            fail(u"'%1' is not supported here"_s.arg(peek().text));
        StatementPtr s = startStatement(Statement::Kind::Call);
        s->target = postfix();
        if (acceptSymbol(u"=")) {
            s->kind = Statement::Kind::Assign;
            s->target = assignable(std::move(s->target));
            s->value = expression();
            return s;
        }
        using K = Expression::Kind;
        const K kind = s->target->kind;
        if (atLineEnd() || atWord(u"Else")) {
            if (kind != K::Name && kind != K::NameCall && kind != K::Member &&
                kind != K::MemberCall)
                expected(u"a procedure or method to call"_s);
            return s;
        }
        if (kind != K::Name && kind != K::Member)
            expected(u"end of statement"_s);
        do
            s->args.push_back(expression());
        while (acceptSymbol(u","));
        return s;
    }

    ExpressionPtr assignable(ExpressionPtr target)
    {
        using K = Expression::Kind;
        if (target->kind != K::Name && target->kind != K::NameCall && target->kind != K::Member)
            fail(u"cannot assign to this expression"_s);
        return target;
    }

    StatementPtr exitStatement()
    {
        StatementPtr s = startStatement(Statement::Kind::ExitSub);
        take();
        if (atWord(u"Function"))
            s->kind = Statement::Kind::ExitFunction;
        else if (!atWord(u"Sub"))
            expected(u"'Sub' or 'Function'"_s);
        take();
        const bool function = s->kind == Statement::Kind::ExitFunction;
        if (!m_procedure || m_procedure->isFunction != function)
            fail(u"Exit %1 outside a %1"_s.arg(function ? u"Function"_s : u"Sub"_s));
        return s;
    }

    StatementPtr ifStatement()
    {
        StatementPtr s = startStatement(Statement::Kind::If);
        take();
        ScriptProgram::Branch first;
        first.condition = expression();
        expectWord(u"Then");
        if (!atLineEnd()) { // the one-line form
            first.body.push_back(simpleStatement());
            s->branches.push_back(std::move(first));
            if (acceptWord(u"Else")) {
                ScriptProgram::Branch otherwise;
                otherwise.body.push_back(simpleStatement());
                s->branches.push_back(std::move(otherwise));
            }
            expectLineEnd();
            return s;
        }
        expectLineEnd();
        first.body = block({u"ElseIf", u"Else", u"End"});
        s->branches.push_back(std::move(first));
        while (acceptWord(u"ElseIf")) {
            ScriptProgram::Branch branch;
            branch.condition = expression();
            expectWord(u"Then");
            expectLineEnd();
            branch.body = block({u"ElseIf", u"Else", u"End"});
            s->branches.push_back(std::move(branch));
        }
        if (acceptWord(u"Else")) {
            expectLineEnd();
            ScriptProgram::Branch otherwise;
            otherwise.body = block({u"End"});
            s->branches.push_back(std::move(otherwise));
        }
        expectWord(u"End");
        expectWord(u"If");
        expectLineEnd();
        return s;
    }

    StatementPtr forStatement()
    {
        StatementPtr s = startStatement(Statement::Kind::For);
        take();
        s->name = name();
        s->key = s->name.toLower();
        expectSymbol(u"=");
        s->value = expression();
        expectWord(u"To");
        s->end = expression();
        loopBody(*s);
        return s;
    }

    StatementPtr forEachStatement()
    {
        StatementPtr s = startStatement(Statement::Kind::ForEach);
        take();
        take();
        s->name = name();
        s->key = s->name.toLower();
        expectWord(u"In");
        s->value = expression();
        loopBody(*s);
        return s;
    }

    void loopBody(Statement &s)
    {
        expectLineEnd();
        s.body = block({u"Next"});
        take();
        if (peek().kind == Token::Kind::Name && !isReserved(peek().text.toLower()))
            take(); // Next I
    }

    StatementPtr withStatement()
    {
        StatementPtr s = startStatement(Statement::Kind::With);
        take();
        s->target = expression();
        expectLineEnd();
        s->body = block({u"End"});
        expectWord(u"End");
        expectWord(u"With");
        return s;
    }

    // Expressions, loosest first: comparison, concatenation, minus, member
    // chains and arguments.

    ExpressionPtr expression()
    {
        Nest nest(*this);
        ExpressionPtr left = concatenation();
        int chained = 0;
        for (;;) {
            Expression::Kind kind;
            if (acceptSymbol(u"="))
                kind = Expression::Kind::Equal;
            else if (acceptSymbol(u"<>"))
                kind = Expression::Kind::NotEqual;
            else if (acceptWord(u"Is"))
                kind = Expression::Kind::Is;
            else
                break;
            if (++chained + m_depth > ScriptParser::MaxNesting)
                fail(u"the script is nested too deeply"_s);
            ExpressionPtr e = makeExpression(kind);
            e->operands.push_back(std::move(left));
            e->operands.push_back(concatenation());
            left = std::move(e);
        }
        return left;
    }

    ExpressionPtr concatenation()
    {
        ExpressionPtr first = unary();
        if (!atSymbol(u"&"))
            return first;
        ExpressionPtr e = makeExpression(Expression::Kind::Concatenate);
        e->operands.push_back(std::move(first));
        while (acceptSymbol(u"&"))
            e->operands.push_back(unary());
        return e;
    }

    ExpressionPtr unary()
    {
        if (!acceptSymbol(u"-"))
            return postfix();
        Nest nest(*this);
        ExpressionPtr e = makeExpression(Expression::Kind::Negate);
        e->operands.push_back(unary());
        return e;
    }

    ExpressionPtr postfix()
    {
        ExpressionPtr e = primary();
        int chained = 0;
        for (;;) {
            const bool call = atSymbol(u"(");
            if (!call && !atSymbol(u"."))
                return e;
            if (++chained + m_depth > ScriptParser::MaxNesting)
                fail(u"the script is nested too deeply"_s);
            take();
            if (call) {
                ScriptProgram::Expressions args = arguments();
                if (e->kind == Expression::Kind::Name) {
                    e->kind = Expression::Kind::NameCall;
                } else if (e->kind == Expression::Kind::Member) {
                    e->kind = Expression::Kind::MemberCall;
                } else {
                    ExpressionPtr index = makeExpression(Expression::Kind::Index);
                    index->object = std::move(e);
                    e = std::move(index);
                }
                e->operands = std::move(args);
            } else {
                ExpressionPtr member = memberName();
                member->object = std::move(e);
                e = std::move(member);
            }
        }
    }

    // After ".": any word, keywords too, since objects have members such
    // as Function.
    ExpressionPtr memberName()
    {
        if (peek().kind != Token::Kind::Name)
            expected(u"a member name"_s);
        ExpressionPtr e = makeExpression(Expression::Kind::Member);
        e->name = take().text;
        e->key = e->name.toLower();
        return e;
    }

    ScriptProgram::Expressions arguments()
    {
        ScriptProgram::Expressions args;
        if (acceptSymbol(u")"))
            return args;
        do
            args.push_back(expression());
        while (acceptSymbol(u","));
        expectSymbol(u")");
        return args;
    }

    ExpressionPtr primary()
    {
        const Token &t = peek();
        if (t.kind == Token::Kind::Number || t.kind == Token::Kind::String) {
            ExpressionPtr e = makeExpression(Expression::Kind::Literal);
            e->value = t.kind == Token::Kind::Number ? ScriptValue(t.number) : ScriptValue(t.text);
            take();
            return e;
        }
        if (acceptSymbol(u"(")) {
            ExpressionPtr e = expression();
            expectSymbol(u")");
            return e;
        }
        if (acceptSymbol(u"."))
            return memberName(); // of the With object
        if (t.kind != Token::Kind::Name)
            expected(u"an expression"_s);
        const QString key = t.text.toLower();
        static const QHash<QString, ScriptValue> constants = {
            {u"true"_s, true},
            {u"false"_s, false},
            {u"nothing"_s, ScriptValue::nothing()},
            {u"empty"_s, ScriptValue()},
        };
        ExpressionPtr e = makeExpression(Expression::Kind::Literal);
        if (const auto it = constants.constFind(key); it != constants.cend()) {
            e->value = *it;
            take();
            return e;
        }
        e->kind = Expression::Kind::Name;
        e->name = name();
        e->key = key;
        return e;
    }

    std::vector<Token> m_tokens;
    std::size_t m_pos = 0;
    int m_offset;
    ScriptProgram &m_program;
    Procedure *m_procedure = nullptr;
    int m_depth = 0;
};

} // namespace

void ScriptParser::parse(QStringView text, int firstLine, ScriptProgram &program)
{
    if (text.size() > MaxLength)
        throw ScriptError(u"the script is longer than %1 characters"_s.arg(MaxLength), firstLine);
    std::vector<Token> tokens;
    try {
        tokens = ScriptLexer::tokens(text);
    } catch (ScriptError &error) {
        error.setLine(error.line() + firstLine - 1);
        throw;
    }
    Parser(std::move(tokens), firstLine, program).run();
}

} // namespace qrt::script
