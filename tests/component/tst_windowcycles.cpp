// A thousand chart windows, one after the other, opened on a demo news
// database as the host program opens them: shown, the built-in chart drawn,
// both pivot views loaded, then closed and dropped by Qt::WA_DeleteOnClose.
// Nothing may stay behind: no window, no heap block (LeakSanitizer says so
// in the sanitizer pass) and no growth of the process once its caches have
// their size.

#include "demodata/DemoDatabase.h"
#include "newschart/ChartControl.h"
#include "newschart/frmChart.h"
#include "pivotviews/PivotChartSpace.h"
#include "pivotviews/PivotTable.h"
#include "pivotviews/WebBrowser.h"

#include <qrt/statCharts.h>

#include <QApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QPointer>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <functional>
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

// Runs the event loop until `done` holds, waking for each event rather than
// at fixed sleeps, so that a cycle takes only what its work takes.
bool runUntil(const std::function<bool()> &done)
{
    QTimer tick; // wakes the loop should the last change come without an event
    tick.start(20);
    QDeadlineTimer deadline(30000);
    while (!done()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

// The pivot table's page has run its script, and the pivot chart has its data.
bool pivotViewsLoaded(QWidget *window)
{
    const auto *page = window->findChild<WebBrowser *>(u"WebBrowser1"_s);
    const auto *chart = window->findChild<PivotChartSpace *>();
    return page && !page->isBusy() && chart && !chart->isLoading();
}

} // namespace

class tst_WindowCycles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void openDrawLoadClose();

private:
    void oneWindow(int cycle, qsizetype topLevels);

    QTemporaryDir m_dir;
    std::unique_ptr<statCharts> m_charts;
};

void tst_WindowCycles::initTestCase()
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
}

// One window as the host program has it: shown, drawn, its pivot views
// loaded without a complaint, closed, gone.
void tst_WindowCycles::oneWindow(int cycle, qsizetype topLevels)
{
    QPointer<QWidget> window = m_charts->ShowChartForm();
    QVERIFY(window);
    window->setAttribute(Qt::WA_DeleteOnClose);
    window->show();
    QVERIFY(QTest::qWaitForWindowExposed(window));
    window->repaint(); // the built-in chart's page is in front
    const auto *chart = window->findChild<frmChart *>();
    QVERIFY(chart && chart->chart().NumSeries() > 0);
    QVERIFY2(runUntil([&window] { return pivotViewsLoaded(window); }),
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

void tst_WindowCycles::openDrawLoadClose()
{
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

QTEST_MAIN(tst_WindowCycles)
#include "tst_windowcycles.moc"
