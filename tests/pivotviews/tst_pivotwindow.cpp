// The pivot views in the real window. A table laid out with the mouse comes
// back, the same grid, in the next window. Both views keep a stored layout
// through Refresh, a failed first load, a close as the data comes in and a
// folder name outside Latin-1. The chart: the layout it restores and stores
// back, a missing member answered in the error dialog, its tool bar, and its
// values against the engine's grid. The page host WebBrowser1 stops at a
// failing line; and no layout is stored that never loaded.

#include "../errors/DialogAnswerer.h"
#include "PivotTestData.h"
#include "TreeClicks.h"
#include "base/ResumeNext.h"
#include "component/EmbeddableClasses.h"
#include "component/modUtils.h"
#include "controls/pivot/PivotChartView.h"
#include "controls/pivot/PivotDropZone.h"
#include "controls/pivot/PivotMemberFilter.h"
#include "demodata/DemoDatabase.h"
#include "pivot/PivotAggregator.h"
#include "pivot/PivotResult.h"
#include "pivot/PivotView.h"
#include "pivotpage/PivotPage.h"
#include "pivotviews/PivotChartSpace.h"
#include "pivotviews/PivotTable.h"
#include "pivotviews/WebBrowser.h"
#include "settings/CAppSettings.h"
#include "workspace/frmCharts.h"

#include <qrt/statCharts.h>

#include <QAction>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QTreeWidget>

using namespace Qt::StringLiterals;
using namespace qrt::pivot;

