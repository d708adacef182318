#include "controls/pivot/PivotIcons.h"

#include "controls/tools/IconCache.h"

#include <QPainter>
#include <QPixmap>

#include <functional>

using namespace Qt::StringLiterals;

namespace {

QIcon paintIcon(const std::function<void(QPainter &)> &draw)
{
    QPixmap pixmap(32, 32);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(2, 2);
    painter.setPen(QPen(QColor(0x30, 0x30, 0x30), 1.2));
    draw(painter);
    return QIcon(pixmap);
}

// Drawn once for the process; see IconCache.
QIcon drawnIcon(const QString &name, const std::function<void(QPainter &)> &draw)
{
    return IconCache::icon(u"pivot/"_s + name, [&draw] { return paintIcon(draw); });
}

QIcon textIcon(const QString &name, const QString &text, int pixelSize = 10)
{
    return drawnIcon(name, [&](QPainter &p) {
        QFont font = p.font();
        font.setPixelSize(pixelSize);
        font.setBold(true);
        p.setFont(font);
        p.drawText(QRect(0, 0, 16, 16), Qt::AlignCenter, text);
    });
}

} // namespace

QIcon PivotIcons::subtotals()
{
    return textIcon(u"subtotals"_s, u"\u03A3"_s, 13);
}

QIcon PivotIcons::sort(bool ascending)
{
    return drawnIcon(ascending ? u"sort-ascending"_s : u"sort-descending"_s, [&](QPainter &p) {
        QFont font = p.font();
        font.setPixelSize(7);
        font.setBold(true);
        p.setFont(font);
        p.drawText(QRect(0, 0, 9, 8), Qt::AlignCenter, ascending ? u"A"_s : u"Z"_s);
        p.drawText(QRect(0, 8, 9, 8), Qt::AlignCenter, ascending ? u"Z"_s : u"A"_s);
        p.drawLine(QPointF(12.5, 2), QPointF(12.5, 14));
        p.drawLine(QPointF(12.5, 14), QPointF(10, 11));
        p.drawLine(QPointF(12.5, 14), QPointF(15, 11));
    });
}

QIcon PivotIcons::expand(bool plus)
{
    return drawnIcon(plus ? u"expand"_s : u"collapse"_s, [&](QPainter &p) {
        p.drawRect(QRectF(2.5, 2.5, 11, 11));
        p.drawLine(QPointF(5, 8), QPointF(11, 8));
        if (plus)
            p.drawLine(QPointF(8, 5), QPointF(8, 11));
    });
}

QIcon PivotIcons::filter()
{
    return drawnIcon(u"filter"_s, [](QPainter &p) {
        const QPointF points[] = {{2, 3}, {14, 3}, {9.5, 8.5}, {9.5, 14}, {6.5, 12}, {6.5, 8.5}};
        p.setBrush(QColor(0x6F, 0x8F, 0xCF));
        p.drawPolygon(points, 6);
    });
}

QIcon PivotIcons::fieldList()
{
    return drawnIcon(u"field-list"_s, [](QPainter &p) {
        p.drawRect(QRectF(2.5, 1.5, 11, 13));
        for (double y : {5.0, 8.0, 11.0})
            p.drawLine(QPointF(5, y), QPointF(11, y));
    });
}

QIcon PivotIcons::copy()
{
    return drawnIcon(u"copy"_s, [](QPainter &p) {
        p.setBrush(Qt::white);
        p.drawRect(QRectF(2.5, 2.5, 8, 9));
        p.drawRect(QRectF(5.5, 5.5, 8, 9));
    });
}

QIcon PivotIcons::properties()
{
    return drawnIcon(u"properties"_s, [](QPainter &p) {
        p.drawRect(QRectF(2.5, 2.5, 11, 11));
        p.drawLine(QPointF(5, 6), QPointF(11, 6));
        p.drawLine(QPointF(5, 10), QPointF(9, 10));
    });
}

// A small table whose first row (or column) is marked as the series.
QIcon PivotIcons::seriesBy(bool byRows)
{
    return drawnIcon(byRows ? u"series-by-rows"_s : u"series-by-columns"_s, [byRows](QPainter &p) {
        p.setBrush(QColor(0x6F, 0x8F, 0xCF));
        p.drawRect(byRows ? QRectF(2.5, 2.5, 11, 3.5) : QRectF(2.5, 2.5, 3.5, 11));
        p.setBrush(Qt::NoBrush);
        p.drawRect(QRectF(2.5, 2.5, 11, 11));
        p.drawLine(QPointF(2.5, 8), QPointF(13.5, 8));
        p.drawLine(QPointF(8, 2.5), QPointF(8, 13.5));
    });
}
