#pragma once
// What the page script can reach of a host object: properties to read and
// write, methods to call, the default member (`obj(x)`, a look-up by key or
// number) and, for a collection, its items for `For Each`. Member names come
// as the script spells them; VBScript names are case-insensitive, so an
// object compares them with is().
//
// An object refuses what it does not offer by raising a ScriptError; any
// other std::exception it lets out (such as the pivot objects' PivotError)
// stops the script the same way, with the exception's text as the message.
// An object that cannot answer yet raises ScriptPending.

#include "script/ScriptValue.h"

namespace qrt::script {

class ScriptObject
{
public:
    virtual ~ScriptObject();

    // The object's kind, as messages name it ("FieldSet").
    virtual QString className() const = 0;

    virtual ScriptValue getProperty(const QString &name);
    virtual void setProperty(const QString &name, const ScriptValue &value);
    // A method, or a property read with arguments. By default the property
    // is read and the arguments go to its default member, which is how
    // `FieldSets("Provider")` and `Fields(0)` reach into a collection.
    virtual ScriptValue call(const QString &name, const ScriptValues &args);
    // The default member: `obj(key)`.
    virtual ScriptValue item(const ScriptValues &args);

    // For `For Each`: the number of items and each one in turn, read as the
    // loop goes so that a large collection is not copied first.
    virtual qsizetype itemCount();
    virtual ScriptValue itemAt(qsizetype index);

    // For `Is`: whether two handles stand for the same thing. Objects made
    // on demand override it to compare what they wrap.
    virtual bool sameAs(const ScriptObject &other) const { return this == &other; }

    static bool is(const QString &name, QStringView member)
    {
        return name.compare(member, Qt::CaseInsensitive) == 0;
    }

protected:
    // The errors a refusing object raises.
    [[noreturn]] void noMember(const QString &name) const;
    [[noreturn]] void readOnly(const QString &name) const;
    [[noreturn]] void wrongArguments(const QString &name) const;
};

} // namespace qrt::script
