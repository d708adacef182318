// The pivot chart in the real window: the layout it restores from the
// store (or the default one), what it stores back at close, a member that
// no longer exists answered in the error dialog, and the values it draws
// against the engine's grid on random data.

#include "../errors/DialogAnswerer.h"
#include "PivotTestData.h"
#include "base/ResumeNext.h"
#include "component/EmbeddableClasses.h"
#include "component/modUtils.h"
#include "controls/pivot/PivotChartView.h"
#include "pivot/PivotAggregator.h"
#include "pivot/PivotResult.h"
#include "pivot/PivotView.h"
#include "pivotviews/PivotChartSpace.h"
#include "pivotviews/PivotTable.h"
#include "settings/CAppSettings.h"
#include "workspace/frmCharts.h"

#include <qrt/statCharts.h>

#include <QAction>
#include <QListWidget>
#include <QPointer>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>

using namespace Qt::StringLiterals;
using namespace qrt::pivot;

namespace {

const QString kSection = u"STATMSCHART"_s;
using Keys = QStringList; // each "KEY=value"

void store(const Keys &keys)
{
    resumeNext([] { gSettings->DeleteSetting(kSection); });
    for (const QString &key : keys)
        gSettings->SaveSetting(kSection, key.section(u'=', 0, 0), key.section(u'=', 1));
}

// An entry as the store holds it now: "KEY=value".
QString stored(const QString &entry)
{
    const QString key = entry.section(u'=', 0, 0);
    return key + u'=' + gSettings->GetSetting(kSection, key, u"<none>"_s).toString();
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

} // namespace

using qrt::test::captions;
using qrt::test::fieldSetNames;

class tst_PivotChart : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void layoutRoundTrip_data();
    void layoutRoundTrip();
    void missingFieldSetIsPassedOver();
    void noChartSpaceStoresNothing();
    void missingMemberAsksTheUser_data();
    void missingMemberAsksTheUser();
    void drawnValuesMatchTheGrid();
    void toolBarClicks();

private:
    frmCharts *open();

    QTemporaryDir m_dir;
    std::unique_ptr<statCharts> m_charts;
};

void tst_PivotChart::initTestCase()
{
    QVERIFY(m_dir.isValid());
    qputenv("XDG_CACHE_HOME", QFile::encodeName(m_dir.filePath(u"cache"_s)));
    const QString database = m_dir.filePath(u"news.db"_s);
    QVERIFY(qrt::test::makeRandomNewsDb(database, 3000, qrt::test::testSeed()));
    m_charts = std::make_unique<statCharts>();
    m_charts->ConnectionString(database);
}

// A shown window whose chart space has its data and its layout.
frmCharts *tst_PivotChart::open()
{
    auto *w = qobject_cast<frmCharts *>(m_charts->ShowChartForm());
    if (!w)
        return nullptr;
    w->setAttribute(Qt::WA_DeleteOnClose);
    w->resize(1184, 676);
    w->show();
    auto *chart = w->findChild<PivotChartSpace *>();
    if (!chart || !QTest::qWaitFor([chart] { return !chart->isLoading(); }, 20000))
        return nullptr;
    w->tabCharts->setCurrentIndex(1);
    return QTest::qWaitForWindowExposed(w) ? w : nullptr;
}

void tst_PivotChart::layoutRoundTrip_data()
{
    QTest::addColumn<Keys>("before");
    QTest::addColumn<Keys>("after");
    QTest::newRow("empty store: the default layout") << Keys() << kDefaultKeys;
    QTest::newRow("every kind of choice") << kStoredKeys << kStoredKeys;
}

