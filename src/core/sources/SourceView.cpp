#include "sources/SourceView.h"

#include "db/DbLog.h"
#include "sources/Readers.h"
#include "sources/SourceContext.h"
#include "sources/SqliteTables.h"
#include "sources/StableIds.h"

#include <QRegularExpression>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlQuery>
#include <QUrl>

#include <sqlite3.h>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace qrt::sources {

namespace {

const QString kNoCategory = u"Uncategorized"_s;
const QString kNoHost = u"(local)"_s;

sqlite3 *sqliteHandle(const QSqlDatabase &db)
{
    return *static_cast<sqlite3 *const *>(db.driver()->handle().constData());
}

bool isOurSchema(const Catalog &catalog)
{
    return catalog.hasTable(u"News"_s) && catalog.hasTable(u"Channels"_s) &&
           catalog.hasTable(u"Providers"_s) && catalog.hasTable(u"Categories"_s);
}

const Reader *likeliest(const SourceContext &context)
{
    const Reader *best = nullptr;
    int bestLikeness = 0;
    for (const auto &reader : Readers::all()) {
        if (!reader->runsOn(context.engine))
            continue;
        const int likeness = reader->likeness(context);
        if (likeness > bestLikeness) {
            best = reader.get();
            bestLikeness = likeness;
        }
    }
    return best;
}

QString missingOf(const Reader &reader, const SourceContext &context)
{
    for (const TableNeed &need : reader.needs()) {
        const QString table = context.tableName(need.table);
        if (!context.catalog.hasTable(table))
            return u"it has no table %1"_s.arg(table);
        for (const QString &column : need.columns)
            if (!context.catalog.hasColumn(table, column))
                return u"its table %1 has no column %2"_s.arg(table, column);
    }
    return {};
}

bool readFeeds(const Reader &reader, const SourceContext &context, std::vector<FeedRow> &feeds,
               QString *error)
{
    QSqlQuery query(context.db);
    query.setForwardOnly(true);
    if (!query.exec(reader.feedsStatement(context))) {
        *error = query.lastError().text();
        return false;
    }
    while (query.next()) {
        FeedRow feed;
        feed.channelId = query.value(0).toLongLong();
        feed.key = query.value(1).toString();
        feed.title = query.value(2).toString();
        feed.siteUrl = query.value(3).toString();
        feed.feedUrl = query.value(4).toString();
        feed.categoryId = query.value(5).toLongLong();
        feed.category = query.value(6).toString();
        feeds.push_back(feed);
    }
    return true;
}

QString hostOf(const FeedRow &feed)
{
    for (const QString &url : {feed.siteUrl, feed.feedUrl}) {
        const QString host = QUrl(url.trimmed()).host().toLower();
        if (!host.isEmpty())
            return host;
    }
    return kNoHost;
}

struct Tables
{
    SqliteTables::Rows providers;  // ID, Provider
    SqliteTables::Rows categories; // ID, Name
    SqliteTables::Rows channels;   // ID, Channel, Provider, Category
    SqliteTables::Rows feeds;      // feed_key, channel_id
};

Tables tablesOf(std::vector<FeedRow> feeds)
{
    StableIds channelIds;
    StableIds providerIds;
    StableIds categoryIds;
    QStringList hashedChannels;
    QStringList hosts;
    QStringList hashedCategories;
    for (FeedRow &feed : feeds) {
        if (feed.category.isEmpty())
            feed.category = kNoCategory;
        if (feed.title.trimmed().isEmpty())
            feed.title = feed.feedUrl.isEmpty() ? feed.key : feed.feedUrl;
        if (feed.channelId > 0)
            channelIds.reserve(feed.channelId);
        else
            hashedChannels << feed.key;
        if (feed.categoryId > 0)
            categoryIds.reserve(feed.categoryId);
        else
            hashedCategories << feed.category;
        hosts << hostOf(feed);
    }
    channelIds.assign(hashedChannels);
    providerIds.assign(hosts);
    categoryIds.assign(hashedCategories);

    Tables tables;
    QSet<qint64> providers;
    QSet<qint64> categories;
    for (const FeedRow &feed : feeds) {
        const qint64 channel = feed.channelId > 0 ? feed.channelId : channelIds.id(feed.key);
        const QString host = hostOf(feed);
        const qint64 provider = providerIds.id(host);
        const qint64 category =
            feed.categoryId > 0 ? feed.categoryId : categoryIds.id(feed.category);
        if (!providers.contains(provider)) {
            providers.insert(provider);
            tables.providers.push_back({provider, host});
        }
        if (!categories.contains(category)) {
            categories.insert(category);
            tables.categories.push_back({category, feed.category});
        }
        tables.channels.push_back({channel, feed.title, provider, category});
        tables.feeds.push_back({feed.key, channel});
    }
    return tables;
}

// The rows as a VALUES list, or a select of no rows with as many columns.
QString values(const SqliteTables::Rows &rows, int columns)
{
    QStringList texts;
    for (const QVariantList &row : rows) {
        QStringList cells;
        for (const QVariant &cell : row)
            cells << (cell.typeId() == QMetaType::LongLong
                          ? QString::number(cell.toLongLong())
                          : SourceContext::literal(cell.toString()));
        texts << u'(' + cells.join(u", "_s) + u')';
    }
    if (!texts.isEmpty())
        return u"VALUES "_s + texts.join(u", "_s);
    QStringList nothing(columns, u"NULL"_s);
    nothing[0] = u"0"_s;
    return u"SELECT "_s + nothing.join(u", "_s) + u" WHERE 1 = 0"_s;
}

// On SQLite the small tables are virtual tables of the connection; on
// PostgreSQL, whose planner hashes a VALUES list, they are written out.
QString smallTables(Tables tables, const SourceContext &context)
{
    struct Small
    {
        QString name;
        QStringList columns;
        SqliteTables::Rows *rows;
    };
    const std::vector<Small> all = {
        {u"Providers"_s, {u"ID"_s, u"Provider"_s}, &tables.providers},
        {u"Categories"_s, {u"ID"_s, u"Name"_s}, &tables.categories},
        {u"Channels"_s, {u"ID"_s, u"Channel"_s, u"Provider"_s, u"Category"_s}, &tables.channels},
        {u"qrt_feeds"_s, {u"feed_key"_s, u"channel_id"_s}, &tables.feeds},
    };
    QStringList ctes;
    for (const Small &small : all) {
        const QString head = small.name + u'(' + small.columns.join(u", "_s) + u") AS ("_s;
        if (context.engine != db::Engine::SQLite) {
            ctes << head + values(*small.rows, int(small.columns.size())) + u')';
            continue;
        }
        const QString table = u"qrt_mapped_"_s + small.name.toLower().remove(u"qrt_"_s);
        SqliteTables::install(sqliteHandle(context.db), table, small.columns,
                              std::move(*small.rows));
        ctes << head + u"SELECT * FROM "_s + table + u')';
    }
    return ctes.join(u", "_s);
}

QString prefixOf(const Tables &tables, const ItemSource &items, const SourceContext &context)
{
    // Joined, not formatted: the tables hold the reader's texts, which may hold "%1".
    const QString date = context.time.expression(items.date, items.dateKind, context.engine);
    return smallTables(tables, context) + u", News(ID, pubDate, Channel, Title) AS (SELECT "_s +
           items.id + u", "_s + date + u", "_s + items.channel + u", "_s + items.title +
           u" FROM "_s + items.from + u" WHERE ("_s + items.where + u") AND "_s +
           LocalTime::dated(items.date, items.dateKind) + u')';
}

qint64 undatedCount(const ItemSource &items, const QString &prefix, const SourceContext &context)
{
    const QVariant count = context.scalar(
        u"WITH "_s + prefix + u" SELECT count(*) FROM "_s + items.from + u" WHERE ("_s +
        items.where + u") AND NOT "_s + LocalTime::dated(items.date, items.dateKind));
    return count.toLongLong();
}

// Where a statement's own WITH list begins, past blanks and comments.
qsizetype firstWord(const QString &statement)
{
    static const QRegularExpression lead(uR"(^(?:\s+|--[^\n]*(?:\n|$)|/\*.*?\*/)*)"_s,
                                         QRegularExpression::DotMatchesEverythingOption);
    return lead.match(statement).capturedLength();
}

} // namespace