namespace {

const QString kSection = u"STATMSTABLE"_s;

using qrt::test::clickTick;

// Unticks the members at the given places of the zone's field set, or with
// `keepOnly` unticks "(All)" and ticks them; answers their captions.
QStringList chooseMembers(PivotDropZone *zone, const QString &fieldSet, QList<int> places,
                          bool keepOnly)
{
    QTest::mouseClick(zone->findChild<QToolButton *>(u"filterArrow:"_s + fieldSet), Qt::LeftButton);
    auto *filter = zone->findChild<PivotMemberFilter *>();
    if (!filter || !QTest::qWaitForWindowExposed(filter))
        return {};
    QTreeWidgetItem *all = filter->tree()->topLevelItem(0);
    if (keepOnly)
        clickTick(filter->tree(), all);
    QStringList chosen;
    for (int place : places) {
        clickTick(filter->tree(), all->child(place));
        chosen << all->child(place)->text(0);
    }
    QTest::mouseClick(filter->findChild<QWidget *>(u"okButton"_s), Qt::LeftButton);
    return chosen;
}

const QString kChartSection = u"STATMSCHART"_s;
using Entries = QMap<QString, QString>;
using Keys = QStringList; // each "KEY=value"

// Every key of a section with its value as text.
Entries section(const QString &name)
{
    QStringList keys;
    gSettings->GetAllKeys(name, keys);
    Entries entries;
    for (const QString &key : std::as_const(keys))
        entries.insert(key, gSettings->GetSetting(name, key, QVariant()).toString());
    return entries;
}

void store(const QString &name, const Keys &keys)
{
    resumeNext([&] { gSettings->DeleteSetting(name); });
    for (const QString &key : keys)
        gSettings->SaveSetting(name, key.section(u'=', 0, 0), key.section(u'=', 1));
}

// Layouts of both views as the capture writes them, two providers kept on
// each.
void storeLayouts(const QString &providers)
{
    const QString kept = u"Provider||2||||("_s + providers + u')';
    const QString total =
        u";TOTALSCOUNT=1;TOTALNAME1=Count of News;TOTALFIELD1=News;TOTALFUNCTION1=2"_s;
    const QString table =
        u"FILTERFIELDSETSCOUNT=0;ROWFIELDSETSCOUNT=2;ROWFIELDSETNAME1=NewsDate By Month;"
        u"ROWFIELDSETFIELDS1=Years%%|%%Months;ROWFIELDSFILTERS1=;ROWFIELDSETNAME2=Provider;"
        u"ROWFIELDSETFIELDS2=Provider;ROWFIELDSFILTERS2="_s +
        kept +
        u";COLUMNFIELDSETSCOUNT=1;COLUMNFIELDSETNAME1=Category;COLUMNFIELDSETFIELDS1=Category;"
        u"COLUMNFIELDSFILTERS1=;DATAFIELDSETSCOUNT=0"_s +
        total;
    const QString chart =
        u"LEGEND=0;TYPE=0;SERIESBYROWS=1;FILTERFIELDSETSCOUNT=1;FILTERFIELDSETNAME1=Category;"
        u"FILTERFIELDSETFIELDS1=Category;FILTERFIELDSFILTERS1=;ROWFIELDSETSCOUNT=1;"
        u"ROWFIELDSETNAME1=Provider;ROWFIELDSETFIELDS1=Provider;ROWFIELDSFILTERS1="_s +
        kept +
        u";COLUMNFIELDSETSCOUNT=1;COLUMNFIELDSETNAME1=NewsDate By Month;"
        u"COLUMNFIELDSETFIELDS1=Years;COLUMNFIELDSFILTERS1=;DATAFIELDSETSCOUNT=1;"
        u"DATAFIELDSETNAME1=News;DATAFIELDSETFIELDS1=News;DATAFIELDSFILTERS1="_s +
        total;
    store(kSection, table.split(u';'));
    store(kChartSection, chart.split(u';'));
}

// The Refresh button of a view's tool bar, clicked with the mouse on its page.
void clickRefresh(frmCharts *w, QWidget *view, int tab)
{
    w->tabCharts->setCurrentIndex(tab);
    auto *toolbar = view->findChild<QToolBar *>(u"toolbar"_s);
    QTest::mouseClick(toolbar->widgetForAction(view->findChild<QAction *>(u"refreshAction"_s)),
                      Qt::LeftButton);
}

// An entry as the store holds it now: "KEY=value".
QString stored(const QString &entry)
{
    const QString key = entry.section(u'=', 0, 0);
    return key + u'=' + gSettings->GetSetting(kChartSection, key, u"<none>"_s).toString();
}

// The default layout as it is stored back.
const Keys kDefaultKeys =
    QStringLiteral(
        "LEGEND=1;TYPE=7;SERIESBYROWS=0;FILTERFIELDSETSCOUNT=1;FILTERFIELDSETNAME1=Channel;"
        "FILTERFIELDSETFIELDS1=Channel;FILTERFIELDSFILTERS1=;ROWFIELDSETSCOUNT=1;"
        "ROWFIELDSETNAME1=NewsDate By Month;ROWFIELDSETFIELDS1=Months;ROWFIELDSFILTERS1=;"
        "COLUMNFIELDSETSCOUNT=1;COLUMNFIELDSETNAME1=Provider;COLUMNFIELDSETFIELDS1=Provider;"
        "COLUMNFIELDSFILTERS1=;DATAFIELDSETSCOUNT=1;DATAFIELDSETNAME1=News;"
        "DATAFIELDSETFIELDS1=News;DATAFIELDSFILTERS1=;TOTALSCOUNT=1;TOTALNAME1=Count of News;"
        "TOTALFIELD1=News;TOTALFUNCTION1=2")
        .split(u';');

// A layout of every kind of stored choice: a type without a drawing of its
// own, legend off, series by rows, an empty axis, member paths of zero, one
// and two steps, and two totals.
const Keys kStoredKeys =
    QStringLiteral(
        "LEGEND=0;TYPE=24;SERIESBYROWS=1;FILTERFIELDSETSCOUNT=1;FILTERFIELDSETNAME1=Category;"
        "FILTERFIELDSETFIELDS1=Category;FILTERFIELDSFILTERS1=Category||1||||(Sports,World);"
        "ROWFIELDSETSCOUNT=2;ROWFIELDSETNAME1=NewsDate By Month;"
        "ROWFIELDSETFIELDS1=Years%%|%%Quarters%%|%%Months;"
        "ROWFIELDSFILTERS1=Quarters||2||2024||(Qtr1,Qtr2)%%|%%Months||2||2025**|**Qtr3||(Jul,Sep);"
        "ROWFIELDSETNAME2=Provider;ROWFIELDSETFIELDS2=Provider;ROWFIELDSFILTERS2=;"
        "COLUMNFIELDSETSCOUNT=0;DATAFIELDSETSCOUNT=1;DATAFIELDSETNAME1=News;"
        "DATAFIELDSETFIELDS1=News;DATAFIELDSFILTERS1=;TOTALSCOUNT=2;TOTALNAME1=Count of News;"
        "TOTALFIELD1=News;TOTALFUNCTION1=2;TOTALNAME2=Count of Channel;TOTALFIELD2=Channel;"
        "TOTALFUNCTION2=2")
        .split(u';');

PivotTable *tableOf(const WebBrowser *host)
{
    return qobject_cast<PivotTable *>(host->Document().getElementById(u"PT"_s).object());
}

} // namespace

