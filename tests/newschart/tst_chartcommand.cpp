// zorvane-stats chart run as a user runs it: its tables, named periods, an
// image, and clear answers to bad options and broken databases. The chart
// view that draws it: plottables per chart type, the legend, the title, the
// time axis, the look on screen and the exports. And frmChart around it:
// the hourglass while rows come in, and a redraw that keeps the user's look.

#include "NewsFixture.h"
#include "ProgramRun.h"
#include "base/Dates.h"
#include "controls/chart/ChartView.h"
#include "newschart/ChartControl.h"
#include "newschart/StatisticsStatement.h"
#include "newschart/frmChart.h"

#include <qrt/statCharts.h>

#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>

using namespace Qt::StringLiterals;
using qrt::test::readFile;
namespace dates = qrt::dates;

namespace {

qrt::test::ProgramRun runChart(const QStringList &arguments)
{
    return qrt::test::runStats(QStringList{u"chart"_s} + arguments);
}

// The day `back` days before today at the given hour, as stored.
QString daysAgo(int back, int hour)
{
    return dates::toTimestampText(dates::today() - back + hour / 24.0);
}

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
    const auto add = [&out](const auto &data) {
        for (const auto &point : *data)
            out << QString::number(point.key) + u':' +
                       (std::isnan(point.value) ? u"nan"_s : QString::number(point.value));
    };
    if (auto *graph = qobject_cast<QCPGraph *>(plottable))
        add(graph->data());
    else if (auto *bars = qobject_cast<QCPBars *>(plottable))
        add(bars->data());
    return out.join(u' ');
}

} // namespace

class tst_ChartCommand : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void csvTables_data();
    void csvTables();
    void jsonTable();
    void namedPeriodAndImage();
    void refusals_data();
    void refusals();
    void chartTypes_data();
    void chartTypes();
    void legendTitleAndDays();
    void exports_data();
    void exports();
    void hourglassAndRedraw();

private:
    QTemporaryDir m_dir;
    QString m_news;         // in January 2005 and on days counted back from today
    statCharts m_component; // fills gConnection
};

void tst_ChartCommand::initTestCase()
{
    QVERIFY(!qEnvironmentVariable("ZORVANE_STATS").isEmpty());
    m_news = m_dir.filePath(u"command.db"_s);
    QVERIFY(qrt::test::makeSqliteNews(
        m_news,
        {u"2005-01-01 08:00:00|1"_s, u"2005-01-01 08:00:00|1"_s, u"2005-01-03 10:00:00|2"_s,
         u"2005-01-03 23:00:00|3"_s, u"2005-01-10 12:00:00|4"_s, u"2005-01-10 12:30:00|4|null"_s,
         daysAgo(0, 10) + u"|1"_s, daysAgo(1, 10) + u"|1"_s, daysAgo(5, 10) + u"|2"_s,
         daysAgo(20, 10) + u"|3"_s, daysAgo(200, 10) + u"|4"_s, daysAgo(1000, 10) + u"|1"_s}));
}

void tst_ChartCommand::csvTables_data()
{
    QTest::addColumn<QStringList>("arguments"); // after the database
    QTest::addColumn<QByteArray>("table");      // to the file "--table" names, else printed
    QTest::addColumn<QString>("notice");
    const auto period = [](const char *from, const char *till) {
        return QStringList{u"--from"_s, QString::fromLatin1(from), u"--till"_s,
                           QString::fromLatin1(till)};
    };
    // Two channels of Alpha Wire on the 3rd add up; the 2nd is a hole.
    QTest::newRow("to a file") << period("2005-01-01", "2005-01-05") + QStringList{u"--table"_s}
                               << QByteArray("Title,News Count for January 2005\r\n"
                                             "MinDate,2005-01-01 08:00:00\r\n"
                                             "MaxDate,2005-01-03 23:00:00\r\n"
                                             "Date,Alpha Wire,Beta News\r\n"
                                             "2005-01-01,2,\r\n"
                                             "2005-01-02,,\r\n"
                                             "2005-01-03,1,1\r\n")
                               << QString();
    // MinDate starts at the last day's midnight and only an earlier item
    // moves it.
    QTest::newRow("printed, by category")
        << period("2005-01-03", "2005-01-03") + QStringList{u"--series"_s, u"categories"_s}
        << QByteArray("Title,News Count for January 03\r\n"
                      "MinDate,2005-01-03 00:00:00\r\n"
                      "MaxDate,2005-01-03 23:00:00\r\n"
                      "Date,World,Sports\r\n"
                      "2005-01-03,1,1\r\n")
        << QString();
    // From day 0 on: every item counted by channel and day, as the window
    // does. The item without an ID moves MaxDate but is not counted.
    QTest::newRow("from day 0") << period("1899-12-30", "2005-01-10")
                                << QByteArray("Title,News Count for January 2005\r\n"
                                              "MinDate,2005-01-01 08:00:00\r\n"
                                              "MaxDate,2005-01-10 12:30:00\r\n"
                                              "Date,Alpha Wire,Beta News\r\n"
                                              "2005-01-01,2,\r\n"
                                              "2005-01-02,,\r\n"
                                              "2005-01-03,1,1\r\n"
                                              "2005-01-04,,\r\n"
                                              "2005-01-05,,\r\n"
                                              "2005-01-06,,\r\n"
                                              "2005-01-07,,\r\n"
                                              "2005-01-08,,\r\n"
                                              "2005-01-09,,\r\n"
                                              "2005-01-10,,1\r\n")
                                << QString();
    // The starting dates of an empty chart: the far ends of the period.
    QTest::newRow("no news") << period("2006-01-01", "2006-01-31") + QStringList{u"--table"_s}
                             << QByteArray("Title,\r\n"
                                           "MinDate,2006-01-31 00:00:00\r\n"
                                           "MaxDate,2006-01-01 00:00:00\r\n"
                                           "Date\r\n")
                             << u"no news items in the period"_s;
}

