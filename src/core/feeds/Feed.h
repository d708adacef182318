#pragma once
// What a feed or a subscription list holds, as the feed reader gives it:
// texts decoded, links absolute, dates as instants.

#include <QDateTime>
#include <QList>
#include <QString>
#include <QUrl>

namespace qrt::feeds {

struct FeedItem
{
    QString guid;        // RSS guid, RDF about, Atom id; empty when none
    QString link;        // absolute; empty when none
    QString title;       // entities decoded, white space simplified
    QDateTime published; // invalid when the item has no date that reads
};

struct Feed
{
    QString title;
    QUrl siteLink; // the site the feed is of; empty when it names none
    QList<FeedItem> items;
};

// One feed of an OPML subscription list.
struct Subscription
{
    QUrl url;
    QString title;
    QString folder; // the innermost outline that holds it; empty at the top
};

struct FeedDocument
{
    enum class Kind { Feed, SubscriptionList };
    Kind kind = Kind::Feed;
    Feed feed;
    QList<Subscription> subscriptions;
};

} // namespace qrt::feeds
