#pragma once
// The category axis of a pivot chart: one tick per category, labelled with
// the innermost caption of its member path. Where an outer member begins,
// its caption shows under the ticks on a line of its own (beside the caption
// on a vertical axis), and a thin line divides the outermost groups. Labels
// thin out to every n-th category when they would overlap, so that a long
// row axis stays legible; they are fitted again whenever the axis' length
// changes.

#include "controls/chart/QCustomPlotInclude.h"

#include <QStringList>

#include <vector>

class PivotChartAxes : public QCPLayerable
{
public:
    explicit PivotChartAxes(QCustomPlot *plot);

    // Lays the categories along the axis at keys 1..n; a null axis has none.
    void setCategories(QCPAxis *axis, std::vector<QStringList> categories);

    // Refits the labels to the axis' present length. True when they
    // changed, so that the plot must draw again.
    bool fit();

    // A category's whole path as screen tips show it; the grand total of an
    // axis without fields is "Total".
    static QString pathText(const QStringList &path);

protected:
    void applyDefaultAntialiasingHint(QCPPainter *painter) const override;
    void draw(QCPPainter *painter) override;

private:
    int axisLength() const;
    bool begins(size_t category, int level) const;
    int uniformGroupSize() const;
    int labelStep(int needed) const;
    QString innerCaption(size_t category) const;
    double labelRoom() const;
    QMap<double, QString> horizontalLabels(double perCategory) const;
    QMap<double, QString> verticalLabels() const;
    int labelExtent() const;

    QCPAxis *m_axis = nullptr;
    QSharedPointer<QCPAxisTickerText> m_ticker;
    std::vector<QStringList> m_categories;
    int m_fittedLength = -1;
    int m_step = 1; // every how many categories a label shows
};
