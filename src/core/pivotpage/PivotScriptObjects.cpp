#include "pivotpage/PivotScriptObjects.h"

#include "pivot/PivotView.h"
#include "script/ScriptError.h"
#include "script/ScriptObject.h"

using namespace Qt::StringLiterals;

namespace qrt::pivot {

using script::ScriptError;
using script::ScriptObject;
using script::ScriptValue;
using script::ScriptValues;

namespace {

void expectArguments(const ScriptValues &args, std::size_t least, std::size_t most,
                     const QString &name)
{
    if (args.size() < least || args.size() > most)
        throw ScriptError(u"wrong number of arguments for '%1'"_s.arg(name));
}

// The position argument of the Insert methods: last when left out.
qsizetype position(const ScriptValues &args)
{
    return args.size() > 1 ? args[1].toInteger() : -1;
}

// A handle on an engine object the view owns.
template<typename T>
class Handle : public ScriptObject
{
public:
    explicit Handle(T &target)
        : m_target(&target)
    {}
    T &target() const { return *m_target; }
    bool sameAs(const ScriptObject &other) const override
    {
        const auto *o = dynamic_cast<const Handle<T> *>(&other);
        return o && o->m_target == m_target;
    }

private:
    T *m_target;
};

// The engine object behind a script argument, or a clear refusal.
template<typename H>
auto &engineObject(const ScriptValue &value, const QString &what)
{
    auto *handle = value.isObject() ? dynamic_cast<H *>(&value.toObject()) : nullptr;
    if (!handle)
        throw ScriptError(u"%1 expected, not %2"_s.arg(what, value.typeName()));
    return handle->target();
}

ScriptValue wrap(PivotFieldSet &fieldSet);
ScriptValue wrap(PivotField &field);
ScriptValue wrap(PivotTotal &total);
ScriptValue wrap(const PivotMember &member);
ScriptValue wrap(const PivotMembers &members);

// A collection of the view: by name (a text) or index (a number), Count,
// and For Each.
template<typename T>
class ListObject : public ScriptObject
{
public:
    using ByName = std::function<T &(const QString &)>;

    ListObject(QString className, const PivotList<T> &list, ByName byName)
        : m_className(std::move(className))
        , m_list(list)
        , m_byName(std::move(byName))
    {}

