#include "script/ScriptBuiltins.h"

#include "script/ScriptError.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace qrt::script {

namespace {

void checkCount(const ScriptValues &args, std::size_t least, std::size_t most, QStringView name)
{
    if (args.size() < least || args.size() > most)
        throw ScriptError(u"wrong number of arguments for '%1'"_s.arg(name));
}

void checkText(qsizetype length, const ScriptBuiltins::Bounds &bounds)
{
    if (length > bounds.textLength)
        throw ScriptError(u"the text would be longer than %1 characters"_s.arg(bounds.textLength));
}

ScriptValue split(const ScriptValues &args, const ScriptBuiltins::Bounds &bounds)
{
    checkCount(args, 1, 2, u"Split");
    const QString text = args[0].toText();
    const QString delimiter = args.size() > 1 ? args[1].toText() : u" "_s;
    ScriptValues parts;
    if (text.isEmpty())
        return ScriptValue::array(std::move(parts));
    if (delimiter.isEmpty())
        return ScriptValue::array({text});
    if (text.count(delimiter) >= bounds.arrayLength)
        throw ScriptError(u"the array would hold more than %1 elements"_s.arg(bounds.arrayLength));
    for (const QStringView part : QStringView(text).split(delimiter))
        parts.emplace_back(part.toString());
    return ScriptValue::array(std::move(parts));
}

ScriptValue ubound(const ScriptValues &args)
{
    checkCount(args, 1, 2, u"UBound");
    if (!args[0].isArray())
        throw ScriptError(
            u"Type mismatch: 'UBound' needs an array, not %1"_s.arg(args[0].typeName()));
    if (args.size() > 1 && args[1].toInteger() != 1)
        throw ScriptError(u"Subscript out of range: the array has one dimension"_s);
    return args[0].elementCount() - 1;
}

ScriptValue replace(const ScriptValues &args, const ScriptBuiltins::Bounds &bounds)
{
    checkCount(args, 3, 3, u"Replace");
    QString text = args[0].toText();
    const QString find = args[1].toText();
    const QString with = args[2].toText();
    if (find.isEmpty())
        return text;
    checkText(text.size() + text.count(find) * (with.size() - find.size()), bounds);
    return text.replace(find, with);
}

ScriptValue join(const ScriptValues &args, const ScriptBuiltins::Bounds &bounds)
{
    checkCount(args, 1, 2, u"Join");
    const QString delimiter = args.size() > 1 ? args[1].toText() : u" "_s;
    QStringList parts;
    qsizetype length = 0;
    for (const ScriptValue &element : args[0].elements()) {
        parts << element.toText();
        length += parts.back().size() + delimiter.size();
        checkText(length - delimiter.size(), bounds);
    }
    return parts.join(delimiter);
}

// Chr takes a character code of the page's single-byte text, ChrW a
// UTF-16 code unit; a character beyond them is two ChrW joined.
ScriptValue character(const ScriptValues &args, int highest, QStringView name)
{
    checkCount(args, 1, 1, name);
    const qint64 code = args[0].toInteger();
    if (code < 0 || code > highest)
        throw ScriptError(u"Invalid procedure call or argument: '%1(%2)'"_s.arg(name).arg(code));
    return QString(QChar(char16_t(code)));
}

} // namespace

bool ScriptBuiltins::has(const QString &key)
{
    return key == u"split"_s || key == u"ubound"_s || key == u"replace"_s || key == u"join"_s ||
           key == u"chr"_s || key == u"chrw"_s || key == u"vbcrlf"_s;
}

ScriptValue ScriptBuiltins::call(const QString &key, const ScriptValues &args, const Bounds &bounds)
{
    if (key == u"split"_s)
        return split(args, bounds);
    if (key == u"ubound"_s)
        return ubound(args);
    if (key == u"replace"_s)
        return replace(args, bounds);
    if (key == u"join"_s)
        return join(args, bounds);
    if (key == u"chr"_s)
        return character(args, 0xFF, u"Chr");
    if (key == u"chrw"_s)
        return character(args, 0xFFFF, u"ChrW");
    if (key == u"vbcrlf"_s) {
        checkCount(args, 0, 0, u"vbCrLf");
        return u"\r\n"_s;
    }
    throw ScriptError(u"there is no built-in function '%1'"_s.arg(key));
}

} // namespace qrt::script
