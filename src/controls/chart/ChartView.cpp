#include "controls/chart/ChartView.h"

#include "component/ThemeColors.h"
#include "controls/chart/DayAxisTicker.h"
#include "controls/chart/PlotExport.h"
#include "newschart/ChartControl.h"

#include <QHelpEvent>
#include <QToolTip>

#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;

// The chart area: filled with its back colour behind the axes and framed by
// its border, drawn first so grid and data lie on top.
class ChartAreaBackdrop : public QCPLayerable
{
public:
    ChartAreaBackdrop(QCustomPlot *plot, const ChartControl *control)
        : QCPLayerable(plot, u"background"_s)
        , m_control(control)
    {}

protected:
    void applyDefaultAntialiasingHint(QCPPainter *painter) const override
    {
        applyAntialiasingHint(painter, false, QCP::aeOther);
    }

    void draw(QCPPainter *painter) override
    {
        const QRect area = mParentPlot->axisRect()->outerRect();
        const QColor back = ThemeColors::toQColor(m_control->BackColor());
        painter->fillRect(area, back);
        const int width = m_control->BorderWidth();
        if (width <= 0 || m_control->BorderStyle() == 0)
            return;
        QPen pen(back.darker(135), width);
        pen.setJoinStyle(Qt::MiterJoin);
        painter->setPen(pen);
        painter->setBrush(Qt::NoBrush);
        const int inset = width / 2;
        painter->drawRect(area.adjusted(inset, inset, -inset - 1, -inset - 1));
    }

private:
    const ChartControl *m_control;
};

namespace {

// A series in the legend under a name that may be shortened to fit its
// column; the full name stays the plottable's.
class LegendEntry : public QCPPlottableLegendItem
{
public:
    LegendEntry(QCPLegend *legend, QCPAbstractPlottable *plottable, int nameWidth)
        : QCPPlottableLegendItem(legend, plottable)
    {
        const QFontMetrics metrics(legend->font());
        m_text = metrics.elidedText(plottable->name(), Qt::ElideRight, nameWidth);
    }

    const QString &text() const { return m_text; }

protected:
    void draw(QCPPainter *painter) override
    {
        const QSize icon = mParentLegend->iconSize();
        const QRect iconRect(mRect.topLeft(), icon);
        painter->setFont(getFont());
        painter->setPen(QPen(getTextColor()));
        const int textX = mRect.x() + icon.width() + mParentLegend->iconTextPadding();
        painter->drawText(QRect(textX, mRect.y(), mRect.right() - textX + 1, mRect.height()),
                          Qt::AlignLeft | Qt::AlignVCenter, m_text);
        // The plottable draws its own key; the base item's full name is
        // clipped away with everything else outside the key.
        painter->save();
        painter->setClipRect(iconRect, Qt::IntersectClip);
        QCPPlottableLegendItem::draw(painter);
        painter->restore();
    }

    QSize minimumOuterSizeHint() const override
    {
        const QFontMetrics metrics(getFont());
        const QSize icon = mParentLegend->iconSize();
        return QSize(icon.width() + mParentLegend->iconTextPadding() +
                         metrics.horizontalAdvance(m_text) + mMargins.left() + mMargins.right(),
                     std::max(metrics.height(), icon.height()) + mMargins.top() +
                         mMargins.bottom());
    }

private:
    QString m_text;
};

// The last line of a legend that has no room for every series: how many
// are left out.
class LegendRemainder : public QCPAbstractLegendItem
{
public:
    LegendRemainder(QCPLegend *legend, int count)
        : QCPAbstractLegendItem(legend)
        , m_text(ChartView::tr("+ %n more", nullptr, count))
    {}

    const QString &text() const { return m_text; }

protected:
    void draw(QCPPainter *painter) override
    {
        painter->setFont(mFont);
        painter->setPen(QPen(mTextColor));
        painter->drawText(mRect, Qt::AlignLeft | Qt::AlignVCenter, m_text);
    }

