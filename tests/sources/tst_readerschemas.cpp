// The other readers' databases, their tables made from each reader's
// current schema (SQLite files, and databases on the scratch PostgreSQL
// server) and filled with random feeds and items of two users, deleted,
// undated and the other user's items among them. The chart table, the
// pivot grid and the undated notice must equal independent SQL counts over
// the reader's own tables; a schema without a column it needs is refused
// with its name, and statements from outside run on the mapped tables.

#include "ReaderRuns.h"
#include "TestDatabases.h"

#include <QDir>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QSqlError>
#include <QSqlQuery>
#include <QTest>
#include <QTimeZone>

#include <functional>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace qrt::test;

namespace {

const QByteArray kZone = "Asia/Kathmandu";

struct Feed
{
    int id;
    QString title;
    QString site;
    QString url;
    int category; // 0: none
    int user;
};

struct Item
{
    qint64 id;
    int feed;
    qint64 seconds; // 0: no date
    bool deleted;
};

// Alice (user 1) has feeds 1 to 4 in categories 1 to 3, feed 4 in none
// where the reader allows it; Bob (user 2) has feeds 5 and 6. Two sites
// share a host, one feed has no site and is known by its feed's host.
struct World
{
    QStringList categories = {u"World"_s, u"Tech"_s, u"Sport"_s, u"Bob's Own"_s};
    QList<Feed> feeds = {
        {1, u"Alpha Daily"_s, u"https://www.alpha.example/"_s, u"https://www.alpha.example/rss"_s,
         1, 1},
        {2, u"Beta 'Quoted' News"_s, u"https://beta.example/news"_s,
         u"https://beta.example/a.xml"_s, 2, 1},
        {3, u"Beta Science"_s, u"https://beta.example/science"_s, u"https://beta.example/b.xml"_s,
         2, 1},
        {4, u"Gamma"_s, QString(), u"https://gamma.example/feed"_s, 0, 1},
        {5, u"Bob One"_s, u"https://bob.example/"_s, u"https://bob.example/1"_s, 4, 2},
        {6, u"Bob Two"_s, u"https://bob.example/"_s, u"https://bob.example/2"_s, 4, 2},
    };
    QList<Item> items;

