#include "controls/pivot/PiePlottable.h"

#include <QLocale>

#include <cmath>
#include <numbers>

using namespace Qt::StringLiterals;

namespace {

// A slice's colour and caption in the legend.
class SliceLegendItem : public QCPAbstractLegendItem
{
public:
    SliceLegendItem(QCPLegend *legend, const QColor &color, const QString &text)
        : QCPAbstractLegendItem(legend)
        , m_color(color)
        , m_text(text)
    {}

protected:
    void draw(QCPPainter *painter) override
    {
        const QSize icon = mParentLegend->iconSize();
        const QRectF swatch(mRect.x(), mRect.y() + (mRect.height() - icon.height()) / 2.0,
                            icon.width(), icon.height());
        painter->fillRect(swatch.adjusted(2, 1, -2, -1), m_color);
        painter->setFont(mFont);
        painter->setPen(QPen(mTextColor));
        const int textX = mRect.x() + icon.width() + mParentLegend->iconTextPadding();
        painter->drawText(QRect(textX, mRect.y(), mRect.right() - textX + 1, mRect.height()),
                          Qt::AlignLeft | Qt::AlignVCenter, m_text);
    }

    QSize minimumOuterSizeHint() const override
    {
        const QFontMetrics metrics(mFont);
        const QSize icon = mParentLegend->iconSize();
        return QSize(icon.width() + mParentLegend->iconTextPadding() +
                         metrics.horizontalAdvance(m_text) + mMargins.left() + mMargins.right(),
                     std::max(metrics.height(), icon.height()) + mMargins.top() +
                         mMargins.bottom());
    }

private:
    QColor m_color;
    QString m_text;
};

constexpr double kExplodeShare = 0.07; // of the radius
constexpr double kLabelGap = 6.0;
constexpr double kSmallestRadius = 20.0;

double radians(double clockDegrees)
{
    return clockDegrees * std::numbers::pi / 180.0;
}

// The unit vector at an angle clockwise from twelve o'clock, in screen axes.
QPointF direction(double clockDegrees)
{
    return {std::sin(radians(clockDegrees)), -std::cos(radians(clockDegrees))};
}

bool drawn(double v)
{
    return std::isfinite(v) && v != 0.0;
}

} // namespace

PiePlottable::PiePlottable(QCPAxis *keyAxis, QCPAxis *valueAxis)
    : QCPAbstractPlottable(keyAxis, valueAxis)
{}

void PiePlottable::setRings(std::vector<std::vector<double>> rings)
{
    m_rings = std::move(rings);
    m_totals.clear();
    for (const auto &ring : m_rings) {
        double total = 0.0;
        for (double v : ring)
            if (drawn(v))
                total += std::abs(v);
        m_totals.push_back(total);
    }
}

void PiePlottable::setCaptions(const QStringList &captions)
{
    m_captions = captions;
}

void PiePlottable::setColors(const QList<QColor> &colors)
{
    m_colors = colors;
}

void PiePlottable::setHoleRatio(double ratio)
{
    m_holeRatio = std::clamp(ratio, 0.0, 0.9);
}

void PiePlottable::setExploded(bool exploded)
{
    m_exploded = exploded;
}

std::optional<double> PiePlottable::value(int ring, int index) const
{
    if (ring < 0 || size_t(ring) >= m_rings.size() || index < 0 ||
        size_t(index) >= m_rings[size_t(ring)].size())
        return std::nullopt;
    const double v = m_rings[size_t(ring)][size_t(index)];
    return std::isfinite(v) ? std::optional<double>(v) : std::nullopt;
}

double PiePlottable::share(int ring, int index) const
{
    const auto v = value(ring, index);
    const double total = v ? m_totals[size_t(ring)] : 0.0;
    return total > 0.0 ? std::abs(*v) / total * 100.0 : 0.0;
}

std::pair<double, double> PiePlottable::angles(int ring, int index) const
{
    const auto &values = m_rings[size_t(ring)];
    double before = 0.0;
    for (int i = 0; i < index; ++i)
        if (drawn(values[size_t(i)]))
            before += std::abs(values[size_t(i)]);
    const double total = m_totals[size_t(ring)];
    return {360.0 * before / total, 360.0 * share(ring, index) / 100.0};
}

