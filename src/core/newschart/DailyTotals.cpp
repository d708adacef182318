#include "newschart/DailyTotals.h"

#include "base/Dates.h"

#include <algorithm>

namespace qrt::chart {

namespace {

// Room left on either side when a series' days grow, so that rows arriving
// in any order move the days seldom.
constexpr qint64 kSlack = 64;

} // namespace

int DailyTotals::series(qint64 seriesId, const QString &name)
{
    const int found = find(seriesId);
    if (found >= 0)
        return found;
    m_series.push_back({seriesId, name, 0, {}, {}});
    m_index.insert(seriesId, int(m_series.size()) - 1);
    return int(m_series.size()) - 1;
}

QString DailyTotals::name(qint64 seriesId) const
{
    const int index = find(seriesId);
    return index >= 0 ? m_series[size_t(index)].name : QString();
}

DailyTotals::Day *DailyTotals::dayOf(Series &series, qint64 day)
{
    auto &days = series.days;
    if (days.empty()) {
        series.firstDay = day - kSlack;
        days.resize(size_t(2 * kSlack));
    }
    const qint64 low = std::min(day, series.firstDay);
    const qint64 high = std::max(day, series.firstDay + qint64(days.size()));
    if (high - low > MaxDays)
        return nullptr;
    if (day < series.firstDay) {
        const qint64 grow = std::max(series.firstDay - day + kSlack, qint64(days.size()));
        days.insert(days.begin(), size_t(grow), Day());
        series.firstDay -= grow;
    }
    const auto index = size_t(day - series.firstDay);
    if (index >= days.size())
        days.resize(std::max(index + size_t(kSlack), days.size() * 2));
    return &days[index];
}

bool DailyTotals::add(int series, std::optional<double> date, qint64 count)
{
    Series &s = m_series[size_t(series)];
    if (!date) {
        s.undated.present = true;
        s.undated.newsCount += count;
        return true;
    }
    const double value = *date;
    Day *day = dayOf(s, qint64(dates::dayOf(value)));
    if (!day)
        return false;
    if (!day->present) {
        day->present = true;
        day->firstDate = day->lastDate = value;
    } else {
        day->firstDate = std::min(day->firstDate, value);
        day->lastDate = std::max(day->lastDate, value);
    }
    day->newsCount += count;
    return true;
}

bool DailyTotals::addDay(int series, double firstDate, double lastDate, qint64 count)
{
    return add(series, firstDate, count) && add(series, lastDate, 0);
}

std::vector<DayRow> DailyTotals::takeRows()
{
    std::sort(m_series.begin(), m_series.end(),
              [](const Series &a, const Series &b) { return a.id < b.id; });
    std::vector<DayRow> rows;
    for (const Series &s : m_series) {
        if (s.undated.present)
            rows.push_back({s.id, false, 0.0, 0.0, s.undated.newsCount});
        for (const Day &day : s.days)
            if (day.present)
                rows.push_back({s.id, true, day.firstDate, day.lastDate, day.newsCount});
    }
    m_index.clear();
    for (size_t i = 0; i < m_series.size(); ++i)
        m_index.insert(m_series[i].id, int(i));
    return rows;
}

} // namespace qrt::chart
