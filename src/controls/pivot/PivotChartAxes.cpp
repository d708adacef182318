#include "controls/pivot/PivotChartAxes.h"

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

// Room left between neighbouring labels, in pixels.
constexpr double kLabelGap = 8.0;
const QColor kSeparatorColor(170, 170, 170);

} // namespace

PivotChartAxes::PivotChartAxes(QCustomPlot *plot)
    : QCPLayerable(plot, u"axes"_s)
    , m_ticker(QSharedPointer<QCPAxisTickerText>::create())
{}

QString PivotChartAxes::pathText(const QStringList &path)
{
    return path.isEmpty() ? QCoreApplication::translate("PivotChartAxes", "Total")
                          : path.join(u" / "_s);
}

void PivotChartAxes::setCategories(QCPAxis *axis, std::vector<QStringList> categories)
{
    m_axis = axis;
    m_categories = std::move(categories);
    m_fittedLength = -1;
    if (!m_axis)
        return;
    m_axis->setTicker(m_ticker);
    m_axis->setRange(0.5, double(m_categories.size()) + 0.5);
    m_axis->grid()->setVisible(false);
    fit();
}

int PivotChartAxes::axisLength() const
{
    const QRect rect = m_axis->axisRect()->rect();
    return m_axis->orientation() == Qt::Horizontal ? rect.width() : rect.height();
}

bool PivotChartAxes::fit()
{
    if (!m_axis || m_categories.empty() || axisLength() == m_fittedLength)
        return false;
    m_fittedLength = axisLength();
    const double per = std::max(1, m_fittedLength) / double(m_categories.size());
    const bool horizontal = m_axis->orientation() == Qt::Horizontal;
    m_step = labelStep(int(std::ceil(labelRoom() / per)));
    m_ticker->setTicks(horizontal ? horizontalLabels(per) : verticalLabels());
    return true;
}

// Whether the member at the level (0 outermost) changes at this category.
bool PivotChartAxes::begins(size_t category, int level) const
{
    if (category == 0)
        return true;
    const QStringList &path = m_categories[category];
    const QStringList &before = m_categories[category - 1];
    if (before.size() <= level)
        return true;
    for (int l = 0; l <= level; ++l)
        if (path.value(l) != before.value(l))
            return true;
    return false;
}

// The size of the groups one level out, when all of them but the last
// have the same; 0 when not, or when the paths are not nested.
int PivotChartAxes::uniformGroupSize() const
{
    const qsizetype depth = m_categories.front().size();
    if (depth < 2)
        return 0;
    int size = 0;
    int run = 0;
    for (size_t k = 0; k < m_categories.size(); ++k) {
        if (m_categories[k].size() != depth)
            return 0;
        if (k > 0 && begins(k, int(depth) - 2)) {
            if (size != 0 && run != size)
                return 0;
            size = run;
            run = 0;
        }
        ++run;
    }
    return size == 0 ? run : (run <= size ? size : 0);
}

// At least the step needed; in groups of one size, a divisor or a multiple
// of it, so that the labels fall on the same members in every group.
int PivotChartAxes::labelStep(int needed) const
{
    const int size = uniformGroupSize();
    needed = std::max(1, needed);
    if (size <= 1 || needed == 1)
        return needed;
    if (needed > size)
        return (needed + size - 1) / size * size;
    while (size % needed != 0)
        ++needed;
    return needed;
}

QString PivotChartAxes::innerCaption(size_t category) const
{
    const QStringList &path = m_categories[category];
    return path.isEmpty() ? pathText(path) : path.last();
}

// The room a label takes along the axis: the widest innermost caption
// beside its neighbours, one line above them.
double PivotChartAxes::labelRoom() const
{
    const QFontMetricsF metrics(m_axis->tickLabelFont());
    if (m_axis->orientation() == Qt::Vertical)
        return metrics.height() + 2.0;
    double widest = 0.0;
    for (size_t k = 0; k < m_categories.size(); ++k)
        widest = std::max(widest, metrics.horizontalAdvance(innerCaption(k)));
    return widest + kLabelGap;
}

// Every step-th innermost caption, so that neighbours never touch; under it
// a line per outer level, with the outer member's caption where it begins
// and the previous caption of its level leaves room.
QMap<double, QString> PivotChartAxes::horizontalLabels(double perCategory) const
{
    const QFontMetricsF metrics(m_axis->tickLabelFont());
    std::vector<double> levelEnd;
    QMap<double, QString> labels;
    for (size_t k = 0; k < m_categories.size(); ++k) {
        const QStringList &path = m_categories[k];
        const double centre = perCategory * (double(k) + 0.5);
        QStringList lines{k % size_t(m_step) == 0 ? innerCaption(k) : QString()};
        levelEnd.resize(std::max<size_t>(levelEnd.size(), size_t(path.size())), -1e9);
        for (int level = int(path.size()) - 2; level >= 0; --level) {
            const double half = metrics.horizontalAdvance(path[level]) / 2.0;
            const bool room = centre - half >= levelEnd[size_t(level)] + kLabelGap;
            const bool shown = begins(k, level) && room;
            if (shown)
                levelEnd[size_t(level)] = centre + half;
            lines << (shown ? path[level] : QString());
        }
        while (lines.size() > 1 && lines.last().isEmpty())
            lines.removeLast();
        if (!lines.join(QString()).isEmpty())
            labels.insert(double(k + 1), lines.join(u"\n"_s));
    }
    return labels;
}

// One line per label: the first shown label of an outer group carries the
// outer captions before its own.
QMap<double, QString> PivotChartAxes::verticalLabels() const
{
    QMap<double, QString> labels;
    bool groupShown = false;
    for (size_t k = 0; k < m_categories.size(); ++k) {
        const QStringList &path = m_categories[k];
        if (path.size() > 1 && begins(k, int(path.size()) - 2))
            groupShown = false;
        if (k % size_t(m_step) != 0)
            continue;
        const bool withOuter = path.size() > 1 && !groupShown;
        labels.insert(double(k + 1), withOuter ? pathText(path) : innerCaption(k));
        groupShown = true;
    }
    return labels;
}

// How far the tick labels reach from the axis rect: the axis' margin less
// its title.
int PivotChartAxes::labelExtent() const
{
    const QMargins margins = m_axis->axisRect()->margins();
    int extent = m_axis->orientation() == Qt::Horizontal ? margins.bottom() : margins.left();
    if (!m_axis->label().isEmpty())
        extent -= QFontMetrics(m_axis->labelFont()).height() + m_axis->labelPadding();
    return std::max(0, extent);
}

void PivotChartAxes::applyDefaultAntialiasingHint(QCPPainter *painter) const
{
    applyAntialiasingHint(painter, false, QCP::aeOther);
}

void PivotChartAxes::draw(QCPPainter *painter)
{
    if (!m_axis || !m_axis->visible())
        return;
    const QRect rect = m_axis->axisRect()->rect();
    // Through the labels where each category has its own; among thinned
    // labels a line would cross them, so it is only a tick's length.
    const int extent = m_step == 1 ? labelExtent() : m_axis->tickLengthOut() + 4;
    painter->setPen(QPen(kSeparatorColor, 0));
    for (size_t k = 1; k < m_categories.size(); ++k) {
        if (m_categories[k].size() < 2 || !begins(k, 0))
            continue;
        const double at = m_axis->coordToPixel(double(k) + 0.5);
        if (m_axis->orientation() == Qt::Horizontal)
            painter->drawLine(QLineF(at, rect.bottom(), at, rect.bottom() + extent));
        else
            painter->drawLine(QLineF(rect.left() - extent, at, rect.left(), at));
    }
}