    World(quint32 seed, bool undated, bool uncategorized)
    {
        if (!uncategorized)
            feeds[3].category = 3;
        QRandomGenerator random(seed);
        const qint64 start =
            QDateTime(QDate(2026, 3, 1), QTime(0, 0), QTimeZone::utc()).toSecsSinceEpoch();
        for (int i = 1; i <= 600; ++i) {
            Item item{i, int(random.bounded(6)) + 1, start + random.bounded(20 * 86400), false};
            if (undated && random.bounded(100) < 6)
                item.seconds = 0;
            item.deleted = random.bounded(100) < 7;
            items << item;
        }
    }
};

using Filler = std::function<QStringList(const World &)>;

QString text(const QString &value)
{
    return value.isNull() ? u"NULL"_s : u"'"_s + QString(value).replace(u'\'', u"''"_s) + u"'"_s;
}

QString category(int id)
{
    return id == 0 ? u"NULL"_s : QString::number(id);
}

// FreshRSS's tables as far as they are read, without and with a user
// prefix (PostgreSQL).
QStringList freshRssSchema(const QString &prefix, bool postgres)
{
    const QString id = postgres ? u"SERIAL PRIMARY KEY"_s : u"INTEGER PRIMARY KEY AUTOINCREMENT"_s;
    const QString t = u"\"%1"_s.arg(prefix);
    return {
        u"CREATE TABLE %1category\" (id %2, name VARCHAR(191) NOT NULL UNIQUE)"_s.arg(t, id),
        u"CREATE TABLE %1feed\" (id %2, url VARCHAR(32768) NOT NULL, category INTEGER DEFAULT 0, "
        "name VARCHAR(191) NOT NULL, website VARCHAR(32768))"_s.arg(t, id),
        u"CREATE TABLE %1entry\" (id BIGINT NOT NULL PRIMARY KEY, title VARCHAR(8192) NOT NULL, "
        "date BIGINT, id_feed INTEGER)"_s.arg(t),
    };
}

// FreshRSS keeps no deleted items: the deleted ones are simply not there.
QStringList freshRssRows(const World &world, const QString &prefix, int user)
{
    const QString t = u"\"%1"_s.arg(prefix);
    QStringList sql;
    for (int c = 1; c <= world.categories.size(); ++c)
        sql << u"INSERT INTO %1category\" (id, name) VALUES (%2, %3)"_s.arg(t).arg(c).arg(
            text(world.categories[c - 1]));
    for (const Feed &feed : world.feeds)
        if (feed.user == user)
            sql << u"INSERT INTO %1feed\" (id, url, category, name, website) VALUES (%2, %3, %4, "
                   "%5, %6)"_s.arg(t, QString::number(feed.id), text(feed.url),
                                   category(feed.category), text(feed.title), text(feed.site));
    for (const Item &item : world.items)
        if (!item.deleted && world.feeds[item.feed - 1].user == user)
            sql << u"INSERT INTO %1entry\" (id, title, date, id_feed) VALUES (%2, 'item %2', "
                   "%3, %4)"_s.arg(t)
                       .arg(1700000000000000 + item.id)
                       .arg(item.seconds ? QString::number(item.seconds) : u"NULL"_s)
                       .arg(item.feed);
    return sql;
}

// FreshRSS's own counts over one user's tables.
QStringList freshRssCounts(const QString &prefix)
{
    const QString from = u"FROM %1entry e JOIN %1feed f ON f.id = e.id_feed"_s.arg(prefix);
    return {
        u"SELECT f.name, %day(e.date), count(*) %1 WHERE e.date > 0 GROUP BY 1, 2"_s.arg(from),
        u"SELECT coalesce(c.name, 'Uncategorized'), f.name, count(*) %1 LEFT JOIN %2category c ON "
        "c.id = f.category WHERE e.date > 0 GROUP BY 1, 2"_s.arg(from, prefix),
        u"SELECT count(*) FROM %1entry WHERE date IS NULL"_s.arg(prefix),
    };
}

QStringList minifluxSchema()
{
    return {
        u"CREATE TABLE users (id SERIAL PRIMARY KEY, username text not null unique)"_s,
        u"CREATE TABLE categories (id SERIAL PRIMARY KEY, user_id int not null references "
        "users(id), title text not null)"_s,
        u"CREATE TABLE feeds (id BIGSERIAL PRIMARY KEY, user_id int not null references users(id), "
        "category_id int not null references categories(id), title text not null, feed_url text "
        "not null, site_url text not null)"_s,
        u"CREATE TYPE entry_status as enum('unread', 'read', 'removed')"_s,
        u"CREATE TABLE entries (id BIGSERIAL PRIMARY KEY, user_id int not null references "
        "users(id), feed_id bigint not null references feeds(id), published_at timestamp with "
        "time zone not null, title text not null, status entry_status default 'unread')"_s,
    };
}

QStringList minifluxRows(const World &world)
{
    QStringList sql = {u"INSERT INTO users (id, username) VALUES (1, 'alice'), (2, 'bob')"_s};
    for (int c = 1; c <= world.categories.size(); ++c)
        sql << u"INSERT INTO categories (id, user_id, title) VALUES (%1, %2, %3)"_s.arg(c)
                   .arg(c == 4 ? 2 : 1)
                   .arg(text(world.categories[c - 1]));
    for (const Feed &feed : world.feeds)
        sql << u"INSERT INTO feeds (id, user_id, category_id, title, feed_url, site_url) VALUES "
               "(%1, %2, %3, %4, %5, %6)"_s.arg(
                   QString::number(feed.id), QString::number(feed.user), category(feed.category),
                   text(feed.title), text(feed.url), text(feed.site.isNull() ? u""_s : feed.site));
    for (const Item &item : world.items)
        sql << u"INSERT INTO entries (id, user_id, feed_id, published_at, title, status) VALUES "
               "(%1, %2, %3, to_timestamp(%4), 'item', '%5')"_s.arg(item.id)
                   .arg(world.feeds[item.feed - 1].user)
                   .arg(item.feed)
                   .arg(item.seconds)
                   .arg(item.deleted ? u"removed"_s : u"read"_s);
    return sql;
}

QStringList ttrssSchema()
{
    return {
        u"CREATE TABLE ttrss_users (id serial not null primary key, login varchar(120) not null "
        "unique)"_s,
        u"CREATE TABLE ttrss_feed_categories (id serial not null primary key, owner_uid integer "
        "not null references ttrss_users(id), title varchar(200) not null)"_s,
        u"CREATE TABLE ttrss_feeds (id serial not null primary key, owner_uid integer not null "
        "references ttrss_users(id), title varchar(200) not null, cat_id integer default null "
        "references ttrss_feed_categories(id), feed_url text not null, site_url varchar(250) not "
        "null default '')"_s,
        u"CREATE TABLE ttrss_entries (id serial not null primary key, title text not null, "
        "updated timestamp not null)"_s,
        u"CREATE TABLE ttrss_user_entries (int_id serial not null primary key, ref_id integer not "
        "null references ttrss_entries(id) ON DELETE CASCADE, feed_id int references "
        "ttrss_feeds(id) ON DELETE CASCADE, owner_uid integer not null references "
        "ttrss_users(id))"_s,
    };
}

// An article kept after its feed went (feed_id NULL) stands for the deleted.
QStringList ttrssRows(const World &world)
{
    QStringList sql = {u"INSERT INTO ttrss_users (id, login) VALUES (1, 'alice'), (2, 'bob')"_s};
    for (int c = 1; c <= world.categories.size(); ++c)
        sql << u"INSERT INTO ttrss_feed_categories (id, owner_uid, title) VALUES (%1, %2, %3)"_s
                   .arg(c)
                   .arg(c == 4 ? 2 : 1)
                   .arg(text(world.categories[c - 1]));
    for (const Feed &feed : world.feeds)
        sql << u"INSERT INTO ttrss_feeds (id, owner_uid, title, cat_id, feed_url, site_url) VALUES "
               "(%1, %2, %3, %4, %5, %6)"_s.arg(QString::number(feed.id),
                                                QString::number(feed.user), text(feed.title),
                                                category(feed.category), text(feed.url),
                                                text(feed.site.isNull() ? u""_s : feed.site));
    for (const Item &item : world.items)
        sql << u"INSERT INTO ttrss_entries (id, title, updated) VALUES (%1, 'item', "
               "to_timestamp(%2) AT TIME ZONE 'UTC')"_s.arg(item.id)
                   .arg(item.seconds)
            << u"INSERT INTO ttrss_user_entries (ref_id, feed_id, owner_uid) VALUES (%1, %2, %3)"_s
                   .arg(item.id)
                   .arg(item.deleted ? u"NULL"_s : QString::number(item.feed))
                   .arg(world.feeds[item.feed - 1].user);
    return sql;
}

QStringList lifereaSchema()
{
    return {
        u"CREATE TABLE items (item_id INTEGER PRIMARY KEY AUTOINCREMENT, node_id TEXT, title TEXT, "
        "date INTEGER, comment INTEGER)"_s,
        u"CREATE TABLE subscription (node_id STRING, source STRING, PRIMARY KEY (node_id))"_s,
        u"CREATE TABLE subscription_metadata (node_id STRING, nr INTEGER, key TEXT, value TEXT, "
        "PRIMARY KEY (node_id, nr))"_s,
        u"CREATE TABLE node (node_id STRING, parent_id STRING, title STRING, type INTEGER, PRIMARY "
        "KEY (node_id))"_s,
    };
}

// Folders are categories; Bob's feeds stand for a news bin (copies, left
// out), deleted items for comments.
QStringList lifereaRows(const World &world)
{
    QStringList sql;
    for (int c = 1; c <= world.categories.size(); ++c)
        sql << u"INSERT INTO node (node_id, parent_id, title, type) VALUES ('dir%1', 'root', %2, "
               "'folder')"_s.arg(c)
                   .arg(text(world.categories[c - 1]));
    for (const Feed &feed : world.feeds) {
        const bool bin = feed.user == 2;
        sql << u"INSERT INTO node (node_id, parent_id, title, type) VALUES ('feed%1', 'dir%2', %3, "
               "'%4')"_s.arg(feed.id)
                   .arg(feed.category)
                   .arg(text(feed.title), bin ? u"newsbin"_s : u"rss"_s)
            << u"INSERT INTO subscription (node_id, source) VALUES ('feed%1', %2)"_s.arg(feed.id)
                   .arg(bin ? u"NULL"_s : text(feed.url));
        if (!feed.site.isNull())
            sql << u"INSERT INTO subscription_metadata VALUES ('feed%1', 0, 'homepage', %2)"_s
                       .arg(feed.id)
                       .arg(text(feed.site));
    }
    for (const Item &item : world.items)
        sql << u"INSERT INTO items (item_id, node_id, title, date, comment) VALUES (%1, 'feed%2', "
               "'item', %3, %4)"_s.arg(item.id)
                   .arg(item.feed)
                   .arg(item.seconds)
                   .arg(item.deleted ? 1 : 0);
    return sql;
}

} // namespace

