#pragma once
// Turns a reader's instants (Unix seconds, timestamptz, or a timestamp that
// holds UTC) into the local date and time text or timestamp our statements
// compare, on the calendar of one zone: the machine's, or the TimeZone= of
// the connection string. An item counts on the day it was local there.

#include "db/ConnectionString.h"

#include <QString>
#include <QTimeZone>

#include <optional>

struct sqlite3;

namespace qrt::sources {

class LocalTime
{
public:
    enum class Kind { UnixSeconds, Instant, UtcTimestamp };

    // Empty id: the machine's zone. Nothing, with the reason, for a zone
    // Qt does not know.
    static std::optional<LocalTime> forZone(const QString &id, QString *error);

    // The expression giving the local time of expr on the engine. On SQLite
    // it calls qrt_local_time, which installSqlite gives the connection.
    QString expression(const QString &expr, Kind kind, db::Engine engine) const;
    bool installSqlite(sqlite3 *db) const;
    // True for the rows whose expr holds a date at all.
    static QString dated(const QString &expr, Kind kind);

private:
    QTimeZone m_zone;
};

} // namespace qrt::sources
