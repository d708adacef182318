// The window while its database goes away in the middle of a read: a SQLite
// file renamed over or deleted while a redraw steps through it, and a
// PostgreSQL server stopped while a redraw or a pivot load waits for its
// rows. The window goes on working, shows the empty chart or the pivot
// view's reason, and draws the stored counts again once the database is
// back. The server is one of the test's own, so that stopping it leaves the
// shared scratch server alone.

#include "PrivatePostgres.h"
#include "TestDatabases.h"
#include "component/modUtils.h"
#include "controls/tools/ButtonTool.h"
#include "controls/tools/DockStudio.h"
#include "demodata/DemoDatabase.h"
#include "newschart/ChartControl.h"
#include "newschart/frmChart.h"
#include "pivot/PivotData.h"
#include "pivot/PivotView.h"
#include "pivotviews/PivotChartSpace.h"
#include "workspace/frmCharts.h"

#include <qrt/statCharts.h>

#include <QAction>
#include <QDeadlineTimer>
#include <QLabel>
#include <QPointer>
#include <QSqlQuery>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <sqlite3.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

using namespace Qt::StringLiterals;
using qrt::test::PrivatePostgres;

namespace {

const QString kEmptyLook = u"0 series, 0 news, empty"_s;

// What the chart shows: its series, the news its cells add up to, and
// whether it has the look of a chart without news.
QString drawing(frmCharts *w)
{
    const ChartControl &c = w->fChart->chart();
    qint64 news = 0;
    for (int series = 1; series <= c.NumSeries(); ++series) {
        for (int point = 1; point <= c.NumPoints(series); ++point) {
            double cell = 0;
            if (c.Y(series, point, cell) && !c.IsHole(cell))
                news += qint64(cell);
        }
    }
    const bool empty = c.BackColor() == DesignBackColor && c.LabelCount() == 0;
    return u"%1 series, %2 news%3"_s.arg(c.NumSeries())
        .arg(news)
        .arg(empty ? u", empty"_s : QString());
}

// The same counts read straight from the tables: the providers with news and
// the news items, all of which lie in the window's period.
QString stored(const QString &connection)
{
    return qrt::test::firstColumn(
               connection,
               u"SELECT count(DISTINCT Providers.ID) || ' series, ' || count(*) || ' news' FROM "
               "News JOIN Channels ON Channels.ID = News.Channel JOIN Providers ON Providers.ID "
               "= Channels.Provider JOIN Categories ON Categories.ID = Channels.Category"_s)
        .value(0, u"unreadable"_s);
}

bool makeNews(const QString &target, qint64 items, quint64 seed)
{
    QString error;
    if (!qrt::db::DemoDatabase::create(target,
                                       {.items = items,
                                        .seed = seed,
                                        .until = QDate::currentDate().addDays(-2),
                                        .days = 20,
                                        .replace = true},
                                       &error))
        qWarning() << error;
    return error.isEmpty();
}

// Sessions that wait for a lock, seen from a connection of the calling thread.
int lockWaiters(const QString &url)
{
    return qrt::test::firstColumn(
               url, u"SELECT count(*) FROM pg_stat_activity WHERE wait_event_type = 'Lock'"_s)
        .value(0)
        .toInt();
}

// A session that holds the news table until it goes, so that a reader of it
// waits in the middle of its statement.
class NewsLock
{
public:
    explicit NewsLock(const QString &url)
    {
        m_db.Open(url, qrt::db::Connection::Access::ReadWrite);
        m_held = m_db.database().transaction() &&
                 QSqlQuery(m_db.database()).exec(u"LOCK TABLE News IN ACCESS EXCLUSIVE MODE"_s);
    }
    bool isHeld() const { return m_held; }

private:
    qrt::db::Connection m_db;
    bool m_held = false;
};

// Runs once, while a drawing reads News between its rows (on the window's
// thread, or the window's count of News on its own): the test's way into the
// middle of a redraw. The pivot views' loads read on threads of their own.
std::function<void()> s_midRead;
std::mutex s_midReadLock;

int whileReading(void *handle)
{
    auto *db = static_cast<sqlite3 *>(handle);
    const bool window = QThread::currentThread() == qApp->thread();
    for (sqlite3_stmt *stmt = sqlite3_next_stmt(db, nullptr); stmt;
         stmt = sqlite3_next_stmt(db, stmt)) {
        const QByteArray sql(sqlite3_sql(stmt));
        if (sqlite3_stmt_busy(stmt) && sql.contains("News") &&
            (window || sql.startsWith("SELECT Channel, pubDate"))) {
            std::function<void()> act;
            {
                const std::lock_guard lock(s_midReadLock);
                act = std::exchange(s_midRead, {});
            }
            if (act)
                act();
            break;
        }
    }
    return 0;
}

int watchReads(sqlite3 *db, char **, const sqlite3_api_routines *)
{
    sqlite3_progress_handler(db, 100, whileReading, db);
    return SQLITE_OK;
}

} // namespace

