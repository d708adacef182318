// The pivot table in the real window, laid out by a user with the mouse: a
// field set dragged onto the columns, member choices on two axes, a second
// total. Closing stores the layout under the keys the capture writes, and
// the next window's page rebuilds it: the same grid, cell for cell. And
// both pivot views keep a stored layout through Refresh, a first load that
// failed, a close as the data comes in, a database in a folder with a name
// outside Latin-1 and a provider whose name holds double quotes.

#include "PivotTestData.h"
#include "TreeClicks.h"
#include "base/ResumeNext.h"
#include "component/modUtils.h"
#include "controls/pivot/PivotChartView.h"
#include "controls/pivot/PivotDropZone.h"
#include "controls/pivot/PivotMemberFilter.h"
#include "demodata/DemoDatabase.h"
#include "pivot/PivotView.h"
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
#include <QPointer>
#include <QPushButton>
#include <QStyle>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
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

using Entries = QMap<QString, QString>;

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

using Entry = std::pair<QString, QVariant>;

void store(const QString &name, const QList<Entry> &entries)
{
    resumeNext([&] { gSettings->DeleteSetting(name); });
    for (const auto &[key, value] : entries)
        gSettings->SaveSetting(name, key, value);
}

// The keys of one axis as the capture writes them: each field set its
// name, its fields and its filter records.
QList<Entry> axisKeys(const QString &axis, const QList<QStringList> &fieldSets)
{
    QList<Entry> keys = {{axis + u"FIELDSETSCOUNT"_s, int(fieldSets.size())}};
    for (qsizetype i = 0; i < fieldSets.size(); ++i) {
        const QString n = QString::number(i + 1);
        keys << Entry{axis + u"FIELDSETNAME"_s + n, fieldSets[i].value(0)}
             << Entry{axis + u"FIELDSETFIELDS"_s + n, fieldSets[i].value(1)}
             << Entry{axis + u"FIELDSFILTERS"_s + n, fieldSets[i].value(2)};
    }
    return keys;
}

// Layouts of both views, two providers kept on each.
void storeLayouts(const QString &providers)
{
    const QString kept = u"Provider||2||||("_s + providers + u')';
    const QList<Entry> total = {{u"TOTALSCOUNT"_s, 1},
                                {u"TOTALNAME1"_s, u"Count of News"_s},
                                {u"TOTALFIELD1"_s, u"News"_s},
                                {u"TOTALFUNCTION1"_s, 2}};
    store(kSection, axisKeys(u"FILTER"_s, {}) +
                        axisKeys(u"ROW"_s, {{u"NewsDate By Month"_s, u"Years%%|%%Months"_s},
                                            {u"Provider"_s, u"Provider"_s, kept}}) +
                        axisKeys(u"COLUMN"_s, {{u"Category"_s, u"Category"_s}}) +
                        axisKeys(u"DATA"_s, {}) + total);
    store(u"STATMSCHART"_s,
          QList<Entry>{{u"LEGEND"_s, u"0"_s}, {u"TYPE"_s, 0}, {u"SERIESBYROWS"_s, u"1"_s}} +
              axisKeys(u"FILTER"_s, {{u"Category"_s, u"Category"_s}}) +
              axisKeys(u"ROW"_s, {{u"Provider"_s, u"Provider"_s, kept}}) +
              axisKeys(u"COLUMN"_s, {{u"NewsDate By Month"_s, u"Years"_s}}) +
              axisKeys(u"DATA"_s, {{u"News"_s, u"News"_s}}) + total);
}

// The Refresh button of a view's tool bar, clicked with the mouse on its page.
void clickRefresh(frmCharts *w, QWidget *view, int tab)
{
    w->tabCharts->setCurrentIndex(tab);
    auto *toolbar = view->findChild<QToolBar *>(u"toolbar"_s);
    QTest::mouseClick(toolbar->widgetForAction(view->findChild<QAction *>(u"refreshAction"_s)),
                      Qt::LeftButton);
}

} // namespace