void tst_PivotChart::layoutRoundTrip()
{
    QFETCH(Keys, before);
    QFETCH(Keys, after);
    store(before);
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
    QPointer<frmCharts> w = open();
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
    const int type = after.filter(QRegularExpression(u"^TYPE="_s)).value(0).mid(5).toInt();
    QCOMPARE(chart->HasChartSpaceLegend(), after.contains(u"LEGEND=1"_s));
    QCOMPARE(chart->Charts(0).Type(), type);
    QCOMPARE(chart->chartView()->chartType(), type);
    QCOMPARE(chart->HasSeriesByRows(), after.contains(u"SERIESBYROWS=1"_s));
    QVERIFY(chart->chartView()->legendShown() == chart->HasChartSpaceLegend());
    // What the close stores is the capture's own writing.
    resumeNext([] { gSettings->DeleteSetting(kSection); });
    w->close();
    QTRY_VERIFY(!w);
    for (const QString &key : after)
        QCOMPARE(stored(key), key);
}

void tst_PivotChart::missingFieldSetIsPassedOver()
{
    store(kDefaultKeys + Keys{u"ROWFIELDSETSCOUNT=2"_s, u"ROWFIELDSETNAME1=Gone"_s,
                              u"ROWFIELDSETNAME2=Category"_s, u"ROWFIELDSETFIELDS2=Category"_s});
    QPointer<frmCharts> w = open();
    QVERIFY(w);
    const PivotView *view = w->findChild<PivotChartSpace *>()->InternalPivotTable().ActiveView();
    QCOMPARE(fieldSetNames(view->RowAxis()), QStringList{u"Category"_s});
    QCOMPARE(fieldSetNames(view->ColumnAxis()), QStringList{u"Provider"_s});
    QCOMPARE(fieldSetNames(view->FilterAxis()), QStringList{u"Channel"_s});
    QCOMPARE(view->DataAxis().Totals().Count(), 1);
    // One load for both pivot views: the table's view stands on the same rows.
    auto *table = w->findChild<PivotTable *>();
    QTRY_VERIFY(table && table->ActiveView());
    QCOMPARE(table->ActiveView()->data().get(), view->data().get());
    w->close();
}

// Without the chart space's classes the window has no chart to capture:
// the stored layout stays as it was, keys the capture would not write too.
void tst_PivotChart::noChartSpaceStoresNothing()
{
    store(kStoredKeys);
    PivotChartSpace::unregisterClasses();
    auto reregister = qScopeGuard([] { PivotChartSpace::registerClasses(); });
    QPointer<frmCharts> w = qobject_cast<frmCharts *>(m_charts->ShowChartForm());
    QVERIFY(w);
    w->setAttribute(Qt::WA_DeleteOnClose);
    w->show();
    QVERIFY(QTest::qWaitForWindowExposed(w));
    QVERIFY(!w->findChild<PivotChartSpace *>());
    w->close();
    QTRY_VERIFY(!w);
    for (const QString &key : kStoredKeys)
        QCOMPARE(stored(key), key);
}

void tst_PivotChart::missingMemberAsksTheUser_data()
{
    QTest::addColumn<QStringList>("answers");
    QTest::addColumn<QStringList>("included");
    QTest::newRow("ignore goes on with the next caption")
        << QStringList{u"btnIgnore"_s} << QStringList{u"Provider A"_s, u"Provider B"_s};
    QTest::newRow("retry looks again") << QStringList{u"btnRetry"_s, u"btnIgnore"_s}
                                       << QStringList{u"Provider A"_s, u"Provider B"_s};
    QTest::newRow("abort leaves no members") << QStringList{u"btnAbort"_s} << QStringList();
}

void tst_PivotChart::missingMemberAsksTheUser()
{
    QFETCH(QStringList, answers);
    QFETCH(QStringList, included);
    store(kDefaultKeys +
          Keys{u"COLUMNFIELDSFILTERS1=Provider||2||||(Provider A,Provider Gone,Provider B)"_s});
    DialogAnswerer answerer(answers);
    QPointer<frmCharts> w = open();
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
    w->close();
}

