// The chart view draws what its control holds: per chart type and stacked
// flag the right plottables with holes as gaps or missing bars, the legend
// in series order, the title label, the time axis labelled by days, the two
// looks of the chart area on screen, and exports to PNG, SVG and PDF. And
// frmChart, the form around it: the hourglass shows while rows come in
// (never without a filter), and a redraw keeps the type, stacking and
// legend. The algorithm itself is NewsChartBuilder's.

#include "NewsFixture.h"
#include "base/Dates.h"
#include "controls/chart/ChartView.h"
#include "newschart/ChartControl.h"
#include "newschart/StatisticsStatement.h"
#include "newschart/frmChart.h"

#include <qrt/statCharts.h>

#include <QFile>
#include <QImage>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr double H = ChartControl::DefaultHoleValue;

// Two series over five days: (1, hole, 3, 4, hole) and (2, 2, hole, 1, 1).
void fill(ChartControl &chart)
{
    chart.setIsBatched(true);
    const QList<QList<double>> rows = {{1, H, 3, 4, H}, {2, 2, H, 1, 1}};
    chart.setNumSeries(2);
    chart.setNumPoints(1, 5);
    for (int i = 1; i <= 2; ++i) {
        chart.AddSeriesLabel(u"S%1"_s.arg(i));
        for (int k = 1; k <= 5; ++k)
            chart.setY(i, k, rows[i - 1][k - 1]);
    }
    ChartAxis *x = chart.Axis(u"X");
    x->AnnotationMethod = 3;
    x->TimeBase = qrt::dates::fromYmd(2005, 1, 9) + 0.25;
    chart.setIsBatched(false);
}

QCPAbstractPlottable *plottableNamed(ChartView &view, const QString &name)
{
    for (int i = 0; i < view.plottableCount(); ++i)
        if (view.plottable(i)->name() == name)
            return view.plottable(i);
    return nullptr;
}

// "key:value" pairs of a plottable's data, "nan" for a gap.
QString dataOf(QCPAbstractPlottable *plottable)
{
    QStringList out;
    auto add = [&out](double key, double value) {
        out << QString::number(key) + u':' +
                   (std::isnan(value) ? u"nan"_s : QString::number(value));
    };
    if (auto *graph = qobject_cast<QCPGraph *>(plottable)) {
        for (auto it = graph->data()->constBegin(); it != graph->data()->constEnd(); ++it)
            add(it->key, it->value);
    } else if (auto *bars = qobject_cast<QCPBars *>(plottable)) {
        for (auto it = bars->data()->constBegin(); it != bars->data()->constEnd(); ++it)
            add(it->key, it->value);
    }
    return out.join(u' ');
}

} // namespace

class tst_ChartView : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void chartTypes_data();
    void chartTypes();
    void legendTitleAndDays();
    void looksOnScreen();
    void exports_data();
    void exports();
    void formHoldsTheChart();
    void hourglassAndRedraw();

private:
    QTemporaryDir m_dir;
    statCharts m_component; // fills gConnection
};

void tst_ChartView::chartTypes_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<bool>("stacked");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("second");
    QTest::addColumn<bool>("filled");
    QTest::newRow("plot, stacked: the second on the first, a hole below counts 0")
        << 1 << true << u"QCPGraph"_s << u"1:1 2:nan 3:3 4:4 5:nan"_s << u"1:3 2:2 3:nan 4:5 5:1"_s
        << false;
    QTest::newRow("bar: no bar at a hole")
        << 2 << false << u"QCPBars"_s << u"1:1 3:3 4:4"_s << u"1:2 2:2 4:1 5:1"_s << true;
    QTest::newRow("stacking bar stacks by itself")
        << 4 << false << u"QCPBars"_s << u"1:1 3:3 4:4"_s << u"1:3 2:2 4:5 5:1"_s << true;
    QTest::newRow("area: gaps at holes")
        << 5 << false << u"QCPGraph"_s << u"1:1 2:nan 3:3 4:4 5:nan"_s << u"1:2 2:2 3:nan 4:1 5:1"_s
        << true;
}

void tst_ChartView::chartTypes()
{
    QFETCH(int, type);
    QFETCH(bool, stacked);
    QFETCH(QString, kind);
    QFETCH(QString, first);
    QFETCH(QString, second);
    QFETCH(bool, filled);
    ChartControl control;
    ChartView view(&control);
    fill(*view.control());
    view.control()->setChartType(type);
    view.control()->setIsStacked(stacked);
    QCOMPARE(view.drawnSeriesCount(), 2);
    QCPAbstractPlottable *s1 = plottableNamed(view, u"S1"_s);
    QCPAbstractPlottable *s2 = plottableNamed(view, u"S2"_s);
    QVERIFY(s1 && s2);
    QCOMPARE(QString::fromLatin1(s1->metaObject()->className()), kind);
    QCOMPARE(dataOf(s1), first);
    QCOMPARE(dataOf(s2), second);
    QCOMPARE(s1->brush().style() != Qt::NoBrush, filled);
    // Lines in the series' line colour, bars filled with it.
    const bool bars = kind == u"QCPBars"_s;
    QCOMPARE((bars ? s1->brush().color() : s1->pen().color()).rgb(), QColor(255, 0, 0).rgb());
    QCOMPARE((bars ? s2->brush().color() : s2->pen().color()).rgb(), QColor(210, 180, 140).rgb());
}

