#include "controls/pivot/SmoothGraph.h"

#include <cmath>

QPainterPath SmoothGraph::smoothPath(const QPolygonF &points)
{
    if (points.isEmpty())
        return {};
    QPainterPath path(points.first());
    const qsizetype last = points.size() - 1;
    for (qsizetype i = 0; i < last; ++i) {
        const QPointF before = points[std::max<qsizetype>(0, i - 1)];
        const QPointF after = points[std::min(last, i + 2)];
        path.cubicTo(points[i] + (points[i + 1] - before) / 6.0,
                     points[i + 1] - (after - points[i]) / 6.0, points[i + 1]);
    }
    return path;
}

// The line breaks where a point is missing (NaN), as the straight graph's does.
void SmoothGraph::drawLinePlot(QCPPainter *painter, const QVector<QPointF> &lines) const
{
    if (painter->pen().style() == Qt::NoPen || painter->brush().style() != Qt::NoBrush)
        return;
    applyDefaultAntialiasingHint(painter);
    QPolygonF run;
    auto flush = [&] {
        if (run.size() > 1)
            painter->drawPath(smoothPath(run));
        run.clear();
    };
    for (const QPointF &point : lines) {
        if (std::isfinite(point.x()) && std::isfinite(point.y()))
            run << point;
        else
            flush();
    }
    flush();
}
