// The feed reader on random feeds of every format, against the facts they
// were written from; hostile and broken documents refused whole, with a
// message that says why; date forms beyond the random ones.

#include "RandomFeeds.h"
#include "feeds/FeedDate.h"
#include "feeds/FeedReader.h"

#include <QElapsedTimer>
#include <QTest>

using namespace Qt::StringLiterals;
using qrt::feeds::readFeedDocument;

namespace {

QByteArray billionLaughs()
{
    QByteArray doc = "<?xml version=\"1.0\"?>\n<!DOCTYPE rss [\n<!ENTITY lol0 \"lol\">\n";
    for (int i = 1; i < 10; ++i)
        doc += "<!ENTITY lol" + QByteArray::number(i) + " \"" +
               QByteArray("&lol" + QByteArray::number(i - 1) + ";").repeated(10) + "\">\n";
    return doc + "]>\n<rss><channel><title>&lol9;</title></channel></rss>\n";
}

} // namespace

class tst_FeedReader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void randomFeeds_data();
    void randomFeeds();
    void subscriptionList();
    void refused_data();
    void refused();
    void dates_data();
    void dates();
};

void tst_FeedReader::randomFeeds_data()
{
    QTest::addColumn<quint32>("seed");
    for (quint32 seed : {1u, 2u, 3u, 77u})
        QTest::addRow("seed %u", seed) << seed;
}

void tst_FeedReader::randomFeeds()
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
// relative addresses resolve against the list's own.
void tst_FeedReader::subscriptionList()
{
    const auto feeds = qrt::test::randomFeeds(5);
    const QUrl base(u"http://127.0.0.1:8080/lists/"_s);
    QString error;
    auto document = readFeedDocument(qrt::test::opmlDocument(feeds, base), base, &error);
    QVERIFY2(document, qPrintable(error));
    QCOMPARE(document->kind, qrt::feeds::FeedDocument::Kind::SubscriptionList);
    QCOMPARE(document->subscriptions.size(), feeds.size());
    for (const qrt::feeds::Subscription &subscription : document->subscriptions) {
        const auto fact = std::find_if(feeds.begin(), feeds.end(), [&](const auto &f) {
            return subscription.url == base.resolved(QUrl(f.fileName));
        });
        QVERIFY(fact != feeds.end());
        QCOMPARE(subscription.folder, fact->category);
        QCOMPARE(subscription.title, fact->title);
    }
    document = readFeedDocument(
        "<opml><body><outline text=\"A\"><outline text=\"B\"><outline xmlUrl=\"b.xml\"/>"
        "</outline><outline xmlUrl=\"../a.xml\"/></outline><outline xmlUrl=\"top.xml\"/>"
        "</body></opml>",
        base, &error);
    QVERIFY2(document, qPrintable(error));
    QCOMPARE(document->subscriptions.size(), 3);
    QCOMPARE(document->subscriptions[0].folder, u"B"_s);
    QCOMPARE(document->subscriptions[1].folder, u"A"_s);
    QCOMPARE(document->subscriptions[1].url, QUrl(u"http://127.0.0.1:8080/a.xml"_s));
    QCOMPARE(document->subscriptions[2].folder, QString());
}

void tst_FeedReader::refused_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<QString>("message");
    const QByteArray whole = qrt::test::feedDocument(qrt::test::randomFeeds(9).first());
    QTest::newRow("billion laughs") << billionLaughs() << u"declares XML entities"_s;
    QTest::newRow("external entity")
        << QByteArray("<?xml version=\"1.0\"?><!DOCTYPE rss [<!ENTITY x SYSTEM "
                      "\"file:///etc/passwd\">]><rss><channel><title>&x;</title></channel></rss>")
        << u"declares XML entities"_s;
    QTest::newRow("truncated") << whole.left(whole.size() / 2) << u"truncated"_s;
    QTest::newRow("not XML") << QByteArray("{\"items\": []}") << u"not an XML document"_s;
    QTest::newRow("web page") << QByteArray("<!DOCTYPE html><html><body/></html>")
                              << u"root element is <html>"_s;
    QTest::newRow("undeclared entity")
        << QByteArray("<rss><channel><title>a&nbsp;b</title></channel></rss>")
        << u"not well-formed XML at line 1"_s;
    QTest::newRow("empty") << QByteArray("  ") << u"not an XML document"_s;
}

void tst_FeedReader::refused()
{
    QFETCH(QByteArray, document);
    QFETCH(QString, message);
    QString error;
    QVERIFY(!readFeedDocument(document, {}, &error));
    QVERIFY2(error.contains(message), qPrintable(error));
}

void tst_FeedReader::dates_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QDateTime>("instant");
    const auto utc = [](int d, int h, int m, int s = 0) {
        return QDateTime(QDate(2026, 6, d), QTime(h, m, s), Qt::UTC);
    };
    QTest::newRow("no seconds") << u"Sun, 07 Jun 2026 01:25 +0200"_s << utc(6, 23, 25);
    QTest::newRow("two-digit year, UTC") << u"7 Jun 26 01:25:00 UTC"_s << utc(7, 1, 25);
    QTest::newRow("no zone") << u"Sun, 07 Jun 2026 01:25:00"_s << utc(7, 1, 25);
    QTest::newRow("military Z") << u"07 JUN 2026 01:25:00 Z"_s << utc(7, 1, 25);
    QTest::newRow("ISO space, offset without colon")
        << u"2026-06-07 03:25:00+0200"_s << utc(7, 1, 25);
    QTest::newRow("ISO date only") << u"2026-06-07"_s << utc(7, 0, 0);
    QTest::newRow("no date") << u"yesterday"_s << QDateTime();
    QTest::newRow("bad day") << u"31 Feb 2026 10:00:00 GMT"_s << QDateTime();
    QTest::newRow("bad hour") << u"2026-06-07T25:00:00Z"_s << QDateTime();
}

void tst_FeedReader::dates()
{
    QFETCH(QString, text);
    QFETCH(QDateTime, instant);
    QCOMPARE(qrt::feeds::parseFeedDate(text), instant);
}

QTEST_APPLESS_MAIN(tst_FeedReader)
#include "tst_feedreader.moc"