using qrt::test::captions;
using qrt::test::fieldSetNames;

class tst_PivotWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void layoutMadeWithTheMouseComesBack();
    void refreshKeepsTheLayouts();
    void layoutRoundTrip();
    void missingMemberAsksTheUser_data();
    void missingMemberAsksTheUser();
    void toolBarClicks();
    void pagesThatCannotShow_data();
    void pagesThatCannotShow();
    void closingWithoutALoadedTableStoresNothing_data();
    void closingWithoutALoadedTableStoresNothing();

private:
    enum Tab { NoTab, ChartTab, TableTab };
    frmCharts *open(const QString &database, int tab);
    QByteArray grid(PivotTable *table);
    QString writePage(const QString &text);

    QTemporaryDir m_dir;
    QString m_database; // demo news
    QString m_random;   // random news, for the chart
    std::unique_ptr<statCharts> m_charts;
};

void tst_PivotWindow::initTestCase()
{
    QVERIFY(m_dir.isValid());
    // The window writes its page into the user's cache folder.
    qputenv("XDG_CACHE_HOME", QFile::encodeName(m_dir.filePath(u"cache"_s)));
    m_database = m_dir.filePath(u"news.db"_s);
    QString error;
    QVERIFY2(qrt::db::DemoDatabase::create(m_database, {.items = 4000, .seed = 11}, &error),
             qPrintable(error));
    m_random = m_dir.filePath(u"random.db"_s);
    QVERIFY(qrt::test::makeRandomNewsDb(m_random, 3000, qrt::test::testSeed()));
    m_charts = std::make_unique<statCharts>();
}

void tst_PivotWindow::init()
{
    resumeNext([] { gSettings->DeleteSetting(kSection); });
}

// A shown window on the database, deleted at its close as the host program's
// are; with a tab, once that pivot view has loaded (the table: and its
// page's script is done), on that tab.
frmCharts *tst_PivotWindow::open(const QString &database, int tab)
{
    m_charts->ConnectionString(database);
    auto *w = qobject_cast<frmCharts *>(m_charts->ShowChartForm());
    if (!w)
        return nullptr;
    w->setAttribute(Qt::WA_DeleteOnClose);
    w->resize(1184, 676);
    w->show();
    if (tab == NoTab)
        return w;
    auto *chart = w->findChild<PivotChartSpace *>();
    auto *page = w->findChild<QWidget *>(u"WebBrowser1"_s);
    const auto loaded = [&] {
        return tab == ChartTab ? chart && !chart->isLoading()
                               : page && !page->property("busy").toBool();
    };
    if (!QTest::qWaitFor(loaded, 20000))
        return nullptr;
    if (tab == ChartTab)
        w->tabCharts->setCurrentIndex(1);
    else
        w->tabCharts->setCurrentWidget(page);
    return QTest::qWaitForWindowExposed(w) ? w : nullptr;
}

