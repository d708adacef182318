#include "demodata/DemoDatabase.h"

#include "db/Connection.h"
#include "demodata/DemoGenerator.h"
#include "demodata/NewsSchema.h"

#include <QFile>
#include <QFileInfo>
#include <QSqlError>
#include <QSqlQuery>

#include <libpq-fe.h>
#include <sqlite3.h>

#include <charconv>
#include <string>

using namespace Qt::StringLiterals;

namespace qrt::db {

namespace {

constexpr qint64 kProgressStep = 1 << 16;
constexpr size_t kCopyChunk = 1 << 20;

bool report(const DemoDatabase::Progress &progress, qint64 done, qint64 total)
{
    return !progress || progress(done, total);
}

// Writes a SQLite file through the engine's own API: the fastest way in, and
// the file appears under its name only once it is complete.
class SqliteWriter
{
public:
    explicit SqliteWriter(const QString &path)
        : m_path(path)
        , m_temp(path + u".part"_s)
    {}
    ~SqliteWriter()
    {
        for (sqlite3_stmt *stmt : m_stmts)
            sqlite3_finalize(stmt);
        if (m_db)
            sqlite3_close(m_db);
        QFile::remove(m_temp);
    }

    bool run(DemoGenerator &gen, qint64 total, const DemoDatabase::Progress &progress,
             QString *error)
    {
        QFile::remove(m_temp);
        if (sqlite3_open_v2(QFile::encodeName(m_temp).constData(), &m_db,
                            SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr) != SQLITE_OK)
            return fail(error);
        if (!exec("PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF; PRAGMA page_size=8192;") ||
            !createTables() || !exec("BEGIN") || !writeCatalogue(gen))
            return fail(error);
        sqlite3_stmt *news = prepare("INSERT INTO News VALUES (?,?,?,?)");
        if (!news)
            return fail(error);
        bool cancelled = false;
        const bool ok = gen.generate([&](const DemoGenerator::Item &item) {
            sqlite3_bind_int64(news, 1, item.id);
            sqlite3_bind_text(news, 2, item.pubDate, 19, SQLITE_STATIC);
            sqlite3_bind_int(news, 3, item.channel);
            sqlite3_bind_text(news, 4, item.title->data(), static_cast<int>(item.title->size()),
                              SQLITE_STATIC);
            if (sqlite3_step(news) != SQLITE_DONE)
                return false;
            sqlite3_reset(news);
            if (item.id % kProgressStep == 0 && !report(progress, item.id, total))
                return !(cancelled = true);
            return true;
        });
        if (cancelled) {
            *error = u"cancelled"_s;
            return false;
        }
        if (!ok || !execAll(newsKeys(Engine::SQLite)) || !exec("COMMIT"))
            return fail(error);
        for (sqlite3_stmt *stmt : m_stmts)
            sqlite3_finalize(stmt);
        m_stmts.clear();
        sqlite3_close(m_db);
        m_db = nullptr;
        QFile::remove(m_path);
        if (!QFile::rename(m_temp, m_path)) {
            *error = u"cannot move the new database to %1"_s.arg(m_path);
            return false;
        }
        report(progress, total, total);
        return true;
    }

private:
    bool fail(QString *error)
    {
        *error = m_db ? QString::fromUtf8(sqlite3_errmsg(m_db)) : u"cannot create %1"_s.arg(m_temp);
        return false;
    }
    bool exec(const char *sql)
    {
        return sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
    }
    bool createTables() { return execAll(newsSchema(Engine::SQLite, true)); }
    bool execAll(const QStringList &statements)
    {
        for (const QString &statement : statements)
            if (!exec(statement.toUtf8().constData()))
                return false;
        return true;
    }
    sqlite3_stmt *prepare(const char *sql)
    {
        sqlite3_stmt *stmt = nullptr;
        if (sqlite3_prepare_v2(m_db, sql, -1, &stmt, nullptr) != SQLITE_OK)
            return nullptr;
        m_stmts.push_back(stmt);
        return stmt;
    }
    bool insertNamed(sqlite3_stmt *stmt, int id, const QString &name)
    {
        const QByteArray utf8 = name.toUtf8();
        sqlite3_bind_int(stmt, 1, id);
        sqlite3_bind_text(stmt, 2, utf8.constData(), static_cast<int>(utf8.size()),
                          SQLITE_TRANSIENT);
        const bool ok = sqlite3_step(stmt) == SQLITE_DONE;
        sqlite3_reset(stmt);
        return ok;
    }
    bool writeCatalogue(const DemoGenerator &gen)
    {
        sqlite3_stmt *categories = prepare("INSERT INTO Categories VALUES (?,?)");
        sqlite3_stmt *providers = prepare("INSERT INTO Providers VALUES (?,?)");
        sqlite3_stmt *channels = prepare("INSERT INTO Channels VALUES (?,?,?,?)");
        if (!categories || !providers || !channels)
            return false;
        for (int i = 0; i < gen.categories().size(); ++i)
            if (!insertNamed(categories, i + 1, gen.categories()[i]))
                return false;
        for (int i = 0; i < gen.providers().size(); ++i)
            if (!insertNamed(providers, i + 1, gen.providers()[i]))
                return false;
        for (const auto &c : gen.channels()) {
            sqlite3_bind_int(channels, 3, c.provider);
            sqlite3_bind_int(channels, 4, c.category);
            if (!insertNamed(channels, c.id, c.name))
                return false;
        }
        return true;
    }