class tst_PivotWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void layoutMadeWithTheMouseComesBack();
    void refreshKeepsTheLayouts_data();
    void refreshKeepsTheLayouts();
    void closeAsTheDataComesIn();

private:
    frmCharts *open(const QString &database = QString());
    QByteArray grid(PivotTable *table);

    QTemporaryDir m_dir;
    std::unique_ptr<statCharts> m_charts;
};

void tst_PivotWindow::initTestCase()
{
    QVERIFY(m_dir.isValid());
    qputenv("XDG_CACHE_HOME", QFile::encodeName(m_dir.filePath(u"cache"_s)));
    const QString database = m_dir.filePath(u"news.db"_s);
    qrt::db::DemoDatabase::Options options;
    options.items = 4000;
    options.seed = 11;
    QString error;
    QVERIFY2(qrt::db::DemoDatabase::create(database, options, &error), qPrintable(error));
    m_charts = std::make_unique<statCharts>();
    resumeNext([] { gSettings->DeleteSetting(kSection); });
}

// A shown window, its table loaded and the page's script done, on the table's tab.
frmCharts *tst_PivotWindow::open(const QString &database)
{
    m_charts->ConnectionString(database.isEmpty() ? m_dir.filePath(u"news.db"_s) : database);
    auto *w = qobject_cast<frmCharts *>(m_charts->ShowChartForm());
    if (!w)
        return nullptr;
    w->setAttribute(Qt::WA_DeleteOnClose);
    w->resize(1184, 676);
    w->show();
    QObject *page = w->findChild<QObject *>(u"WebBrowser1"_s);
    if (!page || !QTest::qWaitFor([page] { return !page->property("busy").toBool(); }, 20000))
        return nullptr;
    w->tabCharts->setCurrentWidget(qobject_cast<QWidget *>(page));
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
    QPointer<frmCharts> w = open();
    QVERIFY(w);
    auto *table = w->findChild<PivotTable *>();
    QVERIFY(table && table->ActiveView());

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
    resumeNext([] { gSettings->DeleteSetting(kSection); });
    w->close();
    QTRY_VERIFY(!w);

    // The keys the capture writes for what the mouse did.
    const auto stored = [](const QString &key) {
        return gSettings->GetSetting(kSection, key, QVariant()).toString();
    };
    QVERIFY(!section(kSection).isEmpty()); // written at the close, not before
    QCOMPARE(stored(u"COLUMNFIELDSETSCOUNT"_s), u"1"_s);
    QCOMPARE(stored(u"COLUMNFIELDSETNAME1"_s), u"Category"_s);
    QCOMPARE(stored(u"COLUMNFIELDSFILTERS1"_s), u"Category||1||||("_s + leftOut[0] + u')');
    QCOMPARE(stored(u"ROWFIELDSETNAME2"_s), u"Provider"_s);
    QCOMPARE(stored(u"ROWFIELDSFILTERS2"_s), u"Provider||2||||("_s + kept.join(u',') + u')');
    QCOMPARE(stored(u"TOTALSCOUNT"_s), u"2"_s);
    QCOMPARE(stored(u"TOTALFIELD2"_s), u"Channel"_s);
    QCOMPARE(stored(u"TOTALNAME2"_s), u"Count of Channel"_s);
    QCOMPARE(stored(u"TOTALFUNCTION2"_s), u"2"_s);

    // The next window's page puts it all back.
    QPointer<frmCharts> next = open();
    QVERIFY(next);
    auto *again = next->findChild<PivotTable *>();
    QVERIFY(again && again->ActiveView());
    QTRY_COMPARE(grid(again), before); // the table shows what the script laid out within a moment
    next->close();
}