QByteArray tst_PivotWindow::grid(PivotTable *table)
{
    const QString path = m_dir.filePath(u"grid.csv"_s);
    QFile file(path);
    return table->exportCsv(path) && file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void tst_PivotWindow::layoutMadeWithTheMouseComesBack()
{
    QPointer<frmCharts> w = open(m_database, TableTab);
    QVERIFY(w);
    auto *table = w->findChild<PivotTable *>();
    QVERIFY(table && table->ActiveView());
    // The page's script waited once for the data, then ran to its end once:
    // a second run would add its total again, which fails.
    QCOMPARE(w->findChild<WebBrowser *>()->statusText(), QString());
    QCOMPARE(table->ConnectionString(), m_database);
    QCOMPARE(table->ActiveView()->ExpandMembers(), int(PivotView::ExpandNever));
    QCOMPARE(fieldSetNames(table->ActiveView()->RowAxis()),
             QStringList({u"NewsDate By Month"_s, u"Provider"_s}));
    QCOMPARE(table->ActiveView()->DataAxis().Totals().Count(), 1);

    // Category from the field list onto the column area, with the mouse.
    auto *tree = table->findChild<QTreeWidget *>(u"fieldTree"_s);
    auto *columns = table->findChild<PivotDropZone *>(u"columnZone"_s);
    QTreeWidgetItem *category = tree->findItems(u"Category"_s, Qt::MatchExactly).value(0);
    QVERIFY(category);
    const QPoint from = tree->visualItemRect(category).center();
    QTest::mousePress(tree->viewport(), Qt::LeftButton, {}, from);
    QTest::mouseMove(tree->viewport(), from + QPoint(12, 4));
    QTest::mouseMove(columns, columns->rect().center());
    QTest::mouseRelease(
        tree->viewport(), Qt::LeftButton, {},
        tree->viewport()->mapFromGlobal(columns->mapToGlobal(columns->rect().center())));
    QCOMPARE(table->ActiveView()->ColumnAxis().FieldSets().Count(), 1);

    // Member choices on two axes: one category left out, two providers kept.
    QTRY_VERIFY(columns->findChild<QToolButton *>(u"filterArrow:Category"_s));
    const QStringList leftOut = chooseMembers(columns, u"Category"_s, {0}, false);
    auto *rows = table->findChild<PivotDropZone *>(u"rowZone"_s);
    const QStringList kept = chooseMembers(rows, u"Provider"_s, {0, 2}, true);
    QCOMPARE(leftOut.size(), 1);
    QCOMPARE(kept.size(), 2);

    // A second total, the channels counted, picked in the list and the combo.
    QTreeWidgetItem *channel = tree->findItems(u"Channel"_s, Qt::MatchExactly).value(0);
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualItemRect(channel).center());
    auto *function = table->findChild<QComboBox *>(u"functionCombo"_s);
    function->setCurrentIndex(function->findText(u"Count"_s));
    QTest::mouseClick(table->findChild<QPushButton *>(u"addTotalButton"_s), Qt::LeftButton);
    QCOMPARE(table->ActiveView()->DataAxis().Totals().Count(), 2);

    const QByteArray before = grid(table);
    const QString heads =
        QString::fromUtf8(before.left(before.indexOf("\n", before.indexOf('\n') + 1)));
    QVERIFY2(heads.contains(u"Count of Channel"_s) && !heads.contains(leftOut[0]),
             qPrintable(heads));
    // Written at the close, not before, under the keys tst_pagescript's
    // capture names; the next window's page puts it all back.
    resumeNext([] { gSettings->DeleteSetting(kSection); });
    w->close();
    QTRY_VERIFY(!w);
    QPointer<frmCharts> next = open(m_database, TableTab);
    QVERIFY(next);
    auto *again = next->findChild<PivotTable *>();
    QVERIFY(again && again->ActiveView());
    QTRY_COMPARE(grid(again), before); // the table shows what the script laid out within a moment
    next->close();
}

