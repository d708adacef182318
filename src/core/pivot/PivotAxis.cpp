#include "pivot/PivotAxis.h"

#include "pivot/PivotFieldSet.h"
#include "pivot/PivotView.h"

using namespace Qt::StringLiterals;

namespace qrt::pivot {

namespace {

QString keywordOf(PivotAxis::Kind kind)
{
    switch (kind) {
    case PivotAxis::Kind::Filter:
        return u"FILTER"_s;
    case PivotAxis::Kind::Row:
        return u"ROW"_s;
    case PivotAxis::Kind::Column:
        return u"COLUMN"_s;
    case PivotAxis::Kind::Data:
        return u"DATA"_s;
    }
    return {};
}

} // namespace

PivotAxis::PivotAxis(PivotView *view, Kind kind)
    : m_view(view)
    , m_kind(kind)
    , m_fieldSets(u"the field sets of the axis "_s + keywordOf(kind))
{}

QString PivotAxis::keyword() const
{
    return keywordOf(m_kind);
}

void PivotAxis::InsertFieldSet(PivotFieldSet &fieldSet, qsizetype before)
{
    if (fieldSet.View() != m_view)
        throw PivotError(PivotError::Code::WrongFieldSet,
                         u"The field set \"%1\" belongs to another view."_s.arg(fieldSet.Name()));
    if (fieldSet.m_axis == this) { // a move within the axis
        const qsizetype at = m_fieldSets.indexOf(&fieldSet);
        m_fieldSets.remove(&fieldSet);
        if (before > at)
            --before;
    } else if (fieldSet.m_axis) {
        fieldSet.m_axis->m_fieldSets.remove(&fieldSet);
    }
    m_fieldSets.insert(&fieldSet, before);
    fieldSet.m_axis = this;
    m_view->touch();
}

void PivotAxis::RemoveFieldSet(PivotFieldSet &fieldSet)
{
    if (fieldSet.m_axis != this)
        return;
    m_fieldSets.remove(&fieldSet);
    fieldSet.m_axis = nullptr;
    m_view->touch();
}

} // namespace qrt::pivot
