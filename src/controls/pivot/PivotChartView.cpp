#include "controls/pivot/PivotChartView.h"

#include "controls/chart/PlotExport.h"
#include "controls/pivot/PiePlottable.h"
#include "controls/pivot/PivotChartAxes.h"
#include "controls/pivot/SmoothGraph.h"

#include <QLocale>
#include <QMouseEvent>
#include <QToolTip>

#include <array>
#include <cmath>
#include <limits>
#include <numeric>

using namespace Qt::StringLiterals;
using namespace PivotChartTypes;
using qrt::pivot::PivotChartData;

namespace {

using Rows = std::vector<std::vector<double>>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Twelve colours apart enough to tell series from one another.
constexpr std::array<QRgb, 12> kPalette{0x4E79A7, 0xF28E2B, 0xE15759, 0x76B7B2, 0x59A14F, 0xEDC948,
                                        0xB07AA1, 0xFF9DA7, 0x9C755F, 0xBAB0AC, 0x1F3F77, 0x8CD17D};
constexpr std::array<QCPScatterStyle::ScatterShape, 6> kMarkers{
    QCPScatterStyle::ssCircle,   QCPScatterStyle::ssSquare,           QCPScatterStyle::ssDiamond,
    QCPScatterStyle::ssTriangle, QCPScatterStyle::ssTriangleInverted, QCPScatterStyle::ssStar};

// A legend of up to this many entries sits in the chart's top right corner;
// a longer one stands beside the chart.
constexpr int kInsideLegendMax = 4;
constexpr double kLegendShare = 0.4; // of the width, for a legend beside the chart

// The last line of a legend without room for every series: how many more
// there are, in the place of their keys.
class CountLegendItem : public QCPAbstractLegendItem
{
public:
    CountLegendItem(QCPLegend *parent, QString text)
        : QCPAbstractLegendItem(parent)
        , m_text(std::move(text))
    {}

protected:
    void draw(QCPPainter *painter) override
    {
        painter->setFont(mParentLegend->font());
        painter->setPen(mParentLegend->textColor());
        painter->drawText(mRect, Qt::AlignLeft | Qt::AlignVCenter, m_text);
    }
    QSize minimumOuterSizeHint() const override
    {
        const QFontMetrics metrics(mParentLegend->font());
        return QSize(metrics.horizontalAdvance(m_text), metrics.height()) +
               QSize(mMargins.left() + mMargins.right(), mMargins.top() + mMargins.bottom());
    }

private:
    QString m_text;
};
// Markers only where they leave room between them.
constexpr double kMarkerRoom = 9.0;
// Pixels between the legend in the corner and the values under it.
constexpr int kLegendGap = 6;
constexpr double kDoughnutHole = 0.45;
constexpr QSize kMinimumSize(150, 100);

// Value labels of a 100% chart.
class PercentTicker : public QCPAxisTicker
{
protected:
    QString getTickLabel(double tick, const QLocale &locale, QChar formatChar,
                         int precision) override
    {
        return QCPAxisTicker::getTickLabel(tick, locale, formatChar, precision) + u" %"_s;
    }
};

std::optional<double> rawValue(const PivotChartData &data, size_t series, size_t category)
{
    const auto &values = data.series[series].values;
    return category < values.size() ? values[category] : std::nullopt;
}

// The sum of the magnitudes at a category, which its shares divide.
double categoryTotal(const PivotChartData &data, size_t category)
{
    double total = 0.0;
    for (size_t s = 0; s < data.series.size(); ++s)
        total += std::abs(rawValue(data, s, category).value_or(0.0));
    return total;
}

double shareOf(double value, double total)
{
    return total > 0.0 ? value / total * 100.0 : 0.0;
}

// What each series plots per category, NaN where it has no value: the
// value, or its share of the category's total in a 100% type; lines and
// areas stack as running sums over the series before, while bars stack
// themselves (moveAbove) and so keep their own. Through holes, a stack's
// running sum goes on where the series has no value, as the fill of a
// stacked area needs.
Rows plotRows(const PivotChartData &data, const Form &form, bool throughHoles = false)
{
    const size_t categories = data.categories.size();
    Rows rows(data.series.size(), std::vector<double>(categories, kNaN));
    const bool running = form.stacking != Stacking::None &&
                         (form.family == Family::Lines || form.family == Family::Areas);
    for (size_t c = 0; c < categories; ++c) {
        const double total = categoryTotal(data, c);
        double sum = 0.0;
        for (size_t s = 0; s < rows.size(); ++s) {
            const auto v = rawValue(data, s, c);
            const double x = form.stacking == Stacking::Percent ? shareOf(v.value_or(0.0), total)
                                                                : v.value_or(0.0);
            sum += x;
            if (v || (throughHoles && running))
                rows[s][c] = running ? sum : x;
        }
    }
    return rows;
}

QVector<double> categoryKeys(size_t count)
{
    QVector<double> keys(qsizetype(count), 0.0);
    std::iota(keys.begin(), keys.end(), 1.0);
    return keys;
}

QString valueText(double v)
{
    const QLocale locale;
    if (std::abs(v) < 1e15 && v == std::round(v))
        return locale.toString(qlonglong(v));
    return locale.toString(v, 'f', 2);
}

bool several(const std::vector<PivotChartData::Series> &series)
{
    for (const auto &s : series)
        if (s.total != series.front().total)
            return true;
    return false;
}

} // namespace