class tst_ReaderSchemas : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_dir.isValid()); }
    void countsEqualTheReadersOwn_data();
    void countsEqualTheReadersOwn();
    void refusals_data();
    void refusals();
    void statementsFromOutside();
    void walFileInReadOnlyFolder();

private:
    QTemporaryDir m_dir;
};

void tst_ReaderSchemas::countsEqualTheReadersOwn_data()
{
    QTest::addColumn<QString>("engine");
    QTest::addColumn<QStringList>("schema");
    QTest::addColumn<QStringList>("rows");
    QTest::addColumn<QString>("options");
    // The reader's own counts: channel, local day, items; category, channel,
    // items; items without a date. "%day(x)" is the local day of x.
    QTest::addColumn<QStringList>("counts");

    const World dated(31, false, false);
    const World undated(32, true, true);
    const QString prefixA = u"freshrss_alice_"_s;
    const QString prefixB = u"freshrss_bob_"_s;
    const QString alice = u"?user=alice&timezone="_s + QString::fromLatin1(kZone);
    QTest::newRow("FreshRSS, SQLite")
        << u"sqlite"_s << freshRssSchema({}, false) << freshRssRows(undated, {}, 1) << QString()
        << freshRssCounts({});
    QTest::newRow("FreshRSS, PostgreSQL, two users")
        << u"postgres"_s << freshRssSchema(prefixA, true) + freshRssSchema(prefixB, true)
        << freshRssRows(undated, prefixA, 1) + freshRssRows(undated, prefixB, 2) << alice
        << freshRssCounts(prefixA);
    QTest::newRow("Miniflux")
        << u"postgres"_s << minifluxSchema() << minifluxRows(dated) << alice
        << QStringList{
               u"SELECT f.title, %tday(e.published_at), count(*) FROM entries e JOIN feeds f ON "
               "f.id = e.feed_id WHERE e.user_id = 1 AND e.status <> 'removed' GROUP BY 1, 2"_s,
               u"SELECT c.title, f.title, count(*) FROM entries e JOIN feeds f ON f.id = e.feed_id "
               "JOIN categories c ON c.id = f.category_id WHERE e.user_id = 1 AND e.status <> "
               "'removed' GROUP BY 1, 2"_s,
               u"SELECT 0"_s};
    QTest::newRow("Tiny Tiny RSS")
        << u"postgres"_s << ttrssSchema() << ttrssRows(undated)
        << u"?reader=ttrss&"_s + alice.mid(1)
        << QStringList{
               u"SELECT f.title, %tday(e.updated AT TIME ZONE 'UTC'), count(*) FROM "
               "ttrss_user_entries u JOIN ttrss_entries e ON e.id = u.ref_id JOIN ttrss_feeds f ON "
               "f.id = u.feed_id WHERE u.owner_uid = 1 GROUP BY 1, 2"_s,
               u"SELECT coalesce(c.title, 'Uncategorized'), f.title, count(*) FROM "
               "ttrss_user_entries u JOIN ttrss_feeds f ON f.id = u.feed_id LEFT JOIN "
               "ttrss_feed_categories c ON c.id = f.cat_id WHERE u.owner_uid = 1 GROUP BY 1, 2"_s,
               u"SELECT 0"_s};
    // The parent node joined to all three: a node has one at most.
    const QString rss =
        u"FROM items i JOIN node n ON n.node_id = i.node_id LEFT JOIN node p ON "
        "p.node_id = n.parent_id WHERE n.type = 'rss' AND i.comment = 0 AND i.date"_s;
    QTest::newRow("Liferea")
        << u"sqlite"_s << lifereaSchema() << lifereaRows(undated) << QString()
        << QStringList{u"SELECT n.title, %day(i.date), count(*) %1 > 0 GROUP BY 1, 2"_s.arg(rss),
                       u"SELECT coalesce(p.title, 'Uncategorized'), n.title, count(*) %1 > 0 "
                       "GROUP BY 1, 2"_s.arg(rss),
                       u"SELECT count(*) %1 = 0"_s.arg(rss)};
}

