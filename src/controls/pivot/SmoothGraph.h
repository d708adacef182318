#pragma once
// A graph whose line runs as a smooth curve through its points, for the
// pivot chart's smooth line types. Only the drawing changes: the data keep
// the values plotted, so read-back and screen tips see the real points.

#include "controls/chart/QCustomPlotInclude.h"

#include <QPainterPath>

class SmoothGraph : public QCPGraph
{
public:
    using QCPGraph::QCPGraph;

    // A curve through the points, each span a cubic Bézier whose controls
    // follow the Catmull-Rom tangents, so the curve keeps every point.
    static QPainterPath smoothPath(const QPolygonF &points);

protected:
    void drawLinePlot(QCPPainter *painter, const QVector<QPointF> &lines) const override;
};
