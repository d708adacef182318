// The feed reader on random feeds of every format against the facts they
// were written from, and on documents it must refuse. The import of feeds
// served on loopback: the archive holds per channel and day what the feeds
// hold; broken feeds fail alone; a second run adds only what is new; a
// killed program leaves every feed whole or absent, and its next run from
// a subscription list brings the rest.

#include "LoopbackHttpServer.h"
#include "ProgramRun.h"
#include "RandomFeeds.h"
#include "TestDatabases.h"
#include "demodata/DemoDatabase.h"
#include "feeds/FeedDate.h"
#include "feeds/FeedReader.h"
#include "importer/ArchiveWriter.h"
#include "importer/FeedImport.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using qrt::feeds::readFeedDocument;
using qrt::importer::ArchiveWriter;
using qrt::importer::FeedImport;
using qrt::test::RandomFeed;
using Counts = QMap<QString, QMap<QDate, int>>;

namespace {

// What the archive holds per channel and local day, read by the component's
// own reader.
Counts archiveCounts(const QString &archive)
{
    Counts counts;
    const QStringList rows = qrt::test::firstColumn(
        archive, u"SELECT Channels.Channel || '|' || substr(CAST(News.pubDate AS text), 1, 10) "
                 "|| '|' || count(*) FROM News INNER JOIN Channels ON Channels.ID = News.Channel "
                 "GROUP BY Channels.Channel, substr(CAST(News.pubDate AS text), 1, 10)"_s);
    for (const QString &row : rows) {
        const QStringList f = row.split(u'|');
        counts[f[0]][QDate::fromString(f[1], Qt::ISODate)] = f[2].toInt();
    }
    return counts;
}

// Every channel with its provider and category, then the IDs of all three.
QStringList catalogue(const QString &archive)
{
    return qrt::test::firstColumn(
        archive,
        u"SELECT Channels.Channel || '|' || Providers.Provider || '|' || Categories.Name || '|' "
        "|| Channels.ID || '|' || Providers.ID || '|' || Categories.ID FROM Channels INNER JOIN "
        "Providers ON Providers.ID = Channels.Provider INNER JOIN Categories ON Categories.ID = "
        "Channels.Category ORDER BY Channels.ID"_s);
}

} // namespace

class tst_FeedImport : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_dir.isValid() && m_server.listen()); }
    void importOverHttp_data();
    void importOverHttp();
    void killedMidImport();
    void importEvery();
    void onlyOwnSchema();
    void randomFeeds_data();
    void randomFeeds();
    void subscriptionList();
    void refused_data();
    void refused();
    void dates_data();
    void dates();

private:
    void serve(const RandomFeed &feed, int index);
    FeedImport::Summary import(const QStringList &sources, const QString &archive);

    QTemporaryDir m_dir;
    qrt::test::LoopbackHttpServer m_server;
    QMap<QString, QString> m_errors; // address -> message of the last run
};

// Feeds take turns: with an ETag, with Last-Modified, with neither.
void tst_FeedImport::serve(const RandomFeed &feed, int index)
{
    qrt::test::LoopbackHttpServer::Route route{.body = qrt::test::feedDocument(feed)};
    const QByteArray version = QByteArray::number(feed.items.size());
    if (index % 3 == 0)
        route.etag = "\"v" + version + '"';
    else if (index % 3 == 1)
        route.lastModified = "Mon, 1 Jun 2026 10:" + version.rightJustified(2, '0') + ":00 GMT";
    m_server.routes["/feeds/" + feed.fileName.toLatin1()] = route;
}

FeedImport::Summary tst_FeedImport::import(const QStringList &sources, const QString &archive)
{
    ArchiveWriter writer;
    QString error;
    if (!writer.open(archive, &error)) {
        qWarning() << error;
        return {};
    }
    m_errors.clear();
    FeedImport import(writer, {.parallel = 4, .timeoutMs = 1000, .maxBytes = 1 << 20});
    return import.run(sources, [this](const FeedImport::FeedReport &report) {
        if (report.outcome == FeedImport::FeedReport::Outcome::Failed)
            m_errors[QUrl(report.address).path()] = report.error;
    });
}