void tst_ReaderSchemas::countsEqualTheReadersOwn()
{
    QFETCH(QString, engine);
    QFETCH(QStringList, schema);
    QFETCH(QStringList, rows);
    QFETCH(QString, options);
    QFETCH(QStringList, counts);
    QString database;
    if (engine == u"postgres"_s) {
        QRT_REQUIRE_POSTGRES(
            database,
            QString::fromLatin1(QTest::currentDataTag()).remove(QRegularExpression(u"\\W"_s)));
        counts[0]
            .replace(u"%day("_s, u"to_char(to_timestamp("_s)
            .replace(u"%tday("_s, u"to_char(("_s)
            .replace(u"), count"_s, u") AT TIME ZONE '%1', 'YYYY-MM-DD'), count"_s.arg(
                                        QString::fromLatin1(kZone)));
    } else {
        database = m_dir.filePath(QString::number(qHash(QTest::currentDataTag())) + u".db"_s);
        counts[0]
            .replace(u"%day("_s, u"date("_s)
            .replace(u"), count"_s, u", 'unixepoch', 'localtime'), count"_s);
    }
    QVERIFY(execAll(database, schema + rows));

    DayCounts wantDays;
    CellCounts wantCells;
    qrt::db::Connection writer;
    QVERIFY(writer.Open(database, qrt::db::Connection::Access::ReadWrite));
    QSqlQuery query(writer.database());
    QVERIFY2(query.exec(counts[0]), qPrintable(query.lastError().text()));
    while (query.next())
        wantDays[query.value(0).toString()][query.value(1).toDate()] = query.value(2).toInt();
    QVERIFY2(query.exec(counts[1]), qPrintable(query.lastError().text()));
    while (query.next())
        wantCells[query.value(0).toString()][query.value(1).toString()] = query.value(2).toInt();
    QVERIFY(query.exec(counts[2]) && query.next());
    const int undated = query.value(0).toInt();
    writer.Close();
    QVERIFY(!wantDays.isEmpty());

    const QString connection = engine == u"postgres"_s ? database + options : database;
    QCOMPARE(chartCounts(connection, u"channels"_s), wantDays);
    QCOMPARE(pivotCounts(connection, u"Category"_s, u"Channel"_s), wantCells);
    const ProgramRun run = runStats({u"chart"_s, connection, u"--period"_s, u"all"_s});
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.err.contains(u" items without a date are left out"_s), undated > 0);
    QVERIFY2(undated == 0 || run.err.contains(u"%1 items without a date"_s.arg(undated)),
             qPrintable(run.err));
}