PivotChartView::PivotChartView(QWidget *parent)
    : QCustomPlot(parent)
    , m_axes(new PivotChartAxes(this))
    , m_barsGroup(new QCPBarsGroup(this))
    , m_legendColumn(new QCPLayoutGrid)
{
    // The plot area is white within the beige of the object around it.
    setBackground(QBrush(QColor::fromString(u"beige")));
    axisRect()->setBackground(QBrush(Qt::white));
    setMinimumSize(kMinimumSize);
    setAutoAddPlottableToLegend(false);
    setMouseTracking(true);
    m_barsGroup->setSpacing(1);
    legend->setBrush(QBrush(Qt::white));
    legend->setBorderPen(QPen(QColor(180, 180, 180)));
    legend->setIconSize(QSize(20, 10));
    legend->setRowSpacing(1);
    for (QCPAxis *axis : {xAxis, yAxis}) {
        axis->setSubTicks(false);
        axis->grid()->setPen(QPen(QColor(225, 225, 225), 0));
        axis->setBasePen(QPen(QColor(120, 120, 120), 0));
        axis->setTickPen(QPen(QColor(120, 120, 120), 0));
        axis->setTickLength(0, 4); // outward: ticks inside would cross the bars
    }
    // The column beside the chart that takes a long legend, centred between
    // two empty cells; adopted first, so that its cells know the plot.
    plotLayout()->addElement(0, 1, m_legendColumn);
    m_legendColumn->setRowSpacing(0);
    m_legendColumn->setMargins(QMargins(0, 0, 8, 0)); // off the widget's edge
    m_legendColumn->addElement(0, 0, new QCPLayoutElement(this));
    m_legendColumn->addElement(2, 0, new QCPLayoutElement(this));
    plotLayout()->take(m_legendColumn);
    plotLayout()->simplify();
    // Labels fitted to an axis that the layout has just sized need one more pass.
    connect(this, &QCustomPlot::afterLayout, this, [this] {
        const bool labels = m_axes->fit();
        if (leaveRoomForLegend() || labels)
            replot(rpQueuedReplot);
    });
    redraw();
}

PivotChartView::~PivotChartView()
{
    if (!plotLayout()->hasElement(0, 1))
        delete m_legendColumn;
}

QColor PivotChartView::paletteColor(int index)
{
    return QColor(kPalette[size_t(index) % kPalette.size()]);
}

void PivotChartView::setChartData(PivotChartData data)
{
    m_data = std::move(data);
    redraw();
}

void PivotChartView::setChartType(int type)
{
    m_type = type;
    redraw();
}

void PivotChartView::setLegendShown(bool shown)
{
    m_legendShown = shown;
    redraw();
}

QCPAxis *PivotChartView::categoryAxis(const Form &form) const
{
    return form.family == Family::Bars ? yAxis : xAxis;
}

QCPAxis *PivotChartView::valueAxis(const Form &form) const
{
    return form.family == Family::Bars ? xAxis : yAxis;
}

