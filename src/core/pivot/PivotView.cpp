#include "pivot/PivotView.h"

#include "pivot/PivotData.h"

using namespace Qt::StringLiterals;

namespace qrt::pivot {

PivotView::PivotView(std::shared_ptr<const PivotData> data)
    : m_data(std::move(data))
    , m_filterAxis(this, PivotAxis::Kind::Filter)
    , m_rowAxis(this, PivotAxis::Kind::Row)
    , m_columnAxis(this, PivotAxis::Kind::Column)
    , m_dataAxis(this)
    , m_fieldSetList(u"the field sets"_s)
    , m_totalList(u"the totals"_s)
{
    if (!m_data)
        return;
    for (int c = 0; c < m_data->columnCount(); ++c) {
        const PivotColumn &column = m_data->column(c);
        if (column.kind() != PivotColumn::Kind::Date) {
            addFieldSet(column.name(), column, PivotHierarchy::Shape::Values);
            continue;
        }
        addFieldSet(column.name(), column, PivotHierarchy::Shape::Timestamps);
        addFieldSet(column.name() + u" By Week"_s, column, PivotHierarchy::Shape::ByWeek);
        addFieldSet(column.name() + u" By Month"_s, column, PivotHierarchy::Shape::ByMonth);
    }
}

PivotView::~PivotView() = default;

bool PivotView::setData(std::shared_ptr<const PivotData> data)
{
    if (!m_data || !data || data->columnCount() != m_data->columnCount())
        return false;
    auto isDate = [](const PivotColumn &column) {
        return column.kind() == PivotColumn::Kind::Date;
    };
    for (int c = 0; c < data->columnCount(); ++c)
        if (data->column(c).name() != m_data->column(c).name() ||
            isDate(data->column(c)) != isDate(m_data->column(c)))
            return false;
    for (const auto &fieldSet : m_fieldSets)
        fieldSet->rebind(
            data->column(static_cast<int>(&fieldSet->hierarchy().column() - &m_data->column(0))));
    m_data = std::move(data);
    touch();
    return true;
}

void PivotView::addFieldSet(const QString &name, const PivotColumn &column,
                            PivotHierarchy::Shape shape)
{
    m_fieldSets.push_back(std::make_unique<PivotFieldSet>(this, name, column, shape));
    m_fieldSetList.insert(m_fieldSets.back().get(), -1);
}

PivotFieldSet &PivotView::FieldSets(const QString &name) const
{
    for (PivotFieldSet *fieldSet : m_fieldSetList)
        if (fieldSet->Name() == name)
            return *fieldSet;
    throw PivotError::noSuchFieldSet(name);
}

PivotTotal &PivotView::AddTotal(const QString &name, PivotField &field, int function)
{
    if (field.FieldSet()->View() != this)
        throw PivotError(PivotError::Code::WrongFieldSet,
                         u"The field \"%1\" belongs to another view."_s.arg(field.Name()));
    for (PivotTotal *total : m_totalList)
        if (total->Name() == name)
            throw PivotError(PivotError::Code::DuplicateTotal,
                             u"There is already a total named \"%1\"."_s.arg(name));
    m_totals.push_back(std::make_unique<PivotTotal>(name, &field, function));
    m_totalList.insert(m_totals.back().get(), -1);
    return *m_totals.back();
}

void PivotView::DeleteTotal(PivotTotal &total)
{
    m_dataAxis.RemoveTotal(total);
    m_totalList.remove(&total);
    std::erase_if(m_totals, [&](const auto &t) { return t.get() == &total; });
    touch();
}

void PivotView::setExpandDetails(int value)
{
    if (value < ExpandAutomatic || value > ExpandNever)
        throw PivotError::invalidValue(u"ExpandDetails"_s, QString::number(value));
    m_expandDetails = value;
    touch();
}

void PivotView::setExpandMembers(int value)
{
    if (value < ExpandAutomatic || value > ExpandNever)
        throw PivotError::invalidValue(u"ExpandMembers"_s, QString::number(value));
    m_expandMembers = value;
    touch();
}

} // namespace qrt::pivot
