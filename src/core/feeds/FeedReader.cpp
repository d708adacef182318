#include "feeds/FeedReader.h"

#include "feeds/FeedDate.h"
#include "feeds/FeedXml.h"
#include "feeds/HtmlEntities.h"
#include "feeds/OpmlReader.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace qrt::feeds {

namespace {

constexpr auto kAtom = u"http://www.w3.org/2005/Atom";
constexpr auto kDublinCore = u"http://purl.org/dc/elements/1.1/";

// RSS elements come without a namespace (0.9x, 2.0) or in that of RSS 1.0
// or 0.90; an element of another vocabulary with the same name (atom:link
// inside an RSS channel) is not the feed's own.
bool isRssElement(const FeedXml &xml, QStringView name)
{
    const QStringView ns = xml.namespaceUri();
    return xml.name() == name && (ns.isEmpty() || ns == u"http://purl.org/rss/1.0/" ||
                                  ns == u"http://my.netscape.com/rdf/simple/0.9/");
}

QString shownText(const QString &text)
{
    return decodeHtmlEntities(text).simplified();
}

QString resolvedLink(const QUrl &base, const QString &link)
{
    const QString trimmed = link.trimmed();
    return trimmed.isEmpty() ? QString() : base.resolved(QUrl(trimmed)).toString();
}

void readRssItem(FeedXml &xml, const QUrl &base, Feed &feed)
{
    FeedItem item;
    item.guid = xml.attribute("http://www.w3.org/1999/02/22-rdf-syntax-ns#", "about").trimmed();
    QString pubDate, dcDate;
    while (xml.readNextChild()) {
        if (isRssElement(xml, u"title"))
            item.title = shownText(xml.readText());
        else if (isRssElement(xml, u"link"))
            item.link = resolvedLink(base, xml.readText());
        else if (isRssElement(xml, u"guid"))
            item.guid = xml.readText().trimmed();
        else if (isRssElement(xml, u"pubDate"))
            pubDate = xml.readText();
        else if (xml.name() == u"date" && xml.namespaceUri() == kDublinCore)
            dcDate = xml.readText();
        else
            xml.skip();
    }
    item.published = parseFeedDate(pubDate.isEmpty() ? dcDate : pubDate);
    feed.items << item;
}

// The children of <rss>, <rdf:RDF> and <channel>: RSS 1.0 and some early
// feeds keep their items beside the channel instead of in it.
void readRssChildren(FeedXml &xml, const QUrl &address, Feed &feed, bool inChannel)
{
    while (xml.readNextChild()) {
        const QUrl base = feed.siteLink.isEmpty() ? address : feed.siteLink;
        if (isRssElement(xml, u"item"))
            readRssItem(xml, base, feed);
        else if (!inChannel && isRssElement(xml, u"channel"))
            readRssChildren(xml, address, feed, true);
        else if (inChannel && isRssElement(xml, u"title"))
            feed.title = shownText(xml.readText());
        else if (inChannel && isRssElement(xml, u"link") && feed.siteLink.isEmpty())
            feed.siteLink = QUrl(resolvedLink(address, xml.readText()));
        else
            xml.skip();
    }
}

QUrl withXmlBase(const FeedXml &xml, const QUrl &base)
{
    const QString xmlBase = xml.attribute("http://www.w3.org/XML/1998/namespace", "base").trimmed();
    return xmlBase.isEmpty() ? base : base.resolved(QUrl(xmlBase));
}

// An Atom text construct: "text" as it is, "html" with its tags dropped and
// its references decoded, "xhtml" as the text of its elements.
QString atomText(FeedXml &xml)
{
    const bool html = xml.attribute("type") == u"html";
    QString text = xml.readText();
    if (html) {
        static const QRegularExpression tags(u"<[^>]*>"_s);
        text = decodeHtmlEntities(text.remove(tags));
    }
    return text.simplified();
}

// The href of an alternate link (or one without rel), else empty.
QString atomAlternate(FeedXml &xml, const QUrl &base)
{
    const QString rel = xml.attribute("rel");
    const QString href = rel.isEmpty() || rel == u"alternate"
                             ? resolvedLink(withXmlBase(xml, base), xml.attribute("href"))
                             : QString();
    xml.skip();
    return href;
}

void readAtomEntry(FeedXml &xml, const QUrl &feedBase, Feed &feed)
{
    const QUrl base = withXmlBase(xml, feedBase);
    FeedItem item;
    QString published, updated;
    while (xml.readNextChild()) {
        const QStringView name = xml.name();
        if (xml.namespaceUri() != kAtom)
            xml.skip();
        else if (name == u"id")
            item.guid = xml.readText().trimmed();
        else if (name == u"title")
            item.title = atomText(xml);
        else if (name == u"link" && item.link.isEmpty())
            item.link = atomAlternate(xml, base);
        else if (name == u"published")
            published = xml.readText();
        else if (name == u"updated")
            updated = xml.readText();
        else
            xml.skip();
    }
    item.published = parseFeedDate(published.isEmpty() ? updated : published);
    feed.items << item;
}

void readAtom(FeedXml &xml, const QUrl &address, Feed &feed)
{
    const QUrl base = withXmlBase(xml, address);
    while (xml.readNextChild()) {
        const QStringView name = xml.name();
        if (xml.namespaceUri() != kAtom)
            xml.skip();
        else if (name == u"entry")
            readAtomEntry(xml, base, feed);
        else if (name == u"title")
            feed.title = atomText(xml);
        else if (name == u"link" && feed.siteLink.isEmpty())
            feed.siteLink = QUrl(atomAlternate(xml, base));
        else
            xml.skip();
    }
}

} // namespace

std::optional<FeedDocument> readFeedDocument(const QByteArray &data, const QUrl &address,
                                             QString *error)
{
    FeedXml xml(data);
    FeedDocument document;
    if (xml.readRoot()) {
        const QString root = xml.name().toString();
        if (root == u"rss" || root == u"RDF") {
            readRssChildren(xml, address, document.feed, false);
        } else if (root == u"feed" && xml.namespaceUri() == kAtom) {
            readAtom(xml, address, document.feed);
        } else if (root == u"opml") {
            document.kind = FeedDocument::Kind::SubscriptionList;
            document.subscriptions = readOpml(xml, address);
        } else {
            *error = u"not a feed or a subscription list: its root element is <%1>"_s.arg(root);
            return std::nullopt;
        }
    }
    if (QString why = xml.error(); !why.isEmpty()) {
        *error = why;
        return std::nullopt;
    }
    return document;
}

} // namespace qrt::feeds
