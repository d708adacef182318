#pragma once
// News counts per series and calendar day, gathered from rows in any order:
// the count, and the earliest and latest publication time of each day. It
// then hands the days back as rows ordered by series ID and day, which is
// all the chart needs of the per-item rows of the statistics statement.

#include <QHash>
#include <QString>

#include <optional>
#include <vector>

namespace qrt::chart {

struct DayRow
{
    qint64 seriesId = 0;
    bool dated = false;     // false: rows whose date could not be read
    double firstDate = 0.0; // earliest time of the day
    double lastDate = 0.0;  // latest time of the day
    qint64 newsCount = 0;
};

class DailyTotals
{
public:
    // The index of a series, made on first sight; the first name given stays.
    int series(qint64 seriesId, const QString &name);
    // The index of a series already seen, or -1.
    int find(qint64 seriesId) const { return m_index.value(seriesId, -1); }

    // One row the statement would count: count is 1, or 0 where its Count
    // would skip the row (a NULL news ID) though the day still appears.
    // False when the days of the series would span more than MaxDays.
    bool add(int series, std::optional<double> date, qint64 count);
    // A ready total of one day: its first and last time and its count.
    bool addDay(int series, double firstDate, double lastDate, qint64 count);

    // Days one series may span (some 270 years); dates beyond are no news
    // data we know how to keep compactly.
    static constexpr qint64 MaxDays = 100000;

    QString name(qint64 seriesId) const;
    // The days by series ID; a series' undated rows first, then its days.
    std::vector<DayRow> takeRows();

private:
    struct Day
    {
        bool present = false;
        double firstDate = 0.0;
        double lastDate = 0.0;
        qint64 newsCount = 0;
    };
    struct Series
    {
        qint64 id = 0;
        QString name;
        qint64 firstDay = 0; // day number of days[0]
        std::vector<Day> days;
        Day undated;
    };

    Day *dayOf(Series &series, qint64 day);

    std::vector<Series> m_series;
    QHash<qint64, int> m_index;
};

} // namespace qrt::chart
