#pragma once
// What the chart tests that compare two ways of reading share: random news
// leaning on the edges of a day, periods around and inside them, a drawing as
// frmChart makes it, and a text of everything the drawing left (series and
// their order, every cell and hole, the first and last time, the title, the
// statement it stands for).

#include "base/Dates.h"
#include "newschart/ChartControl.h"
#include "newschart/NewsChartBuilder.h"

#include <QRandomGenerator>
#include <QStringList>

namespace qrt::test {

constexpr int kWindowDays = 120;
inline const double kFirstDay = dates::fromYmd(2005, 1, 1);

// Items at midnight, at 23:59:59, several at one instant, several channels
// of one provider on one day, items without an ID ("|null").
inline QStringList randomItems(quint32 seed, int count = 3000)
{
    QRandomGenerator random(seed);
    QStringList items;
    QString previous;
    for (int i = 0; i < count; ++i) {
        if (!previous.isEmpty() && random.bounded(10) == 0) { // same instant, same channel
            items << previous;
            continue;
        }
        const double day = kFirstDay + random.bounded(kWindowDays);
        const int kind = random.bounded(20);
        const int second = kind < 5 ? 0 : kind < 7 ? 86399 : random.bounded(86400);
        const QString pubDate = dates::toTimestampText(day + second / 86400.0);
        QString item = pubDate + u'|' + QString::number(1 + random.bounded(4));
        if (random.bounded(50) == 0)
            item += QStringLiteral("|null");
        items << item;
        previous = item;
    }
    return items;
}

struct Period
{
    double from;
    double till;
};

inline QList<Period> randomPeriods(quint32 seed)
{
    QRandomGenerator random(seed * 7919u + 1);
    QList<Period> out = {
        {0.0, kFirstDay + kWindowDays},           // "All"
        {kFirstDay - 60, kFirstDay - 1},          // before any news
        {kFirstDay + 10, kFirstDay + 10},         // one day, its midnight after counted
        {kFirstDay + kWindowDays + 5, kFirstDay}, // first day after the last
        {kFirstDay + 11, kFirstDay + 10},         // the midnight after alone
    };
    for (int i = 0; i < 8; ++i) {
        const double from = kFirstDay - 5 + random.bounded(kWindowDays + 5);
        out << Period{from, from + random.bounded(60)};
    }
    return out;
}

// One drawing: a chart and the builder that filled it, as frmChart draws.
struct Drawing
{
    ChartControl chart;
    chart::NewsChartBuilder builder{chart};

    void draw(db::Connection &connection, const QString &where, const chart::NewsChartQuery &query)
    {
        builder.ClearChart(query);
        builder.Build(connection, where, query);
    }
};

inline QString fingerprint(const Drawing &drawing)
{
    const ChartControl &chart = drawing.chart;
    QStringList parts = {QStringLiteral("%1\nseries=%2 points=%3\nmin=%4 max=%5\n%6")
                             .arg(chart.SeriesLabels().join(u'|'))
                             .arg(chart.NumSeries())
                             .arg(chart.NumPoints(1))
                             .arg(drawing.builder.MinDate(), 0, 'g', 17)
                             .arg(drawing.builder.MaxDate(), 0, 'g', 17)
                             .arg(drawing.builder.Statement())};
    for (int i = 1; i <= chart.NumSeries(); ++i) {
        QString cells;
        for (int k = 1; k <= chart.NumPoints(i); ++k) {
            double v = 0;
            chart.Y(i, k, v);
            cells += (chart.IsHole(v) ? QStringLiteral("_") : QString::number(v, 'g', 17)) + u',';
        }
        parts << cells;
    }
    for (int l = 0; l < chart.LabelCount(); ++l) {
        const ChartLabel *label = chart.Label(l);
        parts << label->Text + QStringLiteral(" @ %1,%2").arg(label->DataX).arg(label->DataY);
    }
    return parts.join(u'\n');
}

} // namespace qrt::test
