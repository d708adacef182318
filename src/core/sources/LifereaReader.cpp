#include "sources/LifereaReader.h"

#include "sources/SourceContext.h"

using namespace Qt::StringLiterals;

namespace qrt::sources {

QString LifereaReader::name() const
{
    return u"liferea"_s;
}

QString LifereaReader::title() const
{
    return u"Liferea"_s;
}

bool LifereaReader::runsOn(db::Engine engine) const
{
    return engine == db::Engine::SQLite;
}

std::vector<TableNeed> LifereaReader::needs() const
{
    return {{u"items"_s, {u"item_id"_s, u"node_id"_s, u"title"_s, u"date"_s, u"comment"_s}},
            {u"node"_s, {u"node_id"_s, u"parent_id"_s, u"title"_s, u"type"_s}},
            {u"subscription"_s, {u"node_id"_s, u"source"_s}},
            {u"subscription_metadata"_s, {u"node_id"_s, u"key"_s, u"value"_s}}};
}

QString LifereaReader::feedsStatement(const SourceContext &context) const
{
    return u"SELECT NULL, s.node_id, n.title, (SELECT m.value FROM "_s +
           context.table(u"subscription_metadata"_s) +
           u" AS m WHERE m.node_id = s.node_id AND m.key = 'homepage' LIMIT 1), s.source, NULL, "
           "p.title FROM "_s +
           context.table(u"subscription"_s) + u" AS s INNER JOIN "_s + context.table(u"node"_s) +
           u" AS n ON n.node_id = s.node_id LEFT JOIN "_s + context.table(u"node"_s) +
           u" AS p ON p.node_id = n.parent_id AND p.type = 'folder' WHERE s.source IS NOT NULL "
           "AND (n.type IS NULL OR n.type NOT IN ('newsbin', 'vfolder', 'folder', 'source'))"_s;
}

ItemSource LifereaReader::items(const SourceContext &context) const
{
    // One pass in table order, as for Newsboat (a feed's items lie all over
    // the file, so items_idx3 would read its pages once for every feed).
    return {context.table(u"items"_s) +
                u" AS i INNER JOIN qrt_feeds AS f ON f.feed_key = +i.node_id"_s,
            u"i.comment IS NULL OR i.comment = 0"_s,
            u"i.item_id"_s,
            u"f.channel_id"_s,
            u"i.title"_s,
            u"i.date"_s,
            LocalTime::Kind::UnixSeconds};
}

} // namespace qrt::sources