class tst_DbFaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void sqliteFileGoesMidRead_data();
    void sqliteFileGoesMidRead();
    void serverStopsDuringRedraw();
    void serverStopsDuringPivotLoad();

private:
    frmCharts *open(const QString &connection);
    void redraw(frmCharts *w);
    QString newsUrl() const { return m_server->url(u"news"_s); }

    QTemporaryDir m_dir;
    std::unique_ptr<statCharts> m_charts;
    std::unique_ptr<PrivatePostgres> m_server; // null without PostgreSQL
    QList<QPointer<frmCharts>> m_windows;
};

void tst_DbFaults::initTestCase()
{
    QVERIFY(m_dir.isValid());
    qputenv("XDG_CACHE_HOME", QFile::encodeName(m_dir.filePath(u"cache"_s)));
    sqlite3_auto_extension(reinterpret_cast<void (*)()>(&watchReads));
    m_charts = std::make_unique<statCharts>();
    if (PrivatePostgres::binDir().isEmpty())
        return;
    m_server = std::make_unique<PrivatePostgres>();
    QString why;
    QVERIFY2(m_server->create(&why), qPrintable(why));
    QVERIFY(qrt::test::execAll(m_server->url(), {u"CREATE DATABASE news"_s}));
    QVERIFY(makeNews(newsUrl(), 3000, 5));
}

void tst_DbFaults::cleanup()
{
    {
        const std::lock_guard lock(s_midReadLock);
        s_midRead = {};
    }
    for (const auto &w : std::as_const(m_windows))
        delete w.data();
    m_windows.clear();
}

// A shown window whose pivot views have their first loads behind them.
frmCharts *tst_DbFaults::open(const QString &connection)
{
    m_charts->ConnectionString(connection);
    auto *w = qobject_cast<frmCharts *>(m_charts->ShowChartForm());
    if (!w)
        return nullptr;
    m_windows << w;
    w->resize(1184, 676);
    w->show();
    QObject *page = w->findChild<QObject *>(u"WebBrowser1"_s);
    const bool settled = QTest::qWaitFor(
        [&] {
            return w->ChartSpace && !w->ChartSpace->isLoading() && page &&
                   !page->property("busy").toBool();
        },
        120000);
    return settled && QTest::qWaitForWindowExposed(w) ? w : nullptr;
}

void tst_DbFaults::redraw(frmCharts *w)
{
    QTest::mouseClick(w->dsChart->Commands().GetToolButton(u"tbRedraw"_s)->widget(),
                      Qt::LeftButton);
}

void tst_DbFaults::sqliteFileGoesMidRead_data()
{
    QTest::addColumn<bool>("deleted"); // else another database is renamed over it
    QTest::newRow("renamed over") << false;
    QTest::newRow("deleted") << true;
}