void tst_FeedImport::importOverHttp_data()
{
    QTest::addColumn<bool>("postgres");
    QTest::newRow("SQLite") << false;
    QTest::newRow("PostgreSQL") << true;
}

void tst_FeedImport::importOverHttp()
{
    QFETCH(bool, postgres);
    QString archive = m_dir.filePath(u"http.db"_s);
    if (postgres)
        QRT_REQUIRE_POSTGRES(archive, u"tst_feedimport_http"_s);
    QList<RandomFeed> feeds = qrt::test::randomFeeds(21, {.feeds = 6});
    for (int i = 0; i < feeds.size(); ++i)
        serve(feeds[i], i);
    const QMap<QByteArray, QString> broken = {
        {"/missing.xml", u"HTTP 404 Not Found"_s},
        {"/slow.xml", u"no complete answer within 1 s"_s},
        {"/malformed.xml", u"not well-formed XML"_s},
        {"/truncated.xml", u"truncated"_s},
        {"/laughs.xml", u"declares XML entities"_s},
        {"/huge.xml", u"larger than 1 MiB"_s},
        {"/loop.xml", u"more than 5 redirects"_s},
    };
    auto &routes = m_server.routes;
    routes["/old/feed-02.xml"] = {.status = 301, .location = "/feeds/feed-02.xml"};
    routes["/slow.xml"] = {.body = routes["/feeds/feed-01.xml"].body, .delayMs = 30000};
    routes["/malformed.xml"] = {.body = "<rss><channel><item><title>x</title></channel></rss>"};
    routes["/truncated.xml"] = {.body = routes["/feeds/feed-03.xml"].body.chopped(200)};
    routes["/laughs.xml"] = {.body = QByteArray("<!DOCTYPE rss [<!ENTITY a \"aaaa\">]><rss/>")};
    routes["/huge.xml"] = {.body = "<rss><channel><title>Huge</title>" +
                                   QByteArray("<item><title>more</title></item>").repeated(40000) +
                                   "</channel></rss>"};
    routes["/loop.xml"] = {.status = 301, .location = "/loop.xml"};
    QByteArray list = qrt::test::opmlDocument(feeds, m_server.url("/feeds/"));
    list.replace("/feeds/feed-02.xml", "/old/feed-02.xml");
    for (const QByteArray &path : broken.keys())
        list.replace("</body>",
                     QByteArray("<outline text=\"broken\" xmlUrl=\"" + path + "\"/></body>"));
    routes["/list.opml"] = {.body = list};

    FeedImport::Summary summary = import({m_server.url("/list.opml").toString()}, archive);
    QCOMPARE(summary.feeds, feeds.size() + broken.size());
    QCOMPARE(summary.failed, broken.size());
    QCOMPARE(summary.newItems, qrt::test::itemCount(feeds));
    for (auto it = broken.cbegin(); it != broken.cend(); ++it)
        QVERIFY2(m_errors.value(QString::fromLatin1(it.key())).contains(it.value()),
                 qPrintable(QString::fromLatin1(it.key()) + u": "_s +
                            m_errors.value(QString::fromLatin1(it.key()))));
    QCOMPARE(archiveCounts(archive), qrt::test::expectedDayCounts(feeds));
    const QStringList before = catalogue(archive);
    QStringList names, expected;
    for (const QString &row : before)
        names << row.section(u'|', 0, 2);
    for (const RandomFeed &feed : std::as_const(feeds))
        expected << feed.title + u'|' + feed.siteHost + u'|' + feed.category;
    names.sort();
    expected.sort();
    QCOMPARE(names, expected);

    // Again: nothing new; feeds with validators answer 304 to a conditional
    // request; every ID stays.
    m_server.requests.clear();
    summary = import({m_server.url("/list.opml").toString()}, archive);
    QCOMPARE(summary.newItems, 0);
    QCOMPARE(summary.unchanged, 4);
    for (const auto &request : std::as_const(m_server.requests))
        if (request.path.startsWith("/feeds/"))
            QCOMPARE(request.conditional,
                     !request.path.endsWith("-03.xml") && !request.path.endsWith("-06.xml"));
    QCOMPARE(catalogue(archive), before);

    // A feed with an ETag and one without grow: only their new items come.
    qrt::test::addRandomItems(feeds[0], 5, 1, QDateTime::currentDateTimeUtc(), 3);
    qrt::test::addRandomItems(feeds[2], 3, 2, QDateTime::currentDateTimeUtc(), 3);
    serve(feeds[0], 0);
    serve(feeds[2], 2);
    summary = import({m_server.url("/list.opml").toString()}, archive);
    QCOMPARE(summary.newItems, 8);
    QCOMPARE(archiveCounts(archive), qrt::test::expectedDayCounts(feeds));
    QCOMPARE(catalogue(archive), before);
}

