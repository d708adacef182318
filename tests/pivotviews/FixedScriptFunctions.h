#pragma once
// The generated pivot page's two fixed script functions, ParseMembers and
// BuildParentMember, line by line as the page holds them: written out here
// apart from the generator, so that tests compare the page with a text of
// their own and run the functions the page runs.

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

} // namespace qrt::test
