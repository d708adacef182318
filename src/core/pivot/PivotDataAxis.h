#pragma once
// The data axis: besides the field sets whose values it would list, it
// holds the totals the cells show, in their order.

#include "pivot/PivotAxis.h"

namespace qrt::pivot {

class PivotTotal;

class PivotDataAxis : public PivotAxis
{
public:
    explicit PivotDataAxis(PivotView *view);

    const PivotList<PivotTotal> &Totals() const { return m_totals; }
    void InsertTotal(PivotTotal &total, qsizetype before = -1);
    void RemoveTotal(PivotTotal &total);

private:
    PivotList<PivotTotal> m_totals;
};

} // namespace qrt::pivot