// Each drawn value found again in the grid by the captions of its
// category and series, for both directions and with a filter choice.
void tst_PivotChart::drawnValuesMatchTheGrid()
{
    store({u"ROWFIELDSETNAME1=Category"_s, u"ROWFIELDSETFIELDS1=Category"_s,
           u"FILTERFIELDSFILTERS1=Channel||1||||(Channel 1,Channel 3)"_s, u"TYPE=0"_s});
    QPointer<frmCharts> w = open();
    QVERIFY(w);
    auto *chart = w->findChild<PivotChartSpace *>();
    PivotView *view = chart->InternalPivotTable().ActiveView();
    const PivotResult grid = PivotAggregator::run(*view);
    const auto nodeOf = [&grid](const std::vector<PivotResult::Node> &nodes,
                                const QStringList &path) {
        for (int node = 0; node < int(nodes.size()); ++node)
            if (nodes[std::size_t(node)].children.empty() && grid.path(nodes, node) == path)
                return node;
        return -1;
    };
    for (bool byRows : {false, true}) {
        chart->setHasSeriesByRows(byRows);
        const PivotChartData &data = chart->chartView()->chartData();
        QCOMPARE(qsizetype(data.categories.size()),
                 qsizetype(byRows ? grid.columnNodes().size() : grid.rowNodes().size()) - 1);
        for (int s = 0; s < int(data.series.size()); ++s) {
            for (int c = 0; c < int(data.categories.size()); ++c) {
                const QStringList &category = data.categories[std::size_t(c)];
                const QStringList &series = data.series[std::size_t(s)].path;
                const int row = nodeOf(grid.rowNodes(), byRows ? series : category);
                const int column = nodeOf(grid.columnNodes(), byRows ? category : series);
                QVERIFY(row > 0 && column > 0);
                QCOMPARE(chart->chartView()->drawnValue(s, c), grid.value(row, column, 0));
            }
        }
    }
    // The filter choice is in the numbers: the two channels are left out.
    qrt::db::Connection connection;
    QVERIFY(connection.Open(m_dir.filePath(u"news.db"_s)));
    QSqlQuery count(connection.database());
    QVERIFY(count.exec(u"SELECT COUNT(NULLIF(Title, '')) FROM News JOIN Channels ON "
                       "Channels.ID = News.Channel WHERE Channels.Channel NOT IN "
                       "('Channel 1', 'Channel 3')"_s) &&
            count.next());
    QCOMPARE(grid.value(0, 0, 0), std::optional<double>(count.value(0).toDouble()));
    w->close();
}

// The type picked in the gallery, the legend and the direction switched on
// the tool bar: the chart shows them and the window stores them.
void tst_PivotChart::toolBarClicks()
{
    store(kDefaultKeys);
    QPointer<frmCharts> w = open();
    QVERIFY(w);
    auto *chart = w->findChild<PivotChartSpace *>();
    auto *toolbar = chart->findChild<QToolBar *>(u"toolbar"_s);
    const auto click = [toolbar, chart](const QString &action) {
        QTest::mouseClick(toolbar->widgetForAction(chart->findChild<QAction *>(action)),
                          Qt::LeftButton);
    };
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
    click(u"legendAction"_s);
    QVERIFY(!chart->HasChartSpaceLegend());
    QVERIFY(!chart->chartView()->legendShown());
    click(u"seriesByRowsAction"_s);
    QVERIFY(chart->HasSeriesByRows());
    // By rows the months are the series: the pie's slices are the providers.
    QCOMPARE(
        chart->chartView()->chartData().categories.size(),
        std::size_t(
            chart->InternalPivotTable().ActiveView()->FieldSets(u"Provider"_s).Members().Count()));
    w->close();
    QTRY_VERIFY(!w);
    for (const QString &entry : {u"TYPE=19"_s, u"LEGEND=0"_s, u"SERIESBYROWS=1"_s})
        QCOMPARE(stored(entry), entry);
}

QTEST_MAIN(tst_PivotChart)
#include "tst_pivotchart.moc"
