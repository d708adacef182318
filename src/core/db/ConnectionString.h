#pragma once
// What a host's connection string says, read into the engine to use and its
// connection parameters. Hosts pass ADO-style strings
// ("Provider=...;Data Source=...;User ID=...;Password=..."), a bare file path
// or a postgresql:// URL; an ODBC "Driver=..." string goes to ODBC whole.

#include <QString>

namespace qrt::db {

enum class Engine { None, SQLite, PostgreSQL, ODBC };

struct ConnectionString
{
    Engine engine = Engine::None;
    QString database; // SQLite file, PostgreSQL database name
    QString host;
    int port = -1;
    QString user;
    QString password;
    QString odbc;  // the whole string, for the ODBC driver
    QString error; // why the string names no usable connection

    bool isValid() const { return engine != Engine::None; }

    static ConnectionString parse(const QString &text);
};

} // namespace qrt::db