    QString m_path;
    QString m_temp;
    sqlite3 *m_db = nullptr;
    std::vector<sqlite3_stmt *> m_stmts;
};

QString sqlText(const QString &text)
{
    return u'\'' + QString(text).replace(u'\'', u"''"_s) + u'\'';
}

// COPY's text form of one item: tab-separated, with backslash, tab and line
// ends in the title escaped.
void appendCopyRow(std::string &out, const DemoGenerator::Item &item)
{
    char number[24];
    out.append(number, std::to_chars(number, number + sizeof number, item.id).ptr);
    out += '\t';
    out.append(item.pubDate, 19);
    out += '\t';
    out.append(number, std::to_chars(number, number + sizeof number, item.channel).ptr);
    out += '\t';
    for (const char c : *item.title) {
        if (c == '\\' || c == '\t' || c == '\n' || c == '\r')
            out += '\\';
        out += c == '\t' ? 't' : c == '\n' ? 'n' : c == '\r' ? 'r' : c;
    }
    out += '\n';
}

// Writes to a PostgreSQL database in one transaction: the catalogue in
// INSERTs, the news through COPY into a table made in the same transaction
// (FREEZE: no later pass to mark the rows visible), then the keys.
class PostgresWriter
{
public:
    bool run(const QString &target, bool replace, DemoGenerator &gen, qint64 total,
             const DemoDatabase::Progress &progress, QString *error)
    {
        if (!m_connection.Open(target, Connection::Access::ReadWrite))
            return fail(error, m_connection.lastError());
        m_db = m_connection.database();
        PGconn *pg = m_connection.postgresHandle();
        if (!pg)
            return fail(error, u"no PostgreSQL client connection"_s);
        if (!m_db.transaction())
            return fail(error, m_db.lastError().text());
        if (replace && !exec(u"DROP TABLE IF EXISTS News, Channels, Providers, Categories"_s))
            return fail(error, m_lastError);
        for (const QString &statement : newsSchema(Engine::PostgreSQL, true))
            if (!exec(statement))
                return fail(error, m_lastError);
        if (!writeCatalogue(gen))
            return fail(error, m_lastError);
        bool cancelled = false;
        if (!copyNews(pg, gen, total, progress, cancelled)) {
            m_db.rollback();
            return fail(error, cancelled ? u"cancelled"_s : m_lastError);
        }
        for (const QString &statement : newsKeys(Engine::PostgreSQL))
            if (!exec(statement))
                return fail(error, m_lastError);
        if (!m_db.commit())
            return fail(error, m_db.lastError().text());
        report(progress, total, total);
        return true;
    }

private:
    bool copyNews(PGconn *pg, DemoGenerator &gen, qint64 total,
                  const DemoDatabase::Progress &progress, bool &cancelled)
    {
        if (!result(PQexec(pg, "COPY News (ID, pubDate, Channel, Title) FROM STDIN WITH (FREEZE)"),
                    PGRES_COPY_IN))
            return false;
        std::string chunk;
        chunk.reserve(kCopyChunk + 4096);
        const auto send = [&] {
            const bool sent = PQputCopyData(pg, chunk.data(), int(chunk.size())) == 1;
            chunk.clear();
            return sent;
        };
        const bool ok = gen.generate([&](const DemoGenerator::Item &item) {
            appendCopyRow(chunk, item);
            if (chunk.size() >= kCopyChunk && !send())
                return false;
            if (item.id % kProgressStep == 0 && !report(progress, item.id, total))
                return !(cancelled = true);
            return true;
        });
        const bool sent = ok && (chunk.empty() || send());
        if (PQputCopyEnd(pg, sent ? nullptr : "stopped") != 1)
            return result(nullptr, PGRES_COMMAND_OK);
        return result(PQgetResult(pg), PGRES_COMMAND_OK) && sent;
    }
    // Takes a libpq result (and any after it); true when it had the status.
    bool result(PGresult *first, ExecStatusType wanted)
    {
        PGconn *pg = m_connection.postgresHandle();
        const bool ok = first && PQresultStatus(first) == wanted;
        if (!ok)
            m_lastError =
                QString::fromUtf8(first ? PQresultErrorMessage(first) : PQerrorMessage(pg))
                    .trimmed();
        PQclear(first);
        if (wanted != PGRES_COPY_IN)
            while (PGresult *more = PQgetResult(pg))
                PQclear(more);
        return ok;
    }

