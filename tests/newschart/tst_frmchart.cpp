// frmChart over real SQLite files: the rows of a period become one value per
// calendar day with holes, the title follows the span of the dates, and the
// chart passes through the empty look to the drawn one. Every case of the
// data is drawn twice, through the fast reading and the literal statement,
// and both must give the expected chart.

#include "NewsFixture.h"
#include "base/Dates.h"
#include "component/modUtils.h"
#include "controls/ChartView.h"
#include "newschart/ChartControl.h"
#include "newschart/StatisticsStatement.h"
#include "newschart/frmChart.h"

#include <qrt/statCharts.h>

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using qrt::chart::StatisticsMode;
using qrt::chart::StatisticsPath;
namespace dates = qrt::dates;

namespace {

const QString kAllTicked =
    u"Categories.ID  not in (0) AND Providers.ID  not in (0) AND Channels.ID  not in (0) "_s;
constexpr int kByChannel = 2;
constexpr int kByProvider = 3;
constexpr int kByCategory = 4;

// A series' cells as "5,_,12": "_" for a hole.
QString cellsOf(const ChartControl &chart, int series)
{
    QStringList cells;
    for (int k = 1; k <= chart.NumPoints(series); ++k) {
        double v = 0;
        if (!chart.Y(series, k, v))
            cells << u"?"_s;
        else
            cells << (chart.IsHole(v) ? u"_"_s : QString::number(v, 'g', 17));
    }
    return cells.join(u',');
}

QStringList allCells(const ChartControl &chart)
{
    QStringList out;
    for (int i = 1; i <= chart.NumSeries(); ++i)
        out << cellsOf(chart, i);
    return out;
}

QString title(const ChartControl &chart)
{
    return chart.LabelCount() ? chart.Label(0)->Text : QString();
}

double day(const QString &text)
{
    return dates::fromText(text).value_or(-1);
}

QStringList repeat(const QString &item, int times)
{
    QStringList out;
    for (int i = 0; i < times; ++i)
        out << item;
    return out;
}

} // namespace

class tst_frmChart : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void formHoldsTheChart();
    void cells_data();
    void cells();
    void titles_data();
    void titles();
    void emptyLook_data();
    void emptyLook();
    void hourglassAndRedraw();

private:
    QString database(const QStringList &items, bool withProviderZero = false);
    void setPeriod(frmChart &form, const QString &from, const QString &till, int series,
                   const QString &filter = kAllTicked);

    QTemporaryDir m_dir;
    int m_files = 0;
    statCharts m_component; // fills gConnection
};

QString tst_frmChart::database(const QStringList &items, bool withProviderZero)
{
    const QString path = m_dir.filePath(u"news%1.db"_s.arg(++m_files));
    if (!qrt::test::makeSqliteNews(path, items, withProviderZero))
        return {};
    m_component.ConnectionString(path);
    return path;
}

void tst_frmChart::setPeriod(frmChart &form, const QString &from, const QString &till, int series,
                             const QString &filter)
{
    form.FromDate = day(from);
    form.TillDate = day(till);
    form.chartSeria = series;
    form.sOrder = qrt::chart::StatisticsStatement::ColumnsFor(series)->order;
    form.sFilter = filter;
}

void tst_frmChart::formHoldsTheChart()
{
    frmChart form;
    auto *chart = form.findChild<ChartView *>(u"chrtNews"_s);
    QVERIFY(chart);
    QCOMPARE(chart, form.chrtNews);
    QCOMPARE(chart->parentWidget()->objectName(), u"elstMain"_s);
    form.resize(640, 400);
    form.show();
    QVERIFY(QTest::qWaitForWindowExposed(&form));
    // The chart fills the form, a pixel in from each side.
    QCOMPARE(chart->geometry(), QRect(1, 1, 638, 398));
}

