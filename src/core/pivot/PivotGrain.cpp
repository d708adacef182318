#include "pivot/PivotGrain.h"

#include "pivot/PivotColumn.h"
#include "pivot/PivotView.h"

using namespace Qt::StringLiterals;

namespace qrt::pivot {

namespace {

using Level = PivotHierarchy::Level;

void needField(PivotGrain &grain, const PivotField &field)
{
    const PivotHierarchy &h = field.FieldSet()->hierarchy();
    grain.needLevel(h.column().name(), h.level(field.level()));
}

} // namespace

PivotGrain PivotGrain::allRows()
{
    PivotGrain grain;
    grain.m_allRows = true;
    return grain;
}

PivotGrain PivotGrain::of(const PivotView &view)
{
    PivotGrain grain;
    for (const PivotAxis *axis : {&view.RowAxis(), &view.ColumnAxis()})
        for (const PivotFieldSet *fieldSet : axis->FieldSets())
            for (const PivotField *field : fieldSet->Fields())
                if (field->IsIncluded())
                    needField(grain, *field);
    // The member choices the aggregation applies.
    for (const PivotAxis *axis : {&view.FilterAxis(), &view.RowAxis(), &view.ColumnAxis()}) {
        for (const PivotFieldSet *fieldSet : axis->FieldSets()) {
            const int mode = fieldSet->AllIncludeExclude();
            if (mode != PivotFieldSet::IncludeAllButExcluded &&
                mode != PivotFieldSet::ExcludeAllButIncluded)
                continue;
            for (const PivotField *field : fieldSet->Fields()) {
                const auto &keys = mode == PivotFieldSet::ExcludeAllButIncluded
                                       ? field->includedKeys()
                                       : field->excludedKeys();
                if (!keys.empty())
                    needField(grain, *field);
            }
        }
    }
    for (const PivotTotal *total : view.DataAxis().Totals())
        if (total->Function() != PivotTotal::Count)
            grain.needValues(total->Field()->BaseName());
    return grain;
}

PivotGrain::Time PivotGrain::time(const QString &column) const
{
    if (m_values.count(column))
        return Time::Exact;
    const auto it = m_times.find(column);
    return it == m_times.end() ? Time::Days : it->second;
}

void PivotGrain::needTime(const QString &column, Time time)
{
    if (time == Time::Exact)
        return needValues(column);
    if (time > this->time(column))
        m_times[column] = time;
}

void PivotGrain::needValues(const QString &column)
{
    m_values.insert(column);
    m_times.erase(column);
}

void PivotGrain::needLevel(const QString &column, PivotHierarchy::Level level)
{
    switch (level) {
    case Level::Hours:
        return needTime(column, Time::Hours);
    case Level::Minutes:
        return needTime(column, Time::Minutes);
    case Level::Value:
    case Level::Timestamp:
    case Level::Seconds:
        return needValues(column);
    default: // a day or coarser: every load has it
        return;
    }
}

QString PivotGrain::key() const
{
    if (m_allRows)
        return u"rows"_s;
    QString key = u"grouped"_s;
    for (const auto &[column, time] : m_times)
        key += QChar(1) + column + QChar(2) + QString::number(static_cast<int>(time));
    for (const QString &column : m_values)
        key += QChar(3) + column;
    return key;
}

} // namespace qrt::pivot