// The first loads fail, the database there by the Refresh clicks; then
// Refresh keeps what is on screen, and each close stores the layout the
// window opened with, twice in a row; in a folder and with a member outside
// Latin-1.
void tst_PivotWindow::refreshKeepsTheLayouts()
{
    const QString made = m_dir.filePath(u"Журнал/made.db"_s);
    const QString database = m_dir.filePath(u"Журнал/news.db"_s);
    QVERIFY(QDir().mkpath(QFileInfo(database).path()));
    QVERIFY(qrt::test::makeRandomNewsDb(made, 2000, qrt::test::testSeed()));
    QVERIFY(qrt::test::execAll(made, {u"UPDATE Providers SET Provider = 'Вести' WHERE ID = 1"_s}));
    const QString providers = u"Вести,Provider B"_s;
    storeLayouts(providers);
    const Entries table = section(kSection), chart = section(kChartSection);
    for (int round = 0; round < 2; ++round) {
        QPointer<frmCharts> w = open(database, TableTab);
        QVERIFY(w);
        auto *pt = w->findChild<PivotTable *>();
        auto *space = w->findChild<PivotChartSpace *>();
        QVERIFY(pt && space);
        QTRY_VERIFY_WITH_TIMEOUT(!space->isLoading(), 20000);
        if (round == 0) {
            QVERIFY(!pt->ActiveView() && !space->InternalPivotTable().ActiveView());
            QVERIFY(QFile::rename(made, database));
            clickRefresh(w, pt, 2);
            clickRefresh(w, space, 1);
            QTRY_VERIFY_WITH_TIMEOUT(pt->ActiveView() && space->InternalPivotTable().ActiveView(),
                                     20000);
        }
        QVERIFY(pt->ActiveView() && space->InternalPivotTable().ActiveView());
        auto *page = w->findChild<WebBrowser *>();
        QTRY_VERIFY(!page->isBusy() && !page->isAwaitingData()); // the script has laid it out
        // The stored members are there, by their names.
        for (PivotView *view : {pt->ActiveView(), space->InternalPivotTable().ActiveView()})
            QCOMPARE(
                qrt::test::captions(view->FieldSets(u"Provider"_s).Fields(0).IncludedMembers()),
                providers.split(u','));
        QTRY_VERIFY(grid(pt).count('\n') > 3); // the grid shows the layout within a moment
        const QByteArray shown = grid(pt);
        const PivotView *tableView = pt->ActiveView();
        const PivotView *chartView = space->InternalPivotTable().ActiveView();
        clickRefresh(w, pt, 2);
        clickRefresh(w, space, 1);
        QTRY_VERIFY_WITH_TIMEOUT(pt->ActiveView() != tableView &&
                                     space->InternalPivotTable().ActiveView() != chartView,
                                 20000);
        QTRY_COMPARE(grid(pt), shown);
        QCOMPARE(space->chartView()->chartData().series.size(), std::size_t(2));
        w->close();
        QTRY_VERIFY(!w);
        QCOMPARE(section(kSection), table);
        QCOMPARE(section(kChartSection), chart);
    }
}

// A layout of every kind of choice shows as stored and is stored back.
void tst_PivotWindow::layoutRoundTrip()
{
    store(kChartSection, kStoredKeys);
    // A chart space that comes up unlike the window's setup: the window
    // sets each of these.
    const char *const flags[] = {
        "AllowFiltering",       "AllowGrouping",     "AllowLayoutEvents",
        "AllowPropertyToolbox", "AllowRenderEvents", "AllowScreenTipEvents",
        "AllowUISelection",     "DisplayToolbar",    "DisplayFieldList"};
    EmbeddableClasses::registerClass(u"OWC11.Chartspace"_s, [&flags](QWidget *parent) {
        auto *made = new PivotChartSpace(parent);
        made->Interior().SetSolid(u"Red"_s);
        for (const char *flag : flags)
            made->setProperty(flag, false);
        return made;
    });
    auto reregister = qScopeGuard([] { PivotChartSpace::registerClasses(); });
    DialogAnswerer answerer({}); // every stored member is there: no question comes
    QPointer<frmCharts> w = open(m_random, ChartTab);
    QVERIFY(w);
    QCOMPARE(answerer.unanswered, 0);
    auto *chart = w->findChild<PivotChartSpace *>();
    QVERIFY(chart->InternalPivotTable().ActiveView());
    QCOMPARE(chart->border().Color(), 14480885);
    QCOMPARE(chart->Interior().color(), QColor(u"beige"_s));
    QCOMPARE(chart->PlotAllAggregates(), 1);
    for (const char *flag : flags)
        QVERIFY2(chart->property(flag).toBool(), flag);
    // What the store says shows: the legend, the type and the direction.
    QVERIFY(!chart->HasChartSpaceLegend() && chart->HasSeriesByRows());
    QCOMPARE(chart->Charts(0).Type(), 24);
    QCOMPARE(chart->chartView()->chartType(), 24);
    QVERIFY(!chart->chartView()->legendShown());
    // What the close stores is the capture's own writing.
    resumeNext([] { gSettings->DeleteSetting(kChartSection); });
    w->close();
    QTRY_VERIFY(!w);
    for (const QString &key : kStoredKeys)
        QCOMPARE(stored(key), key);
}

