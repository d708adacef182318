// The component's front door: window keys and numbers, the shared objects a
// second instance replaces, the pages the probes leave, creating the class by
// its id. Last, a thousand windows opened, drawn, loaded and closed one after
// the other: no window, no heap block (LeakSanitizer says so in the sanitizer
// pass) and no growth of the process may stay behind.

#include "component/EmbeddableClasses.h"
#include "component/modUtils.h"
#include "db/Connection.h"
#include "demodata/DemoDatabase.h"
#include "errors/CErrorHandler.h"
#include "newschart/ChartControl.h"
#include "newschart/frmChart.h"
#include "pivotviews/PivotChartSpace.h"
#include "pivotviews/PivotTable.h"
#include "pivotviews/WebBrowser.h"
#include "workspace/frmCharts.h"

#include <qrt/statCharts.h>

#include <QApplication>
#include <QFile>
#include <QPointer>
#include <QScopeGuard>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>

#include <dlfcn.h>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

constexpr int kCycles = 1000;
// By then fonts, pixmaps and the allocator's pools have their size.
constexpr int kSettledCycle = 100;
constexpr double kAllowedGrowth = 0.05;

// Under AddressSanitizer the heap is quarantined and cached by the
// sanitizer's allocator, so the resident size says nothing about ours;
// LeakSanitizer answers for the heap there instead.
#ifdef QRT_SANITIZED
constexpr bool kResidentSizeMeans = false;
#else
constexpr bool kResidentSizeMeans = true;
#endif

// VmRSS of this process in kB, or -1.
qint64 residentKb()
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith("VmRSS:"))
            return line.mid(6).simplified().split(' ').value(0).toLongLong();
    return -1;
}

// The pivot table's page has run its script, and the pivot chart has its data.
bool pivotViewsLoaded(QWidget *window)
{
    const auto *page = window->findChild<WebBrowser *>(u"WebBrowser1"_s);
    const auto *chart = window->findChild<PivotChartSpace *>();
    return page && !page->isBusy() && chart && !chart->isLoading();
}

} // namespace

class tst_statCharts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keysCountUpAndAreNeverReused();
    void secondInstanceReplacesSharedObjects();
    void indexLimit();
    void accessKeysAndProbes_data();
    void accessKeysAndProbes();
    void createByClassId();
    void openDrawLoadClose();

private:
    void oneWindow(int cycle, qsizetype topLevels);

    QTemporaryDir m_dir;
    std::unique_ptr<statCharts> m_charts;
};

// Also: a window made before any connection string loads nothing until
// shown.
void tst_statCharts::keysCountUpAndAreNeverReused()
{
    gChartFormIndex = 0;
    gConnectionString.clear();
    statCharts charts;
    QPointer<QWidget> first = charts.ShowChartForm();
    QPointer<QWidget> second = charts.ShowChartForm();
    QVERIFY(first && second);
    QApplication::processEvents();
    QVERIFY(!qobject_cast<frmCharts *>(first.data())->isLoaded());
    QCOMPARE(gChartForms.Item(u"KEY1"_s), first.data());
    QCOMPARE(gChartForms.Item(u"KEY2"_s), second.data());
    QCOMPARE(qobject_cast<frmCharts *>(second.data())->fIndex, qint16(2));
    // Closed before it was ever shown, a window stays in the collection.
    QVERIFY(first->close());
    QCOMPARE(gChartForms.Item(u"KEY1"_s), first.data());
    first->show();
    QVERIFY(qobject_cast<frmCharts *>(first.data())->isLoaded());
    second->show();
    QVERIFY(first->close());
    // Closing leaves the collection; the object stays the host's to drop.
    QVERIFY(!gChartForms.Contains(u"KEY1"_s));
    QTest::qWait(0);
    QVERIFY(first);
    delete first;
    QPointer<QWidget> third = charts.ShowChartForm();
    QCOMPARE(qobject_cast<frmCharts *>(third.data())->fIndex, qint16(3));
    QCOMPARE(gChartForms.Count(), 2);
    delete second;
    delete third;
    QCOMPARE(gChartForms.Count(), 0);
}

