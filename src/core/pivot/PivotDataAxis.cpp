#include "pivot/PivotDataAxis.h"

#include "pivot/PivotTotal.h"
#include "pivot/PivotView.h"

using namespace Qt::StringLiterals;

namespace qrt::pivot {

PivotDataAxis::PivotDataAxis(PivotView *view)
    : PivotAxis(view, Kind::Data)
    , m_totals(u"the totals"_s)
{}

void PivotDataAxis::InsertTotal(PivotTotal &total, qsizetype before)
{
    if (!View()->Totals().contains(&total))
        throw PivotError(PivotError::Code::WrongFieldSet,
                         u"The total \"%1\" belongs to another view."_s.arg(total.Caption()));
    m_totals.remove(&total);
    m_totals.insert(&total, before);
    View()->touch();
}

void PivotDataAxis::RemoveTotal(PivotTotal &total)
{
    m_totals.remove(&total);
    View()->touch();
}

} // namespace qrt::pivot
