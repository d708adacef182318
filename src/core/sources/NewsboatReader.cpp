#include "sources/NewsboatReader.h"

#include "sources/NewsboatUrls.h"
#include "sources/SourceContext.h"

using namespace Qt::StringLiterals;

namespace qrt::sources {

QString NewsboatReader::name() const
{
    return u"newsboat"_s;
}

QString NewsboatReader::title() const
{
    return u"Newsboat"_s;
}

bool NewsboatReader::runsOn(db::Engine engine) const
{
    return engine == db::Engine::SQLite;
}

std::vector<TableNeed> NewsboatReader::needs() const
{
    return {{u"rss_item"_s, {u"id"_s, u"title"_s, u"feedurl"_s, u"pubDate"_s, u"deleted"_s}},
            {u"rss_feed"_s, {u"rssurl"_s, u"url"_s, u"title"_s}}};
}

QString NewsboatReader::feedsStatement(const SourceContext &context) const
{
    return u"SELECT NULL, rssurl, title, url, rssurl, NULL, NULL FROM "_s +
           context.table(u"rss_feed"_s);
}

void NewsboatReader::completeFeeds(std::vector<FeedRow> &feeds, SourceContext &context,
                                   QStringList *notices) const
{
    const QString path = NewsboatUrls::locate(context.options.urls, context.options.database);
    const NewsboatUrls urls = NewsboatUrls::read(path);
    if (!urls.isRead()) {
        *notices << (context.options.urls.isEmpty()
                         ? u"no Newsboat urls file found: feeds have no category"_s
                         : u"cannot read the urls file \"%1\""_s.arg(path));
        return;
    }
    for (FeedRow &feed : feeds) {
        const NewsboatUrls::Entry entry = urls.entry(feed.key);
        if (!entry.title.isEmpty())
            feed.title = entry.title;
        feed.category = entry.category;
    }
}

ItemSource NewsboatReader::items(const SourceContext &context) const
{
    ItemSource items;
    // One pass over rss_item in table order, each item's feed looked up in
    // the feeds of the connection: walking idx_feedurl feed by feed would
    // read the table's pages once for every feed, as a feed's items lie all
    // over the file. The "+"s keep the planner off idx_feedurl and off
    // idx_deleted, which holds nearly every item under 0.
    items.from = context.table(u"rss_item"_s) +
                 u" AS i INNER JOIN qrt_feeds AS f ON f.feed_key = +i.feedurl"_s;
    items.where = u"+i.deleted = 0"_s;
    items.id = u"i.id"_s;
    items.channel = u"f.channel_id"_s;
    items.title = u"i.title"_s;
    items.date = u"i.pubDate"_s;
    items.dateKind = LocalTime::Kind::UnixSeconds;
    return items;
}

} // namespace qrt::sources
