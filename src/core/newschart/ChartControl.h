#pragma once
// The state of the news chart control, apart from any drawing: the data table
// of series by points with its hole value, the chart type and stacking of the
// one chart group, series labels, chart labels, the two axes and the look of
// the chart area. The chart form works through these operations; ChartView
// draws the state whenever the batch flag drops; tests read it directly.

#include <QObject>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <vector>

// A colour in the classic 0x00BBGGRR form the control's properties use.
constexpr quint32 ClassicRgb(int red, int green, int blue)
{
    return quint32(red & 0xFF) | quint32(green & 0xFF) << 8 | quint32(blue & 0xFF) << 16;
}

// The beige of the design: the empty chart, the chart's surround and the
// pivot page's background.
constexpr quint32 DesignBackColor = ClassicRgb(245, 245, 220);

struct ChartGrid
{
    bool IsShown = false;      // first on/off option of the grid
    bool FollowsTicks = false; // second on/off option: lines at the annotation steps
    int LinePattern = 1;
    double Spacing = 0.0;
    bool SpacingIsAuto = true;
};

struct ChartAxis
{
    QString Name;             // "X" or "Y"
    int AnnotationMethod = 0; // 0 value labels, 3 time labels
    int TimeUnit = 0;         // 4: days
    double TimeBase = 0.0;    // point k stands for TimeBase + k days
    ChartGrid Grid;
    bool ZeroLineShown = false; // the further on/off option: a line at value 0
};

struct ChartLabel
{
    QString Text;
    double DataX = 0.0;
    double DataY = 0.0;
    bool Bold = false;
    bool IsBatched = false; // the label's update bracket
};

struct SeriesStyle
{
    quint32 LineColor = 0;
    quint32 FillColor = 0;
    int LineWidth = 1;
    int LinePattern = 2;
    int SymbolShape = 1;
    int SymbolSize = 7;
    quint32 SymbolColor = 0;
};

class ChartControl : public QObject
{
    Q_OBJECT

public:
    enum ChartTypeCode { Plot = 1, Bar = 2, StackingBar = 4, Area = 5 };
    static constexpr double DefaultHoleValue = 1e308;

    explicit ChartControl(QObject *parent = nullptr);

    // Chart: while batched the control holds its repainting; dropping the
    // flag repaints once.
    bool IsBatched() const { return m_batched; }
    void setIsBatched(bool batched);
    bool LegendIsShowing() const { return m_legend; }
    void setLegendIsShowing(bool showing);

    // Chart area look.
    int BorderStyle() const { return m_borderStyle; }
    void setBorderStyle(int style);
    int BorderWidth() const { return m_borderWidth; }
    void setBorderWidth(int width);
    quint32 BackColor() const { return m_backColor; }
    void setBackColor(quint32 color);

    // Chart labels, numbered from 0 in the order they were added.
    void RemoveAllLabels();
    int AddLabel();
    int LabelCount() const { return int(m_labels.size()); }
    const ChartLabel *Label(int index) const;
    void setLabelIsBatched(int index, bool batched);
    void setLabelText(int index, const QString &text);
    void setLabelDataX(int index, double x);
    void setLabelDataY(int index, double y);
    void setLabelBold(int index, bool bold);

    // Chart group 1.
    int ChartType() const { return m_chartType; }
    void setChartType(int type); // 1, 2, 4 or 5; anything else is ignored
    bool IsStacked() const { return m_stacked; }
    void setIsStacked(bool stacked);

    // Series labels of group 1: label n belongs to series n.
    const QStringList &SeriesLabels() const { return m_seriesLabels; }
    void RemoveAllSeriesLabels();
    void AddSeriesLabel(const QString &name);

    // Data of group 1, series and points numbered from 1.
    bool DataIsBatched() const { return m_dataBatched; }
    void setDataIsBatched(bool batched);
    int NumSeries() const { return int(m_y.size()); }
    void setNumSeries(int count);
    // Written for one series, valid for all; a new table consists of holes.
    int NumPoints(int series) const;
    void setNumPoints(int series, int count);
    double HoleValue() const { return m_holeValue; }
    bool IsHole(double value) const { return value == m_holeValue; }
    // False, and nothing read or written, outside the table.
    bool Y(int series, int point, double &value) const;
    bool setY(int series, int point, double value);

    // Series styles: the four of the design, then further distinct colours.
    static SeriesStyle Style(int series);

    // Axes by name, "X" or "Y"; nullptr for any other name.
    ChartAxis *Axis(QStringView name);
    const ChartAxis *Axis(QStringView name) const;
    // Bounds of an axis for the data now in the table: X from half a point
    // before the first to half after the last, Y from zero (or the lowest
    // value) to a round number above the highest value or stack.
    double AxisMin(QStringView name) const;
    double AxisMax(QStringView name) const;

    // The time scale's format operation: strftime conversions (%B, %d, %Y,
    // %W, %H, %M, %S, ...) applied to a date of the system's date type.
    static QString Format(double date, const QString &format);

Q_SIGNALS:
    // The drawing no longer matches the state; the view repaints.
    void repaintNeeded();

private:
    void changed();
    template<typename Edit>
    void editLabel(int index, bool heldByBracket, Edit edit);
    double valueMax() const;
    double valueMin() const;

    bool m_batched = false;
    bool m_legend = true;
    int m_borderStyle = 1;
    int m_borderWidth = 0;
    quint32 m_backColor = DesignBackColor;
    std::vector<ChartLabel> m_labels;
    int m_chartType = Plot;
    bool m_stacked = false;
    QStringList m_seriesLabels;
    bool m_dataBatched = false;
    int m_numPoints = 0;
    double m_holeValue = DefaultHoleValue;
    std::vector<std::vector<double>> m_y;
    ChartAxis m_x;
    ChartAxis m_yAxis;
};