    QSize minimumOuterSizeHint() const override
    {
        const QFontMetrics metrics(mFont);
        return QSize(metrics.horizontalAdvance(m_text) + mMargins.left() + mMargins.right(),
                     std::max(metrics.height(), mParentLegend->iconSize().height()) +
                         mMargins.top() + mMargins.bottom());
    }

private:
    QString m_text;
};

// Value labels for counts: never a step below one.
class CountTicker : public QCPAxisTicker
{
protected:
    double getTickStep(const QCPRange &range) override
    {
        return std::max(1.0, QCPAxisTicker::getTickStep(range));
    }
};

Qt::PenStyle penStyle(int pattern)
{
    switch (pattern) {
    case 0:
        return Qt::NoPen;
    case 3:
        return Qt::DashLine;
    case 4:
        return Qt::DotLine;
    case 5:
        return Qt::DashDotLine;
    default: // 1 and the series lines' 2 draw solid
        return Qt::SolidLine;
    }
}

QCPScatterStyle::ScatterShape symbolShape(int code)
{
    switch (code) {
    case 0:
        return QCPScatterStyle::ssNone;
    case 1:
        return QCPScatterStyle::ssDisc;
    case 2:
        return QCPScatterStyle::ssSquare;
    case 3:
        return QCPScatterStyle::ssTriangle;
    case 4:
        return QCPScatterStyle::ssDiamond;
    case 5:
        return QCPScatterStyle::ssStar;
    case 6:
        return QCPScatterStyle::ssCross;
    case 7:
        return QCPScatterStyle::ssPlus;
    default:
        return QCPScatterStyle::ssCircle;
    }
}

QColor color(quint32 classic)
{
    return ThemeColors::toQColor(classic);
}

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// The legend beside the chart takes at most this share of the width, so
// that the chart keeps the larger part however many series there are; a
// narrow chart grants it up to kLegendNarrowShare, to kLegendMinWidth. A
// name keeps at least kMinNameWidth before the legend adds a column.
constexpr double kLegendWidthShare = 0.3;
constexpr double kLegendNarrowShare = 0.45;
constexpr int kLegendMinWidth = 130;
constexpr int kMinNameWidth = 70;
constexpr QSize kMinimumSize(150, 100);
// Room the value axis and the margins take beside the chart area, and the
// room a day label needs so that neighbours never touch.
constexpr int kValueAxisWidth = 60;
constexpr int kDayLabelRoom = 75;
constexpr double kSmallestTitlePoints = 6.0;

} // namespace

ChartView::ChartView(ChartControl *control, QWidget *parent)
    : QCustomPlot(parent)
    , m_control(control)
    , m_ticker(QSharedPointer<DayAxisTicker>::create())
{
    setBackground(QBrush(color(DesignBackColor)));
    setMinimumSize(kMinimumSize);
    setAutoAddPlottableToLegend(false);
    m_backdrop = new ChartAreaBackdrop(this, m_control);
    m_barsGroup = new QCPBarsGroup(this);
    m_barsGroup->setSpacing(0);
    yAxis->setTicker(QSharedPointer<CountTicker>::create());
    for (QCPAxis *axis : {xAxis, yAxis}) {
        axis->setTickLabelFont(font());
        axis->setSubTicks(false);
    }
    legend->setFont(font());
    legend->setBrush(QBrush(Qt::white));
    legend->setBorderPen(QPen(QColor(160, 160, 160)));
    // Small keys leave rows for more series beside a low chart.
    legend->setIconSize(QSize(22, 12));
    legend->setIconTextPadding(5);
    legend->setRowSpacing(1);
    // The legend stands beside the chart area, not over the data, centred
    // between two empty cells that take the spare height.
    axisRect()->insetLayout()->take(legend);
    legend->setSizeConstraintRect(QCPLayoutElement::scrOuterRect);
    m_legendColumn = new QCPLayoutGrid;
    plotLayout()->addElement(0, 1, m_legendColumn); // adopted first, so its cells know the plot
    plotLayout()->setColumnStretchFactor(1, 0.001);
    m_legendColumn->setRowSpacing(0);
    m_legendColumn->addElement(0, 0, new QCPLayoutElement(this));
    m_legendColumn->addElement(1, 0, legend);
    m_legendColumn->addElement(2, 0, new QCPLayoutElement(this));
    connect(m_control, &ChartControl::repaintNeeded, this, &ChartView::redraw);
    redraw();
}

