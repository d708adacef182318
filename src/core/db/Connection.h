#pragma once
// The component's connection to the news database: opened by a reader, read
// to the end and closed again within one procedure. It only ever reads:
// SQLite files open read-only and PostgreSQL sessions are read-only, so a
// statement that tries to write fails and leaves the data as it was.

#include "db/ConnectionString.h"
#include "sources/SourceView.h"

#include <QSqlDatabase>
#include <QString>

#include <functional>
#include <vector>

struct sqlite3;
struct pg_conn;

namespace qrt::db {

class Recordset;

class Connection
{
public:
    enum class Access { ReadOnly, ReadWrite };

    // How long the server lets one statement of a PostgreSQL reader run,
    // counting the time its rows take to come in: the chart reads on the
    // window's thread, so its statements get the short limit; a pivot load
    // runs off it and the user can leave it, so it gets the long one. The
    // other bounds of a read are in Connection.cpp.
    static constexpr int StatementTimeoutSeconds = 60;
    static constexpr int LongStatementTimeoutSeconds = 300;

    Connection();
    ~Connection();
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    // Opens the database the string names. False, with the reason in
    // lastError(), for a bad string, a missing file or a refused login.
    // ReadWrite is for the demo-data generator and tests, never the component;
    // its statements have no time limit.
    bool Open(const QString &connectionString, Access access = Access::ReadOnly,
              int statementTimeoutSeconds = StatementTimeoutSeconds);
    void Close();
    bool IsOpen() const;

    Engine engine() const { return m_engine; }
    bool isReadOnly() const { return m_access == Access::ReadOnly; }
    const QString &lastError() const { return m_lastError; }
    void setLastError(const QString &error);

    // The statement in the application's dialect as this connection's
    // engine runs it, seen through a feed reader's mapping where there is one.
    QString statementText(const QString &statement) const;
    const sources::SourceView &source() const { return m_source; }

    QSqlDatabase database() const;
    // The engine's own handle on SQLite, for stepping statements natively.
    sqlite3 *sqliteHandle() const { return m_sqlite; }
    // libpq's connection on PostgreSQL, for what the driver does not offer
    // (cancelling, COPY); null on other engines.
    pg_conn *postgresHandle() const;
    // Before a statement that groups every row of a big table into few
    // groups: see Connection.cpp. Nothing on an engine that needs nothing.
    void preferHashedGrouping();
    // Stops the statement running on this connection, called from any
    // thread while the connection is open: SQLite's interrupt, or a cancel
    // request to the PostgreSQL server. Empty where the engine has none.
    std::function<void()> interrupter() const;

private:
    friend class Recordset;
    void attach(Recordset *recordset);
    void detach(Recordset *recordset);

    bool openSqlite(const ConnectionString &cs, Access access);
    bool openPostgres(const ConnectionString &cs, Access access, int statementTimeoutSeconds);
    bool openOdbc(const ConnectionString &cs, Access access);
    bool finishOpen();
    bool lookAtSource(const ConnectionString &cs);

    QString m_name;
    // Held while open, not looked up by name: at the application's end Qt
    // drops every named connection (a post routine registered at its first
    // use), and a reader still running on a worker thread then would have
    // its driver deleted under it, on the wrong thread, mid-statement, so
    // that SQLite refuses the close and the handle is lost. Holding it, the
    // reader closes its connection itself, on its own thread, when done.
    QSqlDatabase m_db;
    Engine m_engine = Engine::None;
    Access m_access = Access::ReadOnly;
    sqlite3 *m_sqlite = nullptr;
    QString m_lastError;
    sources::SourceView m_source;
    std::vector<Recordset *> m_recordsets; // open on this connection
};

} // namespace qrt::db
