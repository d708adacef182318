#pragma once
// The news chart's algorithm, apart from any widget: reads the statistics
// rows of a period and filter, one series per ID of the chosen grouping,
// and fills a ChartControl with one point per calendar day from the first to
// the last date of the rows (days without news stay holes), its axes and its
// title. frmChart draws with it in the window; the chart command, its tests
// and its benchmark use it without a screen.

#include "base/Dates.h"
#include "newschart/StatisticsReader.h"

#include <QString>

#include <vector>

class ChartControl;

namespace qrt::db {
class Connection;
}

namespace qrt::chart {

class ChannelDayCounts;

// What one drawing asks for: frmChart's public fields.
struct NewsChartQuery
{
    dates::Date FromDate = 0.0;
    dates::Date TillDate = 0.0;
    QString sFilter; // the filter panel's condition; empty draws nothing
    QString sOrder;  // ORDER BY text of the statistics statement
    qint32 chartSeria = 0;
    StatisticsMode mode = StatisticsMode::Fastest;
};

class NewsChartBuilder
{
public:
    explicit NewsChartBuilder(ChartControl &chart);

    // The window's counts in memory: drawings they can serve take no
    // statement. Without them every drawing asks the database.
    void setCounts(ChannelDayCounts *counts) { m_counts = counts; }

    // Empties the chart into the look of a chart without news.
    void ClearChart(const NewsChartQuery &query);
    // Opens the connection, reads the rows, closes it and fills the chart;
    // false, leaving the empty look, when no row came.
    bool Build(db::Connection &connection, const QString &connectionString,
               const NewsChartQuery &query);

    // The range of the rows' dates the last drawing found.
    dates::Date MinDate() const { return m_minDate; }
    dates::Date MaxDate() const { return m_maxDate; }
    StatisticsPath lastPath() const { return m_lastPath; }
    // The statistics statement the last drawing stands for, whichever way
    // its rows were read.
    const QString &Statement() const { return m_statement; }

private:
    struct NewsPoint
    {
        double PointDate = 0.0;
        qint64 NewsCount = 0; // wide: a day may hold more than 32,767 items
    };
    struct SeriesRecord
    {
        std::vector<NewsPoint> Points = std::vector<NewsPoint>(1); // [0] is a spare
    };

    bool LoadSeries(db::Connection &connection, const QString &connectionString,
                    const NewsChartQuery &query);
    bool ReadSeries(StatisticsRows &rows);
    void FillPoints();
    void SetupAxes();
    void SetupTimeAxis();
    qint32 pointNumber(double date) const;

    ChartControl &m_chart;
    dates::Date m_minDate = 0.0;
    dates::Date m_maxDate = 0.0;
    std::vector<SeriesRecord> SeriesData = std::vector<SeriesRecord>(1); // [0] is a spare
    StatisticsPath m_lastPath = StatisticsPath::None;
    QString m_statement;
    ChannelDayCounts *m_counts = nullptr;
};

} // namespace qrt::chart
