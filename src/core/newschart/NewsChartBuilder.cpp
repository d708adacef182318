#include "newschart/NewsChartBuilder.h"

#include "db/Connection.h"
#include "newschart/ChannelDayCounts.h"
#include "newschart/ChartControl.h"
#include "newschart/StatisticsStatement.h"

using namespace Qt::StringLiterals;
using qrt::dates::dayOf;

namespace qrt::chart {

namespace {

constexpr quint32 kDrawnBackColor = 0xEDEDED;

} // namespace

NewsChartBuilder::NewsChartBuilder(ChartControl &chart)
    : m_chart(chart)
{}

qint32 NewsChartBuilder::pointNumber(double date) const
{
    return qint32(1 + (dayOf(date) - dayOf(m_minDate)));
}

void NewsChartBuilder::ClearChart(const NewsChartQuery &query)
{
    ChartControl &c = m_chart;
    c.setIsBatched(true);
    SeriesData.assign(1, SeriesRecord());
    c.RemoveAllSeriesLabels();
    c.setNumSeries(0);
    c.RemoveAllLabels();
    m_minDate = query.TillDate;
    m_maxDate = query.FromDate;
    c.setBorderStyle(1);
    c.setBorderWidth(0);
    c.setBackColor(DesignBackColor);
    c.setIsBatched(false);
}

bool NewsChartBuilder::Build(db::Connection &connection, const QString &connectionString,
                             const NewsChartQuery &query)
{
    if (!LoadSeries(connection, connectionString, query))
        return false;
    ChartControl &c = m_chart;
    c.setIsBatched(true);
    c.setDataIsBatched(true);
    FillPoints();
    SetupAxes();
    SetupTimeAxis();
    c.setDataIsBatched(false);
    c.setIsBatched(false);
    return true;
}

void NewsChartBuilder::FillPoints()
{
    ChartControl &c = m_chart;
    c.setNumSeries(int(SeriesData.size()) - 1);
    c.setNumPoints(1, pointNumber(m_maxDate));
    const int numSeries = c.NumSeries();
    for (int i = 1; i <= numSeries; ++i) {
        const auto &points = SeriesData[size_t(i)].Points;
        for (size_t j = 1; j < points.size(); ++j) {
            const qint32 k = pointNumber(points[j].PointDate);
            double cell = 0.0;
            if (!c.Y(i, k, cell))
                continue; // a point outside the table is left out
            const auto count = double(points[j].NewsCount);
            c.setY(i, k, c.IsHole(cell) ? count : cell + count);
        }
    }
}

bool NewsChartBuilder::LoadSeries(db::Connection &connection, const QString &connectionString,
                                  const NewsChartQuery &query)
{
    const QString where =
        StatisticsStatement::PeriodClause(query.FromDate, query.TillDate, query.sFilter);
    m_statement = StatisticsStatement::Compose(where, query.sOrder);
    if (m_counts && query.mode == StatisticsMode::Fastest)
        if (const auto rows = m_counts->Open(connectionString, query))
            return ReadSeries(*rows);
    connection.Open(connectionString);
    // A connection that did not open gives no rows.
    const bool hasRows = ReadSeries(
        *StatisticsReader::Open(connection, where, query.sOrder, query.chartSeria, query.mode));
    connection.Close();
    return hasRows;
}

bool NewsChartBuilder::ReadSeries(StatisticsRows &rows)
{
    m_lastPath = rows.path();
    bool hasRows = false;
    qint32 lastId = 0;
    StatisticsRow row;
    while (rows.next(row)) {
        if (row.seriesId != lastId) {
            lastId = row.seriesId;
            m_chart.AddSeriesLabel(rows.seriesName());
            SeriesData.emplace_back();
        }
        SeriesData.back().Points.push_back({row.pointDate, row.newsCount});
        if (row.dated && row.firstDate < m_minDate)
            m_minDate = row.firstDate;
        if (row.dated && row.lastDate > m_maxDate)
            m_maxDate = row.lastDate;
        hasRows = true;
    }
    return hasRows;
}

void NewsChartBuilder::SetupAxes()
{
    if (ChartAxis *y = m_chart.Axis(u"Y")) {
        y->AnnotationMethod = 0;
        y->Grid.IsShown = true;
        y->Grid.FollowsTicks = true;
        y->Grid.LinePattern = 4;
        y->Grid.Spacing = 5.0;
        y->Grid.SpacingIsAuto = true;
        y->ZeroLineShown = true;
    }
    if (ChartAxis *x = m_chart.Axis(u"X")) {
        x->AnnotationMethod = 3;
        x->TimeUnit = 4;
        x->Grid.IsShown = true;
        x->Grid.FollowsTicks = true;
        x->Grid.LinePattern = 4;
        x->Grid.Spacing = 1.0;
        x->Grid.SpacingIsAuto = true;
    }
}

void NewsChartBuilder::SetupTimeAxis()
{
    ChartControl &c = m_chart;
    const double MinDate = m_minDate;
    const double MaxDate = m_maxDate;
    // Whole calendar days and month boundaries between the two dates: the
    // time of day plays no part in either.
    const auto d = qint64(dayOf(MaxDate) - dayOf(MinDate));
    const dates::Fields first = dates::toFields(MinDate);
    const dates::Fields last = dates::toFields(MaxDate);
    const int m = (last.year * 12 + last.month) - (first.year * 12 + first.month);
    const double TitleDate = MinDate + double(d) + 0.5;
    if (ChartAxis *x = c.Axis(u"X"))
        x->TimeBase = MinDate - 1;

    QString title;
    if (d < 1)
        title = ChartControl::Format(MinDate, u"%B %d"_s);
    else if (d == 1)
        title = ChartControl::Format(MinDate, u"%B "_s) + ChartControl::Format(MinDate, u"%d-"_s) +
                ChartControl::Format(MaxDate, u"%d"_s);
    else if (m <= 1)
        title = ChartControl::Format(TitleDate, u"%B %Y"_s);
    else if (m <= 6)
        title = ChartControl::Format(MinDate, u"%B - "_s) + ChartControl::Format(MaxDate, u"%B"_s);
    else
        title = ChartControl::Format(TitleDate, u"%Y"_s);

    const int label = c.AddLabel();
    c.setLabelIsBatched(label, true);
    c.setLabelText(label, u"News Count for "_s + title);
    c.setLabelDataX(label, (c.AxisMin(u"X") + c.AxisMax(u"X")) / 2);
    c.setLabelDataY(label, c.AxisMax(u"Y"));
    c.setLabelIsBatched(label, false);
    c.setLabelBold(label, true);

    c.setBorderStyle(1);
    c.setBorderWidth(4);
    c.setBackColor(kDrawnBackColor);
}

} // namespace qrt::chart