// The legend in series order and its flag, the title label, the time axis
// labelled by days, and a chart without series left blank.
void tst_ChartView::legendTitleAndDays()
{
    ChartControl control;
    ChartView view(&control);
    fill(control);
    QCOMPARE(view.legend->itemCount(), 2);
    QCOMPARE(view.legend->itemWithPlottable(plottableNamed(view, u"S1"_s)), view.legend->item(0));
    control.setLegendIsShowing(false);
    QVERIFY(!view.legend->visible());
    QVERIFY(!view.plotLayout()->hasElement(0, 1)); // the chart takes the room
    control.setLegendIsShowing(true);
    QVERIFY(view.plotLayout()->hasElement(0, 1));

    const int label = control.AddLabel();
    control.setLabelText(label, u"News Count for January 2005"_s);
    control.setLabelDataX(label, 3);
    control.setLabelDataY(label, 4);
    control.setLabelBold(label, true);
    auto *text = qobject_cast<QCPItemText *>(view.item(0));
    QVERIFY(text && view.itemCount() == 1);
    QCOMPARE(text->text(), u"News Count for January 2005"_s);
    QVERIFY(text->font().bold());
    QCOMPARE(text->position->coords(), QPointF(3, 4));

    QCOMPARE(view.xAxis->range(), QCPRange(0.5, 5.5));
    QVector<double> ticks;
    QVector<QString> labels;
    view.xAxis->ticker()->generate(view.xAxis->range(), QLocale::c(), u'g', 6, ticks, nullptr,
                                   &labels);
    QVERIFY(!ticks.isEmpty());
    for (qsizetype i = 0; i < ticks.size(); ++i) // point 1 is January 10
        QCOMPARE(labels[i],
                 QLocale::c().toString(QDate(2005, 1, 9).addDays(qint64(ticks[i])), u"d MMM"_s));

    control.setNumSeries(0);
    QCOMPARE(view.drawnSeriesCount(), 0);
    QVERIFY(!view.xAxis->visible() && !view.yAxis->visible() && !view.legend->visible());
}

void tst_ChartView::looksOnScreen()
{
    ChartControl control;
    ChartView view(&control);
    view.resize(400, 260);
    ChartControl &chart = *view.control();
    chart.setBorderWidth(0);
    chart.setBackColor(14480885);
    view.replot();
    const QImage empty = view.toPixmap(400, 260).toImage();
    QCOMPARE(empty.pixel(200, 130), qRgb(245, 245, 220)); // a blank surface
    fill(chart);
    chart.setBorderStyle(1);
    chart.setBorderWidth(4);
    chart.setBackColor(0xEDEDED);
    view.replot();
    const QImage drawn = view.toPixmap(400, 260).toImage();
    const QRect area = view.axisRect()->outerRect();
    const QColor back(237, 237, 237);
    QCOMPARE(drawn.pixel(area.left() + 1, area.top() + 1), back.darker(135).rgb()); // the border
    QCOMPARE(drawn.pixel(area.left() + 6, area.top() + 6), back.rgb());
}

void tst_ChartView::exports_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("start"); // none: refused with this message
    QTest::addColumn<QString>("error");
    QTest::newRow("png") << u"chart.png"_s << QByteArray("\x89PNG") << QString();
    QTest::newRow("svg") << u"chart.svg"_s << QByteArray("<?xml") << QString();
    QTest::newRow("pdf") << u"chart.PDF"_s << QByteArray("%PDF") << QString();
    QTest::newRow("gif") << u"chart.gif"_s << QByteArray() << u".png, .svg or .pdf"_s;
    QTest::newRow("no folder") << u"none/chart.png"_s << QByteArray() << u"cannot write"_s;
}

void tst_ChartView::exports()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, start);
    QFETCH(QString, error);
    QTemporaryDir dir;
    ChartControl control;
    ChartView view(&control);
    fill(control);
    const QString path = dir.filePath(name);
    QString why;
    QCOMPARE(view.exportTo(path, QSize(640, 360), &why), error.isEmpty());
    QVERIFY2(why.contains(error), qPrintable(why));
    QFile file(path);
    QCOMPARE(file.open(QIODevice::ReadOnly), error.isEmpty());
    const QByteArray content = file.readAll();
    QVERIFY(content.startsWith(start));
    if (name.endsWith(u".png"_s) && error.isEmpty())
        QCOMPARE(QImage(path).size(), QSize(640, 360));
    if (name.endsWith(u".svg"_s))
        QVERIFY(content.contains("viewBox=\"0 0 640 360\""));
    QCOMPARE(view.drawnSeriesCount(), 2); // the view is as before
}

void tst_ChartView::formHoldsTheChart()
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
void tst_ChartView::hourglassAndRedraw()
{
    const QString path = m_dir.filePath(u"news.db"_s);
    QVERIFY(qrt::test::makeSqliteNews(path, {u"2005-01-01 07:00:00|1"_s, u"2005-01-03 07:00:00|3"_s,
                                             u"2005-01-03 09:00:00|4"_s}));
    m_component.ConnectionString(path);
    frmChart form;
    form.FromDate = qrt::dates::fromYmd(2005, 1, 1);
    form.TillDate = qrt::dates::fromYmd(2005, 1, 31);
    form.chartSeria = 3;
    form.sOrder = qrt::chart::StatisticsStatement::ColumnsFor(3)->order;
    form.sFilter = qrt::test::kAllTicked;
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

QTEST_MAIN(tst_ChartView)
#include "tst_chartview.moc"
