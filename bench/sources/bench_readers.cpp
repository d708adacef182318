// Opening the window on a Newsboat cache of 100,000 items, as a user does:
// how long until the built-in chart is drawn, and until both pivot views
// have their rows. The peer is the same items in a database of our own
// schema, opened in the same run: the mapping's common table expressions,
// the time zone's offsets and the urls file are what the reader adds.
//
// The cache is made from the demo database: one feed a channel, its site
// on the provider's host, its tag the channel's category in the urls file
// beside it, every item at its time as Unix seconds.

#include "BenchData.h"
#include "BenchWindow.h"
#include "demodata/DemoDatabase.h"

#include <qrt/statCharts.h>

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QPointer>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QWidget>

#include <benchmark/benchmark.h>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kItems = 100000;

// Newsboat's own tables and indexes, as its cache of schema 2.11 has them.
const QStringList kNewsboatTables = {
    u"CREATE TABLE rss_feed (rssurl VARCHAR(1024) PRIMARY KEY NOT NULL, url VARCHAR(1024) NOT "
    "NULL, title VARCHAR(1024) NOT NULL, lastmodified INTEGER(11) NOT NULL DEFAULT 0, is_rtl "
    "INTEGER(1) NOT NULL DEFAULT 0, etag VARCHAR(128) NOT NULL DEFAULT '')"_s,
    u"CREATE TABLE rss_item (id INTEGER PRIMARY KEY AUTOINCREMENT NOT NULL, guid VARCHAR(64) NOT "
    "NULL, title VARCHAR(1024) NOT NULL, author VARCHAR(1024) NOT NULL, url VARCHAR(1024) NOT "
    "NULL, feedurl VARCHAR(1024) NOT NULL, pubDate INTEGER NOT NULL, content VARCHAR(65535) NOT "
    "NULL, unread INTEGER(1) NOT NULL, enclosure_url VARCHAR(1024), enclosure_type "
    "VARCHAR(1024), enqueued INTEGER(1) NOT NULL DEFAULT 0, flags VARCHAR(52), deleted "
    "INTEGER(1) NOT NULL DEFAULT 0, base VARCHAR(128) NOT NULL DEFAULT '')"_s,
    u"CREATE TABLE metadata (db_schema_version_major INTEGER NOT NULL, db_schema_version_minor "
    "INTEGER NOT NULL)"_s,
    u"INSERT INTO metadata VALUES (2, 11)"_s,
    u"CREATE INDEX idx_rssurl ON rss_feed(rssurl)"_s,
    u"CREATE INDEX idx_guid ON rss_item(guid)"_s,
    u"CREATE INDEX idx_feedurl ON rss_item(feedurl)"_s,
    u"CREATE INDEX idx_deleted ON rss_item(deleted)"_s,
};

bool newsboatFrom(const QString &demo, const QString &cache)
{
    QSqlDatabase db = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"newsboat"_s);
    db.setDatabaseName(cache);
    bool ok = db.open();
    QSqlQuery query(db);
    for (const QString &sql : kNewsboatTables)
        ok = ok && query.exec(sql);
    ok = ok && query.exec(u"ATTACH DATABASE '%1' AS demo"_s.arg(demo)) &&
         query.exec(u"INSERT INTO rss_feed (rssurl, url, title) SELECT "
                    "'https://feeds.example.org/' || c.ID, 'https://' || "
                    "replace(lower(p.Provider), ' ', '-') || '.example.org/', c.Channel FROM "
                    "demo.Channels c JOIN demo.Providers p ON p.ID = c.Provider"_s) &&
         query.exec(u"INSERT INTO rss_item (guid, title, author, url, feedurl, pubDate, content, "
                    "unread) SELECT 'g' || ID, Title, '', '', 'https://feeds.example.org/' || "
                    "Channel, CAST(strftime('%s', pubDate) AS INTEGER), 'Text of the item', 1 "
                    "FROM demo.News ORDER BY ID"_s);
    QFile urls(QFileInfo(cache).dir().filePath(u"urls"_s));
    ok = ok &&
         query.exec(u"SELECT c.ID, k.Name FROM demo.Channels c JOIN demo.Categories k ON "
                    "k.ID = c.Category"_s) &&
         urls.open(QIODevice::WriteOnly);
    while (ok && query.next())
        urls.write("https://feeds.example.org/" + query.value(0).toByteArray() + " \"" +
                   query.value(1).toByteArray() + "\"\n");
    query = QSqlQuery();
    db.close();
    db = QSqlDatabase();
    QSqlDatabase::removeDatabase(u"newsboat"_s);
    return ok;
}

// The demo database and the cache made of it, made once.
QString database(bool newsboat)
{
    const QString demo = qrt::bench::dataFolder() + u"/readers-demo-100k.db"_s;
    const QString cacheDir = qrt::bench::dataFolder() + u"/readers-newsboat-100k"_s;
    const QString cache = cacheDir + u"/cache.db"_s;
    if (!QFileInfo::exists(demo)) {
        std::fprintf(stderr, "creating %s\n", qPrintable(demo));
        qrt::db::DemoDatabase::Options options;
        options.items = kItems;
        options.until = QDate(2025, 12, 31);
        QString error;
        if (!qrt::db::DemoDatabase::create(demo, options, &error))
            return {};
    }
    if (newsboat && !QFileInfo::exists(cache)) {
        std::fprintf(stderr, "creating %s\n", qPrintable(cache));
        QDir().mkpath(cacheDir);
        if (!newsboatFrom(demo, cache)) {
            QDir(cacheDir).removeRecursively();
            return {};
        }
    }
    return newsboat ? cache : demo;
}

void OpenWindow(benchmark::State &state)
{
    const QString path = database(state.range(0) != 0);
    if (path.isEmpty())
        return state.SkipWithError("cannot make the database");
    for (auto _ : state) {
        statCharts charts;
        charts.ConnectionString(path);
        QElapsedTimer clock;
        clock.start();
        QPointer<QWidget> window = charts.ShowChartForm();
        window->show(); // the load runs here: the built-in chart is drawn at its end
        const double drawnMs = clock.nsecsElapsed() / 1e6;
        qrt::bench::waitForPivotViews(window);
        const double pivotsMs = clock.nsecsElapsed() / 1e6;
        state.counters["drawn_ms"] = drawnMs;
        state.counters["pivots_ms"] = pivotsMs;
        state.SetIterationTime(pivotsMs / 1000);
        window->close();
        delete window.data();
        QApplication::processEvents();
    }
}

} // namespace

// reader 0: our own schema (the peer); 1: the Newsboat cache of the same items.
BENCHMARK(OpenWindow)
    ->ArgNames({"newsboat"})
    ->Arg(0)
    ->Arg(1)
    ->Iterations(3)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

int main(int argc, char **argv)
{
    // Both databases count the same days only on the calendar they were made on.
    qputenv("TZ", "UTC");
    return qrt::bench::runWindowBenchmarks(argc, argv, u"bench-readers-config"_s);
}
