#pragma once
// Turns a reader's instants (Unix seconds, timestamptz, or a timestamp that
// holds UTC) into the local date and time text or timestamp our statements
// compare, on the calendar of one zone: the machine's, or the TimeZone= of
// the connection string. An item counts on the day it was local there.

#include "db/ConnectionString.h"

#include <QString>
#include <QTimeZone>

#include <optional>

namespace qrt::sources {

class LocalTime
{
public:
    enum class Kind { UnixSeconds, Instant, UtcTimestamp };

    // Empty id: the machine's zone. Nothing, with the reason, for a zone
    // Qt does not know.
    static std::optional<LocalTime> forZone(const QString &id, QString *error);

    // The expression giving the local time of expr on the engine.
    QString expression(const QString &expr, Kind kind, db::Engine engine) const;
    // True for the rows whose expr holds a date at all.
    static QString dated(const QString &expr, Kind kind);

private:
    QString sqliteShift(const QString &seconds) const;

    QTimeZone m_zone;
};

} // namespace qrt::sources
