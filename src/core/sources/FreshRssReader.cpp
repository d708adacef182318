#include "sources/FreshRssReader.h"

#include "sources/SourceContext.h"

using namespace Qt::StringLiterals;

namespace qrt::sources {

QString FreshRssReader::name() const
{
    return u"freshrss"_s;
}

QString FreshRssReader::title() const
{
    return u"FreshRSS"_s;
}

bool FreshRssReader::runsOn(db::Engine engine) const
{
    return engine == db::Engine::SQLite || engine == db::Engine::PostgreSQL;
}

namespace {

// The prefixes before "entry" of every complete set of tables, one a user.
QStringList userPrefixes(const Catalog &catalog)
{
    QStringList prefixes;
    for (const QString &table : catalog.tables())
        if (table.endsWith(u"_entry"_s)) {
            const QString prefix = table.chopped(5);
            if (catalog.hasTable(prefix + u"feed"_s) && catalog.hasTable(prefix + u"category"_s))
                prefixes << catalog.realName(table).chopped(5);
        }
    return prefixes;
}

// "freshrss_alice_" names the user "alice"; another prefix stays whole.
QString userOf(const QString &prefix)
{
    const QString user = prefix.chopped(1);
    return user.startsWith(u"freshrss_"_s) ? user.mid(9) : user;
}

} // namespace

int FreshRssReader::likeness(const SourceContext &context) const
{
    if (context.engine == db::Engine::PostgreSQL)
        return userPrefixes(context.catalog).isEmpty() ? 0 : 3;
    return Reader::likeness(context);
}

bool FreshRssReader::prepare(SourceContext &context, QString *error) const
{
    if (context.engine != db::Engine::PostgreSQL)
        return true;
    const QStringList prefixes = userPrefixes(context.catalog);
    QStringList users;
    for (const QString &prefix : prefixes)
        users << userOf(prefix);
    const int index = pickUser(users, context.options.readerUser, error);
    if (index < 0)
        return false;
    context.tablePrefix = prefixes[index];
    context.userName = users[index];
    return true;
}

std::vector<TableNeed> FreshRssReader::needs() const
{
    return {{u"entry"_s, {u"id"_s, u"title"_s, u"date"_s, u"id_feed"_s}},
            {u"feed"_s, {u"id"_s, u"name"_s, u"website"_s, u"url"_s, u"category"_s}},
            {u"category"_s, {u"id"_s, u"name"_s}}};
}

QString FreshRssReader::feedsStatement(const SourceContext &context) const
{
    return u"SELECT f.id, f.id, f.name, f.website, f.url, c.id, c.name FROM "_s +
           context.table(u"feed"_s) + u" AS f LEFT JOIN "_s + context.table(u"category"_s) +
           u" AS c ON c.id = f.category"_s;
}

ItemSource FreshRssReader::items(const SourceContext &context) const
{
    return {context.table(u"entry"_s) + u" AS e"_s,
            u"1 = 1"_s,
            u"e.id"_s,
            u"e.id_feed"_s,
            u"e.title"_s,
            u"e.\"date\""_s,
            LocalTime::Kind::UnixSeconds};
}

} // namespace qrt::sources