QColor PiePlottable::color(int index) const
{
    return m_colors.isEmpty() ? QColor(Qt::gray) : m_colors[index % m_colors.size()];
}

QString PiePlottable::labelText(int index) const
{
    const QString percent = QLocale().toString(share(0, index), 'f', 0) + u"%"_s;
    return m_captions.value(index) + u"\n"_s + percent;
}

// A pie leaves room around it for the labels outside its slices.
QSizeF PiePlottable::labelRoom() const
{
    if (m_holeRatio > 0.0 || m_rings.empty())
        return {8.0, 8.0};
    const QFontMetricsF metrics(mParentPlot->font());
    double width = 0.0;
    for (int i = 0; i < int(m_rings.front().size()); ++i)
        if (drawn(m_rings.front()[size_t(i)]))
            width = std::max(width, metrics.boundingRect(QRectF(), 0, labelText(i)).width());
    return {width + kLabelGap + 4.0, 2.0 * metrics.height() + kLabelGap + 4.0};
}

PiePlottable::Geometry PiePlottable::geometry() const
{
    const QRectF rect = mKeyAxis->axisRect()->rect();
    const QSizeF room = labelRoom();
    double radius =
        std::min(rect.width() / 2.0 - room.width(), rect.height() / 2.0 - room.height());
    radius = std::max(radius, std::min(kSmallestRadius, std::min(rect.width(), rect.height()) / 3));
    Geometry g;
    g.center = rect.center();
    if (m_exploded) {
        g.shift = radius * kExplodeShare;
        radius -= g.shift;
    }
    g.radius = radius;
    const double rings = std::max<double>(1.0, double(m_rings.size()));
    g.ringWidth = radius * (1.0 - m_holeRatio) / rings;
    return g;
}

QPointF PiePlottable::sliceShift(const Geometry &g, int ring, int index) const
{
    if (ring != 0 || g.shift == 0.0)
        return {};
    const auto [start, span] = angles(ring, index);
    return direction(start + span / 2.0) * g.shift;
}

QPainterPath PiePlottable::slicePath(const Geometry &g, int ring, int index) const
{
    const auto [start, span] = angles(ring, index);
    const QPointF centre = g.center + sliceShift(g, ring, index);
    const double outer = g.radius - ring * g.ringWidth;
    const double inner = outer - g.ringWidth;
    const QRectF outerRect(centre.x() - outer, centre.y() - outer, 2 * outer, 2 * outer);
    // Qt counts degrees anticlockwise from three o'clock.
    const double qtStart = 90.0 - start;
    QPainterPath path;
    if (span >= 360.0 - 1e-9) { // one slice: no seam from the centre
        path.addEllipse(outerRect);
        if (inner > 0.5)
            path.addEllipse(centre, inner, inner);
        return path;
    }
    if (inner <= 0.5) {
        path.moveTo(centre);
        path.arcTo(outerRect, qtStart, -span);
    } else {
        const QRectF innerRect(centre.x() - inner, centre.y() - inner, 2 * inner, 2 * inner);
        path.arcMoveTo(outerRect, qtStart);
        path.arcTo(outerRect, qtStart, -span);
        path.arcTo(innerRect, qtStart - span, span);
    }
    path.closeSubpath();
    return path;
}

std::optional<PiePlottable::Slice> PiePlottable::sliceAt(const QPointF &pos) const
{
    const Geometry g = geometry();
    for (int ring = 0; ring < int(m_rings.size()); ++ring)
        for (int i = 0; i < int(m_rings[size_t(ring)].size()); ++i)
            if (share(ring, i) > 0.0 && slicePath(g, ring, i).contains(pos))
                return Slice{ring, i};
    return std::nullopt;
}

void PiePlottable::addLegendItems(QCPLegend *legend) const
{
    for (int i = 0; i < m_captions.size(); ++i)
        legend->addItem(new SliceLegendItem(legend, color(i), m_captions[i]));
}