void tst_statCharts::secondInstanceReplacesSharedObjects()
{
    statCharts first;
    first.ConnectionString(u"/srv/news.db"_s);
    gErrorHandler->Tag(u"first"_s);
    std::unique_ptr<QWidget> window(first.ShowChartForm());
    const qrt::db::Connection *before = gConnection.get();
    const qint16 index = gChartFormIndex;
    statCharts second;
    QVERIFY(gConnection.get() != before);
    QVERIFY(gErrorHandler->Tag().isEmpty()); // a new handler took its place
    QCOMPARE(gConnectionString, u"/srv/news.db"_s);
    QCOMPARE(gChartFormIndex, index);
    QVERIFY(gChartForms.Contains(ChartFormKey(index)));
}

// Past the last number a window still comes, under that number, out of the
// collection.
void tst_statCharts::indexLimit()
{
    const qint16 saved = gChartFormIndex;
    gChartFormIndex = 32766;
    statCharts charts;
    std::unique_ptr<QWidget> last(charts.ShowChartForm());
    std::unique_ptr<QWidget> beyond(charts.ShowChartForm());
    QVERIFY(last && beyond);
    QCOMPARE(qobject_cast<frmCharts *>(beyond.get())->fIndex, qint16(32767));
    QCOMPARE(gChartForms.Item(ChartFormKey(32767)), last.get());
    gChartFormIndex = saved;
}

void tst_statCharts::accessKeysAndProbes_data()
{
    QTest::addColumn<QStringList>("registered");
    QTest::addColumn<QStringList>("pagesLeft");
    QTest::newRow("older classes answer")
        << QStringList{u"OWC10.PivotTable"_s, u"OWC10.Chartspace"_s}
        << QStringList{u"elsBorder"_s, u"elstMSchart"_s, u"WebBrowser1"_s};
    // Without a chart space the table keeps what its own probe decided.
    QTest::newRow("table only") << QStringList{u"OWC11.PivotTable"_s}
                                << QStringList{u"elsBorder"_s, u"WebBrowser1"_s};
}

void tst_statCharts::accessKeysAndProbes()
{
    QFETCH(QStringList, registered);
    QFETCH(QStringList, pagesLeft);
    // The real pivot views register themselves when the library loads; each
    // row offers only the classes it names.
    PivotTable::unregisterClasses();
    PivotChartSpace::unregisterClasses();
    auto reregister = qScopeGuard([] {
        PivotTable::registerClasses();
        PivotChartSpace::registerClasses();
    });
    for (const QString &name : registered)
        EmbeddableClasses::registerClass(name, [](QWidget *parent) { return new QWidget(parent); });
    auto unregister = qScopeGuard([&] {
        for (const QString &name : registered)
            EmbeddableClasses::unregisterClass(name);
    });
    statCharts charts;
    std::unique_ptr<QWidget> window(charts.ShowChartForm());
    auto *tabs = window->findChild<QTabWidget *>(u"tabCharts"_s);
    window->show();
    QVERIFY(QTest::qWaitForWindowExposed(window.get()));
    // A probe that fails takes its page away at load, the third first.
    QStringList pages;
    for (int i = 0; i < tabs->count(); ++i)
        pages << tabs->widget(i)->objectName();
    QCOMPARE(pages, pagesLeft);
    const bool chartSpace = pagesLeft.contains(u"elstMSchart"_s);
    QCOMPARE(bool(window->findChild<QWidget *>(u"OLE1"_s)), chartSpace);
    // The access keys reach the pages that are left.
    const QList<std::pair<Qt::Key, QString>> keys = {
        {Qt::Key_T, u"WebBrowser1"_s}, {Qt::Key_P, u"elstMSchart"_s}, {Qt::Key_B, u"elsBorder"_s}};
    for (const auto &[key, page] : keys) {
        if (!pagesLeft.contains(page))
            continue;
        QTest::keyClick(window.get(), key, Qt::AltModifier);
        QCOMPARE(tabs->currentWidget()->objectName(), page);
    }
}

