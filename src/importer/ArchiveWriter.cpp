#include "importer/ArchiveWriter.h"

#include "demodata/NewsSchema.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>

using namespace Qt::StringLiterals;

namespace qrt::importer {

namespace {

const QString kUncategorized = u"Uncategorized"_s;

// Integer and text types both engines know.
const QStringList kImportTables = {
    u"CREATE TABLE ImportedFeeds (Url TEXT PRIMARY KEY, "
    "Channel INTEGER NOT NULL REFERENCES Channels(ID), ETag TEXT, LastModified TEXT)"_s,
    u"CREATE TABLE ImportedItems (Channel INTEGER NOT NULL REFERENCES Channels(ID), "
    "ItemKey TEXT NOT NULL, PRIMARY KEY (Channel, ItemKey))"_s,
};

bool hasTable(const QStringList &tables, const QString &name)
{
    return tables.contains(name, Qt::CaseInsensitive);
}

// A prepared statement run with its values; false with the reason.
bool run(QSqlQuery &query, const QString &sql, const QVariantList &values, QString *error)
{
    if (!query.prepare(sql)) {
        *error = query.lastError().text();
        return false;
    }
    for (const QVariant &value : values)
        query.addBindValue(value);
    if (!query.exec()) {
        *error = query.lastError().text();
        return false;
    }
    return true;
}

} // namespace

// A SQLite archive is written with a write-ahead log: a process killed
// mid-transaction leaves the log beside the file, which readers, read-only
// ones included, simply pass over, where a rollback journal would stop
// every read-only reader until a writer came. At rest the archive goes back
// to a plain file that opens anywhere, on read-only media too; should a
// reader hold it just then, it stays in WAL mode, which is as good.
ArchiveWriter::~ArchiveWriter()
{
    QString ignored;
    if (m_logged)
        exec(u"PRAGMA journal_mode = DELETE"_s, &ignored);
}

bool ArchiveWriter::open(const QString &target, QString *error)
{
    const db::ConnectionString cs = db::ConnectionString::parse(target);
    if (cs.engine != db::Engine::SQLite && cs.engine != db::Engine::PostgreSQL) {
        *error = cs.isValid() ? u"the archive must be a SQLite file or a PostgreSQL database"_s
                              : cs.error;
        return false;
    }
    if (cs.engine == db::Engine::SQLite && !QFileInfo(cs.database).absoluteDir().exists()) {
        *error = u"no folder %1"_s.arg(QFileInfo(cs.database).absolutePath());
        return false;
    }
    if (!m_connection.Open(target, db::Connection::Access::ReadWrite)) {
        *error = m_connection.lastError();
        return false;
    }
    // Another import, or the demo generator, may hold the file a moment.
    if (cs.engine == db::Engine::SQLite && !exec(u"PRAGMA busy_timeout = 10000"_s, error))
        return false;
    const QStringList tables = m_connection.database().tables();
    if (!tables.isEmpty() && !hasTable(tables, u"News"_s)) {
        *error = u"it is not a news archive: it has other tables (%1)"_s.arg(tables.join(u", "));
        return false;
    }
    for (const db::NewsTable &table : db::newsTables()) {
        // As the engine spells it: PostgreSQL folds unquoted names to lower case.
        const QString name = tables.value(
            tables.indexOf(QRegularExpression(u"^%1$"_s.arg(QLatin1StringView(table.name)),
                                              QRegularExpression::CaseInsensitiveOption)));
        const QSqlRecord columns = m_connection.database().record(name);
        for (const QString &column : table.columns)
            if (!tables.isEmpty() && columns.indexOf(column) < 0) {
                *error = u"it is not a news archive: table %1 has no column %2"_s.arg(
                    QLatin1StringView(table.name), column);
                return false;
            }
    }
    if (cs.engine == db::Engine::SQLite) {
        // NORMAL: a commit waits for no disk flush; the log keeps every
        // transaction whole through a kill, and a power cut loses at most
        // the last ones, never the file.
        if (!exec(u"PRAGMA journal_mode = WAL"_s, error) ||
            !exec(u"PRAGMA synchronous = NORMAL"_s, error))
            return false;
        m_logged = true;
    }
    return createTables(tables, error);
}

// The news tables for a new database, and the import's own for any archive
// that lacks them, in one transaction: a half-made schema is never left.
bool ArchiveWriter::createTables(const QStringList &existing, QString *error)
{
    QStringList statements;
    if (existing.isEmpty())
        statements = db::newsSchema(m_connection.engine());
    if (!hasTable(existing, u"ImportedFeeds"_s))
        statements << kImportTables;
    if (statements.isEmpty())
        return true;
    if (!exec(u"BEGIN"_s, error))
        return false;
    for (const QString &statement : std::as_const(statements))
        if (!exec(statement, error)) {
            exec(u"ROLLBACK"_s, error);
            return false;
        }
    return exec(u"COMMIT"_s, error);
}

bool ArchiveWriter::exec(const QString &sql, QString *error)
{
    QSqlQuery query(m_connection.database());
    if (query.exec(sql))
        return true;
    *error = query.lastError().text();
    return false;
}

ArchiveWriter::Validators ArchiveWriter::validators(const QString &address) const
{
    QSqlQuery query(m_connection.database());
    QString ignored;
    if (run(query, u"SELECT ETag, LastModified FROM ImportedFeeds WHERE Url = ?"_s, {address},
            &ignored) &&
        query.next())
        return {query.value(0).toString(), query.value(1).toString()};
    return {};
}

int ArchiveWriter::write(const FeedRecord &feed, QString *error)
{
    // SQLite takes the write lock at once, PostgreSQL locks the news table
    // against a second writer: two imports at once wait for each other
    // instead of giving two items one ID. Readers go on.
    const bool sqlite = m_connection.engine() == db::Engine::SQLite;
    if (!exec(sqlite ? u"BEGIN IMMEDIATE"_s : u"BEGIN"_s, error) ||
        (!sqlite && !exec(u"LOCK TABLE News IN SHARE ROW EXCLUSIVE MODE"_s, error))) {
        QString ignored;
        exec(u"ROLLBACK"_s, &ignored);
        return -1;
    }
    QSqlQuery query(m_connection.database());
    const int channel = channelOf(feed, error);
    const int added = channel > 0 ? writeItems(channel, feed.items, error) : -1;
    if (added < 0 ||
        !run(query, u"UPDATE ImportedFeeds SET ETag = ?, LastModified = ? WHERE Url = ?"_s,
             {feed.validators.etag, feed.validators.lastModified, feed.address}, error) ||
        !exec(u"COMMIT"_s, error)) {
        QString ignored;
        exec(u"ROLLBACK"_s, &ignored);
        return -1;
    }
    return added;
}

// The ID of the row of `table` named so, made when there is none.
int ArchiveWriter::idOf(const QString &table, const QString &column, const QString &name,
                        QString *error)
{
    QSqlQuery query(m_connection.database());
    if (!run(query, u"SELECT ID FROM %1 WHERE %2 = ? ORDER BY ID"_s.arg(table, column), {name},
             error))
        return -1;
    if (query.next())
        return query.value(0).toInt();
    if (!run(query, u"SELECT coalesce(max(ID), 0) + 1 FROM %1"_s.arg(table), {}, error) ||
        !query.next())
        return -1;
    const int id = query.value(0).toInt();
    return run(query, u"INSERT INTO %1 (ID, %2) VALUES (?, ?)"_s.arg(table, column), {id, name},
               error)
               ? id
               : -1;
}

// The feed's channel: the one its address had before, with today's name and
// provider (and category, when one is given), or a new one.
int ArchiveWriter::channelOf(const FeedRecord &feed, QString *error)
{
    const int provider = idOf(u"Providers"_s, u"Provider"_s, feed.provider, error);
    const QString categoryName = feed.category.isEmpty() ? kUncategorized : feed.category;
    const int category = idOf(u"Categories"_s, u"Name"_s, categoryName, error);
    if (provider < 0 || category < 0)
        return -1;
    QSqlQuery query(m_connection.database());
    if (!run(query, u"SELECT Channel FROM ImportedFeeds WHERE Url = ?"_s, {feed.address}, error))
        return -1;
    if (query.next()) {
        const int channel = query.value(0).toInt();
        const bool ok =
            feed.category.isEmpty()
                ? run(query, u"UPDATE Channels SET Channel = ?, Provider = ? WHERE ID = ?"_s,
                      {feed.channel, provider, channel}, error)
                : run(query,
                      u"UPDATE Channels SET Channel = ?, Provider = ?, Category = ? WHERE ID = ?"_s,
                      {feed.channel, provider, category, channel}, error);
        return ok ? channel : -1;
    }
    if (!run(query, u"SELECT coalesce(max(ID), 0) + 1 FROM Channels"_s, {}, error) || !query.next())
        return -1;
    const int channel = query.value(0).toInt();
    const bool ok =
        run(query, u"INSERT INTO Channels (ID, Channel, Provider, Category) VALUES (?, ?, ?, ?)"_s,
            {channel, feed.channel, provider, category}, error) &&
        run(query, u"INSERT INTO ImportedFeeds (Url, Channel) VALUES (?, ?)"_s,
            {feed.address, channel}, error);
    return ok ? channel : -1;
}

int ArchiveWriter::writeItems(int channel, const QList<Item> &items, QString *error)
{
    QSqlQuery query(m_connection.database());
    if (!run(query, u"SELECT ItemKey FROM ImportedItems WHERE Channel = ?"_s, {channel}, error))
        return -1;
    QSet<QString> known;
    while (query.next())
        known.insert(query.value(0).toString());
    if (!run(query, u"SELECT coalesce(max(ID), 0) FROM News"_s, {}, error) || !query.next())
        return -1;
    qint64 id = query.value(0).toLongLong();
    QSqlQuery news(m_connection.database());
    QSqlQuery key(m_connection.database());
    if (!news.prepare(u"INSERT INTO News (ID, pubDate, Channel, Title) VALUES (?, ?, ?, ?)"_s) ||
        !key.prepare(u"INSERT INTO ImportedItems (Channel, ItemKey) VALUES (?, ?)"_s)) {
        *error = news.lastError().text() + key.lastError().text();
        return -1;
    }
    int added = 0;
    for (const Item &item : items) {
        if (known.contains(item.key))
            continue;
        known.insert(item.key);
        news.addBindValue(++id);
        news.addBindValue(item.pubDate);
        news.addBindValue(channel);
        news.addBindValue(item.title);
        key.addBindValue(channel);
        key.addBindValue(item.key);
        if (!news.exec() || !key.exec()) {
            *error = news.lastError().text() + key.lastError().text();
            return -1;
        }
        ++added;
    }
    return added;
}

} // namespace qrt::importer