// The real program, killed while it writes: each channel in the archive
// holds all of its feed's items or is not there, and the next run brings
// the rest.
void tst_FeedImport::killedMidImport()
{
    const auto feeds = qrt::test::randomFeeds(
        31, {.feeds = 12, .minItems = 3000, .maxItems = 3000, .undatedPercent = 0});
    QVERIFY(qrt::test::writeFeeds(m_dir.filePath(u"big"_s), feeds));
    QStringList sources;
    for (const RandomFeed &feed : feeds)
        sources << m_dir.filePath(u"big/"_s + feed.fileName);
    const QString archive = m_dir.filePath(u"killed.db"_s);
    QProcess process;
    process.start(qEnvironmentVariable("ZORVANE_STATS"),
                  QStringList{u"import"_s} + sources +
                      QStringList{u"--into"_s, archive, u"--parallel"_s, u"1"_s});
    QVERIFY(process.waitForStarted());
    const QString channels = u"SELECT count(*) FROM Channels"_s;
    QTRY_VERIFY_WITH_TIMEOUT((QFile::exists(archive) &&
                              qrt::test::firstColumn(archive, channels).value(0).toInt() >= 3) ||
                                 process.state() == QProcess::NotRunning,
                             60000);
    process.kill();
    process.waitForFinished();
    QCOMPARE(process.exitStatus(), QProcess::CrashExit); // killed, not finished

    const Counts counts = archiveCounts(archive);
    QVERIFY(counts.size() >= 3 && counts.size() < feeds.size());
    const Counts all = qrt::test::expectedDayCounts(feeds, {});
    for (auto it = counts.cbegin(); it != counts.cend(); ++it)
        QCOMPARE(it.value(), all.value(it.key()));

    // Again from a subscription list of the files: the rest comes, each feed
    // named on its way.
    const QString list = m_dir.filePath(u"big/list.opml"_s);
    QVERIFY(qrt::test::writeFile(
        list, qrt::test::opmlDocument(feeds, QUrl::fromLocalFile(m_dir.filePath(u"big/"_s)))));
    const int stored =
        qrt::test::firstColumn(archive, u"SELECT count(*) FROM News"_s).value(0).toInt();
    const auto rerun = qrt::test::runStats({u"import"_s, list, u"--into"_s, archive});
    QVERIFY2(rerun.exitCode == 0, qPrintable(rerun.err));
    QCOMPARE(rerun.out.trimmed(),
             u"%1 feeds: %2 new items, 0 unchanged, 0 failed; archive %3"_s.arg(feeds.size())
                 .arg(qrt::test::itemCount(feeds) - stored)
                 .arg(archive));
    for (const RandomFeed &feed : feeds)
        QVERIFY2(rerun.err.contains(feed.title + u" (file://"_s), qPrintable(rerun.err));
    QCOMPARE(archiveCounts(archive), all);
}