void tst_PivotWindow::missingMemberAsksTheUser_data()
{
    QTest::addColumn<QStringList>("answers");
    QTest::addColumn<QStringList>("included");
    QTest::newRow("ignore goes on with the next caption")
        << QStringList{u"btnIgnore"_s} << QStringList{u"Provider A"_s, u"Provider B"_s};
    QTest::newRow("abort leaves no members") << QStringList{u"btnAbort"_s} << QStringList();
}

void tst_PivotWindow::missingMemberAsksTheUser()
{
    QFETCH(QStringList, answers);
    QFETCH(QStringList, included);
    // A field set that is gone is passed over without a question.
    store(kChartSection,
          kDefaultKeys + Keys{u"COLUMNFIELDSFILTERS1=Provider||2||||(Provider A,Provider Gone,"
                              u"Provider B)"_s,
                              u"ROWFIELDSETSCOUNT=2"_s, u"ROWFIELDSETNAME1=Gone"_s,
                              u"ROWFIELDSETNAME2=Category"_s, u"ROWFIELDSETFIELDS2=Category"_s});
    DialogAnswerer answerer(answers);
    QPointer<frmCharts> w = open(m_random, ChartTab);
    QVERIFY(w);
    QTRY_COMPARE(answerer.seen.size(), answers.size());
    QCOMPARE(answerer.unanswered, 0);
    for (const auto &seen : answerer.seen)
        QVERIFY2(seen.text.contains(u"QRT_StatCharts.frmCharts.ParseMembers"_s) &&
                     seen.text.contains(u"Provider Gone"_s),
                 qPrintable(seen.text));
    const PivotView *view = w->findChild<PivotChartSpace *>()->InternalPivotTable().ActiveView();
    PivotFieldSet &provider = view->FieldSets(u"Provider"_s);
    QCOMPARE(captions(provider.Fields(0).IncludedMembers()), included);
    QCOMPARE(provider.AllIncludeExclude(), 2);
    QCOMPARE(fieldSetNames(view->RowAxis()), QStringList{u"Category"_s});
    QCOMPARE(fieldSetNames(view->ColumnAxis()), QStringList{u"Provider"_s});
    QCOMPARE(fieldSetNames(view->FilterAxis()), QStringList{u"Channel"_s});
    // One load for both pivot views: the table's view stands on the same rows.
    auto *table = w->findChild<PivotTable *>();
    QTRY_VERIFY(table && table->ActiveView());
    QCOMPARE(table->ActiveView()->data().get(), view->data().get());
    w->close();
}

