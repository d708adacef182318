#include "newschart/NamedPeriod.h"

#include <array>

using namespace Qt::StringLiterals;

namespace qrt::chart {

namespace {

struct PeriodRow
{
    int code;
    QStringView text;
    int daysBack; // -1: from day 0
};

constexpr std::array<PeriodRow, 6> kPeriods = {{
    {NamedPeriod::Today, u"Today", 0},
    {NamedPeriod::Yesterday, u"Yesterday", 1},
    {NamedPeriod::LastWeek, u"Last Week", 7},
    {NamedPeriod::LastMonth, u"Last Month", 31},
    {NamedPeriod::LastYear, u"Last Year", 365},
    {NamedPeriod::All, u"All", -1},
}};

const PeriodRow *rowOf(int code)
{
    for (const PeriodRow &row : kPeriods)
        if (row.code == code)
            return &row;
    return nullptr;
}

} // namespace

double NamedPeriod::FirstDate(int code, double today)
{
    const PeriodRow *row = rowOf(code);
    if (!row || row->daysBack < 0)
        return 0.0;
    return today - row->daysBack;
}

PeriodRange NamedPeriod::Range(int code, double today)
{
    return {FirstDate(code, today), today};
}

QString NamedPeriod::Text(int code)
{
    const PeriodRow *row = rowOf(code);
    return row ? row->text.toString() : QString();
}

std::optional<int> NamedPeriod::FromText(const QString &text)
{
    for (const PeriodRow &row : kPeriods)
        if (text.compare(row.text, Qt::CaseInsensitive) == 0)
            return row.code;
    return std::nullopt;
}

} // namespace qrt::chart
