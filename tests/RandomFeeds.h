#pragma once
// Random news feeds for tests: RSS 2.0, RSS 1.0 (RDF) and Atom 1.0 documents
// made from a seed, with the facts a reader of them must find (each feed's
// title, site host and items with their instants) kept apart from any
// parser, so a test compares what was read with what was written.
//
// The documents hold what real feeds hold: dates in RFC 822 with named and
// numeric zones and in ISO 8601, items without a date, titles with XML and
// HTML entities and CDATA, guids that are and are not permalinks, items
// known only by their link, relative links under xml:base.

#include "ProgramRun.h"

#include <QDate>
#include <QDateTime>
#include <QDir>
#include <QList>
#include <QMap>
#include <QRandomGenerator>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <optional>

namespace qrt::test {

using namespace Qt::StringLiterals;

struct RandomFeedItem
{
    QString guid;                  // as written; empty when the item has none
    QString link;                  // absolute; empty when the item has none
    QString title;                 // as a reader shows it, every entity decoded
    QString titleXml;              // as written in the document
    QString dateText;              // as written; empty when the item has none
    std::optional<QDateTime> date; // the instant the date text names
    bool relativeLink = false;     // written relative to the feed's xml:base
};

struct RandomFeed
{
    enum class Format { Rss2, Rss1, Atom };
    Format format = Format::Rss2;
    QString fileName; // e.g. "feed-03.xml"
    QString title;    // decoded: the channel's name
    QString titleXml;
    QString siteLink; // e.g. "https://news-2.example.org/"
    QString siteHost; // e.g. "news-2.example.org": the provider
    QString category; // an OPML folder for it
    QList<RandomFeedItem> items;
};

struct RandomFeedOptions
{
    int feeds = 6;    // formats take turns: RSS 2.0, RSS 1.0, Atom
    int minItems = 5; // per feed
    int maxItems = 40;
    int days = 10; // item dates fall within this many days before `until`
    QDateTime until = QDateTime(QDate(2026, 6, 15), QTime(12, 0), Qt::UTC);
    int undatedPercent = 8; // RSS items without a date (Atom entries always have one)
};

namespace randomfeeds_detail {

// "+hh:mm" (separator ":") or "+hhmm" for an offset in minutes.
inline QString offsetText(int minutes, const QString &separator)
{
    return QStringLiteral("%1%2%3%4")
        .arg(QChar(minutes < 0 ? u'-' : u'+'))
        .arg(qAbs(minutes) / 60, 2, 10, QChar(u'0'))
        .arg(separator)
        .arg(qAbs(minutes) % 60, 2, 10, QChar(u'0'));
}

// A date text in one of the forms feeds use, and the instant it names.
inline QString rfc822(QRandomGenerator &random, const QDateTime &instant)
{
    static const std::pair<const char *, int> named[] = {
        {"GMT", 0},       {"UT", 0},        {"EST", -5 * 60}, {"EDT", -4 * 60}, {"CST", -6 * 60},
        {"CDT", -5 * 60}, {"MST", -7 * 60}, {"MDT", -6 * 60}, {"PST", -8 * 60}, {"PDT", -7 * 60}};
    static const int numeric[] = {0, 60, 120, 330, 545, -180, -600, 840, -720};
    static const char *const days[] = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
    static const char *const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                         "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    QString zoneText;
    int minutes = 0;
    if (random.bounded(2) == 0) {
        const auto &[name, offset] = named[random.bounded(int(std::size(named)))];
        zoneText = QString::fromLatin1(name);
        minutes = offset;
    } else {
        minutes = numeric[random.bounded(int(std::size(numeric)))];
        zoneText = offsetText(minutes, QString());
    }
    const QDateTime wall = instant.toUTC().addSecs(minutes * 60);
    const QDate day = wall.date();
    const QString weekday = random.bounded(4) == 0
                                ? QString()
                                : QString::fromLatin1(days[day.dayOfWeek() - 1]) + u", "_s;
    const QString dayText = random.bounded(3) == 0
                                ? QString::number(day.day())
                                : QStringLiteral("%1").arg(day.day(), 2, 10, QChar(u'0'));
    return QStringLiteral("%1%2 %3 %4 %5 %6")
        .arg(weekday, dayText, QString::fromLatin1(months[day.month() - 1]))
        .arg(day.year())
        .arg(wall.time().toString(u"HH:mm:ss"_s), zoneText);
}

inline QString iso8601(QRandomGenerator &random, const QDateTime &instant)
{
    static const int offsets[] = {0, 60, 120, 330, -300, -420, 600};
    const int minutes = offsets[random.bounded(int(std::size(offsets)))];
    const QDateTime wall = instant.toUTC().addSecs(minutes * 60);
    QString zone = QStringLiteral("Z");
    if (minutes != 0 || random.bounded(3) == 0)
        zone = offsetText(minutes, u":"_s);
    const QString fraction = random.bounded(5) == 0 ? QStringLiteral(".000") : QString();
    return wall.toString(u"yyyy-MM-ddTHH:mm:ss"_s) + fraction + zone;
}

// A title with entities: the text as written and as a reader shows it.
struct TitleText
{
    QString xml;
    QString shown;
};

inline TitleText title(QRandomGenerator &random, const QString &plain)
{
    struct Piece
    {
        const char16_t *xml;
        const char16_t *shown;
    };
    // Escaped once for XML (&amp; is "&"), and HTML entities escaped inside
    // that (&amp;eacute; is "&eacute;" to XML and "é" to a reader).
    static const Piece pieces[] = {
        {u"Tom &amp; Jerry", u"Tom & Jerry"},
        {u"Caf&amp;eacute; prices", u"Café prices"},
        {u"&amp;lt;Breaking&amp;gt;", u"<Breaking>"},
        {u"It&amp;#8217;s here", u"It’s here"},
        {u"&quot;Quoted&quot; words", u"\"Quoted\" words"},
        {u"Wait&amp;hellip; what", u"Wait… what"},
        {u"Dash &amp;#x2014; again", u"Dash — again"},
        {u"Fish &amp;amp; chips", u"Fish & chips"},
        {u"Na&#239;ve plan", u"Naïve plan"},
    };
    const int pick = random.bounded(int(std::size(pieces)) + 3);
    if (pick >= int(std::size(pieces)) + 1) // plain
        return {plain, plain};
    if (pick == int(std::size(pieces))) // CDATA keeps "&" as it is
        return {QStringLiteral("<![CDATA[%1 & more]]>").arg(plain), plain + u" & more"_s};
    const Piece piece = pieces[pick];
    return {plain + u": "_s + QString::fromUtf16(piece.xml),
            plain + u": "_s + QString::fromUtf16(piece.shown)};
}

} // namespace randomfeeds_detail

// Adds `count` items dated within `days` days before `until` to a feed,
// numbered after the ones it has, each with a unique guid or link.
inline void addRandomItems(RandomFeed &feed, int count, quint32 seed, const QDateTime &until,
                           int days, int undatedPercent = 8)
{
    namespace d = randomfeeds_detail;
    QRandomGenerator random(seed);
    const qint64 span = qint64(days) * 86400;
    for (int i = 0; i < count; ++i) {
        const int number = int(feed.items.size()) + 1;
        RandomFeedItem item;
        const QString stem = feed.fileName.section(u'.', 0, 0);
        const QString path = QStringLiteral("%1/item-%2.html").arg(stem).arg(number);
        item.link = feed.siteLink + path;
        const d::TitleText text = d::title(
            random, QStringLiteral("%1 story %2").arg(feed.title.section(u' ', 0, 0)).arg(number));
        item.title = text.shown;
        item.titleXml = text.xml;
        const bool undated =
            feed.format != RandomFeed::Format::Atom && int(random.bounded(100)) < undatedPercent;
        if (!undated) {
            const QDateTime instant = until.toUTC().addSecs(-qint64(random.bounded(span)));
            item.date = instant;
            item.dateText = feed.format == RandomFeed::Format::Rss2 ? d::rfc822(random, instant)
                                                                    : d::iso8601(random, instant);
        }
        switch (feed.format) {
        case RandomFeed::Format::Rss2:
            // A third with a permalink guid, a third with an opaque guid, a
            // third known by their link alone.
            if (const int kind = random.bounded(3); kind == 0)
                item.guid = item.link;
            else if (kind == 1) {
                item.guid = QStringLiteral("urn:uuid:%1-%2-%3").arg(stem).arg(number).arg(seed);
                if (random.bounded(2) == 0)
                    item.link.clear(); // known by its guid alone
            }
            break;
        case RandomFeed::Format::Rss1:
            item.guid = item.link; // rdf:about
            break;
        case RandomFeed::Format::Atom:
            item.guid = QStringLiteral("tag:%1,2026:%2/%3").arg(feed.siteHost, stem).arg(number);
            item.relativeLink = random.bounded(2) == 0;
            break;
        }
        feed.items << item;
    }
}

inline QList<RandomFeed> randomFeeds(quint32 seed, const RandomFeedOptions &options = {})
{
    static const char16_t *const subjects[] = {u"World",  u"Science", u"Markets", u"Sports",
                                               u"Travel", u"Culture", u"Health",  u"Tech"};
    static const char16_t *const folders[] = {u"News", u"Work", u"Leisure"};
    QRandomGenerator random(seed);
    const int hosts = qMax(1, options.feeds * 2 / 3); // some feeds share a site
    QList<RandomFeed> feeds;
    for (int f = 0; f < options.feeds; ++f) {
        RandomFeed feed;
        feed.format = RandomFeed::Format(f % 3);
        feed.fileName = QStringLiteral("feed-%1.xml").arg(f + 1, 2, 10, QChar(u'0'));
        feed.siteHost = QStringLiteral("news-%1.example.org").arg(random.bounded(hosts) + 1);
        feed.siteLink = QStringLiteral("https://%1/").arg(feed.siteHost);
        feed.category = QString::fromUtf16(folders[random.bounded(int(std::size(folders)))]);
        const QString plain = QStringLiteral("%1 %2")
                                  .arg(QString::fromUtf16(subjects[f % std::size(subjects)]))
                                  .arg(f + 1);
        if (f % 4 == 1) { // the channel's own title needs decoding too
            feed.title = plain + u" & Co"_s;
            feed.titleXml = plain + u" &amp; Co"_s;
        } else {
            feed.title = feed.titleXml = plain;
        }
        const int count = options.minItems +
                          int(random.bounded(qMax(1, options.maxItems - options.minItems + 1)));
        addRandomItems(feed, count, random.generate(), options.until, options.days,
                       options.undatedPercent);
        feeds << feed;
    }
    return feeds;
}

// The document of a feed, as a server or a file would hold it.
inline QByteArray feedDocument(const RandomFeed &feed)
{
    QString out = QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
    const QString base = feed.siteLink;
    auto href = [&](const RandomFeedItem &item) {
        return item.relativeLink ? item.link.mid(base.size()) : item.link;
    };
    switch (feed.format) {
    case RandomFeed::Format::Rss2:
        out += u"<rss version=\"2.0\"><channel>\n<title>"_s + feed.titleXml +
               u"</title>\n<link>"_s + base.toHtmlEscaped() +
               u"</link>\n<description>Random news</description>\n"_s;
        for (const RandomFeedItem &item : feed.items) {
            out += u"<item><title>"_s + item.titleXml + u"</title>"_s;
            if (!item.link.isEmpty())
                out += u"<link>"_s + item.link.toHtmlEscaped() + u"</link>"_s;
            if (item.guid == item.link)
                out += u"<guid>"_s + item.guid.toHtmlEscaped() + u"</guid>"_s;
            else if (!item.guid.isEmpty())
                out += u"<guid isPermaLink=\"false\">"_s + item.guid.toHtmlEscaped() + u"</guid>"_s;
            if (item.date)
                out += u"<pubDate>"_s + item.dateText + u"</pubDate>"_s;
            out += u"<description>Text of &lt;b&gt;it&lt;/b&gt;</description></item>\n"_s;
        }
        out += u"</channel></rss>\n"_s;
        break;
    case RandomFeed::Format::Rss1:
        out +=
            u"<rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\" "
            u"xmlns=\"http://purl.org/rss/1.0/\" xmlns:dc=\"http://purl.org/dc/elements/1.1/\">\n"
            u"<channel rdf:about=\""_s +
            base.toHtmlEscaped() + u"feed.rdf\"><title>"_s + feed.titleXml + u"</title><link>"_s +
            base.toHtmlEscaped() +
            u"</link><description>Random news</description><items><rdf:Seq>"_s;
        for (const RandomFeedItem &item : feed.items)
            out += u"<rdf:li rdf:resource=\""_s + item.guid.toHtmlEscaped() + u"\"/>"_s;
        out += u"</rdf:Seq></items></channel>\n"_s;
        for (const RandomFeedItem &item : feed.items) {
            out += u"<item rdf:about=\""_s + item.guid.toHtmlEscaped() + u"\"><title>"_s +
                   item.titleXml + u"</title><link>"_s + item.link.toHtmlEscaped() + u"</link>"_s;
            if (item.date)
                out += u"<dc:date>"_s + item.dateText + u"</dc:date>"_s;
            out += u"</item>\n"_s;
        }
        out += u"</rdf:RDF>\n"_s;
        break;
    case RandomFeed::Format::Atom: {
        QString updated = QStringLiteral("2000-01-01T00:00:00Z");
        for (const RandomFeedItem &item : feed.items)
            updated = qMax(updated, item.date->toUTC().toString(Qt::ISODate));
        out += u"<feed xmlns=\"http://www.w3.org/2005/Atom\" xml:base=\""_s + base.toHtmlEscaped() +
               u"\">\n<title type=\"html\">"_s + feed.titleXml + u"</title><id>urn:feed:"_s +
               feed.fileName + u"</id><updated>"_s + updated +
               u"</updated>\n<link rel=\"alternate\" href=\""_s + base.toHtmlEscaped() +
               u"\"/><link rel=\"self\" href=\""_s + feed.fileName + u"\"/>\n"_s;
        for (const RandomFeedItem &item : feed.items)
            out += u"<entry><title type=\"html\">"_s + item.titleXml + u"</title><id>"_s +
                   item.guid.toHtmlEscaped() + u"</id><link rel=\"alternate\" href=\""_s +
                   href(item).toHtmlEscaped() + u"\"/><updated>"_s + item.dateText +
                   u"</updated><summary>Text</summary></entry>\n"_s;
        out += u"</feed>\n"_s;
        break;
    }
    }
    return out.toUtf8();
}

// Writes every feed into `folder` under its file name; false on a write error.
inline bool writeFeeds(const QString &folder, const QList<RandomFeed> &feeds)
{
    QDir().mkpath(folder);
    for (const RandomFeed &feed : feeds)
        if (!writeFile(QDir(folder).filePath(feed.fileName), feedDocument(feed)))
            return false;
    return true;
}

// An OPML subscription list of the feeds, each in a folder of its category,
// its address `base` resolved against the file name (a file:// folder with
// a trailing slash, or an http:// server).
inline QByteArray opmlDocument(const QList<RandomFeed> &feeds, const QUrl &base)
{
    QMap<QString, QString> folders;
    for (const RandomFeed &feed : feeds)
        folders[feed.category] +=
            QStringLiteral("<outline type=\"rss\" text=\"%1\" title=\"%1\" xmlUrl=\"%2\" "
                           "htmlUrl=\"%3\"/>\n")
                .arg(feed.title.toHtmlEscaped(),
                     base.resolved(QUrl(feed.fileName)).toString().toHtmlEscaped(),
                     feed.siteLink.toHtmlEscaped());
    QString out =
        QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<opml "
                       "version=\"2.0\"><head><title>Subscriptions</title></head><body>\n");
    for (auto it = folders.cbegin(); it != folders.cend(); ++it)
        out += QStringLiteral("<outline text=\"%1\" title=\"%1\">\n%2</outline>\n")
                   .arg(it.key().toHtmlEscaped(), it.value());
    out += u"</body></opml>\n"_s;
    return out.toUtf8();
}

// The expected number of items per channel and local calendar day: an
// item without a date counts on `undatedDay` (the day a reader first saw it).
inline QMap<QString, QMap<QDate, int>>
expectedDayCounts(const QList<RandomFeed> &feeds, const QDate &undatedDay = QDate::currentDate())
{
    QMap<QString, QMap<QDate, int>> counts;
    for (const RandomFeed &feed : feeds)
        for (const RandomFeedItem &item : feed.items)
            ++counts[feed.title][item.date ? item.date->toLocalTime().date() : undatedDay];
    return counts;
}

inline int itemCount(const QList<RandomFeed> &feeds)
{
    int count = 0;
    for (const RandomFeed &feed : feeds)
        count += int(feed.items.size());
    return count;
}

} // namespace qrt::test