// From an empty store the default layout, each drawn value found again in
// the grid by the whole paths of its category and series, both directions.
// The type picked in the gallery, the legend and the direction switched on
// the tool bar: the chart shows them and the window stores them.
void tst_PivotWindow::toolBarClicks()
{
    resumeNext([] { gSettings->DeleteSetting(kChartSection); });
    QPointer<frmCharts> w = open(m_random, ChartTab);
    QVERIFY(w);
    auto *chart = w->findChild<PivotChartSpace *>();
    QVERIFY(chart->HasChartSpaceLegend() && chart->chartView()->legendShown());
    QCOMPARE(chart->chartView()->chartType(), 7);
    auto *toolbar = chart->findChild<QToolBar *>(u"toolbar"_s);
    const auto click = [toolbar, chart](const QString &action) {
        QTest::mouseClick(toolbar->widgetForAction(chart->findChild<QAction *>(action)),
                          Qt::LeftButton);
    };
    const PivotResult grid = PivotAggregator::run(*chart->InternalPivotTable().ActiveView());
    // A leaf by its whole path: months shown without their year repeat.
    const auto nodeOf = [&grid](const std::vector<PivotResult::Node> &nodes, const QString &whole) {
        for (int node = 0; node < int(nodes.size()); ++node)
            if (nodes[std::size_t(node)].children.empty() && grid.wholePath(nodes, node) == whole)
                return node;
        return -1;
    };
    for (bool byRows : {false, true}) {
        if (byRows)
            click(u"seriesByRowsAction"_s);
        QCOMPARE(chart->HasSeriesByRows(), byRows);
        const PivotChartData &data = chart->chartView()->chartData();
        QCOMPARE(qsizetype(data.categories.size()),
                 qsizetype(byRows ? grid.columnNodes().size() : grid.rowNodes().size()) - 1);
        for (int s = 0; s < int(data.series.size()); ++s) {
            for (int c = 0; c < int(data.categories.size()); ++c) {
                const QString &category = data.categoryTips[std::size_t(c)];
                const QString &series = data.series[std::size_t(s)].tip;
                const int row = nodeOf(grid.rowNodes(), byRows ? series : category);
                const int column = nodeOf(grid.columnNodes(), byRows ? category : series);
                QVERIFY(row > 0 && column > 0);
                QCOMPARE(chart->chartView()->drawnValue(s, c), grid.value(row, column, 0));
            }
        }
    }
    click(u"legendAction"_s);
    QVERIFY(!chart->HasChartSpaceLegend());
    QVERIFY(!chart->chartView()->legendShown());
    // The gallery's menu runs its own loop: the pick happens inside it.
    auto *gallery = chart->findChild<QListWidget *>(u"chartTypeGallery"_s);
    int pies = 0;
    QTimer::singleShot(200, gallery, [gallery, &pies] {
        const QList<QListWidgetItem *> items =
            gallery->findItems(u"Exploded Pie"_s, Qt::MatchExactly);
        pies = int(items.size());
        if (gallery->isVisible() && pies == 1)
            QTest::mouseClick(gallery->viewport(), Qt::LeftButton, {},
                              gallery->visualItemRect(items[0]).center());
    });
    QTest::mouseClick(chart->findChild<QToolButton *>(u"chartTypeButton"_s), Qt::LeftButton);
    QCOMPARE(pies, 1);
    QTRY_VERIFY(!gallery->isVisible());
    QCOMPARE(chart->Charts(0).Type(), 19);
    QCOMPARE(chart->chartView()->chartType(), 19);
    // By rows the months are the series: the pie's slices are the providers.
    QCOMPARE(
        chart->chartView()->chartData().categories.size(),
        std::size_t(
            chart->InternalPivotTable().ActiveView()->FieldSets(u"Provider"_s).Members().Count()));
    w->close();
    QTRY_VERIFY(!w);
    Keys expected = kDefaultKeys;
    expected.replaceInStrings(u"TYPE=7"_s, u"TYPE=19"_s)
        .replaceInStrings(u"LEGEND=1"_s, u"LEGEND=0"_s)
        .replaceInStrings(u"SERIESBYROWS=0"_s, u"SERIESBYROWS=1"_s);
    for (const QString &entry : expected)
        QCOMPARE(stored(entry), entry);
}

QString tst_PivotWindow::writePage(const QString &text)
{
    const QString path = m_dir.filePath(u"page.htm"_s);
    return PivotPage::WriteTextFile(path, text) ? path : QString();
}

void tst_PivotWindow::pagesThatCannotShow_data()
{
    QTest::addColumn<QString>("page"); // empty: no file at all
    QTest::addColumn<QString>("notice");
    const QString script = u"\r\n<script language=vbs>\r\nSub Window_OnLoad()\r\nEnd Sub\r\n"
                           u"</script></html>"_s;
    QTest::newRow("missing file") << QString() << u"Cannot find"_s;
    QTest::newRow("unknown class id")
        << u"<html><body><object id=PT classid=CLSID:0002E55A-0000-0000-C000-000000000047>"
           u"</object></body>"_s +
               script
        << u"Line 1: Cannot create the object 'PT'"_s;
    QTest::newRow("no object") << u"<html><body></body>"_s + script << u"has no object"_s;
    // The window's page stops at the line of a stale stored name, the steps
    // before it kept.
    QTest::newRow("stale name") << u"stored"_s << u"FieldSets(\"Nope\")"_s;
}

