#include "controls/pivot/PivotChartTypes.h"

#include "controls/pivot/SmoothGraph.h"
#include "controls/tools/IconCache.h"

#include <QCoreApplication>
#include <QPainter>
#include <QPixmap>

#include <array>

using namespace Qt::StringLiterals;

namespace {

using PivotChartTypes::Family;
using PivotChartTypes::Form;
using PivotChartTypes::Stacking;

struct TypeEntry
{
    int type;
    Form form;
    const char *name;
};

constexpr Stacking None = Stacking::None;
constexpr Stacking Stacked = Stacking::Stacked;
constexpr Stacking Percent = Stacking::Percent;

// clang-format off
constexpr std::array<TypeEntry, 25> kTypes{{
    {0, {Family::Columns, None}, QT_TRANSLATE_NOOP("PivotChartTypes", "Clustered Column")},
    {1, {Family::Columns, Stacked}, QT_TRANSLATE_NOOP("PivotChartTypes", "Stacked Column")},
    {2, {Family::Columns, Percent}, QT_TRANSLATE_NOOP("PivotChartTypes", "100% Stacked Column")},
    {3, {Family::Bars, None}, QT_TRANSLATE_NOOP("PivotChartTypes", "Clustered Bar")},
    {4, {Family::Bars, Stacked}, QT_TRANSLATE_NOOP("PivotChartTypes", "Stacked Bar")},
    {5, {Family::Bars, Percent}, QT_TRANSLATE_NOOP("PivotChartTypes", "100% Stacked Bar")},
    {6, {Family::Lines, None}, QT_TRANSLATE_NOOP("PivotChartTypes", "Line")},
    {7, {Family::Lines, None, true}, QT_TRANSLATE_NOOP("PivotChartTypes", "Line with Markers")},
    {8, {Family::Lines, Stacked}, QT_TRANSLATE_NOOP("PivotChartTypes", "Stacked Line")},
    {9, {Family::Lines, Stacked, true},
     QT_TRANSLATE_NOOP("PivotChartTypes", "Stacked Line with Markers")},
    {10, {Family::Lines, Percent}, QT_TRANSLATE_NOOP("PivotChartTypes", "100% Stacked Line")},
    {11, {Family::Lines, Percent, true},
     QT_TRANSLATE_NOOP("PivotChartTypes", "100% Stacked Line with Markers")},
    {12, {Family::Lines, None, false, true}, QT_TRANSLATE_NOOP("PivotChartTypes", "Smooth Line")},
    {13, {Family::Lines, None, true, true},
     QT_TRANSLATE_NOOP("PivotChartTypes", "Smooth Line with Markers")},
    {14, {Family::Lines, Stacked, false, true},
     QT_TRANSLATE_NOOP("PivotChartTypes", "Stacked Smooth Line")},
    {15, {Family::Lines, Stacked, true, true},
     QT_TRANSLATE_NOOP("PivotChartTypes", "Stacked Smooth Line with Markers")},
    {16, {Family::Lines, Percent, false, true},
     QT_TRANSLATE_NOOP("PivotChartTypes", "100% Stacked Smooth Line")},
    {17, {Family::Lines, Percent, true, true},
     QT_TRANSLATE_NOOP("PivotChartTypes", "100% Stacked Smooth Line with Markers")},
    {18, {Family::Pie}, QT_TRANSLATE_NOOP("PivotChartTypes", "Pie")},
    {19, {Family::Pie, None, false, false, true},
     QT_TRANSLATE_NOOP("PivotChartTypes", "Exploded Pie")},
    {29, {Family::Areas, None}, QT_TRANSLATE_NOOP("PivotChartTypes", "Area")},
    {30, {Family::Areas, Stacked}, QT_TRANSLATE_NOOP("PivotChartTypes", "Stacked Area")},
    {31, {Family::Areas, Percent}, QT_TRANSLATE_NOOP("PivotChartTypes", "100% Stacked Area")},
    {32, {Family::Doughnut}, QT_TRANSLATE_NOOP("PivotChartTypes", "Doughnut")},
    {33, {Family::Doughnut, None, false, false, true},
     QT_TRANSLATE_NOOP("PivotChartTypes", "Exploded Doughnut")},
}};
// clang-format on

const TypeEntry &entry(int type)
{
    const int drawn = PivotChartTypes::drawnType(type);
    for (const TypeEntry &e : kTypes)
        if (e.type == drawn)
            return e;
    return kTypes[PivotChartTypes::DefaultType];
}

// The picture's colours: three series, as the chart's palette starts.
const std::array<QColor, 3> kIconColors{QColor(0x4E, 0x79, 0xA7), QColor(0xF2, 0x8E, 0x2B),
                                        QColor(0x59, 0xA1, 0x4F)};
constexpr QSize kIconSize(32, 24);
// Three series over four categories, in icon units (0 bottom, 1 top).
constexpr double kIconValues[3][4] = {
    {0.35, 0.55, 0.45, 0.7}, {0.25, 0.2, 0.35, 0.15}, {0.15, 0.2, 0.1, 0.12}};

// The value of series s at category c as the form stacks it, in 0..1.
double iconValue(const Form &form, int s, int c)
{
    if (form.stacking == Stacking::None)
        return kIconValues[s][c];
    double below = 0.0;
    double total = 0.0;
    for (int i = 0; i < 3; ++i) {
        total += kIconValues[i][c];
        if (i <= s)
            below += kIconValues[i][c];
    }
    return form.stacking == Stacking::Percent ? below / total : below;
}

void paintBars(QPainter &p, const Form &form, QRectF area)
{
    const bool columns = form.family == Family::Columns;
    const double slot = (columns ? area.width() : area.height()) / 4.0;
    for (int c = 0; c < 4; ++c) {
        for (int s = 2; s >= 0; --s) {
            const double v = iconValue(form, s, c);
            double width = slot * 0.7;
            double offset = c * slot + slot * 0.15;
            if (form.stacking == Stacking::None) {
                width = slot * 0.8 / 3.0;
                offset = c * slot + slot * 0.1 + s * width;
            }
            const double length = v * (columns ? area.height() : area.width());
            const QRectF bar =
                columns ? QRectF(area.left() + offset, area.bottom() - length, width, length)
                        : QRectF(area.left(), area.top() + offset, length, width);
            p.fillRect(bar, kIconColors[size_t(s)]);
        }
    }
}

QPolygonF iconLine(const Form &form, int s, QRectF area)
{
    QPolygonF line;
    for (int c = 0; c < 4; ++c)
        line << QPointF(area.left() + area.width() * (c + 0.5) / 4.0,
                        area.bottom() - iconValue(form, s, c) * area.height());
    return line;
}

void paintLines(QPainter &p, const Form &form, QRectF area)
{
    for (int s = 0; s < 3; ++s) {
        const QPolygonF line = iconLine(form, s, area);
        p.setPen(QPen(kIconColors[size_t(s)], 1.5));
        p.setBrush(Qt::NoBrush);
        if (form.smooth)
            p.drawPath(SmoothGraph::smoothPath(line));
        else
            p.drawPolyline(line);
        p.setBrush(kIconColors[size_t(s)]);
        p.setPen(Qt::NoPen);
        for (const QPointF &point : line)
            if (form.markers)
                p.drawEllipse(point, 1.6, 1.6);
    }
}

void paintAreas(QPainter &p, const Form &form, QRectF area)
{
    for (int s = 2; s >= 0; --s) {
        QPolygonF shape = iconLine(form, s, area);
        shape << QPointF(shape.last().x(), area.bottom())
              << QPointF(shape.first().x(), area.bottom());
        QColor fill = kIconColors[size_t(s)];
        if (form.stacking == Stacking::None)
            fill.setAlpha(170);
        p.setPen(Qt::NoPen);
        p.setBrush(fill);
        p.drawPolygon(shape);
    }
}

void paintPie(QPainter &p, const Form &form, QRectF area)
{
    const double side = std::min(area.width(), area.height());
    const QRectF circle(area.center().x() - side / 2, area.center().y() - side / 2, side, side);
    const int shares[3] = {200, 100, 60};
    int start = 90 * 16;
    for (int s = 0; s < 3; ++s) {
        const int span = -shares[s] * 16;
        const double mid = (start + span / 2.0) / 16.0 * M_PI / 180.0;
        const QPointF shift =
            form.exploded ? QPointF(std::cos(mid), -std::sin(mid)) * 1.5 : QPointF();
        p.setPen(QPen(Qt::white, 0.8));
        p.setBrush(kIconColors[size_t(s)]);
        p.drawPie(circle.translated(shift), start, span);
        start += span;
    }
    if (form.family == Family::Doughnut) {
        p.setBrush(Qt::white);
        p.drawEllipse(circle.center(), side * 0.22, side * 0.22);
    }
}

} // namespace

