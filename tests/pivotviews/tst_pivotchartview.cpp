// The pivot chart's drawing: every drawing family plots, on random data,
// the values an independent computation expects (the values, running sums
// of stacked lines and areas, shares of 100% types, nothing at holes), a
// screen tip names what is under the mouse, every type number is drawn as
// one of the drawn types, and no data draws nothing.

#include "controls/pivot/PivotChartView.h"

#include <QRandomGenerator>
#include <QTest>

#include <cmath>

using namespace Qt::StringLiterals;
using qrt::pivot::PivotChartData;

namespace {

// Categories with one- or two-level paths, 1-6 series, some holes.
PivotChartData randomData(quint32 seed)
{
    QRandomGenerator random(seed);
    PivotChartData data;
    const bool nested = random.bounded(2) == 1;
    const int outer = nested ? 2 + random.bounded(3) : 1;
    const int inner = 3 + random.bounded(nested ? 6 : 28);
    for (int o = 0; o < outer; ++o) {
        for (int i = 0; i < inner; ++i) {
            data.categories.push_back(nested ? QStringList{u"Y%1"_s.arg(o), u"M%1"_s.arg(i)}
                                             : QStringList{u"M%1"_s.arg(i)});
            data.categoryTips.push_back(u"Y%1 \u203A M%2"_s.arg(o).arg(i));
        }
    }
    const int series = 1 + random.bounded(6);
    for (int s = 0; s < series; ++s) {
        PivotChartData::Series one;
        one.name = u"Series %1"_s.arg(s);
        one.tip = u"All \u203A Series %1"_s.arg(s);
        for (size_t c = 0; c < data.categories.size(); ++c) {
            if (random.bounded(6) == 0)
                one.values.push_back(std::nullopt);
            else
                one.values.push_back(random.bounded(1, 1000) + random.bounded(4) * 0.25);
        }
        data.series.push_back(one);
    }
    data.categoryTitle = u"Year / Month"_s;
    return data;
}

// What a series at a category should plot: its value, or its share of the
// category's total, summed over the series up to it where the type stacks.
std::optional<double> expected(const PivotChartData &data, int s, int c, bool running, bool percent)
{
    if (!data.series[size_t(s)].values[size_t(c)])
        return std::nullopt;
    double total = 0.0;
    for (const auto &series : data.series)
        total += std::abs(series.values[size_t(c)].value_or(0.0));
    double sum = 0.0;
    for (int i = running ? 0 : s; i <= s; ++i) {
        const double v = data.series[size_t(i)].values[size_t(c)].value_or(0.0);
        sum += percent ? v / total * 100.0 : v;
    }
    return sum;
}

// Where the bar of a series at a category ends, on the value axis.
double barTop(PivotChartView &view, int s, int c)
{
    auto *bars = qobject_cast<QCPBars *>(view.plottable(s));
    const int i = int(bars->data()->findBegin(c + 1, false) - bars->data()->constBegin());
    return bars->valueAxis()->pixelToCoord(bars->dataPixelPosition(i).y());
}

} // namespace

class tst_PivotChartView : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void drawnValues_data();
    void drawnValues();
    void screenTips_data();
    void screenTips();
    void typeNumbers();
    void emptyData();
};

void tst_PivotChartView::drawnValues_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<bool>("running");
    QTest::addColumn<bool>("percent");
    QTest::addColumn<int>("rings"); // the series a pie or doughnut draws; -1 all
    QTest::newRow("clustered column") << 0 << false << false << -1;
    // Bars hold their own values and stack on the ones below (checked apart).
    QTest::newRow("stacked column") << 1 << false << false << -1;
    QTest::newRow("100% column") << 2 << false << true << -1;
    QTest::newRow("clustered bar") << 3 << false << false << -1;
    QTest::newRow("line with markers") << 7 << false << false << -1;
    QTest::newRow("stacked line with markers") << 9 << true << false << -1;
    QTest::newRow("100% line") << 10 << true << true << -1;
    QTest::newRow("smooth line with markers") << 13 << false << false << -1;
    QTest::newRow("pie") << 18 << false << false << 1;
    QTest::newRow("area") << 29 << false << false << -1;
    QTest::newRow("stacked area") << 30 << true << false << -1;
    QTest::newRow("doughnut") << 32 << false << false << -1;
}