// What cannot be read is refused with a reason that names it.
void tst_ReaderSchemas::refusals_data()
{
    QTest::addColumn<QString>("options");
    QTest::addColumn<QString>("column");
    QTest::addColumn<QString>("reason");
    QTest::newRow("an older FreshRSS")
        << QString() << u"published"_s
        << u"FreshRSS: this looks like its database, but its table entry has no column date"_s;
    QTest::newRow("a reader of another engine")
        << u";Reader=Miniflux"_s << u"date"_s
        << u"Miniflux does not keep its news in this kind of database"_s;
    QTest::newRow("an unknown reader")
        << u";Reader=Feedly"_s << u"date"_s
        << u"unknown reader \"feedly\": Reader= takes newsboat, liferea, freshrss, miniflux, "
           "ttrss"_s;
    QTest::newRow("an unknown zone")
        << u";TimeZone=Mars/Olympus"_s << u"date"_s << u"unknown time zone \"Mars/Olympus\""_s;
}

void tst_ReaderSchemas::refusals()
{
    QFETCH(QString, options);
    QFETCH(QString, column);
    QFETCH(QString, reason);
    const QString database = m_dir.filePath(column + u"-freshrss.db"_s);
    QStringList schema = freshRssSchema({}, false);
    schema[2].replace(u"date BIGINT,"_s, column + u" BIGINT,"_s);
    QVERIFY(QFile::exists(database) || execAll(database, schema));
    const ProgramRun run =
        runStats({u"chart"_s, u"Provider=SQLite;Data Source="_s + database + options, u"--period"_s,
                  u"all"_s});
    QCOMPARE(run.exitCode, 1);
    QVERIFY2(run.err.contains(reason), qPrintable(run.err));
}