void tst_PivotWindow::refreshKeepsTheLayouts_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("provider"); // the name of the first provider
    QTest::addColumn<bool>("comesLater");  // the database, after the first loads failed
    QTest::newRow("plain") << u"plain"_s << u"Provider A"_s << false;
    QTest::newRow("a folder and a member outside Latin-1") << u"Журнал"_s << u"Вести"_s << false;
    QTest::newRow("double quotes in a stored member")
        << u"quotes"_s << u"Ace \"Daily\" News"_s << false;
    QTest::newRow("the first loads fail") << u"later"_s << u"Provider A"_s << true;
}

// Data loads, Refresh keeps what is on screen, and each close stores the
// layout the window opened with, twice in a row.
void tst_PivotWindow::refreshKeepsTheLayouts()
{
    QFETCH(QString, folder);
    QFETCH(QString, provider);
    QFETCH(bool, comesLater);
    const QString made = m_dir.filePath(folder + u"/made.db"_s);
    const QString database = m_dir.filePath(folder + u"/news.db"_s);
    QVERIFY(QDir().mkpath(QFileInfo(database).path()));
    QVERIFY(qrt::test::makeRandomNewsDb(made, 2000, qrt::test::testSeed()));
    const QString rename = u"UPDATE Providers SET Provider = '%1' WHERE ID = 1"_s;
    QVERIFY(qrt::test::execAll(made, {rename.arg(QString(provider).replace(u"'"_s, u"''"_s))}));
    if (!comesLater)
        QVERIFY(QFile::rename(made, database));
    const QString providers = provider + u",Provider B"_s;
    storeLayouts(providers);
    const Entries table = section(kSection), chart = section(u"STATMSCHART"_s);
    for (int round = 0; round < 2; ++round) {
        QPointer<frmCharts> w = open(database);
        QVERIFY(w);
        auto *pt = w->findChild<PivotTable *>();
        auto *space = w->findChild<PivotChartSpace *>();
        QVERIFY(pt && space);
        QTRY_VERIFY_WITH_TIMEOUT(!space->isLoading(), 20000);
        if (comesLater && round == 0) {
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
        const QStringList series = [space] { // in member order
            QStringList names;
            for (const auto &one : space->chartView()->chartData().series)
                names << one.name;
            names.sort();
            return names;
        }();
        QStringList kept = providers.split(u',');
        kept.sort();
        QCOMPARE(series, kept);
        const PivotView *tableView = pt->ActiveView();
        const PivotView *chartView = space->InternalPivotTable().ActiveView();
        clickRefresh(w, pt, 2);
        clickRefresh(w, space, 1);
        QTRY_VERIFY_WITH_TIMEOUT(pt->ActiveView() != tableView &&
                                     space->InternalPivotTable().ActiveView() != chartView,
                                 20000);
        QTRY_COMPARE(grid(pt), shown);
        QCOMPARE(space->chartView()->chartData().series.size(), std::size_t(series.size()));
        w->close();
        QTRY_VERIFY(!w);
        QCOMPARE(section(kSection), table);
        QCOMPARE(section(u"STATMSCHART"_s), chart);
    }
}

// A close in the turn the table's data comes in, before the page's script
// has laid it out, keeps the stored layout.
void tst_PivotWindow::closeAsTheDataComesIn()
{
    const QString database = m_dir.filePath(u"close.db"_s);
    QVERIFY(qrt::test::makeRandomNewsDb(database, 500, qrt::test::testSeed()));
    storeLayouts(u"Provider A,Provider B"_s);
    const Entries table = section(kSection);
    m_charts->ConnectionString(database);
    QPointer<QWidget> w = m_charts->ShowChartForm();
    QVERIFY(w);
    w->setAttribute(Qt::WA_DeleteOnClose);
    w->show();
    auto *pt = w->findChild<PivotTable *>();
    QVERIFY(pt);
    // Queued first, the close comes before the page's script runs again.
    connect(
        pt, &PivotTable::loaded, w.data(), [w] { w->close(); }, Qt::QueuedConnection);
    QTRY_VERIFY_WITH_TIMEOUT(!w, 20000);
    QCOMPARE(section(kSection), table);
}

QTEST_MAIN(tst_PivotWindow)
#include "tst_pivotwindow.moc"