    QString className() const override { return m_className; }
    ScriptValue getProperty(const QString &name) override
    {
        if (is(name, u"Count"))
            return m_list.Count();
        noMember(name);
    }
    ScriptValue call(const QString &name, const ScriptValues &args) override
    {
        if (is(name, u"Item"))
            return item(args);
        return ScriptObject::call(name, args);
    }
    ScriptValue item(const ScriptValues &args) override
    {
        expectArguments(args, 1, 1, u"Item"_s);
        const ScriptValue &key = args.front();
        if (key.type() == ScriptValue::Type::String)
            return wrap(m_byName(key.toText()));
        return wrap(m_list.Item(key.toInteger()));
    }
    qsizetype itemCount() override { return m_list.Count(); }
    ScriptValue itemAt(qsizetype index) override { return wrap(m_list.Item(index)); }

private:
    QString m_className;
    const PivotList<T> &m_list;
    ByName m_byName;
};

template<typename T>
ScriptValue list(QString className, const PivotList<T> &items,
                 typename ListObject<T>::ByName byName)
{
    return std::make_shared<ListObject<T>>(std::move(className), items, std::move(byName));
}

// Looks an item up by its Name, for the collections the engine has no
// look-up of its own for.
template<typename T>
typename ListObject<T>::ByName byName(const PivotList<T> &items, QString what)
{
    return [&items, what](const QString &name) -> T & {
        for (T *item : items)
            if (item->Name() == name)
                return *item;
        throw PivotError(PivotError::Code::InvalidValue,
                         u"There is no %1 named \"%2\"."_s.arg(what, name));
    };
}

ScriptValue list(const PivotList<PivotTotal> &totals)
{
    return list(u"PivotTotals"_s, totals, byName(totals, u"total"_s));
}

class MembersObject : public ScriptObject
{
public:
    explicit MembersObject(PivotMembers members)
        : m_members(std::move(members))
    {}
    QString className() const override { return u"PivotMembers"_s; }
    ScriptValue getProperty(const QString &name) override
    {
        if (is(name, u"Count"))
            return m_members.Count();
        noMember(name);
    }
    ScriptValue call(const QString &name, const ScriptValues &args) override
    {
        if (is(name, u"Item"))
            return item(args);
        return ScriptObject::call(name, args);
    }
    ScriptValue item(const ScriptValues &args) override
    {
        expectArguments(args, 1, 1, u"Item"_s);
        const ScriptValue &key = args.front();
        if (key.type() == ScriptValue::Type::String)
            return wrap(m_members.Item(QStringView(key.toText())));
        return wrap(m_members.Item(key.toInteger()));
    }
    qsizetype itemCount() override { return m_members.Count(); }
    ScriptValue itemAt(qsizetype index) override { return wrap(m_members.Item(index)); }

private:
    PivotMembers m_members;
};

class MemberObject : public ScriptObject
{
public:
    explicit MemberObject(const PivotMember &member)
        : m_member(member)
    {}
    const PivotMember &target() const { return m_member; }
    QString className() const override { return u"PivotMember"_s; }
    ScriptValue getProperty(const QString &name) override
    {
        if (is(name, u"Caption") || is(name, u"Name"))
            return m_member.Caption();
        if (is(name, u"ParentMember")) {
            const PivotMember parent = m_member.ParentMember();
            return parent.isNull() ? ScriptValue::nothing() : wrap(parent);
        }
        if (is(name, u"ChildMembers"))
            return wrap(m_member.ChildMembers());
        if (is(name, u"Field"))
            return m_member.Field() ? wrap(*m_member.Field()) : ScriptValue::nothing();
        noMember(name);
    }
    bool sameAs(const ScriptObject &other) const override
    {
        const auto *o = dynamic_cast<const MemberObject *>(&other);
        return o && o->m_member == m_member;
    }

private:
    PivotMember m_member;
};

std::vector<PivotMember> membersOf(const ScriptValue &value, const QString &property)
{
    std::vector<PivotMember> members;
    if (!value.isArray()) {
        members.push_back(
            engineObject<MemberObject>(value, property + u" takes members: a member"_s));
        return members;
    }
    for (const ScriptValue &element : value.elements())
        members.push_back(
            engineObject<MemberObject>(element, property + u" takes members: a member"_s));
    return members;
}

ScriptValue array(const std::vector<PivotMember> &members)
{
    ScriptValues values;
    for (const PivotMember &member : members)
        values.push_back(wrap(member));
    return ScriptValue::array(std::move(values));
}

class FieldObject : public Handle<PivotField>
{
public:
    using Handle::Handle;
    QString className() const override { return u"PivotField"_s; }
    ScriptValue getProperty(const QString &name) override
    {
        PivotField &field = target();
        if (is(name, u"Name"))
            return field.Name();
        if (is(name, u"BaseName"))
            return field.BaseName();
        if (is(name, u"IsIncluded"))
            return field.IsIncluded();
        if (is(name, u"IncludedMembers"))
            return array(field.IncludedMembers());
        if (is(name, u"ExcludedMembers"))
            return array(field.ExcludedMembers());
        if (is(name, u"FieldSet"))
            return wrap(*field.FieldSet());
        noMember(name);
    }
    void setProperty(const QString &name, const ScriptValue &value) override
    {
        PivotField &field = target();
        if (is(name, u"IsIncluded"))
            field.setIsIncluded(value.toBool());
        else if (is(name, u"IncludedMembers"))
            field.setIncludedMembers(membersOf(value, u"IncludedMembers"_s));
        else if (is(name, u"ExcludedMembers"))
            field.setExcludedMembers(membersOf(value, u"ExcludedMembers"_s));
        else if (is(name, u"Name") || is(name, u"BaseName") || is(name, u"FieldSet"))
            readOnly(name);
        else
            noMember(name);
    }
};

class FieldSetObject : public Handle<PivotFieldSet>
{
public:
    using Handle::Handle;
    QString className() const override { return u"PivotFieldSet"_s; }
    ScriptValue getProperty(const QString &name) override
    {
        PivotFieldSet &fieldSet = target();
        if (is(name, u"Name"))
            return fieldSet.Name();
        if (is(name, u"Fields"))
            return list(
                u"PivotFields"_s, fieldSet.Fields(),
                [&fieldSet](const QString &n) -> PivotField & { return fieldSet.Fields(n); });
        if (is(name, u"Members"))
            return wrap(fieldSet.Members());
        if (is(name, u"AllIncludeExclude"))
            return fieldSet.AllIncludeExclude();
        noMember(name);
    }
    void setProperty(const QString &name, const ScriptValue &value) override
    {
        if (is(name, u"AllIncludeExclude"))
            target().setAllIncludeExclude(static_cast<int>(value.toInteger()));
        else if (is(name, u"Name") || is(name, u"Fields") || is(name, u"Members"))
            readOnly(name);
        else
            noMember(name);
    }
};

class TotalObject : public Handle<PivotTotal>
{
public:
    using Handle::Handle;
    QString className() const override { return u"PivotTotal"_s; }
    ScriptValue getProperty(const QString &name) override
    {
        PivotTotal &total = target();
        if (is(name, u"Caption"))
            return total.Caption();
        if (is(name, u"Name"))
            return total.Name();
        if (is(name, u"Field"))
            return wrap(*total.Field());
        if (is(name, u"Function"))
            return total.Function();
        noMember(name);
    }
    void setProperty(const QString &name, const ScriptValue &value) override
    {
        if (is(name, u"Caption"))
            target().setCaption(value.toText());
        else if (is(name, u"Function"))
            target().setFunction(static_cast<int>(value.toInteger()));
        else if (is(name, u"Name") || is(name, u"Field"))
            readOnly(name);
        else
            noMember(name);
    }
};

class AxisObject : public Handle<PivotAxis>
{
public:
    using Handle::Handle;
    QString className() const override { return dataAxis() ? u"PivotDataAxis"_s : u"PivotAxis"_s; }
    ScriptValue getProperty(const QString &name) override
    {
        if (is(name, u"FieldSets")) {
            const PivotList<PivotFieldSet> &sets = target().FieldSets();
            return list(u"PivotFieldSets"_s, sets, byName(sets, u"field set on this axis"_s));
        }
        if (dataAxis() && is(name, u"Totals"))
            return list(dataAxis()->Totals());
        noMember(name);
    }
    ScriptValue call(const QString &name, const ScriptValues &args) override
    {
        if (is(name, u"InsertFieldSet")) {
            expectArguments(args, 1, 2, name);
            target().InsertFieldSet(engineObject<FieldSetObject>(args[0], u"a field set"_s),
                                    position(args));
            return {};
        }
        if (dataAxis() && is(name, u"InsertTotal")) {
            expectArguments(args, 1, 2, name);
            dataAxis()->InsertTotal(engineObject<TotalObject>(args[0], u"a total"_s),
                                    position(args));
            return {};
        }
        return ScriptObject::call(name, args);
    }

private:
    PivotDataAxis *dataAxis() const { return dynamic_cast<PivotDataAxis *>(&target()); }
};

class ViewObject : public Handle<PivotView>
{
public:
    using Handle::Handle;
    QString className() const override { return u"PivotView"_s; }
    ScriptValue getProperty(const QString &name) override
    {
        PivotView &view = target();
        if (is(name, u"FilterAxis"))
            return axis(view.FilterAxis());
        if (is(name, u"RowAxis"))
            return axis(view.RowAxis());
        if (is(name, u"ColumnAxis"))
            return axis(view.ColumnAxis());
        if (is(name, u"DataAxis"))
            return axis(view.DataAxis());
        if (is(name, u"FieldSets"))
            return list(u"PivotFieldSets"_s, view.FieldSets(),
                        [&view](const QString &n) -> PivotFieldSet & { return view.FieldSets(n); });
        if (is(name, u"Totals"))
            return list(view.Totals());
        if (is(name, u"ExpandDetails"))
            return view.ExpandDetails();
        if (is(name, u"ExpandMembers"))
            return view.ExpandMembers();
        noMember(name);
    }
    void setProperty(const QString &name, const ScriptValue &value) override
    {
        if (is(name, u"ExpandDetails"))
            target().setExpandDetails(static_cast<int>(value.toInteger()));
        else if (is(name, u"ExpandMembers"))
            target().setExpandMembers(static_cast<int>(value.toInteger()));
        else
            noMember(name);
    }
    ScriptValue call(const QString &name, const ScriptValues &args) override
    {
        if (is(name, u"AddTotal")) {
            expectArguments(args, 3, 3, name);
            return wrap(target().AddTotal(args[0].toText(),
                                          engineObject<FieldObject>(args[1], u"a field"_s),
                                          static_cast<int>(args[2].toInteger())));
        }
        return ScriptObject::call(name, args);
    }

private:
    static ScriptValue axis(PivotAxis &axis) { return std::make_shared<AxisObject>(axis); }
};

class ActiveDataObject : public ScriptObject
{
public:
    explicit ActiveDataObject(std::function<void()> hideDetails)
        : m_hideDetails(std::move(hideDetails))
    {}
    QString className() const override { return u"PivotData"_s; }
    ScriptValue getProperty(const QString &name) override { return call(name, {}); }
    ScriptValue call(const QString &name, const ScriptValues &args) override
    {
        if (!is(name, u"HideDetails"))
            noMember(name);
        expectArguments(args, 0, 0, name);
        if (m_hideDetails)
            m_hideDetails();
        return {};
    }

private:
    std::function<void()> m_hideDetails;
};

ScriptValue wrap(PivotFieldSet &fieldSet)
{
    return std::make_shared<FieldSetObject>(fieldSet);
}

ScriptValue wrap(PivotField &field)
{
    return std::make_shared<FieldObject>(field);
}

ScriptValue wrap(PivotTotal &total)
{
    return std::make_shared<TotalObject>(total);
}

ScriptValue wrap(const PivotMember &member)
{
    return std::make_shared<MemberObject>(member);
}

ScriptValue wrap(const PivotMembers &members)
{
    return std::make_shared<MembersObject>(members);
}

} // namespace

std::shared_ptr<ScriptObject> makeViewObject(PivotView &view)
{
    return std::make_shared<ViewObject>(view);
}

std::shared_ptr<ScriptObject> makeActiveDataObject(std::function<void()> hideDetails)
{
    return std::make_shared<ActiveDataObject>(std::move(hideDetails));
}

} // namespace qrt::pivot