ChartView::~ChartView() = default;

std::vector<std::vector<double>> ChartView::seriesValues(bool stacked) const
{
    const int series = m_control->NumSeries();
    const int points = m_control->NumPoints(1);
    std::vector<std::vector<double>> values(static_cast<size_t>(series),
                                            std::vector<double>(static_cast<size_t>(points)));
    for (int k = 1; k <= points; ++k) {
        double base = 0.0;
        for (int i = 1; i <= series; ++i) {
            double v = 0.0;
            const bool has = m_control->Y(i, k, v) && !m_control->IsHole(v);
            if (has && stacked)
                base += v;
            values[size_t(i - 1)][size_t(k - 1)] = !has ? kNaN : stacked ? base : v;
        }
    }
    return values;
}

QSize ChartView::layoutSize() const
{
    return m_exportSize.isValid() ? m_exportSize : size();
}

void ChartView::resizeEvent(QResizeEvent *event)
{
    QCustomPlot::resizeEvent(event);
    redraw(); // the legend's columns and the symbols follow the size
}

void ChartView::redraw()
{
    clearPlottables();
    clearItems();
    m_bySeries.clear();
    const bool empty = m_control->NumSeries() == 0 || m_control->NumPoints(1) == 0;
    for (QCPAxis *axis : {xAxis, yAxis})
        axis->setVisible(!empty);
    if (!empty) {
        drawAxes();
        drawSeries();
    }
    drawLabels();
    placeLegend();
    replot(rpQueuedReplot);
}

void ChartView::drawAxes()
{
    const auto *x = m_control->Axis(u"X");
    const auto *y = m_control->Axis(u"Y");
    xAxis->setRange(m_control->AxisMin(u"X"), m_control->AxisMax(u"X"));
    yAxis->setRange(m_control->AxisMin(u"Y"), m_control->AxisMax(u"Y"));
    if (x->AnnotationMethod == 3) {
        m_ticker->setBase(x->TimeBase);
        m_ticker->setTickCount(std::clamp(plotWidthEstimate() / kDayLabelRoom, 2, 8));
        xAxis->setTicker(m_ticker);
    } else if (xAxis->ticker() == m_ticker) {
        xAxis->setTicker(QSharedPointer<CountTicker>::create());
    }
    const QColor gridColor(150, 150, 150);
    for (auto [axis, state] : {std::pair{xAxis, x}, std::pair{yAxis, y}}) {
        axis->grid()->setVisible(state->Grid.IsShown);
        axis->grid()->setPen(QPen(gridColor, 0, penStyle(state->Grid.LinePattern)));
        axis->grid()->setZeroLinePen(state->ZeroLineShown ? QPen(Qt::black, 1) : Qt::NoPen);
    }
}

void ChartView::drawSeries()
{
    const int type = m_control->ChartType();
    const bool stacked = m_control->IsStacked() || type == ChartControl::StackingBar;
    const auto values = seriesValues(stacked);
    m_bySeries.assign(values.size(), nullptr);
    if (type == ChartControl::Bar || type == ChartControl::StackingBar)
        drawBars(stacked, values);
    else
        drawLines(type == ChartControl::Area, values);
    for (size_t i = 0; i < m_bySeries.size(); ++i)
        if (m_bySeries[i])
            m_bySeries[i]->setName(m_control->SeriesLabels().value(int(i)));
}