    bool fail(QString *error, const QString &why)
    {
        *error = why;
        return false;
    }
    bool exec(const QString &sql)
    {
        QSqlQuery query(m_db);
        if (query.exec(sql))
            return true;
        m_lastError = query.lastError().text();
        return false;
    }
    bool writeCatalogue(const DemoGenerator &gen)
    {
        QStringList rows;
        for (int i = 0; i < gen.categories().size(); ++i)
            rows << u"(%1,%2)"_s.arg(i + 1).arg(sqlText(gen.categories()[i]));
        if (!exec(u"INSERT INTO Categories VALUES "_s + rows.join(u',')))
            return false;
        rows.clear();
        for (int i = 0; i < gen.providers().size(); ++i)
            rows << u"(%1,%2)"_s.arg(i + 1).arg(sqlText(gen.providers()[i]));
        if (!exec(u"INSERT INTO Providers VALUES "_s + rows.join(u',')))
            return false;
        rows.clear();
        for (const auto &c : gen.channels())
            rows << u"(%1,%2,%3,%4)"_s.arg(c.id)
                        .arg(sqlText(c.name))
                        .arg(c.provider)
                        .arg(c.category);
        return exec(u"INSERT INTO Channels VALUES "_s + rows.join(u','));
    }

    Connection m_connection;
    QSqlDatabase m_db;
    QString m_lastError;
};

} // namespace

bool DemoDatabase::create(const QString &target, const Options &options, QString *error,
                          const Progress &progress)
{
    QString ignored;
    if (!error)
        error = &ignored;
    if (options.items < 0 || options.days < 1 || !options.until.isValid()) {
        *error = u"bad options: items must not be negative and the span must hold a day"_s;
        return false;
    }
    const ConnectionString cs = ConnectionString::parse(target);
    DemoGenerator generator(options);
    if (cs.engine == Engine::SQLite) {
        if (QFileInfo::exists(cs.database) && !options.replace) {
            *error = u"%1 exists already; replace it explicitly"_s.arg(cs.database);
            return false;
        }
        return SqliteWriter(cs.database).run(generator, options.items, progress, error);
    }
    if (cs.engine == Engine::PostgreSQL)
        return PostgresWriter().run(target, options.replace, generator, options.items, progress,
                                    error);
    *error = cs.isValid() ? u"demo data can be written to SQLite or PostgreSQL only"_s : cs.error;
    return false;
}

} // namespace qrt::db
