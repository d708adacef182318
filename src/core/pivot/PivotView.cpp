#include "pivot/PivotView.h"

#include "base/ResumeNext.h"
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

namespace {

// The member of `fieldSet` with the captions of `member`, a member of the
// same field set in another view.
PivotMember sameMember(const PivotFieldSet &fieldSet, const PivotMember &member)
{
    QStringList captions;
    for (PivotMember m = member; !m.isNull() && !m.isRoot(); m = m.ParentMember())
        captions.prepend(m.Caption());
    PivotMember found = fieldSet.Member();
    for (const QString &caption : std::as_const(captions))
        found = found.ChildMembers()(caption);
    return found;
}

std::vector<PivotMember> sameMembers(const PivotFieldSet &fieldSet,
                                     const std::vector<PivotMember> &members)
{
    std::vector<PivotMember> found;
    for (const PivotMember &member : members)
        resumeNext([&] { found.push_back(sameMember(fieldSet, member)); });
    return found;
}

void takeFieldSet(const PivotFieldSet &from, PivotFieldSet &to)
{
    for (const PivotField *field : from.Fields()) {
        resumeNext([&] {
            PivotField &mine = to.Fields(field->Name());
            mine.setIsIncluded(field->IsIncluded());
            mine.setIncludedMembers(sameMembers(to, field->IncludedMembers()));
            mine.setExcludedMembers(sameMembers(to, field->ExcludedMembers()));
        });
    }
    to.setAllIncludeExclude(from.AllIncludeExclude());
    for (const auto &entry : from.expandedMembers()) {
        resumeNext([&] {
            const auto [level, key] = entry.first;
            const PivotMember mine = sameMember(to, PivotMember(&from, level, key));
            to.setMemberExpanded(mine.level(), mine.key(), entry.second);
        });
    }
}

} // namespace

void PivotView::takeLayout(const PivotView &other)
{
    for (const PivotFieldSet *fieldSet : other.FieldSets())
        resumeNext([&] { takeFieldSet(*fieldSet, FieldSets(fieldSet->Name())); });
    const std::pair<const PivotAxis *, PivotAxis *> axes[] = {
        {&other.FilterAxis(), &m_filterAxis},
        {&other.RowAxis(), &m_rowAxis},
        {&other.ColumnAxis(), &m_columnAxis},
        {&other.DataAxis(), &m_dataAxis},
    };
    for (const auto &axis : axes)
        for (const PivotFieldSet *fieldSet : axis.first->FieldSets())
            resumeNext([&] { axis.second->InsertFieldSet(FieldSets(fieldSet->Name())); });
    for (const PivotTotal *total : other.Totals()) {
        resumeNext([&] {
            const PivotField *field = total->Field();
            PivotTotal &mine =
                AddTotal(total->Name(), FieldSets(field->FieldSet()->Name()).Fields(field->Name()),
                         total->Function());
            mine.setCaption(total->Caption());
            mine.setNumberFormat(total->NumberFormat());
        });
    }
    for (const PivotTotal *total : other.DataAxis().Totals())
        for (PivotTotal *mine : m_totalList)
            if (mine->Name() == total->Name())
                m_dataAxis.InsertTotal(*mine);
    m_expandDetails = other.m_expandDetails;
    m_expandMembers = other.m_expandMembers;
    touch();
}

} // namespace qrt::pivot