void tst_ChartCommand::csvTables()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, notice);
    const QString table = m_dir.filePath(u"table.csv"_s);
    QFile::remove(table);
    const bool toFile = arguments.last() == u"--table"_s;
    const auto run =
        runChart(QStringList{m_news} + arguments + (toFile ? QStringList{table} : QStringList()));
    QCOMPARE(run.exitCode, 0);
    QTEST(toFile ? readFile(table) : run.out.toUtf8(), "table");
    QVERIFY2(run.err.contains(notice), qPrintable(run.err));
}

void tst_ChartCommand::jsonTable()
{
    const QString table = m_dir.filePath(u"january.json"_s);
    const auto run = runChart({m_news, u"--from"_s, u"2005-01-01"_s, u"--till"_s, u"2005-01-31"_s,
                               u"--series"_s, u"channels"_s, u"--table"_s, table});
    QCOMPARE(run.exitCode, 0);
    const QJsonObject root = QJsonDocument::fromJson(readFile(table)).object();
    QCOMPARE(root.value(u"title"_s).toString(), u"News Count for January 2005"_s);
    QCOMPARE(root.value(u"maxDate"_s).toString(), u"2005-01-10 12:30:00"_s);
    QCOMPARE(root.value(u"days"_s).toArray().last().toString(), u"2005-01-10"_s);
    QCOMPARE(root[u"series"].toArray().size(), 4);
    const QJsonValue betaSports = root[u"series"][3];
    QCOMPARE(betaSports[u"name"].toString(), u"Beta Sports"_s);
    // Holes are null; the item without an ID is not counted.
    QCOMPARE(betaSports[u"values"].toArray(),
             QJsonArray({QJsonValue(), QJsonValue(), QJsonValue(), QJsonValue(), QJsonValue(),
                         QJsonValue(), QJsonValue(), QJsonValue(), QJsonValue(), 1.0}));
}

// A named period, its name in any case, reaches back from today: the
// items of the last week (the ranges are tst_newschartbuilder's). The
// image asked for beside the table, at its size (the formats are the
// view's), and nothing printed.
void tst_ChartCommand::namedPeriodAndImage()
{
    const QString table = m_dir.filePath(u"period.json"_s);
    const QString image = m_dir.filePath(u"bar.png"_s);
    const auto run =
        runChart({m_news, u"--period"_s, u"WEEK"_s, u"--table"_s, table, u"--out"_s, image,
                  u"--size"_s, u"520x300"_s, u"--type"_s, u"bar"_s, u"--stacked"_s});
    QCOMPARE(run.exitCode, 0);
    QVERIFY(run.out.isEmpty());
    QCOMPARE(QImage(image).size(), QSize(520, 300));
    double total = 0;
    for (const QJsonValue &s : QJsonDocument::fromJson(readFile(table))[u"series"].toArray())
        for (const QJsonValue &v : s[u"values"].toArray())
            total += v.toDouble();
    QCOMPARE(total, 3.0);
}

// One row per kind of refusal: a word outside its list, options that go
// together, a value of the wrong form (the other options' lists are the
// same code with other words), a database that cannot be opened (one that
// refuses the statement is tst_host's). Nothing is written.
void tst_ChartCommand::refusals_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("message");
    const QString table = m_dir.filePath(u"broken.csv"_s);
    QTest::newRow("unknown period") << QStringList{m_news, u"--period"_s, u"fortnight"_s} << 2
                                    << u"--period takes today|yesterday"_s;
    QTest::newRow("from without till") << QStringList{m_news, u"--from"_s, u"2005-01-01"_s} << 2
                                       << u"--from and --till go together"_s;
    QTest::newRow("image format") << QStringList{m_news, u"--out"_s, u"chart.gif"_s} << 2
                                  << u"--out writes .png, .svg or .pdf"_s;
    QTest::newRow("no database") << QStringList{m_dir.filePath(u"missing.db"_s), u"--table"_s,
                                                table}
                                 << 1 << u"cannot open the database"_s;
}

void tst_ChartCommand::refusals()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, message);
    const auto run = runChart(arguments);
    QTEST(run.exitCode, "exitCode");
    QVERIFY2(run.err.contains(message), qPrintable(run.err));
    QVERIFY(!QFile::exists(u"chart.gif"_s) && !QFile::exists(m_dir.filePath(u"broken.csv"_s)));
}

