#pragma once
// The system's one date type and every conversion of it. A date is a double
// counting days from 1899-12-30, the time of day as the fraction, in naive
// local time (no zone). Text forms are ISO 8601 and locale-independent, so a
// caption, a statement and a stored pubDate all read back to the same value.

#include <QDate>
#include <QDateTime>
#include <QString>
#include <QTime>

#include <optional>
#include <string_view>

namespace qrt::dates {

using Date = double;

struct Fields
{
    int year = 1899, month = 12, day = 30;
    int hour = 0, minute = 0, second = 0, msec = 0;
};

// Whole days between 1899-12-30 and the given civil date (proleptic Gregorian).
qint64 daysFromCivil(int year, int month, int day);

Date fromFields(const Fields &f);
// A whole day's value with a time of day added, as fromFields() adds it
// (away from day 0 for days before it).
Date withTime(Date day, int hour, int minute, int second, int msec = 0);
Date fromYmd(int year, int month, int day);
// Negative dates keep the time of day as an absolute fraction: -1.25 is
// 1899-12-29 06:00, as the classic date type counts them.
Fields toFields(Date value);

QDate toQDate(Date value);
QTime toQTime(Date value);
QDateTime toQDateTime(Date value);
Date fromQDate(QDate date);
Date fromQDateTime(const QDateTime &dateTime);

Date today();
Date now();

// Whole day of a value, dropping the time of day.
Date dayOf(Date value);

// "2005-03-15" for a whole day, "2005-03-15 10:00:00" with a time of day, the
// time alone ("00:00:00", "12:30:00") on day 0.
QString toText(Date value);
// Always "yyyy-MM-dd HH:mm:ss": the form SQLite keeps pubDate in, which sorts
// and compares as text exactly as the dates do.
QString toTimestampText(Date value);
// The same with ".zzz" when the value has milliseconds: texts of this form
// sort exactly as their dates do, and the whole seconds match CDate's text.
QString toSortableText(Date value);
// Reads every form toText writes, plus a 'T' separator, fractional seconds,
// "HH:MM" without seconds and a zone after the time ("Z", "+02:00",
// "-0500"). Anything else gives no value.
//
// A zone is checked but not applied: the value is the wall-clock time as
// written. The bounds of a period are texts without a zone and a stored
// pubDate is compared with them as written, so converting would count an
// item on one day and filter it by another; and the day a news item
// belongs to is the day its source printed on it.
std::optional<Date> fromText(QStringView text);
std::optional<Date> fromText(std::string_view text);
// The fields of a text fromText() reads, as written.
std::optional<Fields> fieldsFromText(std::string_view text);

} // namespace qrt::dates