void tst_PivotWindow::pagesThatCannotShow()
{
    QFETCH(QString, page);
    QFETCH(QString, notice);
    const bool stale = page == u"stored"_s;
    if (stale) {
        store(kSection, {u"COLUMNFIELDSETSCOUNT=1"_s, u"COLUMNFIELDSETNAME1=Provider"_s,
                         u"COLUMNFIELDSETFIELDS1=Provider"_s, u"ROWFIELDSETSCOUNT=1"_s,
                         u"ROWFIELDSETNAME1=Nope"_s});
        page = PivotPage::BuildPivotPage(*gSettings, m_database);
        const int line =
            page.split(u"\r\n"_s).indexOf(u"Set pFieldSet = PT.ActiveView."_s + notice) + 1;
        QVERIFY(line > 0);
        notice = u"Line %1: "_s.arg(line);
    }
    const QString path = page.isEmpty() ? m_dir.filePath(u"none.htm"_s) : writePage(page);
    WebBrowser host;
    host.show();
    QSignalSpy finished(&host, &WebBrowser::scriptFinished);
    host.Navigate2(path);
    QVERIFY(finished.wait(20000));
    QVERIFY2(host.statusText().contains(notice), qPrintable(host.statusText()));
    PivotTable *table = tableOf(&host);
    QCOMPARE(table != nullptr, stale);
    if (!stale)
        return;
    QVERIFY(host.findChild<QLabel *>(u"status"_s)->isVisible());
    QCOMPARE(fieldSetNames(table->ActiveView()->ColumnAxis()), QStringList{u"Provider"_s});
    QCOMPARE(fieldSetNames(table->ActiveView()->RowAxis()), QStringList());
    QCOMPARE(table->ActiveView()->ExpandMembers(), int(PivotView::ExpandAutomatic));
}

void tst_PivotWindow::closingWithoutALoadedTableStoresNothing_data()
{
    QTest::addColumn<int>("closed"); // 0: without the pivot classes
    QTest::newRow("no pivot classes") << 0;
    QTest::newRow("closed before its data is in") << 1;
    // Before the page's script has laid it out.
    QTest::newRow("closed in the turn its data comes in") << 2;
}

// Without a loaded table or a chart space to capture, the stored layouts
// stay as they were, keys the capture would not write too.
void tst_PivotWindow::closingWithoutALoadedTableStoresNothing()
{
    QFETCH(int, closed);
    storeLayouts(u"Provider A,Provider B"_s);
    store(kChartSection, kStoredKeys);
    const Entries table = section(kSection);
    // The real pivot views register themselves when the library loads.
    auto restore = qScopeGuard([] {
        PivotTable::registerClasses();
        PivotChartSpace::registerClasses();
    });
    if (closed == 0) {
        PivotTable::unregisterClasses();
        PivotChartSpace::unregisterClasses();
    }
    QPointer<frmCharts> w = open(m_database, NoTab);
    QVERIFY(w);
    QCOMPARE(w->WebBrowser1.isNull(), closed == 0); // the pages left are tst_statcharts'
    QCOMPARE(w->findChild<PivotChartSpace *>() == nullptr, closed == 0);
    if (closed == 2) // queued first, the close comes before the page's script runs again
        connect(
            w->findChild<PivotTable *>(), &PivotTable::loaded, w.data(), [w] { w->close(); },
            Qt::QueuedConnection);
    else
        w->close();
    QTRY_VERIFY_WITH_TIMEOUT(w.isNull(), 20000);
    QCOMPARE(section(kSection), table);
    for (const QString &key : closed == 0 ? kStoredKeys : Keys())
        QCOMPARE(stored(key), key);
}

QTEST_MAIN(tst_PivotWindow)
#include "tst_pivotwindow.moc"
