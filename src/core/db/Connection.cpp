#include "db/Connection.h"

#include "db/DbLog.h"
#include "db/Dialect.h"
#include "db/Recordset.h"
#include "db/SqliteFunctions.h"

#include <QFileInfo>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlQuery>
#include <QUrl>

#include <libpq-fe.h>
#include <sqlite3.h>

#include <atomic>
#include <memory>

Q_LOGGING_CATEGORY(lcDb, "qrt.db", QtWarningMsg)

using namespace Qt::StringLiterals;

namespace qrt::db {

namespace {

QString uniqueName()
{
    static std::atomic<quint64> counter{0};
    return u"qrt-connection-%1"_s.arg(++counter);
}

// A PostgreSQL read ends, with an error that draws the empty chart or gives
// the pivot view its reason, within these bounds whatever the server does:
// - a login to an unreachable server gives up after kConnectTimeoutSeconds;
// - the server cancels a statement after the reader's statement limit (see
//   Connection.h), also one that waits for another session's lock;
// - a server that is shut down or dies closes its sockets, which ends the
//   read at once; the next read logs in anew;
// - a server or network that goes silent mid-read is found by TCP keepalives
//   after kKeepaliveIdleSeconds + kKeepaliveCount * kKeepaliveIntervalSeconds.
// Only a server process that is frozen while its machine still answers on
// the network is not found out.
constexpr int kConnectTimeoutSeconds = 5;
constexpr int kKeepaliveIdleSeconds = 10;
constexpr int kKeepaliveIntervalSeconds = 5;
constexpr int kKeepaliveCount = 3;

// A read-only connection to a file in WAL mode that cannot make its -shm
// file says so at its first read: CANTOPEN, or READONLY where the folder
// refuses it.
bool cannotMakeShm(const QSqlDatabase &db)
{
    QSqlQuery probe(db);
    if (probe.exec(u"SELECT 1 FROM sqlite_master"_s))
        return false;
    const int code = probe.lastError().nativeErrorCode().toInt() & 0xff;
    return code == SQLITE_CANTOPEN || code == SQLITE_READONLY;
}

} // namespace

Connection::Connection()
    : m_name(uniqueName())
{}

Connection::~Connection()
{
    Close();
}

void Connection::setLastError(const QString &error)
{
    m_lastError = error;
    qCWarning(lcDb).noquote() << error;
}

QSqlDatabase Connection::database() const
{
    return m_db;
}

bool Connection::IsOpen() const
{
    return m_engine != Engine::None && m_db.isOpen();
}

bool Connection::Open(const QString &connectionString, Access access, int statementTimeoutSeconds)
{
    Close();
    m_lastError.clear();
    m_source = {};
    m_access = access;
    const ConnectionString cs = ConnectionString::parse(connectionString);
    bool ok = false;
    switch (cs.engine) {
    case Engine::SQLite:
        ok = openSqlite(cs, access);
        break;
    case Engine::PostgreSQL:
        ok = openPostgres(cs, access, statementTimeoutSeconds);
        break;
    case Engine::ODBC:
        ok = openOdbc(cs, access);
        break;
    case Engine::None:
        setLastError(u"cannot open the database: "_s + cs.error);
        break;
    }
    if (ok)
        m_engine = cs.engine;
    else
        Close();
    return ok;
}

bool Connection::finishOpen()
{
    if (m_db.open())
        return true;
    setLastError(u"cannot open the database: "_s + m_db.lastError().text());
    return false;
}

// A reader of a feed reader's database sees it through the mapping; one
// that the mapping does not fit is refused with the reason. Writers (the
// demo data, tests) see the tables as they are.
bool Connection::lookAtSource(const ConnectionString &cs)
{
    if (m_access != Access::ReadOnly)
        return true;
    m_source = sources::SourceView::open(m_db, cs.engine, cs);
    if (m_source.error().isEmpty())
        return true;
    setLastError(u"cannot read the database: "_s + m_source.error());
    return false;
}

QString Connection::statementText(const QString &statement) const
{
    QString sql = m_source.apply(Dialect::translate(statement, m_engine));
    qCDebug(lcDb).noquote() << sql;
    return sql;
}

bool Connection::openSqlite(const ConnectionString &cs, Access access)
{
    if (access == Access::ReadOnly && !QFileInfo(cs.database).isFile()) {
        setLastError(u"cannot open the database: no file \"%1\""_s.arg(cs.database));
        return false;
    }
    m_db = QSqlDatabase::addDatabase(u"QSQLITE"_s, m_name);
    m_db.setDatabaseName(cs.database);
    if (access == Access::ReadOnly)
        m_db.setConnectOptions(u"QSQLITE_OPEN_READONLY;QSQLITE_BUSY_TIMEOUT=5000"_s);
    if (!finishOpen())
        return false;
    m_sqlite = *static_cast<sqlite3 *const *>(m_db.driver()->handle().constData());
    if (access == Access::ReadOnly && cannotMakeShm(m_db)) {
        // In WAL mode, with its reader not running, in a folder we may not
        // write: a read-only connection cannot make the -shm file it needs.
        // Nobody writes the file then, so it is read as it stands.
        m_db.close();
        QUrl uri = QUrl::fromLocalFile(QFileInfo(cs.database).absoluteFilePath());
        uri.setQuery(u"immutable=1"_s);
        m_db.setDatabaseName(uri.toString(QUrl::FullyEncoded));
        m_db.setConnectOptions(
            u"QSQLITE_OPEN_READONLY;QSQLITE_OPEN_URI;QSQLITE_BUSY_TIMEOUT=5000"_s);
        if (!finishOpen())
            return false;
        m_sqlite = *static_cast<sqlite3 *const *>(m_db.driver()->handle().constData());
    }
    SqliteFunctions::install(m_sqlite);
    if (access == Access::ReadOnly) { // also refuses writes to ATTACHed files
        QSqlQuery(u"PRAGMA query_only = 1"_s, m_db);
        // The catalogue reads pragma_table_info, before the fence goes up.
        if (!lookAtSource(cs))
            return false;
        SqliteFunctions::denyOutsideReach(m_sqlite);
    }
    return true;
}

bool Connection::openPostgres(const ConnectionString &cs, Access access,
                              int statementTimeoutSeconds)
{
    m_db = QSqlDatabase::addDatabase(u"QPSQL"_s, m_name);
    m_db.setHostName(cs.host);
    if (cs.port > 0)
        m_db.setPort(cs.port);
    m_db.setDatabaseName(cs.database);
    m_db.setUserName(cs.user);
    m_db.setPassword(cs.password);
    QString options = u"connect_timeout=%1;keepalives=1;keepalives_idle=%2;keepalives_interval=%3;"
                      "keepalives_count=%4"_s.arg(kConnectTimeoutSeconds)
                          .arg(kKeepaliveIdleSeconds)
                          .arg(kKeepaliveIntervalSeconds)
                          .arg(kKeepaliveCount);
    if (access == Access::ReadOnly)
        options += u";options='-c default_transaction_read_only=on -c statement_timeout=%1s'"_s.arg(
            statementTimeoutSeconds);
    m_db.setConnectOptions(options);
    if (!finishOpen())
        return false;
    if (access == Access::ReadOnly)
        QSqlQuery(u"SET SESSION CHARACTERISTICS AS TRANSACTION READ ONLY"_s, m_db);
    return lookAtSource(cs);
}

pg_conn *Connection::postgresHandle() const
{
    if (m_engine != Engine::PostgreSQL || !IsOpen())
        return nullptr;
    const QVariant handle = m_db.driver()->handle();
    // The driver names the type by libpq's struct tag, "pg_conn*".
    if (qstrcmp(handle.typeName(), "pg_conn*") != 0 && qstrcmp(handle.typeName(), "PGconn*") != 0)
        return nullptr;
    return *static_cast<PGconn *const *>(handle.constData());
}

// PostgreSQL cannot tell how few the groups are (days by channels, against
// as many as there are rows by its estimate), so it would sort every row on
// disk to group them; a hash table holds the real groups in a few
// megabytes. It would also read on one process alone: with the hand-over
// of rows priced at nothing, worker processes scan and join while this one
// only groups what they send. Compiling the statement to machine code costs
// seconds more than it saves for a statement that runs once.
void Connection::preferHashedGrouping()
{
    if (m_engine != Engine::PostgreSQL || !IsOpen())
        return;
    QSqlQuery query(m_db);
    for (const char *setting :
         {"SET jit = off", "SET work_mem = '256MB'", "SET enable_sort = off",
          "SET enable_incremental_sort = off", "SET parallel_setup_cost = 0",
          "SET parallel_tuple_cost = 0", "SET parallel_leader_participation = off"})
        query.exec(QString::fromLatin1(setting));
}

std::function<void()> Connection::interrupter() const
{
    if (sqlite3 *handle = m_sqlite)
        return [handle] { sqlite3_interrupt(handle); };
    PGconn *server = postgresHandle();
    const std::shared_ptr<PGcancel> cancel(server ? PQgetCancel(server) : nullptr, PQfreeCancel);
    if (!cancel)
        return {};
    return [cancel] {
        char why[256];
        PQcancel(cancel.get(), why, sizeof why);
    };
}

bool Connection::openOdbc(const ConnectionString &cs, Access access)
{
    m_db = QSqlDatabase::addDatabase(u"QODBC"_s, m_name);
    m_db.setDatabaseName(cs.odbc);
    if (access == Access::ReadOnly)
        m_db.setConnectOptions(
            u"SQL_ATTR_ACCESS_MODE=SQL_MODE_READ_ONLY;SQL_ATTR_LOGIN_TIMEOUT=%1"_s.arg(
                kConnectTimeoutSeconds));
    return finishOpen();
}

// A PostgreSQL reader's statements run in a transaction that is read-only
// whatever the session's defaults have become, from the first open reader
// to the last, and is then rolled back.
void Connection::attach(Recordset *recordset)
{
    if (m_recordsets.empty() && m_engine == Engine::PostgreSQL && m_access == Access::ReadOnly)
        QSqlQuery(database()).exec(u"START TRANSACTION READ ONLY"_s);
    m_recordsets.push_back(recordset);
}

void Connection::detach(Recordset *recordset)
{
    const bool had = !m_recordsets.empty();
    std::erase(m_recordsets, recordset);
    if (had && m_recordsets.empty() && m_engine == Engine::PostgreSQL &&
        m_access == Access::ReadOnly)
        QSqlQuery(database()).exec(u"ROLLBACK"_s);
}

void Connection::Close()
{
    // Statements still open would keep the engine's handle alive.
    while (!m_recordsets.empty())
        m_recordsets.back()->Close();
    m_sqlite = nullptr;
    m_engine = Engine::None;
    m_db.close();
    m_db = QSqlDatabase();
    if (QSqlDatabase::contains(m_name))
        QSqlDatabase::removeDatabase(m_name);
}

} // namespace qrt::db
