#include "sources/TtrssReader.h"

#include "sources/SourceContext.h"

using namespace Qt::StringLiterals;

namespace qrt::sources {

QString TtrssReader::name() const
{
    return u"ttrss"_s;
}

QString TtrssReader::title() const
{
    return u"Tiny Tiny RSS"_s;
}

bool TtrssReader::runsOn(db::Engine engine) const
{
    return engine == db::Engine::PostgreSQL;
}

bool TtrssReader::prepare(SourceContext &context, QString *error) const
{
    return chooseUser(
        context, u"SELECT id, login FROM "_s + context.table(u"ttrss_users"_s) + u" ORDER BY id"_s,
        error);
}

std::vector<TableNeed> TtrssReader::needs() const
{
    return {{u"ttrss_user_entries"_s, {u"int_id"_s, u"ref_id"_s, u"feed_id"_s, u"owner_uid"_s}},
            {u"ttrss_entries"_s, {u"id"_s, u"title"_s, u"updated"_s}},
            {u"ttrss_feeds"_s,
             {u"id"_s, u"owner_uid"_s, u"title"_s, u"cat_id"_s, u"feed_url"_s, u"site_url"_s}},
            {u"ttrss_feed_categories"_s, {u"id"_s, u"title"_s}},
            {u"ttrss_users"_s, {u"id"_s, u"login"_s}}};
}

QString TtrssReader::feedsStatement(const SourceContext &context) const
{
    return u"SELECT f.id, f.id, f.title, f.site_url, f.feed_url, c.id, c.title FROM "_s +
           context.table(u"ttrss_feeds"_s) + u" AS f LEFT JOIN "_s +
           context.table(u"ttrss_feed_categories"_s) +
           u" AS c ON c.id = f.cat_id WHERE f.owner_uid = "_s + QString::number(context.userId);
}

ItemSource TtrssReader::items(const SourceContext &context) const
{
    return {context.table(u"ttrss_user_entries"_s) + u" AS ue INNER JOIN "_s +
                context.table(u"ttrss_entries"_s) + u" AS e ON e.id = ue.ref_id"_s,
            u"ue.owner_uid = "_s + QString::number(context.userId) +
                u" AND ue.feed_id IS NOT NULL"_s,
            u"ue.int_id"_s,
            u"ue.feed_id"_s,
            u"e.title"_s,
            u"e.updated"_s,
            LocalTime::Kind::UtcTimestamp};
}

} // namespace qrt::sources
