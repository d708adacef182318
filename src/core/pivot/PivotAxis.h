#pragma once
// One of the view's four axes (filter, row, column, data) and the field sets
// standing on it, outermost first. A field set stands on one axis at a time:
// inserting it here takes it off the axis it was on.

#include "pivot/PivotList.h"

namespace qrt::pivot {

class PivotFieldSet;
class PivotView;

class PivotAxis
{
public:
    enum class Kind { Filter, Row, Column, Data };

    PivotAxis(PivotView *view, Kind kind);
    virtual ~PivotAxis() = default;
    PivotAxis(const PivotAxis &) = delete;
    PivotAxis &operator=(const PivotAxis &) = delete;

    Kind kind() const { return m_kind; }
    // "FILTER", "ROW", "COLUMN" or "DATA".
    QString keyword() const;
    PivotView *View() const { return m_view; }

    const PivotList<PivotFieldSet> &FieldSets() const { return m_fieldSets; }
    // At position `before`, or last when it is -1 or past the end.
    void InsertFieldSet(PivotFieldSet &fieldSet, qsizetype before = -1);
    void RemoveFieldSet(PivotFieldSet &fieldSet);

private:
    PivotView *m_view;
    Kind m_kind;
    PivotList<PivotFieldSet> m_fieldSets;
};

} // namespace qrt::pivot