void tst_ChartCommand::chartTypes_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<bool>("stacked");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("second");
    QTest::addColumn<bool>("filled");
    QTest::addColumn<double>("yMax"); // above the highest value or stack, with some room
    QTest::newRow("plot, stacked: the second on the first, a hole below counts 0")
        << 1 << true << u"QCPGraph"_s << u"1:1 2:nan 3:3 4:4 5:nan"_s << u"1:3 2:2 3:nan 4:5 5:1"_s
        << false << 6.0;
    QTest::newRow("bar: no bar at a hole")
        << 2 << false << u"QCPBars"_s << u"1:1 3:3 4:4"_s << u"1:2 2:2 4:1 5:1"_s << true << 5.0;
    QTest::newRow("stacking bar stacks by itself")
        << 4 << false << u"QCPBars"_s << u"1:1 3:3 4:4"_s << u"1:3 2:2 4:5 5:1"_s << true << 6.0;
    QTest::newRow("area: gaps at holes")
        << 5 << false << u"QCPGraph"_s << u"1:1 2:nan 3:3 4:4 5:nan"_s << u"1:2 2:2 3:nan 4:1 5:1"_s
        << true << 5.0;
}

void tst_ChartCommand::chartTypes()
{
    QFETCH(int, type);
    QFETCH(bool, stacked);
    QFETCH(QString, kind);
    QFETCH(QString, first);
    QFETCH(QString, second);
    QFETCH(bool, filled);
    QFETCH(double, yMax);
    ChartControl control;
    ChartView view(&control);
    fill(*view.control());
    view.control()->setChartType(type);
    view.control()->setChartType(3); // not one of the four: refused
    view.control()->setIsStacked(stacked);
    QCOMPARE(view.control()->ChartType(), type);
    QCOMPARE(view.yAxis->range(), QCPRange(0, yMax));
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
// labelled by days, the border, and a chart without series left blank.
void tst_ChartCommand::legendTitleAndDays()
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

    // On screen the border is a darker shade of the back colour.
    view.resize(400, 260);
    control.setBorderStyle(1);
    control.setBorderWidth(4);
    control.setBackColor(0xEDEDED);
    view.replot();
    const QImage drawn = view.toPixmap(400, 260).toImage();
    const QRect area = view.axisRect()->outerRect();
    const QColor back(237, 237, 237);
    QCOMPARE(drawn.pixel(area.left() + 1, area.top() + 1), back.darker(135).rgb());
    QCOMPARE(drawn.pixel(area.left() + 6, area.top() + 6), back.rgb());

    control.setNumSeries(0);
    QCOMPARE(view.drawnSeriesCount(), 0);
    QVERIFY(!view.xAxis->visible() && !view.yAxis->visible() && !view.legend->visible());
}

void tst_ChartCommand::exports_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("start"); // none: refused with this message
    QTest::addColumn<QString>("error");
    QTest::newRow("svg") << u"chart.svg"_s << QByteArray("<?xml") << QString();
    QTest::newRow("pdf") << u"chart.PDF"_s << QByteArray("%PDF") << QString();
    // A PNG at its size is namedPeriodAndImage's.
    QTest::newRow("no folder") << u"none/chart.png"_s << QByteArray() << u"cannot write"_s;
}

void tst_ChartCommand::exports()
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
    const QByteArray content = readFile(path);
    QCOMPARE(content.isEmpty(), !error.isEmpty());
    QVERIFY(content.startsWith(start));
    if (name.endsWith(u".svg"_s))
        QVERIFY(content.contains("viewBox=\"0 0 640 360\""));
    QCOMPARE(view.drawnSeriesCount(), 2); // the view is as before
}

// The hourglass shows while rows come in; a redraw asks again and gets the
// same chart, and the type, stacking and legend chosen meanwhile stay.
// Without a filter nothing is asked and no hourglass shows.
void tst_ChartCommand::hourglassAndRedraw()
{
    m_component.ConnectionString(m_news);
    frmChart form;
    form.FromDate = qrt::dates::fromYmd(2005, 1, 1);
    form.TillDate = qrt::dates::fromYmd(2005, 6, 30); // long: drawn once News is counted
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
    QCOMPARE(form.MousePointer(), 0);
    QCOMPARE(form.cursor().shape(), Qt::ArrowCursor);
    QCOMPARE(form.chart().NumSeries(), 2);
    QCOMPARE(form.chart().NumPoints(1), 10);

    form.chart().setChartType(ChartControl::StackingBar);
    form.chart().setIsStacked(true);
    form.chart().setLegendIsShowing(false);
    form.DrawChart();
    QCOMPARE(form.chart().SeriesLabels(), (QStringList{u"Alpha Wire"_s, u"Beta News"_s}));
    QCOMPARE(form.chart().NumPoints(1), 10);
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

QTEST_MAIN(tst_ChartCommand)
#include "tst_chartcommand.moc"