// --every goes on importing: a feed that grows while it runs is in the
// archive whole without another command.
void tst_FeedImport::importEvery()
{
    auto feeds = qrt::test::randomFeeds(51, {.feeds = 1});
    const QString folder = m_dir.filePath(u"every/"_s);
    QVERIFY(qrt::test::writeFeeds(folder, feeds));
    const QString archive = m_dir.filePath(u"every.db"_s);
    QProcess process;
    QString out;
    connect(&process, &QProcess::readyReadStandardOutput, this,
            [&] { out += QString::fromUtf8(process.readAllStandardOutput()); });
    process.start(
        qEnvironmentVariable("ZORVANE_STATS"),
        {u"import"_s, folder + feeds[0].fileName, u"--into"_s, archive, u"--every"_s, u"0.002"_s});
    const QString first = u"1 feeds: %1 new items"_s.arg(feeds[0].items.size());
    QTRY_VERIFY_WITH_TIMEOUT(out.contains(first), 30000);
    qrt::test::addRandomItems(feeds[0], 4, 9, QDateTime::currentDateTimeUtc(), 2);
    QVERIFY(qrt::test::writeFeeds(folder, feeds));
    QTRY_VERIFY_WITH_TIMEOUT(out.contains(u"1 feeds: 4 new items"_s), 30000);
    process.kill();
    process.waitForFinished();
    QCOMPARE(archiveCounts(archive), qrt::test::expectedDayCounts(feeds));
}

// A feed reader's database is refused and stays as it was, byte for byte;
// the demo database, of this program's schema, takes the feeds beside its
// own news.
void tst_FeedImport::onlyOwnSchema()
{
    const QString reader = m_dir.filePath(u"reader.db"_s);
    QVERIFY(qrt::test::execAll(reader, {u"CREATE TABLE rss_item (id integer, title text)"_s,
                                        u"INSERT INTO rss_item VALUES (1, 'kept')"_s}));
    const QByteArray before = qrt::test::readFile(reader);
    QString error;
    QVERIFY(!ArchiveWriter().open(reader, &error));
    QVERIFY2(error.contains(u"not a news archive"_s), qPrintable(error));
    QCOMPARE(qrt::test::readFile(reader), before);
    QVERIFY(!QFile::exists(reader + u"-wal"_s));

    const QString demo = m_dir.filePath(u"demo.db"_s);
    QVERIFY(qrt::db::DemoDatabase::create(demo, {.items = 500}, &error));
    const auto feeds = qrt::test::randomFeeds(61, {.feeds = 2});
    QVERIFY(qrt::test::writeFeeds(m_dir.filePath(u"own"_s), feeds));
    const FeedImport::Summary summary =
        import({m_dir.filePath(u"own/feed-01.xml"_s), m_dir.filePath(u"own/feed-02.xml"_s)}, demo);
    QCOMPARE(summary.newItems, qrt::test::itemCount(feeds));
    QCOMPARE(qrt::test::firstColumn(demo, u"SELECT count(*) FROM News"_s).value(0).toInt(),
             500 + qrt::test::itemCount(feeds));
    const Counts counts = archiveCounts(demo);
    const Counts expected = qrt::test::expectedDayCounts(feeds);
    for (auto it = expected.cbegin(); it != expected.cend(); ++it)
        QCOMPARE(counts.value(it.key()), it.value());
}

void tst_FeedImport::randomFeeds_data()
{
    QTest::addColumn<quint32>("seed");
    for (quint32 seed : {1u, 2u, 3u, 77u})
        QTest::addRow("seed %u", seed) << seed;
}