// A read that is under way when the file goes reads the old file to its
// end, as an open file stays; the next redraw reads what is there now, or
// nothing, and the one after the file is back draws again.
void tst_DbFaults::sqliteFileGoesMidRead()
{
    QFETCH(bool, deleted);
    const QString path = m_dir.filePath(u"news.db"_s);
    const QString other = m_dir.filePath(u"other.db"_s);
    QVERIFY(makeNews(path, 3000, 1));
    QVERIFY(makeNews(other, 1000, 2));
    const QString before = stored(path);
    const QString after = deleted ? kEmptyLook : stored(other);
    QVERIFY(before != after);

    frmCharts *w = open(path);
    QVERIFY(w);
    QCOMPARE(drawing(w), before);
    // A redraw reads News again only after a change; this one leaves the chart.
    QVERIFY(qrt::test::execAll(path, {u"UPDATE News SET Title = 'changed' WHERE ID = 1"_s}));
    std::atomic<bool> replaced = false;
    {
        const std::lock_guard lock(s_midReadLock);
        s_midRead = [&] {
            replaced = deleted ? QFile::remove(path)
                               : ::rename(QFile::encodeName(other).constData(),
                                          QFile::encodeName(path).constData()) == 0;
        };
    }
    redraw(w);
    QTRY_VERIFY(replaced); // the count of News reads on, in the window's background
    QCOMPARE(drawing(w), before);
    redraw(w);
    QCOMPARE(drawing(w), after);
    QVERIFY(makeNews(path, 3000, 1));
    redraw(w);
    QCOMPARE(drawing(w), before);
}

// The redraw runs on the window's thread, so the server is stopped from
// another once the redraw's statement waits for the news table.
void tst_DbFaults::serverStopsDuringRedraw()
{
    if (!m_server)
        QRT_SKIP_WITHOUT_POSTGRES(u"PostgreSQL is not installed"_s);
    const QString counts = stored(newsUrl());
    frmCharts *w = open(newsUrl());
    QVERIFY(w);
    QCOMPARE(drawing(w), counts);
    bool stopped = false;
    {
        const NewsLock lock(newsUrl());
        QVERIFY(lock.isHeld());
        std::unique_ptr<QThread> stopper(QThread::create([&] {
            // The redraw ends by itself at the latest when the statement
            // times out; the server is stopped then all the same.
            const QDeadlineTimer bound(120000);
            while (lockWaiters(newsUrl()) == 0 && !bound.hasExpired())
                QThread::msleep(20);
            stopped = m_server->stop();
        }));
        stopper->start();
        redraw(w);
        stopper->wait();
    }
    QVERIFY(stopped);
    QCOMPARE(drawing(w), kEmptyLook);
    QVERIFY(m_server->start());
    redraw(w);
    QCOMPARE(drawing(w), counts);
}

// The window opens on a stopped server, its pivot chart loads again once
// the server is up and waits for the news table, the server stops in the
// middle, and the load after it is up again has every row.
void tst_DbFaults::serverStopsDuringPivotLoad()
{
    if (!m_server)
        QRT_SKIP_WITHOUT_POSTGRES(u"PostgreSQL is not installed"_s);
    const QString counts = stored(newsUrl());
    QVERIFY(m_server->stop());
    frmCharts *w = open(newsUrl());
    QVERIFY(w);
    QCOMPARE(drawing(w), kEmptyLook);
    PivotChartSpace *space = w->ChartSpace;
    QVERIFY(space);
    w->tabCharts->setCurrentIndex(1);
    const QString refused = space->loadError();
    QVERIFY(refused.startsWith(u"cannot open the database"_s));
    auto *refresh = space->findChild<QAction *>(u"refreshAction"_s);
    QVERIFY(refresh);

    QVERIFY(m_server->start());
    {
        const NewsLock lock(newsUrl());
        QVERIFY(lock.isHeld());
        refresh->trigger();
        QTRY_VERIFY_WITH_TIMEOUT(lockWaiters(newsUrl()) > 0, 120000);
        QVERIFY(space->isLoading());
        QVERIFY(m_server->stop());
    }
    QTRY_VERIFY_WITH_TIMEOUT(!space->isLoading(), 120000);
    const QString reason = space->loadError();
    QVERIFY2(!reason.isEmpty() && reason != refused, qPrintable(reason));
    const auto *message = space->findChild<QLabel *>(u"messageLabel"_s);
    QVERIFY(message->isVisible() && message->text().contains(reason));
    QVERIFY(!space->InternalPivotTable().ActiveView());

    QVERIFY(m_server->start());
    refresh->trigger();
    QTRY_VERIFY_WITH_TIMEOUT(!space->isLoading(), 120000);
    QVERIFY(space->InternalPivotTable().ActiveView());
    QCOMPARE(u"%1 news"_s.arg(space->InternalPivotTable().ActiveView()->data()->itemCount()),
             counts.section(u", "_s, 1));
}

QTEST_MAIN(tst_DbFaults)
#include "tst_dbfaults.moc"
