#include "base/Dates.h"

#include <cmath>

namespace qrt::dates {

namespace {

constexpr qint64 kEpochFromUnix = -25569; // 1899-12-30 counted from 1970-01-01
constexpr double kMsecPerDay = 86400000.0;

// Howard Hinnant's days_from_civil / civil_from_days.
qint64 unixDaysFromCivil(qint64 y, unsigned m, unsigned d)
{
    y -= m <= 2;
    const qint64 era = (y >= 0 ? y : y - 399) / 400;
    const auto yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<qint64>(doe) - 719468;
}

void civilFromUnixDays(qint64 z, int &year, int &month, int &day)
{
    z += 719468;
    const qint64 era = (z >= 0 ? z : z - 146096) / 146097;
    const auto doe = static_cast<unsigned>(z - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    day = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
    month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
    year = static_cast<int>(static_cast<qint64>(yoe) + era * 400 + (month <= 2));
}

bool validCivil(int y, int m, int d)
{
    return m >= 1 && m <= 12 && d >= 1 && d <= QDate(y, m, 1).daysInMonth();
}

// Splits a value into whole days and milliseconds of the day, rounding to
// the millisecond so 0.5 - epsilon still reads as noon.
void split(Date value, qint64 &days, qint64 &msec)
{
    const double whole = std::trunc(value);
    double frac = std::fabs(value - whole);
    days = static_cast<qint64>(whole);
    msec = std::llround(frac * kMsecPerDay);
    if (msec >= 86400000) {
        msec -= 86400000;
        days += value < 0 ? -1 : 1;
    }
}

QString pad(int value, int width)
{
    return QString::number(value).rightJustified(width, u'0');
}

template<typename Char>
class Scanner
{
public:
    Scanner(const Char *begin, const Char *end)
        : p(begin)
        , e(end)
    {}
    bool digits(int count, int &out)
    {
        out = 0;
        for (int i = 0; i < count; ++i, ++p) {
            if (p == e || *p < Char('0') || *p > Char('9'))
                return false;
            out = out * 10 + int(*p - Char('0'));
        }
        return true;
    }
    bool take(Char c)
    {
        if (p != e && *p == c) {
            ++p;
            return true;
        }
        return false;
    }
    bool atEnd() const { return p == e; }

    const Char *p;
    const Char *e;
};

template<typename Char>
bool scanTime(Scanner<Char> &s, Fields &f)
{
    if (!s.digits(2, f.hour) || !s.take(Char(':')) || !s.digits(2, f.minute))
        return false;
    if (s.take(Char(':'))) {
        if (!s.digits(2, f.second))
            return false;
        if (s.take(Char('.'))) {
            int scale = 100;
            f.msec = 0;
            while (!s.atEnd() && *s.p >= Char('0') && *s.p <= Char('9')) {
                f.msec += scale * int(*s.p - Char('0'));
                scale /= 10;
                ++s.p;
            }
        }
    }
    return f.hour < 24 && f.minute < 60 && f.second < 60;
}

// "Z", "+02", "+02:00" or "-0500" after a time. The zone only names the
// writer's clock: it is checked, not applied (see Dates.h).
template<typename Char>
bool skipZone(Scanner<Char> &s)
{
    if (s.take(Char('Z')))
        return true;
    if (!s.take(Char('+')) && !s.take(Char('-')))
        return true;
    int hours = 0, minutes = 0;
    if (!s.digits(2, hours))
        return false;
    if (s.atEnd())
        return hours < 24;
    s.take(Char(':'));
    return s.digits(2, minutes) && hours < 24 && minutes < 60;
}

template<typename Char>
std::optional<Fields> parse(const Char *begin, const Char *end)
{
    while (begin != end && *begin == Char(' '))
        ++begin;
    while (end != begin && *(end - 1) == Char(' '))
        --end;
    Fields f;
    Scanner<Char> s(begin, end);
    if (end - begin >= 3 && begin[2] == Char(':')) { // time alone: day 0
        if (!scanTime(s, f) || !skipZone(s) || !s.atEnd())
            return std::nullopt;
        return f;
    }
    if (!s.digits(4, f.year) || !s.take(Char('-')) || !s.digits(2, f.month) || !s.take(Char('-')) ||
        !s.digits(2, f.day) || !validCivil(f.year, f.month, f.day))
        return std::nullopt;
    if (!s.atEnd()) {
        if (!s.take(Char(' ')) && !s.take(Char('T')))
            return std::nullopt;
        if (!scanTime(s, f) || !skipZone(s) || !s.atEnd())
            return std::nullopt;
    }
    return f;
}

} // namespace

qint64 daysFromCivil(int year, int month, int day)
{
    return unixDaysFromCivil(year, static_cast<unsigned>(month), static_cast<unsigned>(day)) -
           kEpochFromUnix;
}

Date fromFields(const Fields &f)
{
    return withTime(static_cast<double>(daysFromCivil(f.year, f.month, f.day)), f.hour, f.minute,
                    f.second, f.msec);
}

Date withTime(Date day, int hour, int minute, int second, int msec)
{
    const double time = ((hour * 60.0 + minute) * 60.0 + second) / 86400.0 + msec / kMsecPerDay;
    return day < 0 ? day - time : day + time;
}

Date fromYmd(int year, int month, int day)
{
    return static_cast<double>(daysFromCivil(year, month, day));
}

Fields toFields(Date value)
{
    qint64 days = 0;
    qint64 msec = 0;
    split(value, days, msec);
    Fields f;
    civilFromUnixDays(days + kEpochFromUnix, f.year, f.month, f.day);
    f.hour = static_cast<int>(msec / 3600000);
    f.minute = static_cast<int>(msec / 60000 % 60);
    f.second = static_cast<int>(msec / 1000 % 60);
    f.msec = static_cast<int>(msec % 1000);
    return f;
}

QDate toQDate(Date value)
{
    const Fields f = toFields(value);
    return QDate(f.year, f.month, f.day);
}

QTime toQTime(Date value)
{
    const Fields f = toFields(value);
    return QTime(f.hour, f.minute, f.second, f.msec);
}

QDateTime toQDateTime(Date value)
{
    return QDateTime(toQDate(value), toQTime(value));
}

Date fromQDate(QDate date)
{
    return date.isValid() ? fromYmd(date.year(), date.month(), date.day()) : 0.0;
}

Date fromQDateTime(const QDateTime &dateTime)
{
    if (!dateTime.isValid())
        return 0.0;
    const QDate d = dateTime.date();
    const QTime t = dateTime.time();
    return fromFields({d.year(), d.month(), d.day(), t.hour(), t.minute(), t.second(), t.msec()});
}

Date today()
{
    return fromQDate(QDate::currentDate());
}

Date now()
{
    return fromQDateTime(QDateTime::currentDateTime());
}

Date dayOf(Date value)
{
    return std::trunc(value);
}

QString toText(Date value)
{
    const Fields f = toFields(value);
    const bool hasTime = f.hour || f.minute || f.second;
    QString time = pad(f.hour, 2) + u':' + pad(f.minute, 2) + u':' + pad(f.second, 2);
    if (f.year == 1899 && f.month == 12 && f.day == 30)
        return time;
    const QString date = pad(f.year, 4) + u'-' + pad(f.month, 2) + u'-' + pad(f.day, 2);
    return hasTime ? date + u' ' + time : date;
}

QString toTimestampText(Date value)
{
    const Fields f = toFields(value);
    return pad(f.year, 4) + u'-' + pad(f.month, 2) + u'-' + pad(f.day, 2) + u' ' + pad(f.hour, 2) +
           u':' + pad(f.minute, 2) + u':' + pad(f.second, 2);
}

QString toSortableText(Date value)
{
    const int msec = toFields(value).msec;
    return msec ? toTimestampText(value) + u'.' + pad(msec, 3) : toTimestampText(value);
}

std::optional<Date> fromText(QStringView text)
{
    const auto fields = parse(text.utf16(), text.utf16() + text.size());
    return fields ? std::optional(fromFields(*fields)) : std::nullopt;
}

std::optional<Date> fromText(std::string_view text)
{
    const auto fields = fieldsFromText(text);
    return fields ? std::optional(fromFields(*fields)) : std::nullopt;
}

std::optional<Fields> fieldsFromText(std::string_view text)
{
    return parse(text.data(), text.data() + text.size());
}

} // namespace qrt::dates
