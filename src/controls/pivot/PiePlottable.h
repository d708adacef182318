#pragma once
// A pie or doughnut for QCustomPlot, which has none: rings of slices drawn
// in the middle of the axis rect. The outer ring is the first; a pie is one
// ring without a hole. It keeps the values it draws, so that tests read
// them back and screen tips find the slice under the mouse. Slices are the
// values' magnitudes; a missing value (NaN) or a zero has no slice.

#include "controls/chart/QCustomPlotInclude.h"

#include <QPainterPath>

#include <optional>
#include <vector>

class PiePlottable : public QCPAbstractPlottable
{
public:
    struct Slice
    {
        int ring = 0;
        int index = 0;
    };

    PiePlottable(QCPAxis *keyAxis, QCPAxis *valueAxis);

    void setRings(std::vector<std::vector<double>> rings);
    // One caption and colour per slice index, the same on every ring.
    void setCaptions(const QStringList &captions);
    void setColors(const QList<QColor> &colors);
    // The hole's radius as a share of the outer radius: 0 for a pie.
    void setHoleRatio(double ratio);
    // Pulls the slices of the outer ring away from the centre.
    void setExploded(bool exploded);

    std::optional<double> value(int ring, int index) const;
    // The slice's part of its ring, in percent.
    double share(int ring, int index) const;
    std::optional<Slice> sliceAt(const QPointF &pos) const;
    // The legend lists the slices, not the plottable.
    void addLegendItems(QCPLegend *legend) const;

    double selectTest(const QPointF &pos, bool onlySelectable,
                      QVariant *details = nullptr) const override;
    QCPRange getKeyRange(bool &foundRange, QCP::SignDomain inSignDomain) const override;
    QCPRange getValueRange(bool &foundRange, QCP::SignDomain inSignDomain,
                           const QCPRange &inKeyRange) const override;

protected:
    void draw(QCPPainter *painter) override;
    void drawLegendIcon(QCPPainter *painter, const QRectF &rect) const override;

private:
    struct Geometry
    {
        QPointF center;
        double radius = 0; // of the outer ring
        double ringWidth = 0;
        double shift = 0; // how far exploded slices move out
    };

    Geometry geometry() const;
    QSizeF labelRoom() const;
    QString labelText(int index) const;
    // Start and span in degrees, clockwise from twelve o'clock.
    std::pair<double, double> angles(int ring, int index) const;
    QPainterPath slicePath(const Geometry &g, int ring, int index) const;
    QPointF sliceShift(const Geometry &g, int ring, int index) const;
    void drawPieLabels(QCPPainter *painter, const Geometry &g) const;
    void drawRingLabels(QCPPainter *painter, const Geometry &g) const;
    QColor color(int index) const;

    std::vector<std::vector<double>> m_rings;
    std::vector<double> m_totals;
    QStringList m_captions;
    QList<QColor> m_colors;
    double m_holeRatio = 0.0;
    bool m_exploded = false;
};