// Statements from outside (pivot --command) that bring their own WITH
// list and comments, or parentheses, run on the mapped tables all the same.
void tst_ReaderSchemas::statementsFromOutside()
{
    const QString database = m_dir.filePath(u"outside-freshrss.db"_s);
    QVERIFY(
        execAll(database, freshRssSchema({}, false) + freshRssRows(World(33, true, false), {}, 1)));
    qrt::db::Connection writer;
    QVERIFY(writer.Open(database, qrt::db::Connection::Access::ReadWrite));
    QSqlQuery query(writer.database());
    QVERIFY(query.exec(u"SELECT 3 * (SELECT count(*) FROM feed), (SELECT count(*) FROM entry WHERE "
                       "date > 0)"_s) &&
            query.next());
    QCOMPARE(firstColumn(database,
                         u"-- three times\n/* each */ WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL "
                         "SELECT i + 1 FROM n WHERE i < 3) SELECT count(*) FROM n, Channels"_s),
             QStringList{query.value(0).toString()});
    QCOMPARE(firstColumn(database, u"(SELECT count(*) FROM News);"_s),
             QStringList{query.value(1).toString()});
}

// Liferea's file in WAL mode, Liferea not running, in a folder the user may
// not write: the -shm file cannot be made, and the file is read as it is.
// Root passes over the folder's mode, so the run drops those capabilities.
void tst_ReaderSchemas::walFileInReadOnlyFolder()
{
    const QString folder = m_dir.filePath(u"read-only"_s);
    QVERIFY(QDir().mkpath(folder));
    const QString database = folder + u"/liferea.db"_s;
    QVERIFY(execAll(database, lifereaSchema() + lifereaRows(World(34, false, false)) +
                                  QStringList{u"PRAGMA journal_mode = WAL"_s}));
    const QString copy = m_dir.filePath(u"writable-liferea.db"_s);
    QVERIFY(QFile::copy(database, copy));
    QVERIFY(QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner | QFile::ReadOther |
                                              QFile::ExeOther));
    QStringList command{qEnvironmentVariable("ZORVANE_STATS"), u"chart"_s, database, u"--period"_s,
                        u"all"_s};
    if (geteuid() == 0)
        command =
            QStringList{u"setpriv"_s, u"--bounding-set=-dac_override,-dac_read_search,-fowner"_s,
                        u"--inh-caps=-all"_s} +
            command;
    const ProgramRun run = runProgram(command.first(), command.mid(1));
    QVERIFY(QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    QCOMPARE(run.exitCode, 0);
    QVERIFY(!QFile::exists(database + u"-shm"_s));
    const ProgramRun writable = runStats({u"chart"_s, copy, u"--period"_s, u"all"_s});
    QVERIFY(writable.out.count(u'\n') > 10);
    QCOMPARE(run.out, writable.out);
}

QTEST_GUILESS_MAIN(tst_ReaderSchemas)
#include "tst_readerschemas.moc"