void PivotChartView::redraw()
{
    clearPlottables();
    clearItems();
    m_bySeries.clear();
    m_legendEntries.clear();
    m_pie = nullptr;
    m_valueAxis = nullptr;
    const Form form = PivotChartTypes::form(m_type);
    if (m_data.isEmpty()) {
        drawEmpty();
    } else {
        setUpAxes(form);
        if (form.family == Family::Columns || form.family == Family::Bars)
            drawBars(form, plotRows(m_data, form));
        else if (form.family == Family::Lines)
            drawLines(form, plotRows(m_data, form));
        else if (form.family == Family::Areas)
            drawAreas(form, plotRows(m_data, form));
        else
            drawPie(form);
        scaleValueAxis(form);
    }
    fillLegend();
    placeLegend();
    updateLayout(); // fits the category labels to the axis as now laid out
    replot(rpQueuedReplot);
}

void PivotChartView::drawEmpty()
{
    m_axes->setCategories(nullptr, {});
    for (QCPAxis *axis : {xAxis, yAxis})
        axis->setVisible(false);
    auto *text = new QCPItemText(this);
    text->position->setType(QCPItemPosition::ptAxisRectRatio);
    text->position->setCoords(0.5, 0.5);
    text->setPositionAlignment(Qt::AlignCenter);
    text->setColor(QColor(110, 110, 110));
    text->setText(tr("No data"));
}

void PivotChartView::setUpAxes(const Form &form)
{
    const bool round = form.family == Family::Pie || form.family == Family::Doughnut;
    QCPAxis *category = categoryAxis(form);
    QCPAxis *value = valueAxis(form);
    for (QCPAxis *axis : {xAxis, yAxis})
        axis->setVisible(!round);
    yAxis->setRangeReversed(form.family == Family::Bars); // the first category on top
    m_axes->setCategories(round ? nullptr : category, m_data.categories);
    category->setLabel(m_data.categoryTitle);
    QString title = m_data.valueTitle;
    if (title.isEmpty() && several(m_data.series))
        title = tr("Values");
    value->setLabel(title);
    value->grid()->setVisible(true);
    if (form.stacking == Stacking::Percent)
        value->setTicker(QSharedPointer<PercentTicker>::create());
    else
        value->setTicker(QSharedPointer<QCPAxisTicker>::create());
}

void PivotChartView::drawBars(const Form &form, const Rows &rows)
{
    const bool clustered = form.stacking == Stacking::None;
    QCPBars *below = nullptr;
    for (size_t s = 0; s < rows.size(); ++s) {
        auto *bars = new QCPBars(categoryAxis(form), valueAxis(form));
        bars->setName(m_data.series[s].name);
        bars->setBrush(paletteColor(int(s)));
        bars->setPen(Qt::NoPen);
        bars->setWidth(clustered ? 0.75 / double(rows.size()) : 0.6);
        if (clustered)
            bars->setBarsGroup(m_barsGroup);
        else if (below)
            bars->moveAbove(below);
        QVector<double> keys;
        QVector<double> values;
        for (size_t c = 0; c < rows[s].size(); ++c) {
            if (std::isnan(rows[s][c]))
                continue; // a hole has no bar
            keys << double(c + 1);
            values << rows[s][c];
        }
        bars->setData(keys, values, true);
        m_bySeries.push_back(bars);
        below = bars;
    }
    m_legendEntries = m_bySeries;
}

void PivotChartView::drawLines(const Form &form, const Rows &rows)
{
    const auto categories = m_data.categories.size();
    const bool markers =
        form.markers && viewport().width() * 0.8 / double(categories) >= kMarkerRoom;
    const QVector<double> keys = categoryKeys(categories);
    for (size_t s = 0; s < rows.size(); ++s) {
        QCPGraph *graph = form.smooth ? new SmoothGraph(xAxis, yAxis) : new QCPGraph(xAxis, yAxis);
        const QColor color = paletteColor(int(s));
        graph->setName(m_data.series[s].name);
        graph->setData(keys, QVector<double>(rows[s].begin(), rows[s].end()), true);
        graph->setPen(QPen(color, 2.0));
        if (markers)
            graph->setScatterStyle(
                QCPScatterStyle(kMarkers[s % kMarkers.size()], color.darker(115), color, 7));
        m_bySeries.push_back(graph);
    }
    m_legendEntries = m_bySeries;
}