double PiePlottable::selectTest(const QPointF &pos, bool onlySelectable, QVariant *details) const
{
    if (onlySelectable && mSelectable == QCP::stNone)
        return -1;
    const auto slice = sliceAt(pos);
    if (slice && details)
        details->setValue(QCPDataSelection(QCPDataRange(slice->index, slice->index + 1)));
    return slice ? 0.0 : -1.0;
}

QCPRange PiePlottable::getKeyRange(bool &foundRange, QCP::SignDomain) const
{
    foundRange = false; // drawn in the axis rect, whatever the axes show
    return {};
}

QCPRange PiePlottable::getValueRange(bool &foundRange, QCP::SignDomain, const QCPRange &) const
{
    foundRange = false;
    return {};
}

void PiePlottable::draw(QCPPainter *painter)
{
    if (m_rings.empty())
        return;
    const Geometry g = geometry();
    applyDefaultAntialiasingHint(painter);
    painter->setPen(QPen(Qt::white, 1.0));
    for (int ring = 0; ring < int(m_rings.size()); ++ring) {
        for (int i = 0; i < int(m_rings[size_t(ring)].size()); ++i) {
            if (share(ring, i) <= 0.0)
                continue;
            painter->setBrush(color(i));
            painter->drawPath(slicePath(g, ring, i));
        }
    }
    if (m_holeRatio > 0.0)
        drawRingLabels(painter, g);
    else
        drawPieLabels(painter, g);
}

// Caption and percentage outside each slice; a label that would cover
// another or leave the axis rect is left out.
void PiePlottable::drawPieLabels(QCPPainter *painter, const Geometry &g) const
{
    const QFontMetricsF metrics(mParentPlot->font());
    const QRectF bounds = mKeyAxis->axisRect()->rect();
    QList<QRectF> placed;
    painter->setFont(mParentPlot->font());
    painter->setPen(Qt::black);
    for (int i = 0; i < int(m_rings.front().size()); ++i) {
        if (share(0, i) <= 0.0)
            continue;
        const auto [start, span] = angles(0, i);
        const QPointF dir = direction(start + span / 2.0);
        const QString text = labelText(i);
        const QSizeF size = metrics.boundingRect(QRectF(), Qt::AlignCenter, text).size();
        const QPointF anchor = g.center + dir * (g.radius + g.shift + kLabelGap);
        const QPointF centre(anchor.x() + dir.x() * size.width() / 2.0,
                             anchor.y() + dir.y() * size.height() / 2.0);
        const QRectF rect(centre.x() - size.width() / 2.0, centre.y() - size.height() / 2.0,
                          size.width(), size.height());
        const bool clash = std::any_of(placed.begin(), placed.end(),
                                       [&](const QRectF &r) { return r.intersects(rect); });
        if (clash || !bounds.contains(rect))
            continue;
        placed << rect;
        painter->drawText(rect, Qt::AlignCenter, text);
    }
}

// The percentage inside each ring's slice, where it fits.
void PiePlottable::drawRingLabels(QCPPainter *painter, const Geometry &g) const
{
    const QFontMetricsF metrics(mParentPlot->font());
    painter->setFont(mParentPlot->font());
    for (int ring = 0; ring < int(m_rings.size()); ++ring) {
        const double mid = g.radius - (ring + 0.5) * g.ringWidth;
        for (int i = 0; i < int(m_rings[size_t(ring)].size()); ++i) {
            const QString text = QLocale().toString(share(ring, i), 'f', 0) + u"%"_s;
            const QSizeF size = metrics.boundingRect(text).size();
            const double arc = radians(angles(ring, i).second) * mid;
            if (share(ring, i) <= 0.0 || arc < size.width() + 4 || g.ringWidth < size.height())
                continue;
            const auto [start, span] = angles(ring, i);
            const QPointF centre =
                g.center + sliceShift(g, ring, i) + direction(start + span / 2.0) * mid;
            const QColor back = color(i);
            painter->setPen(back.lightnessF() < 0.55 ? Qt::white : Qt::black);
            painter->drawText(QRectF(centre - QPointF(size.width(), size.height()) / 2.0, size),
                              Qt::AlignCenter, text);
        }
    }
}

void PiePlottable::drawLegendIcon(QCPPainter *painter, const QRectF &rect) const
{
    painter->fillRect(rect, color(0));
}
