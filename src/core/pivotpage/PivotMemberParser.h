#pragma once
// Finds stored member choices again in a live view: a record names its
// members by caption under a parent reached by a path of captions from
// below the root ("2005**|**Qtr1" and "(Jan,Feb)"). A caption that no
// longer exists fails its statement with a PivotError.
//
// The statements run through a runner the caller gives, so a window can
// put them under its error dialog (where Retry runs a statement again and
// Ignore goes on with the next) while the command line passes failures
// over. A runner answers false to leave at once with nothing found.

#include "pivot/PivotMember.h"
#include "pivot/PivotMembers.h"

#include <functional>
#include <vector>

namespace qrt::pivot {

class PivotMemberParser
{
public:
    using Statement = std::function<void()>;
    using Runner = std::function<bool(const Statement &)>;

    // Runs each statement, passing over its failure.
    static bool passOver(const Statement &statement);

    explicit PivotMemberParser(Runner run = passOver);

    // The members of `Members` (captions between parentheses, separated by
    // commas) under the parent `memberspath` leads to from `root`, or under
    // `root` itself for an empty path. Empty when the runner gives up.
    std::vector<PivotMember> ParseMembers(const PivotMembers &root, const QString &memberspath,
                                          const QString &Members);

    // Walks the path from `root` and keeps its last member in ParentMember.
    // Each step down calls again with the step blanked out of the path, so
    // the next call finds its step by passing over the empty elements.
    void BuildParentMember(const PivotMembers &root, const QString &memberspath);

    PivotMember ParentMember;
    bool ParentFound = false;

private:
    Runner m_run;
};

} // namespace qrt::pivot