// Each series' line breaks at its holes. An area alone is filled down to
// the axis; in a stack a fill of its own, running on through holes, fills
// down to the one below, so that a hole leaves no gap in the stack.
void PivotChartView::drawAreas(const Form &form, const Rows &rows)
{
    const bool stacked = form.stacking != Stacking::None;
    const Rows fills = stacked ? plotRows(m_data, form, true) : Rows();
    const QVector<double> keys = categoryKeys(m_data.categories.size());
    QCPGraph *below = nullptr;
    for (size_t s = 0; s < rows.size(); ++s) {
        QColor color = paletteColor(int(s));
        auto *graph = new QCPGraph(xAxis, yAxis);
        graph->setName(m_data.series[s].name);
        graph->setData(keys, QVector<double>(rows[s].begin(), rows[s].end()), true);
        graph->setPen(QPen(color.darker(120), 1.2));
        color.setAlpha(stacked ? 210 : 110);
        auto *fill = stacked ? new QCPGraph(xAxis, yAxis) : graph;
        if (stacked) {
            fill->setName(graph->name());
            fill->setData(keys, QVector<double>(fills[s].begin(), fills[s].end()), true);
            fill->setPen(Qt::NoPen);
            fill->setChannelFillGraph(below); // the first fills down to the axis
            fill->setLayer(u"grid"_s);        // under every line
        }
        fill->setBrush(color);
        m_bySeries.push_back(graph);
        m_legendEntries.push_back(fill);
        below = fill;
    }
}

void PivotChartView::drawPie(const Form &form)
{
    m_pie = new PiePlottable(xAxis, yAxis);
    const size_t rings = form.family == Family::Pie ? 1 : m_data.series.size();
    const Rows rows = plotRows(m_data, form);
    m_pie->setRings(Rows(rows.begin(), rows.begin() + qsizetype(rings)));
    QStringList captions;
    QList<QColor> colors;
    for (size_t c = 0; c < m_data.categories.size(); ++c) {
        captions << PivotChartAxes::pathText(m_data.categories[c]);
        colors << paletteColor(int(c));
    }
    m_pie->setCaptions(captions);
    m_pie->setColors(colors);
    m_pie->setHoleRatio(form.family == Family::Doughnut ? kDoughnutHole : 0.0);
    m_pie->setExploded(form.exploded);
    m_pie->setName(m_data.series.front().name);
}

// Zero is always in view, and a little room above the highest value.
void PivotChartView::scaleValueAxis(const Form &form)
{
    if (m_pie)
        return;
    m_valueAxis = valueAxis(form);
    bool found = false;
    QCPRange range(0.0, 0.0);
    for (int i = 0; i < plottableCount(); ++i) {
        const QCPRange r = plottable(i)->getValueRange(found, QCP::sdBoth);
        if (found)
            range.expand(r);
    }
    if (form.stacking == Stacking::Percent && range.lower >= 0.0 && range.upper <= 100.0 + 1e-9) {
        m_valueRange = QCPRange(0.0, 100.0);
    } else {
        const double room = range.size() == 0.0 ? 1.0 : range.size() * 0.05;
        m_valueRange = QCPRange(range.lower < 0.0 ? range.lower - room : 0.0, range.upper + room);
    }
    m_valueAxis->setRange(m_valueRange);
}

// A legend in the chart's corner keeps the corner to itself: the value axis
// reaches so far that no value runs under it. True when the range changed.
bool PivotChartView::leaveRoomForLegend()
{
    if (!m_valueAxis)
        return false;
    QCPRange range = m_valueRange;
    if (legend->visible() && !plotLayout()->hasElement(0, 1)) {
        const QRect area = axisRect()->rect();
        const QRect box = legend->outerRect();
        const double covered =
            m_valueAxis->orientation() == Qt::Vertical
                ? (box.bottom() - area.top() + kLegendGap) / double(std::max(1, area.height()))
                : (area.right() - box.left() + kLegendGap) / double(std::max(1, area.width()));
        range.upper = range.lower + range.size() / (1.0 - std::clamp(covered, 0.0, 0.5));
    }
    if (range == m_valueAxis->range())
        return false;
    m_valueAxis->setRange(range);
    return true;
}