int PivotChartTypes::drawnType(int type)
{
    if ((type >= 0 && type <= 19) || (type >= 29 && type <= 33))
        return type;
    switch (type) {
    case 34:
        return 6;
    case 36:
        return 29;
    case 37:
        return 12;
    case 38:
        return 13;
    case 39:
    case 40:
    case 41:
    case 42:
    case 43:
    case 44:
    case 45:
        return 0;
    default: // 20-28, 35 and every number without a meaning
        return DefaultType;
    }
}

QList<int> PivotChartTypes::drawnTypes()
{
    QList<int> types;
    for (const TypeEntry &e : kTypes)
        types << e.type;
    return types;
}

Form PivotChartTypes::form(int type)
{
    return entry(type).form;
}

QString PivotChartTypes::typeName(int type)
{
    return QCoreApplication::translate("PivotChartTypes", entry(type).name);
}

namespace {

QIcon paintTypeIcon(int type)
{
    const Form f = PivotChartTypes::form(type);
    QPixmap pixmap(kIconSize);
    pixmap.fill(Qt::white);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    const QRectF area = QRectF(QPointF(0, 0), kIconSize).adjusted(3, 2, -2, -3);
    if (f.family == Family::Columns || f.family == Family::Bars)
        paintBars(p, f, area);
    else if (f.family == Family::Lines)
        paintLines(p, f, area);
    else if (f.family == Family::Areas)
        paintAreas(p, f, area);
    else
        paintPie(p, f, area.adjusted(1, 1, -1, -1));
    if (f.family != Family::Pie && f.family != Family::Doughnut) {
        p.setPen(QPen(QColor(110, 110, 110), 1));
        p.drawLine(area.bottomLeft(), area.bottomRight());
        p.drawLine(area.bottomLeft(), area.topLeft());
    }
    p.end();
    return QIcon(pixmap);
}

} // namespace

QIcon PivotChartTypes::typeIcon(int type)
{
    // Drawn once for the process; see IconCache.
    return IconCache::icon(u"chart-type/%1"_s.arg(type), [type] { return paintTypeIcon(type); });
}
