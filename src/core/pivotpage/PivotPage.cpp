#include "pivotpage/PivotPage.h"

#include "base/ResumeNext.h"
#include "base/RoundedNumber.h"
#include "pivot/PivotStatement.h"
#include "settings/CAppSettings.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>
#include <QStringEncoder>
#include <QStringList>

#include <optional>
#include <utility>

using namespace Qt::StringLiterals;

namespace qrt::pivot::PivotPage {

namespace {

const QString kSection = u"STATMSTABLE"_s;
const QString kListSeparator = u"%%|%%"_s;

// Every line ended by CR LF, the last one too.
QString linesOf(const QStringList &lines)
{
    QString text;
    for (const QString &line : lines)
        text += line + u"\r\n"_s;
    return text;
}

QString storedText(const CAppSettings &settings, const QString &key, const QVariant &fallback)
{
    QVariant value = fallback;
    resumeNext([&] { value = settings.GetSetting(kSection, key, fallback); });
    return value.toString();
}

// A count that can't be read or converted keeps the default.
qint16 storedCount(const CAppSettings &settings, const QString &key, qint16 fallback)
{
    std::optional<qint16> count;
    resumeNext(
        [&] { count = roundedNumber<qint16>(settings.GetSetting(kSection, key, fallback)); });
    return count.value_or(fallback);
}

QString insertLine(const QString &axis)
{
    static const QStringList axes = {u"DATA"_s, u"COLUMN"_s, u"ROW"_s, u"FILTER"_s};
    static const QStringList objects = {u"DataAxis"_s, u"ColumnAxis"_s, u"RowAxis"_s,
                                        u"FilterAxis"_s};
    const qsizetype index = axes.indexOf(axis);
    return index < 0 ? QString()
                     : u"PT.ActiveView.%1.InsertFieldSet pFieldSet"_s.arg(objects.at(index));
}

// A character a literal of single-byte text holds as it is: Latin-1 but a
// line break, which ends the literal, or the "<" of "</", which ends the
// script element.
bool literalHolds(const QString &text, qsizetype i)
{
    const char16_t c = text[i].unicode();
    return c <= 0xFF && c != u'\r' && c != u'\n' && !(c == u'<' && text.mid(i + 1, 1) == u"/"_s);
}

// The script's expression for the character(s) at i, and how many it takes.
std::pair<QString, qsizetype> joinedCharacter(const QString &text, qsizetype i)
{
    if (text.mid(i, 2) == u"\r\n")
        return {u"vbCrLf"_s, 2};
    const char16_t c = text[i].unicode();
    return {(c <= 0xFF ? u"Chr(%1)"_s : u"ChrW(%1)"_s).arg(int(c)), 1};
}

QString fieldSetBlock(const QString &axis, const QString &name, const QString &fields,
                      const QString &filters)
{
    QStringList lines = {u"Set pFieldSet = PT.ActiveView.FieldSets("_s + scriptLiteral(name) +
                         u")"_s};
    // A keyword the page has no axis for puts the set nowhere.
    if (const QString insert = insertLine(axis); !insert.isEmpty())
        lines << insert;
    lines << u"For Each pField In pFieldSet.Fields"_s << u"pField.IsIncluded = False"_s << u"Next"_s
          << u"aFields = Split("_s + scriptLiteral(fields) + u" , \"%%|%%\" )"_s
          << u"aFieldsFilters = Split("_s + scriptLiteral(filters) + u" , \"%%|%%\" )"_s
          << u"For J = 0 To UBound(aFields)"_s
          << u"pFieldSet.Fields(aFields(J)).IsIncluded = True"_s << u"Next"_s
          << u"For J = 0 To UBound(aFieldsFilters)"_s
          << u"aFilters = Split(aFieldsFilters(J), \"||\")"_s << u"If aFilters(1) = 2 Then"_s
          << u"pFieldSet.Fields(aFilters(0)).IncludedMembers = ParseMembers(pFieldSet.Members, "
             u"aFilters(2), aFilters(3))"_s
          << u"pFieldSet.AllIncludeExclude = aFilters(1)"_s << u"ElseIf aFilters(1) = 1 Then"_s
          << u"pFieldSet.Fields(aFilters(0)).ExcludedMembers = ParseMembers(pFieldSet.Members, "
             u"aFilters(2), aFilters(3))"_s
          << u"pFieldSet.AllIncludeExclude = aFilters(1)"_s << u"End If"_s << u"Next"_s;
    return linesOf(lines);
}

} // namespace

QString BuildPivotPage(const CAppSettings &settings, const QString &connectionString)
{
    return BuildPivotPage(settings, connectionString, GetAdditionalScriptFunctions());
}

QString BuildPivotPage(const CAppSettings &settings, const QString &connectionString,
                       const QString &additionalScriptFunctions)
{
    // The page's script gives the statement in two pieces: up to FROM, and the rest.
    const QString statement = pivotStatement();
    const qsizetype from = statement.indexOf(u"FROM "_s);
    QString page = linesOf({
        u"<html><body bgcolor='beige' topmargin=0 leftmargin=0 rightmargin=0 bottommargin=0 "
        u"marginwidth=0 marginheight=0><object id=PT "
        u"classid=CLSID:0002E55A-0000-0000-C000-000000000046></object></body>"_s,
        u"<script language=vbs>"_s,
        u"Dim ParentMember,ParentFound"_s,
        u"Sub Window_OnLoad()"_s,
        u"Dim pFieldSet, pField , aFields, aFieldsFilters, aFilters, I, J "_s,
        u"With PT"_s,
        u".ConnectionString = "_s + scriptLiteral(connectionString) + u" "_s,
        u".CommandText = \""_s + statement.left(from) + u"\" & _"_s,
        u"\""_s + statement.mid(from) + u"\""_s,
        u".AllowFiltering = True"_s,
        u".AllowGrouping = True"_s,
        u".AllowPropertyToolbox = True"_s,
        u".DisplayToolbar = True"_s,
        u".DisplayFieldList = True"_s,
        u"End With"_s,
    });
    // The pieces pass over their own failures, each setting keeping its default.
    page += GetFieldSetsScript(settings, u"COLUMN"_s, {}, {}, 0);
    page += GetFieldSetsScript(settings, u"DATA"_s, {}, {}, 0);
    page += GetFieldSetsScript(settings, u"FILTER"_s, {}, {}, 0);
    page += GetFieldSetsScript(settings, u"ROW"_s, u"NewsDate By Month%%|%%Provider"_s,
                               u"Months%%|%%Provider"_s, 2);
    page += GetTotalsScript(settings);
    page += linesOf({u"PT.ActiveView.ExpandDetails = 2"_s, u"PT.ActiveView.ExpandMembers = 2"_s,
                     u"PT.ActiveData.HideDetails"_s, u"End Sub"_s});
    page += additionalScriptFunctions;
    page += u"\r\n</script></html>"_s;
    return page;
}

QString GetFieldSetsScript(const CAppSettings &settings, const QString &axis,
                           const QString &defaultFieldSets, const QString &defaultFields,
                           qint16 defaultCount)
{
    const qint16 count = storedCount(settings, axis + u"FIELDSETSCOUNT"_s, defaultCount);
    const QStringList names = defaultFieldSets.split(kListSeparator);
    const QStringList fields = defaultFields.split(kListSeparator);
    QString defaultName, defaultField;
    QString script;
    for (int i = 1; i <= count; ++i) {
        defaultName = names.value(i - 1, defaultName);
        defaultField = fields.value(i - 1, defaultField);
        const QString ordinal = QString::number(i);
        script += fieldSetBlock(
            axis, storedText(settings, axis + u"FIELDSETNAME"_s + ordinal, defaultName),
            storedText(settings, axis + u"FIELDSETFIELDS"_s + ordinal, defaultField),
            storedText(settings, axis + u"FIELDSFILTERS"_s + ordinal, QString()));
    }
    return script;
}

QString GetTotalsScript(const CAppSettings &settings)
{
    const qint16 count = storedCount(settings, u"TOTALSCOUNT"_s, 1);
    QString script = linesOf({u"Dim pTotal "_s});
    for (int i = 1; i <= count; ++i) {
        const QString ordinal = QString::number(i);
        const QString field = storedText(settings, u"TOTALFIELD"_s + ordinal, u"News"_s);
        const QString name = storedText(settings, u"TOTALNAME"_s + ordinal, u"Count of News"_s);
        const QString function = storedText(settings, u"TOTALFUNCTION"_s + ordinal, 2);
        // A function that is no number goes in as text: AddTotal refuses it
        // at run time, and the lines before it still run.
        const bool number = function == function.trimmed() && roundedNumber<qint32>(function);
        script += linesOf({
            u"Set pFieldSet = PT.ActiveView.FieldSets("_s + scriptLiteral(field) + u")"_s,
            u"Set pTotal = PT.ActiveView.AddTotal("_s + scriptLiteral(name) +
                u", pFieldSet.Fields(0), "_s + (number ? function : scriptLiteral(function)) +
                u") "_s,
            u"PT.ActiveView.DataAxis.InsertTotal pTotal "_s,
        });
    }
    return script;
}

QString GetAdditionalScriptFunctions()
{
    return linesOf({
        u"Function ParseMembers(root, memberspath , Members )"_s,
        u"Dim I,aMembs,a "_s,
        u"Set ParentMember = Nothing"_s,
        u"ParentFound = False"_s,
        u"BuildParentMember root, memberspath"_s,
        u"Members = Replace(Members, \"(\", \"\")"_s,
        u"Members = Replace(Members, \")\", \"\")"_s,
        u"aMembs = Split(Members, \",\")"_s,
        u"a=aMembs"_s,
        u"For I = 0 To UBound(aMembs)"_s,
        u"If ParentMember Is Nothing Then"_s,
        u"Set a(I) = root(aMembs(I))"_s,
        u"Else"_s,
        u"Set a(I) = ParentMember.ChildMembers(aMembs(I))"_s,
        u"End If"_s,
        u"Next"_s,
        u"ParseMembers = a"_s,
        u"End Function"_s,
        u"Function BuildParentMember(root , memberspath )"_s,
        u"Dim aPath, I, chName"_s,
        u"If ParentFound Then Exit Function"_s,
        u"aPath = Split(memberspath, \"**|**\")"_s,
        u"For I = 0 To UBound(aPath)"_s,
        u"If aPath(I) <> \"\" Then"_s,
        u"If ParentFound Then Exit Function"_s,
        u"If I <> UBound(aPath) Then"_s,
        u"If ParentFound Then Exit Function"_s,
        u"chName = aPath(I)"_s,
        u"aPath(I) = \"\""_s,
        u"BuildParentMember = BuildParentMember(root(chName).ChildMembers, Join(aPath, "
        u"\"**|**\"))"_s,
        u"Else"_s,
        u"If ParentFound Then"_s,
        u"Exit Function"_s,
        u"Else"_s,
        u"Set ParentMember = root(aPath(I))"_s,
        u"ParentFound = True"_s,
        u"Exit Function"_s,
        u"End If"_s,
        u"End If"_s,
        u"End If"_s,
        u"Next"_s,
        u"End Function"_s,
    });
}

QString scriptLiteral(const QString &text)
{
    QStringList pieces;
    QString literal;
    for (qsizetype i = 0; i < text.size();) {
        if (literalHolds(text, i)) {
            literal += text[i] == u'"' ? u"\"\""_s : QString(text[i]);
            ++i;
            continue;
        }
        if (!literal.isEmpty())
            pieces << u'"' + std::exchange(literal, {}) + u'"';
        const auto [piece, length] = joinedCharacter(text, i);
        pieces << piece;
        i += length;
    }
    if (!literal.isEmpty() || pieces.isEmpty())
        pieces << u'"' + literal + u'"';
    return pieces.join(u" & "_s);
}

bool WriteTextFile(const QString &path, const QString &text)
{
    bool written = false;
    resumeNext([&] {
        QDir().mkpath(QFileInfo(path).absolutePath());
        QStringEncoder latin1(QStringConverter::Latin1);
        const QByteArray bytes = latin1.encode(text);
        // Writes beside the old file and renames over it only when complete.
        QSaveFile file(path);
        written =
            file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit();
    });
    return written;
}

QString pivotPagePath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) +
           u"/QRT_StatCharts/msowc.htm"_s;
}

} // namespace qrt::pivot::PivotPage