int PivotChartView::legendEntryCount() const
{
    if (!m_legendShown || m_data.isEmpty())
        return 0;
    return m_pie ? int(m_data.categories.size()) : int(m_legendEntries.size());
}

// A long legend stands beside the chart, and so does any legend of a 100%
// chart, which fills its height and leaves no corner free, or of a pie,
// whose labels reach into the corners.
bool PivotChartView::legendBeside() const
{
    const int entries = legendEntryCount();
    const bool full = PivotChartTypes::form(m_type).stacking == Stacking::Percent;
    return entries > kInsideLegendMax || (entries > 0 && (full || m_pie));
}

// How many entries a legend beside the chart shows: the columns that fit
// in its share of the width, each as full as the height allows.
int PivotChartView::legendCapacity() const
{
    if (!legendBeside() || legend->wrap() <= 0)
        return int(m_legendEntries.size());
    const QFontMetrics metrics(legend->font());
    int widest = 0;
    for (const QCPAbstractPlottable *p : m_legendEntries)
        widest = std::max(widest, metrics.horizontalAdvance(p->name()));
    const int column = legend->iconSize().width() + legend->iconTextPadding() + widest +
                       legend->columnSpacing() + 10;
    const int columns = std::max(1, int(viewport().width() * kLegendShare) / column);
    return std::max(2, columns * legend->wrap());
}

void PivotChartView::fillLegend()
{
    legend->clearItems();
    legend->setWrap(0);
    if (legendBeside()) {
        // Down a column, wrapping to the next where the height runs out.
        const QFontMetrics metrics(legend->font());
        const int item = std::max(metrics.height(), legend->iconSize().height()) + 1;
        const int room = viewport().height() - 30;
        legend->setWrap(std::max(1, room / (item + legend->rowSpacing())));
    }
    legend->setFillOrder(QCPLayoutGrid::foRowsFirst, false);
    if (legendEntryCount() == 0)
        return;
    if (m_pie) {
        m_pie->addLegendItems(legend);
    } else {
        // Beside the chart the legend takes at most its share of the width;
        // the series past that are counted on its last line.
        const int shown = std::min(int(m_legendEntries.size()), legendCapacity());
        const bool cut = shown < int(m_legendEntries.size());
        for (int i = 0; i < (cut ? shown - 1 : shown); ++i)
            legend->addItem(new QCPPlottableLegendItem(legend, m_legendEntries[size_t(i)]));
        if (cut)
            legend->addItem(new CountLegendItem(
                legend, tr("+ %n more", nullptr, int(m_legendEntries.size()) - shown + 1)));
    }
    // The layer clips a pixel above an item's bottom, where descenders reach.
    for (int i = 0; i < legend->itemCount(); ++i)
        if (QCPAbstractLegendItem *item = legend->item(i)) // wrapped columns leave cells empty
            item->setMargins(QMargins(0, 0, 0, 1));
}

void PivotChartView::placeLegend()
{
    const bool show = legendEntryCount() > 0;
    const bool beside = legendBeside();
    const bool isBeside = plotLayout()->hasElement(0, 1);
    legend->setVisible(show);
    if (beside && !isBeside) {
        axisRect()->insetLayout()->take(legend);
        m_legendColumn->addElement(1, 0, legend);
        plotLayout()->addElement(0, 1, m_legendColumn);
        plotLayout()->setColumnStretchFactor(1, 0.001);
    } else if (!beside && isBeside) {
        plotLayout()->take(m_legendColumn);
        plotLayout()->simplify();
        m_legendColumn->take(legend);
        axisRect()->insetLayout()->addElement(legend, Qt::AlignTop | Qt::AlignRight);
    }
    legend->setMaximumSize(beside ? legend->minimumOuterSizeHint()
                                  : QSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX));
}