void tst_frmChart::cells_data()
{
    QTest::addColumn<QStringList>("items");
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("till");
    QTest::addColumn<int>("series");
    QTest::addColumn<QString>("filter");
    QTest::addColumn<bool>("providerZero");
    QTest::addColumn<QStringList>("labels");
    QTest::addColumn<QStringList>("cells");
    QTest::addColumn<QString>("minDate");
    QTest::addColumn<QString>("maxDate");

    QTest::newRow("days without news stay holes")
        << QStringList{u"2005-01-01 08:00:00|1"_s, u"2005-01-02 09:00:00|1"_s,
                       u"2005-01-05 10:00:00|1"_s}
        << u"2005-01-01"_s << u"2005-01-31"_s << kByChannel << kAllTicked << false
        << QStringList{u"Alpha World"_s} << QStringList{u"1,1,_,_,1"_s} << u"2005-01-01 08:00:00"_s
        << u"2005-01-05 10:00:00"_s;
    QTest::newRow("two rows of one day add up, past what 16 bits hold")
        << repeat(u"2005-01-03 08:00:00|1"_s, 40000) + repeat(u"2005-01-03 15:30:00|1"_s, 7) +
               QStringList{u"2005-01-04 08:00:00|1"_s}
        << u"2005-01-01"_s << u"2005-01-31"_s << kByChannel << kAllTicked << false
        << QStringList{u"Alpha World"_s} << QStringList{u"40007,1"_s} << u"2005-01-03 08:00:00"_s
        << u"2005-01-04 08:00:00"_s;
    QTest::newRow("two channels of one provider on one date")
        << QStringList{u"2005-01-03 08:00:00|1"_s, u"2005-01-03 08:00:00|1"_s,
                       u"2005-01-03 08:00:00|2"_s, u"2005-01-04 23:59:59|2"_s}
        << u"2005-01-01"_s << u"2005-01-31"_s << kByProvider << kAllTicked << false
        << QStringList{u"Alpha Wire"_s} << QStringList{u"3,1"_s} << u"2005-01-03 08:00:00"_s
        << u"2005-01-04 23:59:59"_s;
    QTest::newRow("midnight after the last day is in, a second later out")
        << QStringList{u"2005-02-01 00:00:00|1"_s, u"2005-02-01 00:00:01|1"_s,
                       u"2004-12-31 23:59:59|1"_s}
        << u"2005-01-01"_s << u"2005-01-31"_s << kByChannel << kAllTicked << false
        << QStringList{u"Alpha World"_s} << QStringList{u"_,1"_s} << u"2005-01-31 00:00:00"_s
        << u"2005-02-01 00:00:00"_s;
    QTest::newRow("two series at opposite ends")
        << QStringList{u"2005-01-04 07:00:00|3"_s, u"2005-01-01 07:00:00|1"_s} << u"2005-01-01"_s
        << u"2005-01-31"_s << kByProvider << kAllTicked << false
        << QStringList{u"Alpha Wire"_s, u"Beta News"_s} << QStringList{u"1,_,_,_"_s, u"_,_,_,1"_s}
        << u"2005-01-01 07:00:00"_s << u"2005-01-04 07:00:00"_s;
    QTest::newRow("a count of 0 fills a hole with 0")
        << QStringList{u"2005-01-01 07:00:00|1"_s, u"2005-01-02 07:00:00|1|null"_s}
        << u"2005-01-01"_s << u"2005-01-31"_s << kByChannel << kAllTicked << false
        << QStringList{u"Alpha World"_s} << QStringList{u"1,0"_s} << u"2005-01-01 07:00:00"_s
        << u"2005-01-02 07:00:00"_s;
    QTest::newRow("series follow their IDs, not their names")
        << QStringList{u"2005-01-01 07:00:00|2"_s, u"2005-01-02 07:00:00|3"_s} << u"2005-01-01"_s
        << u"2005-01-31"_s << kByCategory << kAllTicked << false
        << QStringList{u"World"_s, u"Sports"_s} << QStringList{u"_,1"_s, u"1,_"_s}
        << u"2005-01-01 07:00:00"_s << u"2005-01-02 07:00:00"_s;
    QTest::newRow("a first row with ID 0 starts no series but widens the dates")
        << QStringList{u"2005-01-01 07:00:00|9"_s, u"2005-01-03 07:00:00|1"_s} << u"2005-01-01"_s
        << u"2005-01-31"_s << kByProvider
        << u"Categories.ID  not in (99) AND Providers.ID  not in (99) AND Channels.ID  not in (99) "_s
        << true << QStringList{u"Alpha Wire"_s} << QStringList{u"_,_,1"_s}
        << u"2005-01-01 07:00:00"_s << u"2005-01-03 07:00:00"_s;
    QTest::newRow("All starts at day 0")
        << QStringList{u"1990-06-01 12:00:00|4"_s} << u"00:00:00"_s << u"2005-01-31"_s << kByChannel
        << kAllTicked << false << QStringList{u"Beta Sports"_s} << QStringList{u"1"_s}
        << u"1990-06-01 12:00:00"_s << u"1990-06-01 12:00:00"_s;
    QTest::newRow("a filter leaves a channel out")
        << QStringList{u"2005-01-01 07:00:00|1"_s, u"2005-01-01 09:00:00|2"_s} << u"2005-01-01"_s
        << u"2005-01-31"_s << kByProvider
        << u"Categories.ID  not in (0) AND Providers.ID  not in (0) AND Channels.ID  not in ( 1) "_s
        << false << QStringList{u"Alpha Wire"_s} << QStringList{u"1"_s} << u"2005-01-01 09:00:00"_s
        << u"2005-01-01 09:00:00"_s;
}