void tst_FeedImport::randomFeeds()
{
    QFETCH(quint32, seed);
    const auto feeds = qrt::test::randomFeeds(seed, {.feeds = 9});
    for (const qrt::test::RandomFeed &expected : feeds) {
        QString error;
        const auto document = readFeedDocument(qrt::test::feedDocument(expected),
                                               QUrl(u"http://127.0.0.1/"_s), &error);
        QVERIFY2(document, qPrintable(expected.fileName + u": "_s + error));
        const qrt::feeds::Feed &feed = document->feed;
        QCOMPARE(feed.title, expected.title);
        QCOMPARE(feed.siteLink.host(), expected.siteHost);
        QCOMPARE(feed.items.size(), expected.items.size());
        for (qsizetype i = 0; i < feed.items.size(); ++i) {
            const auto &item = feed.items[i];
            const auto &fact = expected.items[i];
            QCOMPARE(item.title, fact.title);
            QCOMPARE(item.guid, fact.guid);
            QCOMPARE(item.link, fact.link);
            QCOMPARE(item.published, fact.date.value_or(QDateTime()));
        }
    }
}

// Folders become the subscriptions' folders, the innermost one counting;
// relative addresses resolve against the list's own. (A flat list of the
// random feeds is importOverHttp's.)
void tst_FeedImport::subscriptionList()
{
    const QUrl base(u"http://127.0.0.1:8080/lists/"_s);
    QString error;
    const auto document = readFeedDocument(
        "<opml><body><outline text=\"A\"><outline text=\"B\"><outline xmlUrl=\"b.xml\"/>"
        "</outline><outline xmlUrl=\"../a.xml\"/></outline>"
        "<outline text=\"t\" title=\"Top\" xmlUrl=\"top.xml\"/></body></opml>",
        base, &error);
    QVERIFY2(document, qPrintable(error));
    QCOMPARE(document->kind, qrt::feeds::FeedDocument::Kind::SubscriptionList);
    QStringList read;
    for (const auto &subscription : document->subscriptions)
        read << subscription.folder + u'|' + subscription.url.toString() + u'|' +
                    subscription.title;
    QCOMPARE(read, (QStringList{u"B|http://127.0.0.1:8080/lists/b.xml|"_s,
                                u"A|http://127.0.0.1:8080/a.xml|"_s,
                                u"|http://127.0.0.1:8080/lists/top.xml|Top"_s}));
}

void tst_FeedImport::refused_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<QString>("message");
    // Declared entities, truncated and malformed documents (an undeclared
    // entity too) are refused in importOverHttp.
    QTest::newRow("not XML") << QByteArray("{\"items\": []}") << u"not an XML document"_s;
    QTest::newRow("web page") << QByteArray("<!DOCTYPE html><html><body/></html>")
                              << u"root element is <html>"_s;
}

void tst_FeedImport::refused()
{
    QFETCH(QByteArray, document);
    QFETCH(QString, message);
    QString error;
    QVERIFY(!readFeedDocument(document, {}, &error));
    QVERIFY2(error.contains(message), qPrintable(error));
}

void tst_FeedImport::dates_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QDateTime>("instant");
    const auto utc = [](int d, int h, int m, int s = 0) {
        return QDateTime(QDate(2026, 6, d), QTime(h, m, s), Qt::UTC);
    };
    QTest::newRow("no seconds") << u"Sun, 07 Jun 2026 01:25 +0200"_s << utc(6, 23, 25);
    QTest::newRow("two-digit year, UTC") << u"7 Jun 26 01:25:00 UTC"_s << utc(7, 1, 25);
    QTest::newRow("no zone") << u"Sun, 07 Jun 2026 01:25:00"_s << utc(7, 1, 25);
    QTest::newRow("ISO space, offset without colon")
        << u"2026-06-07 03:25:00+0200"_s << utc(7, 1, 25);
    QTest::newRow("ISO date only") << u"2026-06-07"_s << utc(7, 0, 0);
    QTest::newRow("bad day") << u"31 Feb 2026 10:00:00 GMT"_s << QDateTime();
    QTest::newRow("bad hour") << u"2026-06-07T25:00:00Z"_s << QDateTime();
}

void tst_FeedImport::dates()
{
    QFETCH(QString, text);
    QFETCH(QDateTime, instant);
    QCOMPARE(qrt::feeds::parseFeedDate(text), instant);
}

QTEST_GUILESS_MAIN(tst_FeedImport)
#include "tst_feedimport.moc"