std::optional<double> PivotChartView::drawnValue(int series, int category) const
{
    if (m_pie)
        return m_pie->value(series, category);
    if (series < 0 || size_t(series) >= m_bySeries.size() || category < 0)
        return std::nullopt;
    const double key = category + 1;
    if (auto *bars = qobject_cast<QCPBars *>(m_bySeries[size_t(series)])) {
        const auto it = bars->data()->findBegin(key, false);
        if (it != bars->data()->constEnd() && it->key == key)
            return it->value;
        return std::nullopt;
    }
    const auto *graph = static_cast<QCPGraph *>(m_bySeries[size_t(series)]);
    if (category >= graph->dataCount() || std::isnan(graph->data()->at(category)->value))
        return std::nullopt;
    return graph->data()->at(category)->value;
}

std::optional<PivotChartView::Point> PivotChartView::graphPointAt(const QPointF &pos) const
{
    constexpr double kReach = 8.0;
    std::optional<Point> nearest;
    double best = kReach * kReach;
    for (size_t s = 0; s < m_bySeries.size(); ++s) {
        const auto *graph = qobject_cast<QCPGraph *>(m_bySeries[s]);
        for (int c = 0; graph && c < graph->dataCount(); ++c) {
            const auto point = graph->data()->at(c);
            if (std::isnan(point->value))
                continue;
            const QPointF d = graph->coordsToPixels(point->key, point->value) - pos;
            const double distance = QPointF::dotProduct(d, d);
            if (distance <= best) {
                best = distance;
                nearest = Point{int(s), c};
            }
        }
    }
    return nearest;
}

std::optional<PivotChartView::Point> PivotChartView::pointAt(const QPointF &pos) const
{
    if (m_pie) {
        const auto slice = m_pie->sliceAt(pos);
        return slice ? std::optional<Point>(Point{slice->ring, slice->index}) : std::nullopt;
    }
    for (size_t s = 0; s < m_bySeries.size(); ++s) {
        auto *bars = qobject_cast<QCPBars *>(m_bySeries[s]);
        QVariant details;
        if (!bars || bars->selectTest(pos, false, &details) < 0)
            continue;
        const int index = details.value<QCPDataSelection>().dataRange().begin();
        return Point{int(s), int(std::lround(bars->data()->at(index)->key)) - 1};
    }
    return graphPointAt(pos);
}

QString PivotChartView::toolTipAt(const QPointF &pos) const
{
    const auto point = pointAt(pos);
    if (!point)
        return {};
    const auto s = size_t(point->series);
    const auto c = size_t(point->category);
    const auto value = rawValue(m_data, s, c);
    if (!value)
        return {};
    // Whole paths: months shown without their year say which one they are.
    const QString category = c < m_data.categoryTips.size() && !m_data.categoryTips[c].isEmpty()
                                 ? m_data.categoryTips[c]
                                 : PivotChartAxes::pathText(m_data.categories[c]);
    const QString &series =
        m_data.series[s].tip.isEmpty() ? m_data.series[s].name : m_data.series[s].tip;
    QStringList lines{series, category, valueText(*value)};
    const Form form = PivotChartTypes::form(m_type);
    const double share = m_pie ? m_pie->share(point->series, point->category)
                               : shareOf(std::abs(*value), categoryTotal(m_data, c));
    if (m_pie || form.stacking == Stacking::Percent)
        lines << QLocale().toString(share, 'f', 2) + u" %"_s;
    return lines.join(u"\n"_s);
}

void PivotChartView::mouseMoveEvent(QMouseEvent *event)
{
    QCustomPlot::mouseMoveEvent(event);
    if (!m_screenTips)
        return;
    const QString tip = toolTipAt(event->position());
    if (tip.isEmpty())
        QToolTip::hideText();
    else
        QToolTip::showText(event->globalPosition().toPoint(), tip, this);
}

void PivotChartView::resizeEvent(QResizeEvent *event)
{
    QCustomPlot::resizeEvent(event);
    redraw(); // the legend's wrap and the markers follow the size
}

bool PivotChartView::exportTo(const QString &path, QSize size, QString *error)
{
    const QRect screen = viewport();
    setViewport(QRect(QPoint(0, 0), size));
    redraw();
    const QString title = m_data.valueTitle.isEmpty() ? typeName(m_type) : m_data.valueTitle;
    const bool ok = PlotExport::write(*this, path, size, title, error);
    setViewport(screen);
    redraw();
    return ok;
}
