#include "newschart/ChartControl.h"

#include "base/Dates.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <ctime>

using namespace Qt::StringLiterals;

namespace {

// The four styles of the design, taken by series 1 to 4 in this order.
constexpr std::array<SeriesStyle, 4> kDesignStyles = {{
    {ClassicRgb(255, 0, 0), ClassicRgb(255, 0, 0), 1, 2, 4, 7, ClassicRgb(255, 0, 255)},
    {ClassicRgb(210, 180, 140), ClassicRgb(210, 180, 140), 1, 2, 3, 7, ClassicRgb(0, 0, 255)},
    {ClassicRgb(50, 255, 0), ClassicRgb(50, 255, 0), 1, 2, 2, 7, ClassicRgb(0, 0, 205)},
    {ClassicRgb(72, 209, 204), ClassicRgb(72, 209, 204), 1, 2, 5, 7, ClassicRgb(255, 0, 0)},
}};

// Series 5 and up: colours far from the four above and from each other.
constexpr std::array<quint32, 12> kFurtherColors = {
    ClassicRgb(0, 0, 160),    ClassicRgb(255, 140, 0),   ClassicRgb(128, 0, 128),
    ClassicRgb(0, 128, 0),    ClassicRgb(139, 69, 19),   ClassicRgb(218, 165, 32),
    ClassicRgb(70, 130, 180), ClassicRgb(199, 21, 133),  ClassicRgb(128, 128, 0),
    ClassicRgb(0, 128, 128),  ClassicRgb(105, 105, 105), ClassicRgb(250, 128, 114),
};

// Beyond the fixed list: hues a golden angle apart, in three brightnesses.
quint32 generatedColor(int n)
{
    const double hue = std::fmod(n * 137.508, 360.0) / 60.0;
    const double value = std::array{0.85, 0.6, 0.95}[n % 3];
    const double saturation = std::array{0.75, 0.9, 0.5}[(n / 3) % 3];
    const double c = value * saturation;
    const double x = c * (1 - std::fabs(std::fmod(hue, 2.0) - 1));
    const double m = value - c;
    const std::array<std::array<double, 3>, 6> sectors = {
        {{c, x, 0}, {x, c, 0}, {0, c, x}, {0, x, c}, {x, 0, c}, {c, 0, x}}};
    const auto &rgb = sectors[std::min(5, int(hue))];
    auto channel = [m](double v) { return int(std::lround((v + m) * 255)); };
    return ClassicRgb(channel(rgb[0]), channel(rgb[1]), channel(rgb[2]));
}

double niceStep(double range)
{
    const double magnitude = std::pow(10.0, std::floor(std::log10(range)));
    const double fraction = range / magnitude;
    const double nice = fraction <= 1 ? 1 : fraction <= 2 ? 2 : fraction <= 5 ? 5 : 10;
    return nice * magnitude;
}

// A round number a little above the highest value, leaving room for the title
// label that stands at the top of the axis.
double roundedAbove(double value)
{
    if (value <= 0)
        return 1.0;
    const double target = value * 1.12;
    const double step = niceStep(target / 5);
    return std::ceil(target / step) * step;
}

std::tm toTm(double date)
{
    const qrt::dates::Fields f = qrt::dates::toFields(date);
    const qint64 days = qrt::dates::daysFromCivil(f.year, f.month, f.day);
    std::tm tm{};
    tm.tm_year = f.year - 1900;
    tm.tm_mon = f.month - 1;
    tm.tm_mday = f.day;
    tm.tm_hour = f.hour;
    tm.tm_min = f.minute;
    tm.tm_sec = f.second;
    // Day 0, 1899-12-30, was a Saturday.
    tm.tm_wday = int(((days + 6) % 7 + 7) % 7);
    tm.tm_yday = int(days - qrt::dates::daysFromCivil(f.year, 1, 1));
    tm.tm_isdst = -1;
    return tm;
}

} // namespace

ChartControl::ChartControl(QObject *parent)
    : QObject(parent)
{
    m_x.Name = u"X"_s;
    m_yAxis.Name = u"Y"_s;
}

void ChartControl::changed()
{
    if (!m_batched)
        Q_EMIT repaintNeeded();
}

void ChartControl::setIsBatched(bool batched)
{
    m_batched = batched;
    changed();
}

void ChartControl::setLegendIsShowing(bool showing)
{
    m_legend = showing;
    changed();
}

void ChartControl::setBorderStyle(int style)
{
    m_borderStyle = style;
    changed();
}

void ChartControl::setBorderWidth(int width)
{
    m_borderWidth = std::max(0, width);
    changed();
}

void ChartControl::setBackColor(quint32 color)
{
    m_backColor = color;
    changed();
}

void ChartControl::RemoveAllLabels()
{
    m_labels.clear();
    changed();
}

int ChartControl::AddLabel()
{
    m_labels.emplace_back();
    changed();
    return int(m_labels.size()) - 1;
}

const ChartLabel *ChartControl::Label(int index) const
{
    return index >= 0 && index < LabelCount() ? &m_labels[size_t(index)] : nullptr;
}

