// The chart control's model without a screen: a new table is all holes, the
// batch flags and a label's bracket hold repaints back, the chart type takes
// only its four codes, the bounds the title is placed by, the time scale's
// strftime formatting, and the named periods of the tool bar.

#include "base/Dates.h"
#include "newschart/ChartControl.h"
#include "newschart/NamedPeriod.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
namespace NamedPeriod = qrt::chart::NamedPeriod;
using qrt::dates::fromYmd;

class tst_ChartControl : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void newTableIsHoles();
    void batchFlagsHoldRepaints();
    void chartTypes_data();
    void chartTypes();
    void valueBounds_data();
    void valueBounds();
    void format_data();
    void format();
    void namedPeriodsOnMarch15_data();
    void namedPeriodsOnMarch15();
    void namedPeriodTextsReadBackWithoutCase();
};

void tst_ChartControl::newTableIsHoles()
{
    ChartControl chart;
    chart.setNumSeries(2);
    chart.setNumPoints(1, 4);
    QCOMPARE(chart.NumPoints(2), 4); // written for series 1, valid for all
    QVERIFY(chart.setY(2, 3, 7));
    chart.setNumSeries(3); // a series added later is holes too
    for (int i = 1; i <= 3; ++i) {
        for (int k = 1; k <= 4; ++k) {
            double v = 0;
            QVERIFY(chart.Y(i, k, v));
            QCOMPARE(v, i == 2 && k == 3 ? 7.0 : 1e308);
        }
    }
    chart.setNumPoints(1, 2); // a new size is a new table
    double v = 0;
    QVERIFY(chart.Y(2, 2, v));
    QVERIFY(chart.IsHole(v));
    // Outside the table nothing is read or written.
    v = 42;
    for (auto [series, point] : {std::pair{0, 1}, {4, 1}, {1, 0}, {1, 3}, {-1, -1}}) {
        QVERIFY(!chart.Y(series, point, v));
        QVERIFY(!chart.setY(series, point, 5));
    }
    QCOMPARE(v, 42.0);
    chart.setNumPoints(4, 9); // no series 4: nothing changes
    QCOMPARE(chart.NumPoints(1), 2);
    chart.setNumSeries(0);
    QCOMPARE(chart.NumPoints(1), 0);
}

void tst_ChartControl::batchFlagsHoldRepaints()
{
    ChartControl chart;
    QSignalSpy repaints(&chart, &ChartControl::repaintNeeded);
    chart.setIsBatched(true);
    chart.setDataIsBatched(true);
    chart.setNumSeries(3);
    chart.setNumPoints(1, 100);
    for (int k = 1; k <= 100; ++k)
        chart.setY(1, k, k);
    chart.AddSeriesLabel(u"A"_s);
    chart.setBackColor(0xEDEDED);
    QCOMPARE(repaints.count(), 0);
    chart.setDataIsBatched(false); // the chart is still batched
    QCOMPARE(repaints.count(), 0);
    chart.setIsBatched(false);
    QCOMPARE(repaints.count(), 1);
    // Outside a batch, a display change repaints at once, a cell write too.
    chart.setChartType(ChartControl::Bar);
    chart.setIsStacked(true);
    chart.setLegendIsShowing(false);
    chart.setY(1, 1, 5);
    QCOMPARE(repaints.count(), 5);
    // Cell writes under the data batch alone wait for it to drop.
    chart.setDataIsBatched(true);
    chart.setY(1, 2, 5);
    chart.setY(1, 3, 5);
    QCOMPARE(repaints.count(), 5);
    chart.setDataIsBatched(false);
    QCOMPARE(repaints.count(), 6);
    // A label's bracket holds its changes back the same way.
    const int label = chart.AddLabel();
    chart.setLabelIsBatched(label, true);
    const qsizetype before = repaints.count();
    chart.setLabelText(label, u"News Count for May 2005"_s);
    chart.setLabelDataX(label, 3);
    QCOMPARE(repaints.count(), before);
    chart.setLabelIsBatched(label, false);
    QCOMPARE(repaints.count(), before + 1);
}

void tst_ChartControl::chartTypes_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("kept");
    QTest::newRow("Area") << 5 << 5;
    QTest::newRow("3 is not ours") << 3 << 2;
    QTest::newRow("6") << 6 << 2;
}

void tst_ChartControl::chartTypes()
{
    QFETCH(int, code);
    QFETCH(int, kept);
    ChartControl chart;
    chart.setChartType(ChartControl::Bar);
    chart.setIsStacked(false);
    chart.setChartType(code);
    QCOMPARE(chart.ChartType(), kept);
    QVERIFY(!chart.IsStacked()); // the type never touches the stacked flag
}

