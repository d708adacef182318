#pragma once
// The generated pivot page line by line, with its two fixed script
// functions ParseMembers and BuildParentMember: written out here apart from
// the generator, so that tests compare the page with a text of their own and
// run the script the page runs.

#include <QStringList>

namespace qrt::test {

inline const QStringList &fixedScriptFunctions()
{
    using namespace Qt::StringLiterals;
    static const QStringList lines = {
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
        u"BuildParentMember = BuildParentMember(root(chName).ChildMembers, Join(aPath, \"**|**\"))"_s,
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
    };
    return lines;
}

// A field set the page puts on an axis ("RowAxis"), with its included
// fields and its member records, each joined by "%%|%%".
struct PageBlock
{
    QString axis, name, fields, filters;
};

struct PageTotal
{
    QString field, name, function;
};

// A stored value as the page writes it when it is Latin-1 text without
// line breaks: between double quotes, each one inside doubled.
inline QString quoted(const QString &text)
{
    using namespace Qt::StringLiterals;
    return u'"' + QString(text).replace(u"\""_s, u"\"\""_s) + u'"';
}

inline QString expectedPage(const QString &connection, const QList<PageBlock> &blocks,
                            const QList<PageTotal> &totals)
{
    using namespace Qt::StringLiterals;
    QStringList lines = {
        u"<html><body bgcolor='beige' topmargin=0 leftmargin=0 rightmargin=0 bottommargin=0 "
        u"marginwidth=0 marginheight=0><object id=PT "
        u"classid=CLSID:0002E55A-0000-0000-C000-000000000046></object></body>"_s,
        u"<script language=vbs>"_s,
        u"Dim ParentMember,ParentFound"_s,
        u"Sub Window_OnLoad()"_s,
        u"Dim pFieldSet, pField , aFields, aFieldsFilters, aFilters, I, J "_s,
        u"With PT"_s,
        u".ConnectionString = %1 "_s.arg(quoted(connection)),
        u".CommandText = \"SELECT Providers.Provider, Channels.Channel, News.Title AS News, "
        u"News.pubDate as NewsDate, Categories.Name AS Category \" & _"_s,
        u"\"FROM Categories INNER JOIN (Providers INNER JOIN (Channels INNER JOIN News ON "
        u"Channels.ID = News.Channel) ON Providers.ID = Channels.Provider) ON Categories.ID = "
        u"Channels.Category; \""_s,
        u".AllowFiltering = True"_s,
        u".AllowGrouping = True"_s,
        u".AllowPropertyToolbox = True"_s,
        u".DisplayToolbar = True"_s,
        u".DisplayFieldList = True"_s,
        u"End With"_s,
    };
    for (const PageBlock &b : blocks)
        lines << u"Set pFieldSet = PT.ActiveView.FieldSets(%1)"_s.arg(quoted(b.name))
              << u"PT.ActiveView.%1.InsertFieldSet pFieldSet"_s.arg(b.axis)
              << u"For Each pField In pFieldSet.Fields"_s << u"pField.IsIncluded = False"_s
              << u"Next"_s << u"aFields = Split(%1 , \"%%|%%\" )"_s.arg(quoted(b.fields))
              << u"aFieldsFilters = Split(%1 , \"%%|%%\" )"_s.arg(quoted(b.filters))
              << u"For J = 0 To UBound(aFields)"_s
              << u"pFieldSet.Fields(aFields(J)).IsIncluded = True"_s << u"Next"_s
              << u"For J = 0 To UBound(aFieldsFilters)"_s
              << u"aFilters = Split(aFieldsFilters(J), \"||\")"_s << u"If aFilters(1) = 2 Then"_s
              << u"pFieldSet.Fields(aFilters(0)).IncludedMembers = "
                 u"ParseMembers(pFieldSet.Members, aFilters(2), aFilters(3))"_s
              << u"pFieldSet.AllIncludeExclude = aFilters(1)"_s << u"ElseIf aFilters(1) = 1 Then"_s
              << u"pFieldSet.Fields(aFilters(0)).ExcludedMembers = "
                 u"ParseMembers(pFieldSet.Members, aFilters(2), aFilters(3))"_s
              << u"pFieldSet.AllIncludeExclude = aFilters(1)"_s << u"End If"_s << u"Next"_s;
    lines << u"Dim pTotal "_s;
    for (const PageTotal &t : totals)
        lines << u"Set pFieldSet = PT.ActiveView.FieldSets(%1)"_s.arg(quoted(t.field))
              << u"Set pTotal = PT.ActiveView.AddTotal(%1, pFieldSet.Fields(0), %2) "_s.arg(
                     quoted(t.name), t.function)
              << u"PT.ActiveView.DataAxis.InsertTotal pTotal "_s;
    lines << u"PT.ActiveView.ExpandDetails = 2"_s << u"PT.ActiveView.ExpandMembers = 2"_s
          << u"PT.ActiveData.HideDetails"_s << u"End Sub"_s << fixedScriptFunctions() << QString()
          << u"</script></html>"_s;
    return lines.join(u"\r\n"_s);
}

} // namespace qrt::test
