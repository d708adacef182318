#pragma once
// The news chart as the user sees it: draws the state of its ChartControl
// with QCustomPlot each time the control asks for a repaint. Lines break at
// holes, bars leave them out, stacks pass over them; the stacked flag works
// on every chart type. It also writes the chart to PNG, SVG or PDF.

#include "controls/chart/QCustomPlotInclude.h"

#include <QSharedPointer>

class ChartControl;
class DayAxisTicker;
class ChartAreaBackdrop;

class ChartView : public QCustomPlot
{
    Q_OBJECT

public:
    // Draws the given control, which must outlive the view.
    explicit ChartView(ChartControl *control, QWidget *parent = nullptr);
    ~ChartView() override;

    ChartControl *control() const { return m_control; }

    // Writes the chart at the given size; the format follows the suffix
    // (.png, .svg, .pdf). False, with the reason, when it cannot.
    bool exportTo(const QString &path, QSize size, QString *error = nullptr);

    // The series as drawn, for tests: one plottable per series with data.
    int drawnSeriesCount() const { return plottableCount(); }

    // Brings the drawing in line with the control.
    void redraw();

    // The text a legend line shows: a series name, perhaps shortened, or
    // the count of series left out for want of room.
    QString legendText(int index) const;

protected:
    void resizeEvent(QResizeEvent *event) override;
    bool event(QEvent *event) override;

private:
    // The size the chart is laid out for: the widget's, or an export's.
    QSize layoutSize() const;
    void drawAxes();
    void drawSeries();
    void drawLines(bool filled, const std::vector<std::vector<double>> &values);
    void drawBars(bool stacked, const std::vector<std::vector<double>> &values);
    void drawLabels();
    void placeLegend();
    void fillLegend();
    int legendCap() const;
    int plotWidthEstimate() const;
    std::vector<std::vector<double>> seriesValues(bool stacked) const;

    ChartControl *m_control;
    QSharedPointer<DayAxisTicker> m_ticker;
    ChartAreaBackdrop *m_backdrop;
    QCPBarsGroup *m_barsGroup;
    QCPLayoutGrid *m_legendColumn;
    std::vector<QCPAbstractPlottable *> m_bySeries; // index: series - 1
    QSize m_exportSize;
};
