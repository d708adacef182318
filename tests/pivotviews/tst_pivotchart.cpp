// The pivot chart in the real window: the layout it restores from the
// store (or the default one), what it stores back at close, a member that
// no longer exists answered in the error dialog, and the values it draws
// against the engine's grid on random data.

#include "../errors/DialogAnswerer.h"
#include "PivotTestData.h"
#include "base/ResumeNext.h"
#include "component/modUtils.h"
#include "controls/PivotChartView.h"
#include "pivotviews/PivotAggregator.h"
#include "pivotviews/PivotChartSpace.h"
#include "pivotviews/PivotResult.h"
#include "pivotviews/PivotTable.h"
#include "pivotviews/PivotView.h"
#include "settings/CAppSettings.h"
#include "workspace/frmCharts.h"

#include <qrt/statCharts.h>

#include <QAction>
#include <QListWidget>
#include <QPointer>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>

using namespace Qt::StringLiterals;
using namespace qrt::pivot;

namespace {

const QString kSection = u"STATMSCHART"_s;
using Keys = QList<std::pair<QString, QString>>;

void store(const Keys &keys)
{
    resumeNext([] { gSettings->DeleteSetting(kSection); });
    for (const auto &[key, value] : keys)
        gSettings->SaveSetting(kSection, key, value);
}

QString stored(const QString &key)
{
    return gSettings->GetSetting(kSection, key, u"<none>"_s).toString();
}

QStringList names(const PivotAxis &axis)
{
    QStringList out;
    for (const PivotFieldSet *set : axis.FieldSets())
        out << set->Name();
    return out;
}

QStringList captions(const std::vector<PivotMember> &members)
{
    QStringList out;
    for (const PivotMember &member : members)
        out << member.Caption();
    return out;
}

// The default layout as it is stored back.
const Keys kDefaultKeys = {
    {u"LEGEND"_s, u"1"_s},
    {u"TYPE"_s, u"7"_s},
    {u"SERIESBYROWS"_s, u"0"_s},
    {u"FILTERFIELDSETSCOUNT"_s, u"1"_s},
    {u"FILTERFIELDSETNAME1"_s, u"Channel"_s},
    {u"FILTERFIELDSETFIELDS1"_s, u"Channel"_s},
    {u"FILTERFIELDSFILTERS1"_s, u""_s},
    {u"ROWFIELDSETSCOUNT"_s, u"1"_s},
    {u"ROWFIELDSETNAME1"_s, u"NewsDate By Month"_s},
    {u"ROWFIELDSETFIELDS1"_s, u"Months"_s},
    {u"ROWFIELDSFILTERS1"_s, u""_s},
    {u"COLUMNFIELDSETSCOUNT"_s, u"1"_s},
    {u"COLUMNFIELDSETNAME1"_s, u"Provider"_s},
    {u"COLUMNFIELDSETFIELDS1"_s, u"Provider"_s},
    {u"COLUMNFIELDSFILTERS1"_s, u""_s},
    {u"DATAFIELDSETSCOUNT"_s, u"1"_s},
    {u"DATAFIELDSETNAME1"_s, u"News"_s},
    {u"DATAFIELDSETFIELDS1"_s, u"News"_s},
    {u"DATAFIELDSFILTERS1"_s, u""_s},
    {u"TOTALSCOUNT"_s, u"1"_s},
    {u"TOTALNAME1"_s, u"Count of News"_s},
    {u"TOTALFIELD1"_s, u"News"_s},
    {u"TOTALFUNCTION1"_s, u"2"_s},
};

// A layout of every kind of stored choice: a type without a drawing of its
// own, legend off, series by rows, an empty axis, member paths of zero, one
// and two steps, and two totals.
const Keys kStoredKeys = {
    {u"LEGEND"_s, u"0"_s},
    {u"TYPE"_s, u"24"_s},
    {u"SERIESBYROWS"_s, u"1"_s},
    {u"FILTERFIELDSETSCOUNT"_s, u"1"_s},
    {u"FILTERFIELDSETNAME1"_s, u"Category"_s},
    {u"FILTERFIELDSETFIELDS1"_s, u"Category"_s},
    {u"FILTERFIELDSFILTERS1"_s, u"Category||1||||(Sports,World)"_s},
    {u"ROWFIELDSETSCOUNT"_s, u"2"_s},
    {u"ROWFIELDSETNAME1"_s, u"NewsDate By Month"_s},
    {u"ROWFIELDSETFIELDS1"_s, u"Years%%|%%Quarters%%|%%Months"_s},
    {u"ROWFIELDSFILTERS1"_s,
     u"Quarters||2||2024||(Qtr1,Qtr2)%%|%%Months||2||2025**|**Qtr3||(Jul,Sep)"_s},
    {u"ROWFIELDSETNAME2"_s, u"Provider"_s},
    {u"ROWFIELDSETFIELDS2"_s, u"Provider"_s},
    {u"ROWFIELDSFILTERS2"_s, u""_s},
    {u"COLUMNFIELDSETSCOUNT"_s, u"0"_s},
    {u"DATAFIELDSETSCOUNT"_s, u"1"_s},
    {u"DATAFIELDSETNAME1"_s, u"News"_s},
    {u"DATAFIELDSETFIELDS1"_s, u"News"_s},
    {u"DATAFIELDSFILTERS1"_s, u""_s},
    {u"TOTALSCOUNT"_s, u"2"_s},
    {u"TOTALNAME1"_s, u"Count of News"_s},
    {u"TOTALFIELD1"_s, u"News"_s},
    {u"TOTALFUNCTION1"_s, u"2"_s},
    {u"TOTALNAME2"_s, u"Count of Channel"_s},
    {u"TOTALFIELD2"_s, u"Channel"_s},
    {u"TOTALFUNCTION2"_s, u"2"_s},
};

} // namespace

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
    DialogAnswerer answerer({}); // every stored member is there: no question comes
    QPointer<frmCharts> w = open();
    QVERIFY(w);
    QCOMPARE(answerer.unanswered, 0);
    auto *chart = w->findChild<PivotChartSpace *>();
    QVERIFY(chart->InternalPivotTable().ActiveView());
    QCOMPARE(chart->border().Color(), 14480885);
    QCOMPARE(chart->Interior().color(), QColor(u"beige"_s));
    // What the store says shows: the legend, the type and the direction.
    const auto value = [&after](const QString &key) {
        for (const auto &[k, v] : after)
            if (k == key)
                return v;
        return QString();
    };
    QCOMPARE(chart->HasChartSpaceLegend(), value(u"LEGEND"_s) == u"1"_s);
    QCOMPARE(chart->Charts(0).Type(), value(u"TYPE"_s).toInt());
    QCOMPARE(chart->chartView()->chartType(), value(u"TYPE"_s).toInt());
    QCOMPARE(chart->HasSeriesByRows(), value(u"SERIESBYROWS"_s) == u"1"_s);
    QVERIFY(chart->chartView()->legendShown() == chart->HasChartSpaceLegend());
    w->close();
    QTRY_VERIFY(!w);
    for (const auto &[key, expected] : after)
        QVERIFY2(stored(key) == expected, qPrintable(key + u": "_s + stored(key)));
}