// The class id is taken in any case; nothing is made for an empty one.
void tst_statCharts::createByClassId()
{
    const QByteArray path = qgetenv("QRT_STATCHARTS_LIBRARY");
    QVERIFY2(!path.isEmpty(), "QRT_STATCHARTS_LIBRARY names the built library");
    void *library = dlopen(path.constData(), RTLD_NOW);
    QVERIFY2(library, dlerror());
    auto create = reinterpret_cast<QRT_CreateObjectFn>(dlsym(library, "QRT_CreateObject"));
    auto release = reinterpret_cast<QRT_ReleaseObjectFn>(dlsym(library, "QRT_ReleaseObject"));
    QVERIFY(create && release);
    QVERIFY(!create(""));
    statCharts *object = create(QByteArray(statCharts::ClassId).toLower().constData());
    QVERIFY(object);
    std::unique_ptr<QWidget> window(object->ShowChartForm());
    QVERIFY(window);
    release(object);
    QVERIFY(gChartForms.Contains(ChartFormKey(gChartFormIndex))); // dropping it ends nothing
}

// One window as the host program has it: shown, drawn, its pivot views
// loaded without a complaint, closed, gone.
void tst_statCharts::oneWindow(int cycle, qsizetype topLevels)
{
    QPointer<QWidget> window = m_charts->ShowChartForm();
    QVERIFY(window);
    window->setAttribute(Qt::WA_DeleteOnClose);
    window->show();
    QVERIFY(QTest::qWaitForWindowExposed(window));
    window->repaint(); // the built-in chart's page is in front
    const auto *chart = window->findChild<frmChart *>();
    QVERIFY(chart && chart->chart().NumSeries() > 0);
    QVERIFY2(QTest::qWaitFor([&window] { return pivotViewsLoaded(window); }, 30000),
             qPrintable(u"cycle %1: the pivot views did not load"_s.arg(cycle)));
    const auto *table = window->findChild<PivotTable *>();
    QVERIFY(table);
    QVERIFY2(table->ActiveView(), qPrintable(table->loadError()));
    QCOMPARE(window->findChild<PivotChartSpace *>()->loadError(), QString());
    QCOMPARE(window->findChild<WebBrowser *>()->statusText(), QString());
    window->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(window.isNull());
    QCOMPARE(QApplication::topLevelWidgets().size(), topLevels);
}

void tst_statCharts::openDrawLoadClose()
{
    QVERIFY(m_dir.isValid());
    // The window writes its pivot page into the user's cache folder.
    qputenv("XDG_CACHE_HOME", QFile::encodeName(m_dir.filePath(u"cache"_s)));
    const QString database = m_dir.filePath(u"news.db"_s);
    qrt::db::DemoDatabase::Options options;
    options.items = 2000; // a cycle's loads stay short
    options.days = 120;
    QString error;
    QVERIFY2(qrt::db::DemoDatabase::create(database, options, &error), qPrintable(error));
    m_charts = std::make_unique<statCharts>();
    m_charts->ConnectionString(database);
    const qsizetype topLevels = QApplication::topLevelWidgets().size();
    qint64 settledKb = -1;
    for (int cycle = 1; cycle <= kCycles; ++cycle) {
        oneWindow(cycle, topLevels);
        if (QTest::currentTestFailed())
            return;
        if (cycle == kSettledCycle)
            settledKb = residentKb();
    }
    const qint64 finalKb = residentKb();
    qInfo("VmRSS after cycle %d: %lld kB, after cycle %d: %lld kB", kSettledCycle,
          static_cast<long long>(settledKb), kCycles, static_cast<long long>(finalKb));
    if (!kResidentSizeMeans)
        return;
    QVERIFY(settledKb > 0 && finalKb > 0);
    QVERIFY2(finalKb <= settledKb * (1 + kAllowedGrowth),
             qPrintable(u"grew from %1 kB to %2 kB"_s.arg(settledKb).arg(finalKb)));
}

QTEST_MAIN(tst_statCharts)
#include "tst_statcharts.moc"
