#include "sources/LocalTime.h"

#include <QDateTime>

using namespace Qt::StringLiterals;

namespace qrt::sources {

namespace {

// SQLite knows no zones but the process's own: the offsets of the zone are
// written into the statement, from the transitions Qt knows, newest first,
// as recent items are the most.
constexpr int kFirstYear = 1970;
constexpr int kYearsAhead = 5;

} // namespace

std::optional<LocalTime> LocalTime::forZone(const QString &id, QString *error)
{
    LocalTime local;
    local.m_zone = id.isEmpty() ? QTimeZone::systemTimeZone() : QTimeZone(id.toUtf8());
    if (!local.m_zone.isValid()) {
        *error = u"unknown time zone \"%1\""_s.arg(id);
        return std::nullopt;
    }
    return local;
}

QString LocalTime::sqliteShift(const QString &seconds) const
{
    const QDateTime from(QDate(kFirstYear, 1, 1), QTime(0, 0), QTimeZone::utc());
    const QDateTime till = QDateTime::currentDateTimeUtc().addYears(kYearsAhead);
    const auto transitions = m_zone.transitions(from, till);
    const int first = m_zone.offsetFromUtc(from);
    if (transitions.isEmpty())
        return QString::number(first);
    QString shift = u"CASE"_s;
    for (auto it = transitions.crbegin(); it != transitions.crend(); ++it)
        shift += u" WHEN %1 >= %2 THEN %3"_s.arg(seconds)
                     .arg(it->atUtc.toSecsSinceEpoch())
                     .arg(it->offsetFromUtc);
    return shift + u" ELSE %1 END"_s.arg(first);
}

QString LocalTime::expression(const QString &expr, Kind kind, db::Engine engine) const
{
    if (engine == db::Engine::SQLite)
        return u"datetime(%1 + %2, 'unixepoch')"_s.arg(expr, sqliteShift(expr));
    const QString zone = u"'"_s + QString::fromUtf8(m_zone.id()).replace(u'\'', u"''"_s) + u"'"_s;
    switch (kind) {
    case Kind::UnixSeconds:
        return u"(to_timestamp(%1) AT TIME ZONE %2)"_s.arg(expr, zone);
    case Kind::Instant:
        return u"(%1 AT TIME ZONE %2)"_s.arg(expr, zone);
    case Kind::UtcTimestamp:
        return u"((%1 AT TIME ZONE 'UTC') AT TIME ZONE %2)"_s.arg(expr, zone);
    }
    return expr;
}

QString LocalTime::dated(const QString &expr, Kind kind)
{
    if (kind == Kind::UnixSeconds)
        return u"(%1 IS NOT NULL AND %1 > 0)"_s.arg(expr);
    return u"(%1 IS NOT NULL)"_s.arg(expr);
}

} // namespace qrt::sources