void tst_frmChart::cells()
{
    QFETCH(QStringList, items);
    QFETCH(QString, from);
    QFETCH(QString, till);
    QFETCH(int, series);
    QFETCH(QString, filter);
    QFETCH(bool, providerZero);
    QFETCH(QStringList, labels);
    QFETCH(QStringList, cells);
    QFETCH(QString, minDate);
    QFETCH(QString, maxDate);
    QVERIFY(!database(items, providerZero).isEmpty());
    for (const StatisticsMode mode : {StatisticsMode::Fastest, StatisticsMode::Literal}) {
        const char *how = mode == StatisticsMode::Fastest ? "fast" : "literal";
        frmChart form;
        form.statisticsMode = mode;
        setPeriod(form, from, till, series, filter);
        form.DrawChart();
        const ChartControl &chart = form.chart();
        QVERIFY2(chart.SeriesLabels() == labels, how);
        QVERIFY2(allCells(chart) == cells, qPrintable(allCells(chart).join(u" | ")));
        QVERIFY2(dates::toTimestampText(form.minDate()) == minDate, how);
        QVERIFY2(dates::toTimestampText(form.maxDate()) == maxDate, how);
        QCOMPARE(form.MousePointer(), 0);
        QCOMPARE(form.lastStatisticsPath(), mode == StatisticsMode::Fastest
                                                ? StatisticsPath::SqliteNewsScan
                                                : StatisticsPath::Literal);
    }
}

void tst_frmChart::titles_data()
{
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("last");
    QTest::addColumn<QString>("title");
    QTest::addColumn<int>("points");

    QTest::newRow("1: one day") << u"2005-01-05 08:00:00"_s << u"2005-01-05 20:00:00"_s
                                << u"January 05"_s << 1;
    QTest::newRow("2: 23:59 and 00:01 of the next day")
        << u"2005-01-05 23:59:00"_s << u"2005-01-06 00:01:00"_s << u"January 05-06"_s << 2;
    QTest::newRow("2: the month comes from the first day")
        << u"2005-01-31 10:00:00"_s << u"2005-02-01 10:00:00"_s << u"January 31-01"_s << 2;
    QTest::newRow("3: one month boundary names the month of the last day")
        << u"2005-01-20 10:00:00"_s << u"2005-02-15 10:00:00"_s << u"February 2005"_s << 27;
    QTest::newRow("3: a first time after noon moves past the last day")
        << u"2005-01-10 13:00:00"_s << u"2005-01-31 08:00:00"_s << u"February 2005"_s << 22;
    QTest::newRow("3: before noon it does not")
        << u"2005-01-10 11:00:00"_s << u"2005-01-31 08:00:00"_s << u"January 2005"_s << 22;
    QTest::newRow("4: across a new year, no year")
        << u"2004-11-15 10:00:00"_s << u"2005-02-10 10:00:00"_s << u"November - February"_s << 88;
    QTest::newRow("4: exactly six month boundaries")
        << u"2005-01-15 10:00:00"_s << u"2005-07-15 10:00:00"_s << u"January - July"_s << 182;
    QTest::newRow("5: seven month boundaries")
        << u"2005-01-15 10:00:00"_s << u"2005-08-15 10:00:00"_s << u"2005"_s << 213;
    QTest::newRow("5: ending on December 31 after noon gives the next year")
        << u"2004-03-01 13:00:00"_s << u"2004-12-31 10:00:00"_s << u"2005"_s << 306;
}

