#include "sources/LocalTime.h"

#include <QDateTime>

#include <sqlite3.h>

#include <algorithm>
#include <vector>

using namespace Qt::StringLiterals;

namespace qrt::sources {

namespace {

// SQLite knows no zones but the process's own, and its datetime() costs a
// microsecond, which a statement that names pubDate five times pays five
// times an item. The zone's offsets are looked up here instead, from the
// transitions Qt knows, and the text is written by hand.
constexpr int kFirstYear = 1970;
constexpr int kYearsAhead = 5;
constexpr qint64 kSecondsPerDay = 86400;

struct Offsets
{
    std::vector<qint64> from; // UTC seconds where an offset begins
    std::vector<int> offset;
    int before = 0;

    int at(qint64 seconds) const
    {
        const auto it = std::upper_bound(from.cbegin(), from.cend(), seconds);
        return it == from.cbegin() ? before : offset[std::size_t(it - from.cbegin() - 1)];
    }
};

void putDigits(char *out, qint64 value, int digits)
{
    for (int i = digits - 1; i >= 0; --i, value /= 10)
        out[i] = char('0' + value % 10);
}

// "yyyy-MM-dd HH:mm:ss" of local seconds (days to civil dates after
// Howard Hinnant's algorithm).
void localText(sqlite3_context *context, int, sqlite3_value **argv)
{
    if (sqlite3_value_type(argv[0]) == SQLITE_NULL)
        return sqlite3_result_null(context);
    const auto *offsets = static_cast<const Offsets *>(sqlite3_user_data(context));
    const qint64 utc = sqlite3_value_int64(argv[0]);
    const qint64 local = utc + offsets->at(utc);
    qint64 days = local / kSecondsPerDay;
    qint64 second = local % kSecondsPerDay;
    if (second < 0) {
        second += kSecondsPerDay;
        --days;
    }
    days += 719468;
    const qint64 era = (days >= 0 ? days : days - 146096) / 146097;
    const qint64 dayOfEra = days - era * 146097;
    const qint64 yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const qint64 dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const qint64 shifted = (5 * dayOfYear + 2) / 153;
    const qint64 day = dayOfYear - (153 * shifted + 2) / 5 + 1;
    const qint64 month = shifted < 10 ? shifted + 3 : shifted - 9;
    const qint64 year = yearOfEra + era * 400 + (month <= 2 ? 1 : 0);
    if (year < 0 || year > 9999)
        return sqlite3_result_null(context);
    char text[] = "0000-00-00 00:00:00";
    putDigits(text, year, 4);
    putDigits(text + 5, month, 2);
    putDigits(text + 8, day, 2);
    putDigits(text + 11, second / 3600, 2);
    putDigits(text + 14, second / 60 % 60, 2);
    putDigits(text + 17, second % 60, 2);
    sqlite3_result_text(context, text, 19, SQLITE_TRANSIENT);
}

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

bool LocalTime::installSqlite(sqlite3 *db) const
{
    auto *offsets = new Offsets;
    const QDateTime from(QDate(kFirstYear, 1, 1), QTime(0, 0), QTimeZone::utc());
    offsets->before = m_zone.offsetFromUtc(from);
    for (const auto &transition :
         m_zone.transitions(from, QDateTime::currentDateTimeUtc().addYears(kYearsAhead))) {
        offsets->from.push_back(transition.atUtc.toSecsSinceEpoch());
        offsets->offset.push_back(transition.offsetFromUtc);
    }
    return sqlite3_create_function_v2(db, "qrt_local_time", 1, SQLITE_UTF8 | SQLITE_DETERMINISTIC,
                                      offsets, &localText, nullptr, nullptr, [](void *data) {
                                          delete static_cast<Offsets *>(data);
                                      }) == SQLITE_OK;
}

QString LocalTime::expression(const QString &expr, Kind kind, db::Engine engine) const
{
    if (engine == db::Engine::SQLite)
        return u"qrt_local_time(%1)"_s.arg(expr);
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