void tst_PivotChart::missingFieldSetIsPassedOver()
{
    Keys keys = kDefaultKeys;
    keys << std::pair{u"ROWFIELDSETSCOUNT"_s, u"2"_s} << std::pair{u"ROWFIELDSETNAME1"_s, u"Gone"_s}
         << std::pair{u"ROWFIELDSETNAME2"_s, u"Category"_s}
         << std::pair{u"ROWFIELDSETFIELDS2"_s, u"Category"_s};
    store(keys);
    QPointer<frmCharts> w = open();
    QVERIFY(w);
    const PivotView *view = w->findChild<PivotChartSpace *>()->InternalPivotTable().ActiveView();
    QCOMPARE(names(view->RowAxis()), QStringList{u"Category"_s});
    QCOMPARE(names(view->ColumnAxis()), QStringList{u"Provider"_s});
    QCOMPARE(names(view->FilterAxis()), QStringList{u"Channel"_s});
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
    for (const auto &[key, expected] : kStoredKeys)
        QCOMPARE(stored(key), expected);
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
    Keys keys = kDefaultKeys;
    keys << std::pair{u"COLUMNFIELDSFILTERS1"_s,
                      u"Provider||2||||(Provider A,Provider Gone,Provider B)"_s};
    store(keys);
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
    const Keys keys = {{u"ROWFIELDSETNAME1"_s, u"Category"_s},
                       {u"ROWFIELDSETFIELDS1"_s, u"Category"_s},
                       {u"FILTERFIELDSFILTERS1"_s, u"Channel||1||||(Channel 1,Channel 3)"_s},
                       {u"TYPE"_s, u"0"_s}};
    store(keys);
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
    QCOMPARE(stored(u"TYPE"_s), u"19"_s);
    QCOMPARE(stored(u"LEGEND"_s), u"0"_s);
    QCOMPARE(stored(u"SERIESBYROWS"_s), u"1"_s);
}

QTEST_MAIN(tst_PivotChart)
#include "tst_pivotchart.moc"