void ChartView::drawLines(bool filled, const std::vector<std::vector<double>> &values)
{
    const bool stacked = m_control->IsStacked();
    const int count = int(values.size());
    // Symbols only where they leave room between them; a year of days
    // would be a band of symbols.
    const qsizetype points = values.empty() ? 0 : qsizetype(values.front().size());
    const bool symbols = points > 0 && plotWidthEstimate() / double(points) >= 6.0;
    // A stack is painted from the top series down, each lower one over it.
    for (int n = 0; n < count; ++n) {
        const int i = stacked ? count - n : n + 1;
        const SeriesStyle style = ChartControl::Style(i);
        QCPGraph *graph = addGraph();
        const auto &row = values[size_t(i - 1)];
        QVector<double> keys(qsizetype(row.size()));
        for (qsizetype k = 0; k < keys.size(); ++k)
            keys[k] = double(k + 1);
        graph->setData(keys, QVector<double>(row.begin(), row.end()), true);
        graph->setPen(QPen(color(style.LineColor), style.LineWidth, penStyle(style.LinePattern)));
        if (filled) {
            QColor fill = color(style.FillColor);
            if (!stacked)
                fill.setAlpha(110);
            graph->setBrush(fill);
        } else if (symbols) {
            graph->setScatterStyle(QCPScatterStyle(symbolShape(style.SymbolShape),
                                                   color(style.SymbolColor),
                                                   color(style.SymbolColor), style.SymbolSize));
        }
        m_bySeries[size_t(i - 1)] = graph;
    }
}

void ChartView::drawBars(bool stacked, const std::vector<std::vector<double>> &values)
{
    const int count = int(values.size());
    QCPBarsGroup *group = stacked ? nullptr : m_barsGroup;
    for (int n = 0; n < count; ++n) {
        const int i = stacked ? count - n : n + 1;
        const SeriesStyle style = ChartControl::Style(i);
        auto *bars = new QCPBars(xAxis, yAxis);
        bars->setWidth(stacked ? 0.75 : 0.8 / count);
        if (group)
            bars->setBarsGroup(group);
        const QColor fill = color(style.FillColor);
        bars->setBrush(fill);
        bars->setPen(QPen(fill.darker(150), 0));
        const auto &row = values[size_t(i - 1)];
        QVector<double> keys;
        QVector<double> heights;
        for (size_t k = 0; k < row.size(); ++k) {
            if (std::isnan(row[k]))
                continue; // a hole has no bar
            keys << double(k + 1);
            heights << row[k];
        }
        bars->setData(keys, heights, true);
        m_bySeries[size_t(i - 1)] = bars;
    }
}

void ChartView::drawLabels()
{
    for (int i = 0; i < m_control->LabelCount(); ++i) {
        const ChartLabel *label = m_control->Label(i);
        auto *text = new QCPItemText(this);
        text->position->setType(QCPItemPosition::ptPlotCoords);
        text->position->setCoords(label->DataX, label->DataY);
        text->setPositionAlignment(Qt::AlignTop | Qt::AlignHCenter);
        QFont font = this->font();
        font.setBold(label->Bold);
        // A title wider than a narrow chart gets a smaller font, and is never
        // cut at the chart area's edge.
        const int room = plotWidthEstimate() - 8;
        while (QFontMetrics(font).horizontalAdvance(label->Text) > room &&
               font.pointSizeF() > kSmallestTitlePoints)
            font.setPointSizeF(font.pointSizeF() - 0.5);
        text->setClipToAxisRect(false);
        text->setFont(font);
        text->setPadding(QMargins(4, 4, 4, 4));
        text->setText(label->Text);
    }
}

void ChartView::placeLegend()
{
    fillLegend();
    const bool show = legend->itemCount() > 0;
    const bool placed = plotLayout()->hasElement(0, 1);
    legend->setVisible(show);
    if (show && !placed) {
        plotLayout()->addElement(0, 1, m_legendColumn);
        plotLayout()->setColumnStretchFactor(1, 0.001);
    } else if (!show && placed) {
        plotLayout()->take(m_legendColumn);
        plotLayout()->simplify();
    }
}

