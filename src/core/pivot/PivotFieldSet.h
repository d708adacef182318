#pragma once
// A field set: what a column of the data offers the layout. It has one
// field per level of its member tree, stands on at most one axis at a time,
// and carries the member choices of its fields (AllIncludeExclude: 1 all
// members but the excluded ones, 2 none but the included ones, 0 no choice).
// With 2 a row counts when its member at one of the fields with a choice is
// an included one (so nothing included shows nothing); with 1 when none of
// its members at those fields is an excluded one.

#include "pivot/PivotField.h"
#include "pivot/PivotHierarchy.h"
#include "pivot/PivotList.h"
#include "pivot/PivotMembers.h"

#include <map>
#include <memory>

namespace qrt::pivot {

class PivotAxis;
class PivotView;

class PivotFieldSet
{
public:
    enum IncludeExclude {
        IncludeDefault = 0,
        IncludeAllButExcluded = 1,
        ExcludeAllButIncluded = 2
    };

    PivotFieldSet(PivotView *view, QString name, const PivotColumn &column,
                  PivotHierarchy::Shape shape);
    PivotFieldSet(const PivotFieldSet &) = delete;
    PivotFieldSet &operator=(const PivotFieldSet &) = delete;

    const QString &Name() const { return m_name; }
    const PivotList<PivotField> &Fields() const { return m_fieldList; }
    PivotField &Fields(qsizetype index) const { return m_fieldList.Item(index); }
    PivotField &Fields(const QString &name) const;
    // The members below the root: where look-ups by caption start.
    PivotMembers Members() const { return Member().ChildMembers(); }
    // The root, captioned "ALL".
    PivotMember Member() const { return {this, -1, 0}; }

    int AllIncludeExclude() const { return m_allIncludeExclude; }
    void setAllIncludeExclude(int value);

    PivotAxis *Axis() const { return m_axis; }
    PivotView *View() const { return m_view; }
    const PivotHierarchy &hierarchy() const { return m_hierarchy; }
    void rebind(const PivotColumn &column) { m_hierarchy.rebind(column); }

    std::optional<bool> memberExpanded(int level, qint64 key) const;
    void setMemberExpanded(int level, qint64 key, bool expanded);
    // The members expanded or collapsed on their own, by level and key.
    const std::map<std::pair<int, qint64>, bool> &expandedMembers() const { return m_expanded; }
    // Every member follows the view's ExpandMembers again.
    void clearMemberExpanded();

    // Tells the view that its layout changed.
    void changed();

private:
    friend class PivotAxis;

    PivotView *m_view;
    QString m_name;
    PivotHierarchy m_hierarchy;
    std::vector<std::unique_ptr<PivotField>> m_fields;
    PivotList<PivotField> m_fieldList;
    int m_allIncludeExclude = IncludeDefault;
    PivotAxis *m_axis = nullptr;
    std::map<std::pair<int, qint64>, bool> m_expanded;
};

} // namespace qrt::pivot
