#include "script/ScriptObject.h"

#include "script/ScriptError.h"

using namespace Qt::StringLiterals;

namespace qrt::script {

ScriptObject::~ScriptObject() = default;

ScriptValue ScriptObject::getProperty(const QString &name)
{
    noMember(name);
}

void ScriptObject::setProperty(const QString &name, const ScriptValue &)
{
    noMember(name);
}

ScriptValue ScriptObject::call(const QString &name, const ScriptValues &args)
{
    const ScriptValue value = getProperty(name);
    if (args.empty())
        return value;
    if (value.isArray()) {
        if (args.size() != 1)
            wrongArguments(name);
        return value.element(args.front().toInteger());
    }
    if (!value.isObject())
        wrongArguments(name);
    return value.toObject().item(args);
}

ScriptValue ScriptObject::item(const ScriptValues &)
{
    throw ScriptError(u"%1 has no default member"_s.arg(className()));
}

qsizetype ScriptObject::itemCount()
{
    throw ScriptError(u"%1 is not a collection"_s.arg(className()));
}

ScriptValue ScriptObject::itemAt(qsizetype)
{
    throw ScriptError(u"%1 is not a collection"_s.arg(className()));
}

void ScriptObject::noMember(const QString &name) const
{
    throw ScriptError(u"%1 has no property or method '%2'"_s.arg(className(), name));
}

void ScriptObject::readOnly(const QString &name) const
{
    throw ScriptError(u"the property '%2' of %1 cannot be set"_s.arg(className(), name));
}

void ScriptObject::wrongArguments(const QString &name) const
{
    throw ScriptError(u"wrong number of arguments for '%2' of %1"_s.arg(className(), name));
}

} // namespace qrt::script
