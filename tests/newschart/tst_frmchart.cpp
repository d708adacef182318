// frmChart as a widget: the form holds the chart control, the hourglass
// shows while rows come in (never without a filter), and a redraw keeps the
// type, stacking and legend. The algorithm itself is NewsChartBuilder's,
// tested in tst_newschartbuilder.

#include "NewsFixture.h"
#include "base/Dates.h"
#include "controls/chart/ChartView.h"
#include "newschart/ChartControl.h"
#include "newschart/StatisticsStatement.h"
#include "newschart/frmChart.h"

#include <qrt/statCharts.h>

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
namespace dates = qrt::dates;

class tst_frmChart : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void formHoldsTheChart();
    void hourglassAndRedraw();

private:
    QTemporaryDir m_dir;
    statCharts m_component; // fills gConnection
};

void tst_frmChart::formHoldsTheChart()
{
    frmChart form;
    auto *chart = form.findChild<ChartView *>(u"chrtNews"_s);
    QVERIFY(chart);
    form.resize(640, 400);
    form.show();
    QVERIFY(QTest::qWaitForWindowExposed(&form));
    // The chart fills the form, a pixel in from each side.
    QCOMPARE(chart->geometry(), QRect(1, 1, 638, 398));
}

// The hourglass shows while rows come in; a redraw asks again and gets the
// same chart, and the type, stacking and legend chosen meanwhile stay.
// Without a filter nothing is asked and no hourglass shows.
void tst_frmChart::hourglassAndRedraw()
{
    const QString path = m_dir.filePath(u"news.db"_s);
    QVERIFY(qrt::test::makeSqliteNews(path, {u"2005-01-01 07:00:00|1"_s, u"2005-01-03 07:00:00|3"_s,
                                             u"2005-01-03 09:00:00|4"_s}));
    m_component.ConnectionString(path);
    frmChart form;
    form.FromDate = dates::fromYmd(2005, 1, 1);
    form.TillDate = dates::fromYmd(2005, 1, 31);
    form.chartSeria = 3;
    form.sOrder = qrt::chart::StatisticsStatement::ColumnsFor(3)->order;
    form.sFilter =
        u"Categories.ID  not in (0) AND Providers.ID  not in (0) AND Channels.ID  not in (0) "_s;
    // Each series label repaints the still empty chart while rows come in.
    QList<int> pointers;
    QList<Qt::CursorShape> shapes;
    connect(&form.chart(), &ChartControl::repaintNeeded, &form, [&] {
        pointers << form.MousePointer();
        shapes << form.cursor().shape();
    });
    form.DrawChart();
    QVERIFY(pointers.contains(11));
    QVERIFY(shapes.contains(Qt::WaitCursor));
    QCOMPARE(pointers.first(), 0); // the clearing comes before the hourglass
    QCOMPARE(form.MousePointer(), 0);
    QCOMPARE(form.cursor().shape(), Qt::ArrowCursor);
    QCOMPARE(form.chart().NumSeries(), 2);
    QCOMPARE(form.chart().NumPoints(1), 3);

    form.chart().setChartType(ChartControl::StackingBar);
    form.chart().setIsStacked(true);
    form.chart().setLegendIsShowing(false);
    form.DrawChart();
    QCOMPARE(form.chart().SeriesLabels(), (QStringList{u"Alpha Wire"_s, u"Beta News"_s}));
    QCOMPARE(form.chart().NumPoints(1), 3);
    QCOMPARE(form.chart().LabelCount(), 1);
    QCOMPARE(form.chart().ChartType(), int(ChartControl::StackingBar));
    QVERIFY(form.chart().IsStacked());
    QVERIFY(!form.chart().LegendIsShowing());

    pointers.clear();
    form.sFilter.clear();
    form.statisticsMode = qrt::chart::StatisticsMode::Literal; // a query would show as a new path
    form.DrawChart();
    QCOMPARE(form.lastStatisticsPath(), qrt::chart::StatisticsPath::Memory);
    QVERIFY(!pointers.contains(11));
    QCOMPARE(form.chart().NumSeries(), 0);
    QCOMPARE(form.cursor().shape(), Qt::ArrowCursor);
}

QTEST_MAIN(tst_frmChart)
#include "tst_frmchart.moc"
