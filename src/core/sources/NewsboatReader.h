#pragma once
// Newsboat's cache.db (SQLite): rss_feed, keyed by the feed's URL, and
// rss_item, whose pubDate is Unix seconds and whose deleted flag marks
// items the user removed. Tags and renamed titles live in the urls file.

#include "sources/Reader.h"

namespace qrt::sources {

class NewsboatReader final : public Reader
{
public:
    QString name() const override;
    QString title() const override;
    bool runsOn(db::Engine engine) const override;
    std::vector<TableNeed> needs() const override;
    QString feedsStatement(const SourceContext &context) const override;
    void completeFeeds(std::vector<FeedRow> &feeds, SourceContext &context,
                       QStringList *notices) const override;
    ItemSource items(const SourceContext &context) const override;
};

} // namespace qrt::sources