void tst_ChartControl::valueBounds_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<bool>("stacked");
    QTest::addColumn<double>("yMax");
    // Two series over three points: (10, hole, 4) and (30, 20, hole).
    QTest::newRow("plot: the highest value and some room") << 1 << false << 40.0;
    QTest::newRow("stacked plot: the highest stack") << 1 << true << 50.0;
    QTest::newRow("stacking bar stacks without the flag") << 4 << false << 50.0;
}

void tst_ChartControl::valueBounds()
{
    QFETCH(int, type);
    QFETCH(bool, stacked);
    QFETCH(double, yMax);
    ChartControl chart;
    chart.setNumSeries(2);
    chart.setNumPoints(1, 3);
    chart.setY(1, 1, 10);
    chart.setY(1, 3, 4);
    chart.setY(2, 1, 30);
    chart.setY(2, 2, 20);
    chart.setChartType(type);
    chart.setIsStacked(stacked);
    QCOMPARE(chart.AxisMin(u"Y"), 0.0);
    QCOMPARE(chart.AxisMax(u"Y"), yMax);
    QCOMPARE(chart.AxisMin(u"X"), 0.5);
    QCOMPARE(chart.AxisMax(u"X"), 3.5);
    QVERIFY(!chart.Axis(u"x")); // axis names compare exactly
}

void tst_ChartControl::format_data()
{
    QTest::addColumn<double>("date");
    QTest::addColumn<QString>("format");
    QTest::addColumn<QString>("text");
    QTest::newRow("%B %d") << fromYmd(2005, 1, 5) << u"%B %d"_s << u"January 05"_s;
    QTest::newRow("%Y late in the day") << fromYmd(1999, 12, 31) + 0.99 << u"%Y"_s << u"1999"_s;
    // Weeks counted from Monday; 2005-01-01 was a Saturday, in week 00.
    QTest::newRow("%W before the first Monday") << fromYmd(2005, 1, 1) << u"%W"_s << u"00"_s;
    QTest::newRow("%W at the end of a leap year") << fromYmd(2004, 12, 31) << u"%W"_s << u"52"_s;
    QTest::newRow("time of day") << fromYmd(2005, 3, 15) + 10.5 / 24 << u"%H:%M:%S"_s
                                 << u"10:30:00"_s;
    QTest::newRow("day 0") << 0.0 << u"%Y-%m-%d %A"_s << u"1899-12-30 Saturday"_s;
}

void tst_ChartControl::format()
{
    QFETCH(double, date);
    QFETCH(QString, format);
    QFETCH(QString, text);
    QCOMPARE(ChartControl::Format(date, format), text);
}

// The named periods: each ends today and reaches a plain count of days
// back, with day 0 for "All" and for a code outside the list.
void tst_ChartControl::namedPeriodsOnMarch15_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("text");
    QTest::addColumn<double>("from");
    QTest::newRow("Today") << 1 << u"Today"_s << fromYmd(2005, 3, 15);
    QTest::newRow("Yesterday, and today") << 2 << u"Yesterday"_s << fromYmd(2005, 3, 14);
    QTest::newRow("Last Month: 31 days") << 4 << u"Last Month"_s << fromYmd(2005, 2, 12);
    QTest::newRow("Last Year: 365 days over a leap day")
        << 5 << u"Last Year"_s << fromYmd(2004, 3, 15);
    QTest::newRow("All from day 0") << 6 << u"All"_s << 0.0;
    QTest::newRow("0 is no period") << 0 << QString() << 0.0;
    QTest::newRow("7 is no period") << 7 << QString() << 0.0;
}

void tst_ChartControl::namedPeriodsOnMarch15()
{
    QFETCH(int, code);
    QFETCH(QString, text);
    QFETCH(double, from);
    const double today = fromYmd(2005, 3, 15);
    const auto range = NamedPeriod::Range(code, today);
    QCOMPARE(range.FromDate, from);
    QCOMPARE(range.TillDate, today); // every period ends today
    QCOMPARE(NamedPeriod::Text(code), text);
}

void tst_ChartControl::namedPeriodTextsReadBackWithoutCase()
{
    for (int code = 1; code <= 6; ++code) {
        QCOMPARE(NamedPeriod::FromText(NamedPeriod::Text(code)), code);
        QCOMPARE(NamedPeriod::FromText(NamedPeriod::Text(code).toUpper()), code);
    }
    QVERIFY(!NamedPeriod::FromText(u"Last Fortnight"_s));
    QVERIFY(!NamedPeriod::FromText(QString()));
}

QTEST_APPLESS_MAIN(tst_ChartControl)
#include "tst_chartcontrol.moc"