// Items run down a column and wrap into the next one, within a capped width:
// names are shortened to their column, and series beyond the last place are
// counted on a last line.
void ChartView::fillLegend()
{
    legend->clearItems();
    std::vector<QCPAbstractPlottable *> series;
    for (QCPAbstractPlottable *plottable : m_bySeries)
        if (plottable)
            series.push_back(plottable);
    if (!m_control->LegendIsShowing() || series.empty())
        return;
    const QSize area = layoutSize();
    const QMargins margins = legend->margins();
    const QFontMetrics metrics(legend->font());
    const int itemHeight = std::max(metrics.height(), legend->iconSize().height());
    const int room = area.height() - margins.top() - margins.bottom() - 8;
    const int rows =
        std::max(1, (room + legend->rowSpacing()) / (itemHeight + legend->rowSpacing()));
    const int width = std::max(1, legendCap() - margins.left() - margins.right());
    const int keyWidth = legend->iconSize().width() + legend->iconTextPadding();
    const int spacing = legend->columnSpacing();
    const int needed = (int(series.size()) + rows - 1) / rows;
    const int fitting = std::max(1, (width + spacing) / (keyWidth + kMinNameWidth + spacing));
    const int columns = std::min(needed, fitting);
    const int nameWidth = std::max(1, (width - (columns - 1) * spacing) / columns - keyWidth);
    const int places = rows * columns;
    const int shown = int(series.size()) <= places ? int(series.size()) : places - 1;
    for (int i = 0; i < shown; ++i)
        legend->addItem(new LegendEntry(legend, series[size_t(i)], nameWidth));
    if (shown < int(series.size()))
        legend->addItem(new LegendRemainder(legend, int(series.size()) - shown));
    legend->setFillOrder(QCPLayoutGrid::foRowsFirst, false);
    legend->setWrap(rows);
    legend->setFillOrder(QCPLayoutGrid::foRowsFirst, true);
    legend->setMaximumSize(legend->minimumOuterSizeHint());
}

int ChartView::legendCap() const
{
    const int width = layoutSize().width();
    return std::max(std::min(kLegendMinWidth, int(width * kLegendNarrowShare)),
                    int(width * kLegendWidthShare));
}

// The width the chart area will have, before the layout has placed it:
// what the legend and the value axis leave.
int ChartView::plotWidthEstimate() const
{
    const int legendWidth = m_control->LegendIsShowing() ? legendCap() : 0;
    return std::max(1, layoutSize().width() - legendWidth - kValueAxisWidth);
}

QString ChartView::legendText(int index) const
{
    if (index < 0 || index >= legend->itemCount())
        return {};
    if (const auto *entry = dynamic_cast<const LegendEntry *>(legend->item(index)))
        return entry->text();
    return static_cast<const LegendRemainder *>(legend->item(index))->text();
}

bool ChartView::event(QEvent *event)
{
    // A shortened name shows whole under the mouse.
    if (event->type() == QEvent::ToolTip) {
        const QPoint pos = static_cast<QHelpEvent *>(event)->pos();
        for (int i = 0; legend->visible() && i < legend->itemCount(); ++i) {
            auto *entry = dynamic_cast<QCPPlottableLegendItem *>(legend->item(i));
            if (entry && entry->outerRect().contains(pos)) {
                QToolTip::showText(static_cast<QHelpEvent *>(event)->globalPos(),
                                   entry->plottable()->name(), this);
                return true;
            }
        }
        QToolTip::hideText();
        event->ignore();
        return true;
    }
    return QCustomPlot::event(event);
}

bool ChartView::exportTo(const QString &path, QSize size, QString *error)
{
    m_exportSize = size;
    redraw();
    const QString title = m_control->LabelCount() ? m_control->Label(0)->Text : u"News Count"_s;
    const bool ok = PlotExport::write(*this, path, size, title, error);
    m_exportSize = QSize();
    redraw();
    return ok;
}