void tst_frmChart::titles()
{
    QFETCH(QString, first);
    QFETCH(QString, last);
    QFETCH(QString, title);
    QFETCH(int, points);
    QVERIFY(!database({first + u"|1"_s, last + u"|3"_s}).isEmpty());
    frmChart form;
    setPeriod(form, first.left(10), last.left(10), kByProvider);
    form.DrawChart();
    const ChartControl &chart = form.chart();
    QCOMPARE(chart.NumPoints(1), points);
    QCOMPARE(chart.LabelCount(), 1);
    const ChartLabel *label = chart.Label(0);
    QCOMPARE(label->Text, u"News Count for "_s + title);
    QVERIFY(label->Bold);
    QCOMPARE(chart.Axis(u"X")->TimeBase, form.minDate() - 1);
}

void tst_frmChart::emptyLook_data()
{
    QTest::addColumn<bool>("emptyFilter"); // else a period without news
    QTest::newRow("empty filter runs no query") << true;
    QTest::newRow("period without news") << false;
}

// From the drawn look back to the empty one.
void tst_frmChart::emptyLook()
{
    QFETCH(bool, emptyFilter);
    QVERIFY(!database({u"2005-01-01 07:00:00|1"_s}).isEmpty());
    frmChart form;
    setPeriod(form, u"2005-01-01"_s, u"2005-01-31"_s, kByChannel);
    form.DrawChart();
    QCOMPARE(form.chart().NumSeries(), 1);
    QCOMPARE(form.chart().BorderWidth(), 4);
    QCOMPARE(form.chart().BackColor(), 0xEDEDEDu);
    if (emptyFilter) {
        form.sFilter.clear();
        form.statisticsMode = StatisticsMode::Literal; // a query would show as a new path
    } else {
        setPeriod(form, u"2006-01-01"_s, u"2006-01-31"_s, kByChannel);
    }
    form.DrawChart();
    const ChartControl &chart = form.chart();
    if (emptyFilter)
        QCOMPARE(form.lastStatisticsPath(), StatisticsPath::SqliteNewsScan);
    QVERIFY(chart.SeriesLabels().isEmpty());
    QCOMPARE(chart.LabelCount(), 0);
    QCOMPARE(chart.BorderWidth(), 0);
    QCOMPARE(chart.BackColor(), 14480885u);
    QCOMPARE(form.MousePointer(), 0);
    QCOMPARE(form.cursor().shape(), Qt::ArrowCursor);
}

// The hourglass shows while rows come in; a redraw asks again and gets the
// same chart, and the type, stacking and legend chosen meanwhile stay.
void tst_frmChart::hourglassAndRedraw()
{
    QVERIFY(!database({u"2005-01-01 07:00:00|1"_s, u"2005-01-03 07:00:00|3"_s,
                       u"2005-01-03 09:00:00|4"_s})
                 .isEmpty());
    frmChart form;
    setPeriod(form, u"2005-01-01"_s, u"2005-01-31"_s, kByProvider);
    // Each series label repaints the still empty chart while rows come in.
    QList<int> pointers;
    QList<Qt::CursorShape> shapes;
    auto spy = connect(&form.chart(), &ChartControl::repaintNeeded, &form, [&] {
        pointers << form.MousePointer();
        shapes << form.cursor().shape();
    });
    form.DrawChart();
    disconnect(spy);
    QVERIFY(pointers.contains(11));
    QVERIFY(shapes.contains(Qt::WaitCursor));
    QCOMPARE(pointers.first(), 0); // the clearing comes before the hourglass
    QCOMPARE(form.cursor().shape(), Qt::ArrowCursor);
    const QStringList first = allCells(form.chart());
    QCOMPARE(first, (QStringList{u"1,_,_"_s, u"_,_,2"_s}));
    form.chart().setChartType(ChartControl::StackingBar);
    form.chart().setIsStacked(true);
    form.chart().setLegendIsShowing(false);
    form.DrawChart();
    QCOMPARE(allCells(form.chart()), first);
    QCOMPARE(title(form.chart()), u"News Count for January 2005"_s);
    QCOMPARE(form.chart().LabelCount(), 1);
    QCOMPARE(form.chart().ChartType(), int(ChartControl::StackingBar));
    QVERIFY(form.chart().IsStacked());
    QVERIFY(!form.chart().LegendIsShowing());
}

QTEST_MAIN(tst_frmChart)
#include "tst_frmchart.moc"
