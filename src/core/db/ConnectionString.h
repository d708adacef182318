#pragma once
// What a host's connection string says, read into the engine to use and its
// connection parameters. Hosts pass ADO-style strings
// ("Provider=...;Data Source=...;User ID=...;Password=..."), a bare file path
// or a postgresql:// URL; an ODBC "Driver=..." string goes to ODBC whole.
// A feed reader's database takes four keys more: Reader= names the reader
// (found from the tables when absent), User= the reader's user where the
// database holds several, Urls= Newsboat's urls file and TimeZone= the zone
// whose calendar days count instants (the machine's when absent).

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
    QString odbc;       // the whole string, for the ODBC driver
    QString error;      // why the string names no usable connection
    QString reader;     // lower case; empty: found from the tables
    QString readerUser; // the reader's user, not the login
    QString urls;       // Newsboat's urls file
    QString timeZone;   // an IANA zone id

    bool isValid() const { return engine != Engine::None; }

    static ConnectionString parse(const QString &text);
};

} // namespace qrt::db
