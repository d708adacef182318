#include "controls/tools/ToolIcons.h"

#include "controls/tools/IconCache.h"

#include <QPainter>
#include <QPixmap>

#include <functional>

using namespace Qt::StringLiterals;

namespace {

const QColor kBlue(0x2f, 0x6f, 0xc0);
const QColor kOrange(0xe8, 0x8a, 0x1a);
const QColor kGreen(0x3a, 0x9a, 0x4a);
const QColor kInk(0x40, 0x40, 0x40);

QIcon paintIcon(const std::function<void(QPainter &)> &paint)
{
    QIcon icon;
    for (int scale : {1, 2}) {
        QPixmap pixmap(16 * scale, 16 * scale);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.scale(scale, scale);
        paint(painter);
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

// Drawn once for the process; see IconCache.
QIcon draw(const QString &name, const std::function<void(QPainter &)> &paint)
{
    return IconCache::icon(u"tool/"_s + name, [&paint] { return paintIcon(paint); });
}

} // namespace

// Bars made of two stacked parts.
QIcon ToolIcons::stacked()
{
    return draw(u"stacked"_s, [](QPainter &p) {
        const int heights[] = {7, 11, 5};
        for (int i = 0; i < 3; ++i) {
            const int x = 2 + i * 5;
            const int h = heights[i];
            p.fillRect(QRectF(x, 15 - h, 4, h / 2.0), kBlue);
            p.fillRect(QRectF(x, 15 - h / 2.0 - h / 2.0 - 3, 4, 3), kOrange);
        }
        p.setPen(kInk);
        p.drawLine(QPointF(1, 15.5), QPointF(15, 15.5));
    });
}

// A box of coloured keys with lines of text.
QIcon ToolIcons::legend()
{
    return draw(u"legend"_s, [](QPainter &p) {
        p.setPen(kInk);
        p.setBrush(Qt::white);
        p.drawRect(QRectF(1.5, 1.5, 13, 13));
        const QColor keys[] = {kBlue, kOrange, kGreen};
        for (int i = 0; i < 3; ++i) {
            p.fillRect(QRectF(3.5, 3.5 + i * 3.5, 2.5, 2.5), keys[i]);
            p.fillRect(QRectF(7.5, 4.25 + i * 3.5, 5, 1), kInk);
        }
    });
}

// A line over bars: the chart being drawn anew.
QIcon ToolIcons::statisticchart()
{
    return draw(u"statisticchart"_s, [](QPainter &p) {
        p.setPen(Qt::NoPen);
        const int heights[] = {5, 9, 7, 12};
        for (int i = 0; i < 4; ++i)
            p.fillRect(QRectF(1.5 + i * 3.5, 15 - heights[i], 2.5, heights[i]), kBlue);
        QPen pen(kOrange, 1.6);
        p.setPen(pen);
        const QPointF line[] = {{1, 8}, {5, 5}, {9, 7}, {14.5, 2}};
        p.drawPolyline(line, 4);
    });
}