// Changes one label; a change the label's update bracket may hold repaints
// only outside it.
template<typename Edit>
void ChartControl::editLabel(int index, bool heldByBracket, Edit edit)
{
    if (index < 0 || index >= LabelCount())
        return;
    ChartLabel &label = m_labels[size_t(index)];
    edit(label);
    if (!heldByBracket || !label.IsBatched)
        changed();
}

void ChartControl::setLabelIsBatched(int index, bool batched)
{
    editLabel(index, false, [batched](ChartLabel &label) { label.IsBatched = batched; });
}

void ChartControl::setLabelText(int index, const QString &text)
{
    editLabel(index, true, [&text](ChartLabel &label) { label.Text = text; });
}

void ChartControl::setLabelDataX(int index, double x)
{
    editLabel(index, true, [x](ChartLabel &label) { label.DataX = x; });
}

void ChartControl::setLabelDataY(int index, double y)
{
    editLabel(index, true, [y](ChartLabel &label) { label.DataY = y; });
}

void ChartControl::setLabelBold(int index, bool bold)
{
    editLabel(index, false, [bold](ChartLabel &label) { label.Bold = bold; });
}

void ChartControl::setChartType(int type)
{
    if (type != Plot && type != Bar && type != StackingBar && type != Area)
        return;
    m_chartType = type;
    changed();
}

void ChartControl::setIsStacked(bool stacked)
{
    m_stacked = stacked;
    changed();
}

void ChartControl::RemoveAllSeriesLabels()
{
    m_seriesLabels.clear();
    changed();
}

void ChartControl::AddSeriesLabel(const QString &name)
{
    m_seriesLabels.append(name);
    changed();
}

void ChartControl::setDataIsBatched(bool batched)
{
    m_dataBatched = batched;
    if (!batched)
        changed();
}

void ChartControl::setNumSeries(int count)
{
    m_y.resize(size_t(std::max(0, count)), std::vector<double>(size_t(m_numPoints), m_holeValue));
    if (!m_dataBatched)
        changed();
}

int ChartControl::NumPoints(int series) const
{
    return series >= 1 && series <= NumSeries() ? m_numPoints : 0;
}

void ChartControl::setNumPoints(int series, int count)
{
    if (series < 1 || series > NumSeries() || count < 0)
        return;
    m_numPoints = count;
    for (auto &row : m_y)
        row.assign(size_t(count), m_holeValue);
    if (!m_dataBatched)
        changed();
}

bool ChartControl::Y(int series, int point, double &value) const
{
    if (series < 1 || series > NumSeries() || point < 1 || point > m_numPoints)
        return false;
    value = m_y[size_t(series - 1)][size_t(point - 1)];
    return true;
}

bool ChartControl::setY(int series, int point, double value)
{
    if (series < 1 || series > NumSeries() || point < 1 || point > m_numPoints)
        return false;
    m_y[size_t(series - 1)][size_t(point - 1)] = value;
    if (!m_dataBatched)
        changed();
    return true;
}

SeriesStyle ChartControl::Style(int series)
{
    if (series >= 1 && series <= int(kDesignStyles.size()))
        return kDesignStyles[size_t(series - 1)];
    const int further = std::max(0, series - 5);
    SeriesStyle style = kDesignStyles[size_t(further % 4)];
    style.LineColor = further < int(kFurtherColors.size())
                          ? kFurtherColors[size_t(further)]
                          : generatedColor(further - int(kFurtherColors.size()));
    style.FillColor = style.LineColor;
    style.SymbolColor = style.LineColor;
    return style;
}

ChartAxis *ChartControl::Axis(QStringView name)
{
    if (name == u"X")
        return &m_x;
    if (name == u"Y")
        return &m_yAxis;
    return nullptr;
}

const ChartAxis *ChartControl::Axis(QStringView name) const
{
    return const_cast<ChartControl *>(this)->Axis(name);
}

double ChartControl::valueMax() const
{
    const bool stacked = m_stacked || m_chartType == StackingBar;
    double top = 0.0;
    for (int point = 0; point < m_numPoints; ++point) {
        double stack = 0.0;
        for (const auto &row : m_y) {
            const double v = row[size_t(point)];
            if (IsHole(v))
                continue;
            stack = stacked ? stack + std::max(0.0, v) : std::max(stack, v);
        }
        top = std::max(top, stack);
    }
    return top;
}

double ChartControl::valueMin() const
{
    double low = 0.0;
    for (const auto &row : m_y)
        for (double v : row)
            if (!IsHole(v))
                low = std::min(low, v);
    return low;
}

double ChartControl::AxisMin(QStringView name) const
{
    if (name == u"X")
        return 0.5;
    if (name == u"Y")
        return valueMin();
    return 0.0;
}

double ChartControl::AxisMax(QStringView name) const
{
    if (name == u"X")
        return std::max(1, m_numPoints) + 0.5;
    if (name == u"Y")
        return roundedAbove(valueMax());
    return 0.0;
}

QString ChartControl::Format(double date, const QString &format)
{
    const std::tm tm = toTm(date);
    const QByteArray pattern = format.toLocal8Bit();
    char buffer[512];
    const size_t length = std::strftime(buffer, sizeof buffer, pattern.constData(), &tm);
    return QString::fromLocal8Bit(buffer, qsizetype(length));
}
