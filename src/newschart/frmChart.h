#pragma once
// The built-in news chart: counts of news items per calendar day, one series
// per channel, provider or category, over the period and filter its public
// fields name. The workspace sets the fields and calls DrawChart; the chart
// control chrtNews fills the form.

#include "base/Dates.h"
#include "newschart/StatisticsReader.h"

#include <QString>
#include <QWidget>

#include <vector>

class ChartControl;
class ChartView;

class frmChart : public QWidget
{
    Q_OBJECT

public:
    explicit frmChart(QWidget *parent = nullptr);
    ~frmChart() override;

    qint16 fIndex = 0;
    QString sOrder;        // ORDER BY text of the statistics statement
    qint32 chartSeria = 0; // column number of the series ID: 2, 3 or 4
    QString sFilter;       // the filter panel's condition; empty draws nothing
    qrt::dates::Date FromDate = 0.0;
    qrt::dates::Date TillDate = 0.0;

    void DrawChart();

    ChartView *chrtNews = nullptr;
    ChartControl &chart() const;

    // What the last drawing left: the range of the rows' dates.
    qrt::dates::Date minDate() const { return MinDate; }
    qrt::dates::Date maxDate() const { return MaxDate; }
    // 11 (the hourglass) while a drawing runs, else 0.
    int MousePointer() const { return m_mousePointer; }

    // How the rows are read; the literal statement is there to compare with.
    qrt::chart::StatisticsMode statisticsMode = qrt::chart::StatisticsMode::Fastest;
    qrt::chart::StatisticsPath lastStatisticsPath() const { return m_lastPath; }

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

    void ClearChart();
    // Reads the rows into SeriesData and the series labels; false when none came.
    bool LoadSeries(const QString &where);
    void SetupAxes();
    void SetupTimeAxis();
    void setMousePointer(int pointer);
    qint32 pointNumber(double date) const;

    QWidget *elstMain = nullptr;
    qrt::dates::Date MinDate = 0.0;
    qrt::dates::Date MaxDate = 0.0;
    std::vector<SeriesRecord> SeriesData = std::vector<SeriesRecord>(1); // [0] is a spare
    int m_mousePointer = 0;
    qrt::chart::StatisticsPath m_lastPath = qrt::chart::StatisticsPath::None;
};