void tst_PivotChartView::drawnValues()
{
    QFETCH(int, type);
    QFETCH(bool, running);
    QFETCH(bool, percent);
    QFETCH(int, rings);
    PivotChartView view;
    view.resize(592, 338); // the host's size, where a long legend wraps
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    view.setChartType(type);
    for (quint32 seed = 1; seed <= 8; ++seed) {
        const PivotChartData data = randomData(seed);
        view.setChartData(data);
        for (int s = 0; s < int(data.series.size()); ++s) {
            for (int c = 0; c < int(data.categories.size()); ++c) {
                const auto want = rings >= 0 && s >= rings ? std::nullopt
                                                           : expected(data, s, c, running, percent);
                const auto got = view.drawnValue(s, c);
                const QByteArray where =
                    u"seed %1 series %2 category %3"_s.arg(seed).arg(s).arg(c).toUtf8();
                QVERIFY2(got.has_value() == want.has_value(), where.constData());
                const double w = want.value_or(0.0);
                QVERIFY2(std::abs(got.value_or(0.0) - w) < 1e-9 * std::max(1.0, std::abs(w)),
                         where.constData());
                if (want && (type == 1 || type == 2))
                    QVERIFY2(std::abs(barTop(view, s, c) - *expected(data, s, c, true, percent)) <
                                 1e-6,
                             where.constData());
            }
        }
    }
}

void tst_PivotChartView::screenTips_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<bool>("share");
    QTest::newRow("clustered column") << 0 << false;
    QTest::newRow("100% bar") << 5 << true;
    QTest::newRow("stacked line with markers") << 9 << false;
}

// The tip at the drawn point of every value names its series, its category
// (each by its whole path) and its value.
void tst_PivotChartView::screenTips()
{
    QFETCH(int, type);
    QFETCH(bool, share);
    PivotChartData data = randomData(3);
    data.series.resize(std::min<size_t>(data.series.size(), 3));
    PivotChartView view;
    view.resize(900, 500);
    view.setChartType(type);
    view.setChartData(data);
    view.replot(QCustomPlot::rpImmediateRefresh);
    for (int s = 0; s < int(data.series.size()); ++s) {
        auto *plottable = dynamic_cast<QCPPlottableInterface1D *>(view.plottable(s));
        for (int i = 0; plottable && i < plottable->dataCount(); ++i) {
            // A sliver of a bar has no inside to point at.
            const double upper = view.plottable(s)->valueAxis()->range().upper;
            if (std::isnan(plottable->dataMainValue(i)) || plottable->dataMainValue(i) < upper / 50)
                continue;
            const int c = int(plottable->dataMainKey(i)) - 1;
            QPointF at = plottable->dataPixelPosition(i);
            // Into the bar from its end, for the bar's inside.
            at += type == 5 ? QPointF(-2, 0) : type == 0 ? QPointF(0, 2) : QPointF();
            const QStringList tip = view.toolTipAt(at).split(u'\n');
            // Whole paths, where the axis may show the innermost caption alone.
            QCOMPARE(tip.value(0), data.series[size_t(s)].tip);
            QCOMPARE(tip.value(1), data.categoryTips[size_t(c)]);
            const double value = *data.series[size_t(s)].values[size_t(c)];
            QCOMPARE(tip.value(2).toDouble(), value);
            QCOMPARE(tip.size(), share ? 4 : 3);
        }
    }
}

void tst_PivotChartView::typeNumbers()
{
    const QList<int> drawn = PivotChartView::drawnTypes();
    QCOMPARE(QSet<int>(drawn.begin(), drawn.end()).size(), 25);
    QSet<QString> names;
    for (int type : drawn) {
        QCOMPARE(PivotChartView::drawnType(type), type);
        names << PivotChartView::typeName(type);
        QVERIFY(!PivotChartView::typeIcon(type).isNull());
    }
    QCOMPARE(names.size(), 25);
    PivotChartView view;
    view.setChartData(randomData(5));
    for (int type : {-3, 20, 24, 28, 34, 36, 39, 45, 46, 1000}) {
        QVERIFY2(drawn.contains(PivotChartView::drawnType(type)),
                 qPrintable(QString::number(type)));
        view.setChartType(type);
        QVERIFY(view.drawnValue(0, 1) || !view.chartData().series[0].values[1]);
    }
}

void tst_PivotChartView::emptyData()
{
    PivotChartData noSeries = randomData(4);
    noSeries.series.clear();
    for (const PivotChartData &data : {PivotChartData(), noSeries}) {
        PivotChartView view;
        view.setChartData(data);
        for (int type : PivotChartView::drawnTypes()) {
            view.setChartType(type);
            view.replot(QCustomPlot::rpImmediateRefresh);
            QCOMPARE(view.plottableCount(), 0);
            QVERIFY(!view.drawnValue(0, 0));
            QVERIFY(view.toolTipAt(view.rect().center()).isEmpty());
        }
    }
}

QTEST_MAIN(tst_PivotChartView)
#include "tst_pivotchartview.moc"
