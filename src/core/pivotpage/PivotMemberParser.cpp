#include "pivotpage/PivotMemberParser.h"

#include "base/ResumeNext.h"

using namespace Qt::StringLiterals;

namespace qrt::pivot {

namespace {
const QString kPathSeparator = u"**|**"_s;
}

bool PivotMemberParser::passOver(const Statement &statement)
{
    resumeNext(statement);
    return true;
}

PivotMemberParser::PivotMemberParser(Runner run)
    : m_run(std::move(run))
{}

std::vector<PivotMember> PivotMemberParser::ParseMembers(const PivotMembers &root,
                                                         const QString &memberspath,
                                                         const QString &Members)
{
    std::vector<PivotMember> result;
    ParentMember = PivotMember();
    ParentFound = false;
    if (!m_run([&] { BuildParentMember(root, memberspath); }))
        return {};
    // An empty list, "()", names no member, as splitting an empty text gives none.
    const QString list = QString(Members).remove(u'(').remove(u')');
    const QStringList captions = list.isEmpty() ? QStringList() : list.split(u',');
    for (const QString &caption : captions) {
        const bool goOn = m_run([&] {
            result.push_back(ParentMember.isNull() ? root(caption)
                                                   : ParentMember.ChildMembers()(caption));
        });
        if (!goOn)
            return {};
    }
    return result;
}

void PivotMemberParser::BuildParentMember(const PivotMembers &root, const QString &memberspath)
{
    if (ParentFound)
        return;
    QStringList steps = memberspath.split(kPathSeparator);
    for (qsizetype i = 0; i < steps.size(); ++i) {
        if (steps[i].isEmpty())
            continue;
        if (ParentFound)
            return;
        if (i == steps.size() - 1) {
            ParentMember = root(steps[i]);
            ParentFound = true;
            return;
        }
        const QString step = steps[i];
        steps[i].clear();
        BuildParentMember(root(step).ChildMembers(), steps.join(kPathSeparator));
    }
}

} // namespace qrt::pivot
