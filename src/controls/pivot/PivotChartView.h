#pragma once
// The pivot chart as the user sees it: draws a PivotChartData with
// QCustomPlot as columns, bars, lines, areas, a pie or a doughnut, by the
// type numbers of the chart space (PivotChartTypes), with screen tips over
// the values and export to PNG, SVG or PDF. The pivot chart object around
// it builds the data and keeps the type; this view only draws them.

#include "controls/chart/QCustomPlotInclude.h"
#include "controls/pivot/PivotChartTypes.h"
#include "pivot/PivotChartData.h"

#include <optional>
#include <vector>

class PiePlottable;
class PivotChartAxes;

class PivotChartView : public QCustomPlot
{
    Q_OBJECT

public:
    explicit PivotChartView(QWidget *parent = nullptr);
    ~PivotChartView() override;

    void setChartData(qrt::pivot::PivotChartData data);
    const qrt::pivot::PivotChartData &chartData() const { return m_data; }

    // Any number is kept as set and drawn as drawnType(type).
    void setChartType(int type);
    int chartType() const { return m_type; }
    static int drawnType(int type) { return PivotChartTypes::drawnType(type); }
    static QList<int> drawnTypes() { return PivotChartTypes::drawnTypes(); }
    static QString typeName(int type) { return PivotChartTypes::typeName(type); }
    static QIcon typeIcon(int type) { return PivotChartTypes::typeIcon(type); }

    void setLegendShown(bool shown);
    bool legendShown() const { return m_legendShown; }

    // Writes the chart at the given size; the format follows the suffix
    // (.png, .svg, .pdf). False, with the reason, when it cannot.
    bool exportTo(const QString &path, QSize size, QString *error = nullptr);

    // The value drawn for a series at a category, read back from the
    // plottables: stacked lines and areas hold running sums, 100% types
    // shares. Nothing where nothing is drawn.
    std::optional<double> drawnValue(int series, int category) const;

    // The screen tip at a point of the widget; empty where no value is.
    QString toolTipAt(const QPointF &pos) const;
    // Whether the mouse brings the screen tips up (it does by default).
    void setScreenTipsShown(bool shown) { m_screenTips = shown; }

    // The colour of a series, or of a category's slice in a pie.
    static QColor paletteColor(int index);

protected:
    void mouseMoveEvent(QMouseEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    struct Point
    {
        int series = 0;
        int category = 0;
    };

    void redraw();
    void drawEmpty();
    void setUpAxes(const PivotChartTypes::Form &form);
    void drawBars(const PivotChartTypes::Form &form, const std::vector<std::vector<double>> &rows);
    void drawLines(const PivotChartTypes::Form &form, const std::vector<std::vector<double>> &rows);
    void drawAreas(const PivotChartTypes::Form &form, const std::vector<std::vector<double>> &rows);
    void drawPie(const PivotChartTypes::Form &form);
    void scaleValueAxis(const PivotChartTypes::Form &form);
    bool leaveRoomForLegend();
    int legendEntryCount() const;
    bool legendBeside() const;
    int legendCapacity() const;
    void fillLegend();
    void placeLegend();
    QCPAxis *categoryAxis(const PivotChartTypes::Form &form) const;
    QCPAxis *valueAxis(const PivotChartTypes::Form &form) const;
    std::optional<Point> pointAt(const QPointF &pos) const;
    std::optional<Point> graphPointAt(const QPointF &pos) const;

    qrt::pivot::PivotChartData m_data;
    int m_type = PivotChartTypes::DefaultType;
    bool m_legendShown = true;
    bool m_screenTips = true;
    PivotChartAxes *m_axes;
    QCPBarsGroup *m_barsGroup;
    QCPLayoutGrid *m_legendColumn;
    PiePlottable *m_pie = nullptr;
    QCPAxis *m_valueAxis = nullptr; // none for a pie or no data
    QCPRange m_valueRange;          // what the values need, before the legend's room
    std::vector<QCPAbstractPlottable *> m_bySeries;      // the values drawn, by series
    std::vector<QCPAbstractPlottable *> m_legendEntries; // what the legend shows for them
};