SourceView SourceView::open(const QSqlDatabase &db, db::Engine engine,
                            const db::ConnectionString &options)
{
    SourceView view;
    view.m_sqlite = engine == db::Engine::SQLite;
    if (engine != db::Engine::SQLite && engine != db::Engine::PostgreSQL)
        return view;
    QString error;
    const auto time = LocalTime::forZone(options.timeZone, &error);
    if (!time) {
        view.m_error = error;
        return view;
    }
    SourceContext context{db, engine, Catalog::read(db, engine), options, *time, {}, 0, {}};
    const Reader *reader = nullptr;
    if (!options.reader.isEmpty()) {
        reader = Readers::byName(options.reader);
        if (!reader) {
            view.m_error =
                u"unknown reader \"%1\": Reader= takes %2"_s.arg(options.reader, Readers::names());
            return view;
        }
        if (!reader->runsOn(engine)) {
            view.m_error =
                u"%1 does not keep its news in this kind of database"_s.arg(reader->title());
            return view;
        }
    } else if (!isOurSchema(context.catalog)) {
        reader = likeliest(context);
    }
    if (!reader)
        return view;
    view.m_readerTitle = reader->title();
    const auto fail = [&view](const QString &why) {
        view.m_error = u"%1: %2"_s.arg(view.m_readerTitle, why);
        qCWarning(lcDb).noquote() << view.m_error;
        return view;
    };
    if (!reader->prepare(context, &error))
        return fail(error);
    if (const QString missing = missingOf(*reader, context); !missing.isEmpty())
        return fail(u"this looks like its database, but %1 (a version this component does not "
                    "know?)"_s.arg(missing));
    std::vector<FeedRow> feeds;
    if (!readFeeds(*reader, context, feeds, &error))
        return fail(u"cannot read the feeds: "_s + error);
    QStringList notices;
    reader->completeFeeds(feeds, context, &notices);
    const ItemSource items = reader->items(context);
    if (engine == db::Engine::SQLite)
        context.time.installSqlite(sqliteHandle(db));
    view.m_prefix = prefixOf(tablesOf(feeds), items, context);
    if (const qint64 undated = undatedCount(items, view.m_prefix, context); undated > 0)
        notices << u"%1 items without a date are left out"_s.arg(undated);
    view.m_notice = notices.join(u"; "_s);
    return view;
}

QString SourceView::apply(const QString &statement) const
{
    if (m_prefix.isEmpty())
        return statement;
    static const QRegularExpression with(uR"(^WITH\s+(RECURSIVE\s+)?)"_s,
                                         QRegularExpression::CaseInsensitiveOption);
    const qsizetype start = firstWord(statement);
    const QString rest = statement.mid(start);
    if (const auto m = with.match(rest); m.hasMatch())
        return u"WITH "_s + m.captured(1) + m_prefix + u", "_s + rest.mid(m.capturedLength());
    // SQLite takes no parenthesised query after a WITH list.
    if (m_sqlite && rest.startsWith(u'(')) {
        static const QRegularExpression end(uR"(;\s*$)"_s);
        return u"WITH "_s + m_prefix + u" SELECT * FROM "_s + QString(rest).remove(end);
    }
    return u"WITH "_s + m_prefix + u' ' + rest;
}

} // namespace qrt::sources
