#include "sources/MinifluxReader.h"

#include "sources/SourceContext.h"

using namespace Qt::StringLiterals;

namespace qrt::sources {

QString MinifluxReader::name() const
{
    return u"miniflux"_s;
}

QString MinifluxReader::title() const
{
    return u"Miniflux"_s;
}

bool MinifluxReader::runsOn(db::Engine engine) const
{
    return engine == db::Engine::PostgreSQL;
}

bool MinifluxReader::prepare(SourceContext &context, QString *error) const
{
    return chooseUser(
        context, u"SELECT id, username FROM "_s + context.table(u"users"_s) + u" ORDER BY id"_s,
        error);
}

std::vector<TableNeed> MinifluxReader::needs() const
{
    return {{u"entries"_s,
             {u"id"_s, u"user_id"_s, u"feed_id"_s, u"published_at"_s, u"title"_s, u"status"_s}},
            {u"feeds"_s,
             {u"id"_s, u"user_id"_s, u"category_id"_s, u"title"_s, u"feed_url"_s, u"site_url"_s}},
            {u"categories"_s, {u"id"_s, u"title"_s}},
            {u"users"_s, {u"id"_s, u"username"_s}}};
}

QString MinifluxReader::feedsStatement(const SourceContext &context) const
{
    return u"SELECT f.id, f.id, f.title, f.site_url, f.feed_url, c.id, c.title FROM "_s +
           context.table(u"feeds"_s) + u" AS f LEFT JOIN "_s + context.table(u"categories"_s) +
           u" AS c ON c.id = f.category_id WHERE f.user_id = "_s + QString::number(context.userId);
}

ItemSource MinifluxReader::items(const SourceContext &context) const
{
    return {context.table(u"entries"_s) + u" AS e"_s,
            u"e.user_id = "_s + QString::number(context.userId) + u" AND e.status <> 'removed'"_s,
            u"e.id"_s,
            u"e.feed_id"_s,
            u"e.title"_s,
            u"e.published_at"_s,
            LocalTime::Kind::Instant};
}

} // namespace qrt::sources
