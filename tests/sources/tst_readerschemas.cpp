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

// FreshRSS's tables, without and with a user prefix (PostgreSQL).
QStringList freshRssSchema(const QString &prefix, bool postgres)
{
    const QString id = postgres ? u"SERIAL PRIMARY KEY"_s : u"INTEGER PRIMARY KEY AUTOINCREMENT"_s;
    const QString t = u"\"%1"_s.arg(prefix);
    return {
        u"CREATE TABLE %1category\" (id %2, name VARCHAR(191) NOT NULL UNIQUE, kind SMALLINT "
        "DEFAULT 0, \"lastUpdate\" BIGINT DEFAULT 0, error SMALLINT DEFAULT 0, attributes TEXT)"_s
            .arg(t, id),
        u"CREATE TABLE %1feed\" (id %2, url VARCHAR(32768) NOT NULL, kind SMALLINT DEFAULT 0, "
        "category INTEGER DEFAULT 0, name VARCHAR(191) NOT NULL, website VARCHAR(32768), "
        "description TEXT, \"lastUpdate\" BIGINT DEFAULT 0, priority SMALLINT NOT NULL DEFAULT 10, "
        "\"pathEntries\" VARCHAR(4096), \"httpAuth\" VARCHAR(1024), error SMALLINT DEFAULT 0, ttl "
        "INT NOT NULL DEFAULT 0, attributes TEXT, \"cache_nbEntries\" INT DEFAULT 0, "
        "\"cache_nbUnreads\" INT DEFAULT 0)"_s.arg(t, id),
        u"CREATE TABLE %1entry\" (id BIGINT NOT NULL PRIMARY KEY, guid VARCHAR(767) NOT NULL, "
        "title VARCHAR(8192) NOT NULL, author VARCHAR(1024), content TEXT, link VARCHAR(16383) NOT "
        "NULL, date BIGINT, \"lastSeen\" BIGINT DEFAULT 0, hash %2, is_read SMALLINT NOT NULL "
        "DEFAULT 0, is_favorite SMALLINT NOT NULL DEFAULT 0, id_feed INTEGER, tags VARCHAR(2048), "
        "attributes TEXT, UNIQUE (id_feed, guid))"_s.arg(t,
                                                         postgres ? u"BYTEA"_s : u"BINARY(16)"_s),
        u"CREATE INDEX \"%1entry_feed_read_index\" ON %2entry\" (id_feed, is_read)"_s.arg(prefix,
                                                                                          t),
        u"CREATE TABLE %1entrytmp\" (id BIGINT NOT NULL PRIMARY KEY, guid VARCHAR(767) NOT NULL, "
        "title VARCHAR(8192) NOT NULL, link VARCHAR(16383) NOT NULL, date BIGINT, id_feed "
        "INTEGER)"_s.arg(t),
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
            sql << u"INSERT INTO %1entry\" (id, guid, title, link, date, id_feed) VALUES (%2, "
                   "'g%2', 'item %2', 'https://x/%2', %3, %4)"_s.arg(t)
                       .arg(1700000000000000 + item.id)
                       .arg(item.seconds ? QString::number(item.seconds) : u"NULL"_s)
                       .arg(item.feed);
    return sql;
}

QStringList minifluxSchema()
{
    return {
        u"CREATE TABLE schema_version (version text not null)"_s,
        u"INSERT INTO schema_version VALUES ('132')"_s,
        u"CREATE TABLE users (id SERIAL, username text not null unique, password text, is_admin "
        "bool default 'f', language text default 'en_US', timezone text default 'UTC', primary key "
        "(id))"_s,
        u"CREATE TABLE categories (id SERIAL, user_id int not null references users(id), title "
        "text not null, hide_globally boolean not null default false, primary key (id), unique "
        "(user_id, title))"_s,
        u"CREATE TABLE feeds (id BIGSERIAL, user_id int not null references users(id), "
        "category_id int not null references categories(id), title text not null, feed_url text "
        "not null, site_url text not null, checked_at timestamp with time zone default now(), "
        "disabled boolean default 'f', hide_globally boolean not null default false, primary key "
        "(id), unique (user_id, feed_url))"_s,
        u"CREATE TYPE entry_status as enum('unread', 'read', 'removed')"_s,
        u"CREATE TABLE entries (id BIGSERIAL, user_id int not null references users(id), feed_id "
        "bigint not null references feeds(id), hash text not null, published_at timestamp with "
        "time zone not null, title text not null, url text not null, author text, content text, "
        "status entry_status default 'unread', starred bool default 'f', created_at timestamp "
        "with time zone not null default now(), changed_at timestamp with time zone not null "
        "default now(), primary key (id), unique (feed_id, hash))"_s,
        u"CREATE INDEX entries_user_status_published_idx ON entries (user_id, status, "
        "published_at)"_s,
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
        sql << u"INSERT INTO entries (id, user_id, feed_id, hash, published_at, title, url, "
               u"status) "
               "VALUES (%1, %2, %3, 'h%1', to_timestamp(%4), 'item', 'u', '%5')"_s.arg(item.id)
                   .arg(world.feeds[item.feed - 1].user)
                   .arg(item.feed)
                   .arg(item.seconds)
                   .arg(item.deleted ? u"removed"_s : u"read"_s);
    return sql;
}

QStringList ttrssSchema()
{
    return {
        u"CREATE TABLE ttrss_version (schema_version integer not null)"_s,
        u"INSERT INTO ttrss_version VALUES (151)"_s,
        u"CREATE TABLE ttrss_users (id serial not null primary key, login varchar(120) not null "
        "unique, pwd_hash varchar(250) not null default '', last_login timestamp default null, "
        "access_level integer not null default 0)"_s,
        u"CREATE TABLE ttrss_feed_categories (id serial not null primary key, owner_uid integer "
        "not null references ttrss_users(id), collapsed boolean not null default false, order_id "
        "integer not null default 0, view_settings varchar(250) not null default '', parent_cat "
        "integer references ttrss_feed_categories(id), title varchar(200) not null)"_s,
        u"CREATE TABLE ttrss_feeds (id serial not null primary key, owner_uid integer not null "
        "references ttrss_users(id), title varchar(200) not null, cat_id integer default null "
        "references ttrss_feed_categories(id), feed_url text not null, site_url varchar(250) not "
        "null default '', unique (feed_url, owner_uid))"_s,
        u"CREATE TABLE ttrss_entries (id serial not null primary key, title text not null, guid "
        "text not null unique, link text not null, updated timestamp not null, content text not "
        "null default '', content_hash varchar(250) not null default '', no_orig_date boolean not "
        "null default false, date_entered timestamp not null, date_updated timestamp not null, "
        "author varchar(250) not null default '')"_s,
        u"CREATE INDEX ttrss_entries_updated_idx ON ttrss_entries (updated)"_s,
        u"CREATE TABLE ttrss_user_entries (int_id serial not null primary key, ref_id integer not "
        "null references ttrss_entries(id) ON DELETE CASCADE, uuid varchar(200) not null default "
        "'', feed_id int references ttrss_feeds(id) ON DELETE CASCADE, orig_feed_id integer, "
        "owner_uid integer not null references ttrss_users(id), marked boolean not null default "
        "false, published boolean not null default false, tag_cache text not null default '', "
        "label_cache text not null default '', unread boolean not null default true)"_s,
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
        sql << u"INSERT INTO ttrss_entries (id, title, guid, link, updated, date_entered, "
               "date_updated) VALUES (%1, 'item', 'g%1', 'l', to_timestamp(%2) AT TIME ZONE 'UTC', "
               "now(), now())"_s.arg(item.id)
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
        u"CREATE TABLE info (name TEXT, value TEXT, PRIMARY KEY (name))"_s,
        u"INSERT INTO info VALUES ('schemaVersion', '11')"_s,
        u"CREATE TABLE items (item_id INTEGER PRIMARY KEY AUTOINCREMENT, parent_item_id INTEGER, "
        "node_id TEXT, parent_node_id TEXT, title TEXT, read INTEGER, updated INTEGER, popup "
        "INTEGER, marked INTEGER, source TEXT, source_id TEXT, valid_guid INTEGER, description "
        "TEXT, date INTEGER, comment_feed_id TEXT, comment INTEGER)"_s,
        u"CREATE INDEX items_idx3 ON items (node_id)"_s,
        u"CREATE TABLE metadata (item_id INTEGER, nr INTEGER, key TEXT, value TEXT, PRIMARY KEY "
        "(item_id, nr))"_s,
        u"CREATE TABLE subscription (node_id STRING, source STRING, orig_source STRING, "
        "filter_cmd STRING, update_interval INTEGER, default_interval INTEGER, discontinued "
        "INTEGER, available INTEGER, PRIMARY KEY (node_id))"_s,
        u"CREATE TABLE subscription_metadata (node_id STRING, nr INTEGER, key TEXT, value TEXT, "
        "PRIMARY KEY (node_id, nr))"_s,
        u"CREATE TABLE node (node_id STRING, parent_id STRING, title STRING, type INTEGER, "
        "expanded INTEGER, view_mode INTEGER, sort_column INTEGER, sort_reversed INTEGER, PRIMARY "
        "KEY (node_id))"_s,
        u"CREATE TABLE search_folder_items (node_id STRING, parent_node_id STRING, item_id "
        "INTEGER, PRIMARY KEY (node_id, item_id))"_s,
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
    void countsEqualTheReadersOwn_data();
    void countsEqualTheReadersOwn();
    void refusals_data();
    void refusals();
    void statementsFromOutside_data();
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
    QTest::addColumn<QString>("days");
    QTest::addColumn<QString>("cells");
    QTest::addColumn<QString>("undated");

    const World dated(31, false, false);
    const World undated(32, true, true);
    const QString prefixA = u"freshrss_alice_"_s;
    const QString prefixB = u"freshrss_bob_"_s;
    QTest::newRow("FreshRSS, SQLite")
        << u"sqlite"_s << freshRssSchema({}, false) << freshRssRows(undated, {}, 1) << QString()
        << u"SELECT f.name, %day(e.date), count(*) FROM entry e JOIN feed f ON f.id = e.id_feed "
           "WHERE e.date > 0 GROUP BY 1, 2"_s
        << u"SELECT coalesce(c.name, 'Uncategorized'), f.name, count(*) FROM entry e JOIN feed f "
           "ON f.id = e.id_feed LEFT JOIN category c ON c.id = f.category WHERE e.date > 0 GROUP "
           "BY 1, 2"_s
        << u"SELECT count(*) FROM entry WHERE date IS NULL"_s;
    QTest::newRow("FreshRSS, PostgreSQL, two users")
        << u"postgres"_s << freshRssSchema(prefixA, true) + freshRssSchema(prefixB, true)
        << freshRssRows(undated, prefixA, 1) + freshRssRows(undated, prefixB, 2)
        << u"?user=alice&timezone="_s + QString::fromLatin1(kZone)
        << u"SELECT f.name, %day(e.date), count(*) FROM freshrss_alice_entry e JOIN "
           "freshrss_alice_feed f ON f.id = e.id_feed WHERE e.date > 0 GROUP BY 1, 2"_s
        << u"SELECT coalesce(c.name, 'Uncategorized'), f.name, count(*) FROM freshrss_alice_entry "
           "e JOIN freshrss_alice_feed f ON f.id = e.id_feed LEFT JOIN freshrss_alice_category c "
           "ON c.id = f.category WHERE e.date > 0 GROUP BY 1, 2"_s
        << u"SELECT count(*) FROM freshrss_alice_entry WHERE date IS NULL"_s;
    QTest::newRow("Miniflux")
        << u"postgres"_s << minifluxSchema() << minifluxRows(dated)
        << u"?user=alice&timezone="_s + QString::fromLatin1(kZone)
        << u"SELECT f.title, %tday(e.published_at), count(*) FROM entries e JOIN feeds f ON f.id "
           "= e.feed_id WHERE e.user_id = 1 AND e.status <> 'removed' GROUP BY 1, 2"_s
        << u"SELECT c.title, f.title, count(*) FROM entries e JOIN feeds f ON f.id = e.feed_id "
           "JOIN categories c ON c.id = f.category_id WHERE e.user_id = 1 AND e.status <> "
           "'removed' GROUP BY 1, 2"_s
        << u"SELECT 0"_s;
    QTest::newRow("Tiny Tiny RSS")
        << u"postgres"_s << ttrssSchema() << ttrssRows(undated)
        << u"?reader=ttrss&user=alice&timezone="_s + QString::fromLatin1(kZone)
        << u"SELECT f.title, %tday(e.updated AT TIME ZONE 'UTC'), count(*) FROM ttrss_user_entries "
           "u JOIN ttrss_entries e ON e.id = u.ref_id JOIN ttrss_feeds f ON f.id = u.feed_id WHERE "
           "u.owner_uid = 1 GROUP BY 1, 2"_s
        << u"SELECT coalesce(c.title, 'Uncategorized'), f.title, count(*) FROM ttrss_user_entries "
           "u JOIN ttrss_feeds f ON f.id = u.feed_id LEFT JOIN ttrss_feed_categories c ON c.id = "
           "f.cat_id WHERE u.owner_uid = 1 GROUP BY 1, 2"_s
        << u"SELECT 0"_s;
    QTest::newRow("Liferea")
        << u"sqlite"_s << lifereaSchema() << lifereaRows(undated) << QString()
        << u"SELECT n.title, %day(i.date), count(*) FROM items i JOIN node n ON n.node_id = "
           "i.node_id WHERE n.type = 'rss' AND i.comment = 0 AND i.date > 0 GROUP BY 1, 2"_s
        << u"SELECT coalesce(p.title, 'Uncategorized'), n.title, count(*) FROM items i JOIN node "
           "n ON n.node_id = i.node_id LEFT JOIN node p ON p.node_id = n.parent_id WHERE n.type = "
           "'rss' AND i.comment = 0 AND "
           "i.date > 0 GROUP BY 1, 2"_s
        << u"SELECT count(*) FROM items i JOIN node n ON n.node_id = i.node_id WHERE n.type = "
           "'rss' AND i.comment = 0 AND i.date = 0"_s;
}

void tst_ReaderSchemas::countsEqualTheReadersOwn()
{
    QFETCH(QString, engine);
    QFETCH(QStringList, schema);
    QFETCH(QStringList, rows);
    QFETCH(QString, options);
    QFETCH(QString, days);
    QFETCH(QString, cells);
    QFETCH(QString, undated);
    QString database;
    if (engine == u"postgres"_s) {
        QRT_REQUIRE_POSTGRES(
            database,
            QString::fromLatin1(QTest::currentDataTag()).remove(QRegularExpression(u"\\W"_s)));
        days.replace(u"%day("_s, u"to_char(to_timestamp("_s)
            .replace(u"%tday("_s, u"to_char(("_s)
            .replace(u"), count"_s, u") AT TIME ZONE '%1', 'YYYY-MM-DD'), count"_s.arg(
                                        QString::fromLatin1(kZone)));
    } else {
        QVERIFY(m_dir.isValid());
        database = m_dir.filePath(QString::number(qHash(QTest::currentDataTag())) + u".db"_s);
        days.replace(u"%day("_s, u"date("_s)
            .replace(u"), count"_s, u", 'unixepoch', "
                                    "'localtime'), count"_s);
    }
    QVERIFY(execAll(database, schema + rows));

    DayCounts wantDays;
    CellCounts wantCells;
    qrt::db::Connection writer;
    QVERIFY(writer.Open(database, qrt::db::Connection::Access::ReadWrite));
    QSqlQuery query(writer.database());
    QVERIFY2(query.exec(days), qPrintable(query.lastError().text()));
    while (query.next())
        wantDays[query.value(0).toString()][query.value(1).toDate()] = query.value(2).toInt();
    QVERIFY2(query.exec(cells), qPrintable(query.lastError().text()));
    while (query.next())
        wantCells[query.value(0).toString()][query.value(1).toString()] = query.value(2).toInt();
    QVERIFY(query.exec(undated) && query.next());
    const int undatedCount = query.value(0).toInt();
    writer.Close();
    QVERIFY(!wantDays.isEmpty());

    const QString connection = engine == u"postgres"_s ? database + options : database;
    QCOMPARE(chartCounts(connection, u"channels"_s), wantDays);
    QCOMPARE(pivotCounts(connection, u"Category"_s, u"Channel"_s), wantCells);
    const StatsRun run = runStats({u"chart"_s, connection, u"--period"_s, u"all"_s});
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.err.contains(" items without a date are left out"), undatedCount > 0);
    if (undatedCount > 0)
        QVERIFY2(run.err.contains(
                     QByteArray(QByteArray::number(undatedCount) + " items without a date")),
                 run.err.constData());
}

// What cannot be read is refused with a reason that names it.
void tst_ReaderSchemas::refusals_data()
{
    QTest::addColumn<QString>("options");
    QTest::addColumn<QString>("column");
    QTest::addColumn<QByteArray>("reason");
    QTest::newRow("an older FreshRSS") << QString() << u"published"_s
                                       << QByteArray("FreshRSS: this looks like its database, but "
                                                     "its table entry has no column date");
    QTest::newRow("a reader of another engine")
        << u";Reader=Miniflux"_s << u"date"_s
        << QByteArray("Miniflux does not keep its news in this kind of database");
    QTest::newRow("an unknown reader")
        << u";Reader=Feedly"_s << u"date"_s
        << QByteArray("unknown reader \"feedly\": Reader= takes newsboat, liferea, freshrss, "
                      "miniflux, ttrss");
    QTest::newRow("an unknown zone") << u";TimeZone=Mars/Olympus"_s << u"date"_s
                                     << QByteArray("unknown time zone \"Mars/Olympus\"");
}

void tst_ReaderSchemas::refusals()
{
    QFETCH(QString, options);
    QFETCH(QString, column);
    QFETCH(QByteArray, reason);
    QVERIFY(m_dir.isValid());
    const QString database = m_dir.filePath(column + u"-freshrss.db"_s);
    QStringList schema = freshRssSchema({}, false);
    schema[2].replace(u"date BIGINT,"_s, column + u" BIGINT,"_s);
    QVERIFY(QFile::exists(database) || execAll(database, schema));
    const StatsRun run =
        runStats({u"chart"_s, u"Provider=SQLite;Data Source="_s + database + options, u"--period"_s,
                  u"all"_s});
    QCOMPARE(run.exitCode, 1);
    QVERIFY2(run.err.contains(reason), run.err.constData());
}

// Statements from outside (pivot --command) that bring their own WITH
// list, comments or parentheses run on the mapped tables all the same.
void tst_ReaderSchemas::statementsFromOutside_data()
{
    QTest::addColumn<QString>("statement");
    QTest::addColumn<QString>("independent");
    const QString items = u"SELECT count(*) FROM entry WHERE date > 0"_s;
    QTest::newRow("own WITH") << u"WITH x AS (SELECT Channel FROM News) SELECT count(*) FROM x"_s
                              << items;
    QTest::newRow("comments, WITH RECURSIVE")
        << u"-- three times\n/* each */ WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 "
           "FROM n WHERE i < 3) SELECT count(*) FROM n, Channels"_s
        << u"SELECT 3 * count(*) FROM feed"_s;
    QTest::newRow("in parentheses") << u"(SELECT count(*) FROM News);"_s << items;
}

void tst_ReaderSchemas::statementsFromOutside()
{
    QFETCH(QString, statement);
    QFETCH(QString, independent);
    QVERIFY(m_dir.isValid());
    const QString database = m_dir.filePath(u"outside-freshrss.db"_s);
    const World world(33, true, false);
    QVERIFY(QFile::exists(database) ||
            execAll(database, freshRssSchema({}, false) + freshRssRows(world, {}, 1)));
    qrt::db::Connection writer;
    QVERIFY(writer.Open(database, qrt::db::Connection::Access::ReadWrite));
    QSqlQuery query(writer.database());
    QVERIFY(query.exec(independent) && query.next());
    QCOMPARE(firstColumn(database, statement), QStringList{query.value(0).toString()});
}

// Liferea's file in WAL mode, Liferea not running, in a folder the user may
// not write: the -shm file cannot be made, and the file is read as it is.
// Root passes over the folder's mode, so the run drops those capabilities.
void tst_ReaderSchemas::walFileInReadOnlyFolder()
{
    QVERIFY(m_dir.isValid());
    const QString folder = m_dir.filePath(u"read-only"_s);
    QVERIFY(QDir().mkpath(folder));
    const QString database = folder + u"/liferea.db"_s;
    QVERIFY(execAll(database, lifereaSchema() + lifereaRows(World(34, false, false)) +
                                  QStringList{u"PRAGMA journal_mode = WAL"_s}));
    const QString copy = m_dir.filePath(u"writable-liferea.db"_s);
    QVERIFY(QFile::copy(database, copy));
    QVERIFY(QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner | QFile::ReadOther |
                                              QFile::ExeOther));
    QStringList wrapper;
    if (geteuid() == 0)
        wrapper = {u"setpriv"_s, u"--bounding-set=-dac_override,-dac_read_search,-fowner"_s,
                   u"--inh-caps=-all"_s};
    const StatsRun run = runStats({u"chart"_s, database, u"--period"_s, u"all"_s}, wrapper);
    QVERIFY(QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    QCOMPARE(run.exitCode, 0);
    QVERIFY(!QFile::exists(database + u"-shm"_s));
    const StatsRun writable = runStats({u"chart"_s, copy, u"--period"_s, u"all"_s});
    QVERIFY(writable.out.count('\n') > 10);
    QCOMPARE(run.out, writable.out);
}

QTEST_GUILESS_MAIN(tst_ReaderSchemas)
#include "tst_readerschemas.moc"
