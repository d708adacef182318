#pragma once
// The built-in news chart: counts of news items per calendar day, one series
// per channel, provider or category, over the period and filter its public
// fields name. The workspace sets the fields and calls DrawChart; the chart
// control chrtNews fills the form.

#include "base/Dates.h"
#include "newschart/ChannelDayCounts.h"
#include "newschart/NewsChartBuilder.h"

#include <QString>
#include <QWidget>

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

    // Clears the chart and, with a filter, draws it from gConnection under
    // the hourglass.
    void DrawChart();

    ChartView *chrtNews = nullptr;
    ChartControl &chart() const { return *m_chart; }

    // What the last drawing left: the range of the rows' dates.
    qrt::dates::Date minDate() const { return m_builder.MinDate(); }
    qrt::dates::Date maxDate() const { return m_builder.MaxDate(); }
    // 11 (the hourglass) while a drawing runs, else 0.
    int MousePointer() const { return m_mousePointer; }

    // How the rows are read; the literal statement is there to compare with.
    qrt::chart::StatisticsMode statisticsMode = qrt::chart::StatisticsMode::Fastest;
    qrt::chart::StatisticsPath lastStatisticsPath() const { return m_builder.lastPath(); }
    // Until the count of News the first drawing started has ended, so that
    // what reads the database next is known (for the tests).
    void waitForCounts() { m_counts.waitForRead(); }

private:
    void setMousePointer(int pointer);

    QWidget *elstMain = nullptr;
    ChartControl *m_chart;
    // Read at the first drawing, so that a redraw with another period,
    // filter or grouping asks the database only whether it changed.
    qrt::chart::ChannelDayCounts m_counts;
    qrt::chart::NewsChartBuilder m_builder;
    int m_mousePointer = 0;
};
