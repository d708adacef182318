#include "feeds/FeedDate.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace qrt::feeds {

namespace {

// Zones by name, in minutes east of UTC. The military letters other than Z
// had their signs turned round in RFC 822 and mean nothing sure; RFC 1123
// says to take them as UTC, as an unknown name is.
int namedZoneMinutes(QStringView name)
{
    struct Zone
    {
        const char16_t *name;
        int minutes;
    };
    static constexpr Zone zones[] = {
        {u"UT", 0},        {u"UTC", 0},       {u"GMT", 0},       {u"Z", 0},
        {u"EST", -5 * 60}, {u"EDT", -4 * 60}, {u"CST", -6 * 60}, {u"CDT", -5 * 60},
        {u"MST", -7 * 60}, {u"MDT", -6 * 60}, {u"PST", -8 * 60}, {u"PDT", -7 * 60},
        {u"CET", 60},      {u"CEST", 120},    {u"BST", 60},      {u"IST", 330},
        {u"JST", 9 * 60},  {u"AEST", 600},    {u"AEDT", 660},    {u"MSK", 180},
    };
    for (const Zone &zone : zones)
        if (name.compare(QStringView(zone.name), Qt::CaseInsensitive) == 0)
            return zone.minutes;
    return 0;
}

// "+0200", "-05:30", "+02": minutes east of UTC, or false.
bool numericZoneMinutes(QStringView text, int *minutes)
{
    static const QRegularExpression form(u"^([+-])(\\d\\d):?(\\d\\d)?$"_s);
    const auto match = form.match(text);
    if (!match.hasMatch())
        return false;
    *minutes = (match.capturedView(2).toInt() * 60 + match.capturedView(3).toInt()) *
               (match.capturedView(1) == u"-" ? -1 : 1);
    return qAbs(*minutes) <= 18 * 60;
}

QDateTime atOffset(const QDate &date, const QTime &time, int minutes)
{
    if (!date.isValid() || !time.isValid())
        return {};
    return QDateTime(date, time, Qt::OffsetFromUTC, minutes * 60).toUTC();
}

QDateTime iso8601(QStringView text)
{
    static const QRegularExpression form(
        u"^(\\d{4})-(\\d\\d)-(\\d\\d)(?:[Tt ](\\d\\d):(\\d\\d)(?::(\\d\\d)(?:[.,](\\d+))?)?)?"
        "\\s*(Z|z|[+-]\\d\\d(?::?\\d\\d)?)?$"_s);
    const auto match = form.match(text);
    if (!match.hasMatch())
        return {};
    const QDate date(match.capturedView(1).toInt(), match.capturedView(2).toInt(),
                     match.capturedView(3).toInt());
    const QString fraction = QString(match.captured(7) + u"000"_s).left(3);
    const QTime time(match.capturedView(4).toInt(), match.capturedView(5).toInt(),
                     match.capturedView(6).toInt(), fraction.toInt());
    int minutes = 0;
    const QStringView zone = match.capturedView(8);
    if (!zone.isEmpty() && zone.compare(u"Z", Qt::CaseInsensitive) != 0 &&
        !numericZoneMinutes(zone, &minutes))
        return {};
    return atOffset(date, time, minutes);
}

int monthOf(QStringView word)
{
    static constexpr const char16_t *months[] = {u"jan", u"feb", u"mar", u"apr", u"may", u"jun",
                                                 u"jul", u"aug", u"sep", u"oct", u"nov", u"dec"};
    if (word.size() < 3)
        return 0;
    for (int m = 0; m < 12; ++m)
        if (word.left(3).compare(QStringView(months[m]), Qt::CaseInsensitive) == 0)
            return m + 1;
    return 0;
}

// "[Weekday,] day month year hh:mm[:ss] [zone]", leniently: the pieces are
// told apart by their form, so "Jun 7 2026" and missing zones also read.
QDateTime rfc822(QStringView text)
{
    static const QRegularExpression separators(u"[\\s,]+"_s);
    int day = 0, month = 0, year = -1, minutes = 0;
    QTime time;
    bool zoneSeen = false;
    for (const QString &word : text.toString().split(separators, Qt::SkipEmptyParts)) {
        bool number = false;
        const int value = word.toInt(&number);
        if (word.contains(u':') && !time.isValid()) {
            time = QTime::fromString(word, word.count(u':') == 2 ? u"H:m:s"_s : u"H:m"_s);
            if (!time.isValid())
                return {};
        } else if (number && !word.startsWith(u'+') && !word.startsWith(u'-')) {
            if (day == 0 && word.size() <= 2)
                day = value;
            else if (year < 0)
                year = word.size() <= 2 ? (value < 50 ? 2000 + value : 1900 + value) : value;
            else
                return {};
        } else if (int m = monthOf(word); m && !month) {
            month = m;
        } else if (time.isValid() && !zoneSeen) {
            zoneSeen = true;
            if (!numericZoneMinutes(word, &minutes))
                minutes = namedZoneMinutes(word);
        }
    }
    if (!time.isValid())
        time = QTime(0, 0);
    return atOffset(QDate(year, month, day), time, minutes);
}

} // namespace

QDateTime parseFeedDate(QStringView text)
{
    const QStringView trimmed = text.trimmed();
    if (trimmed.isEmpty() || trimmed.size() > 100)
        return {};
    if (const QDateTime iso = iso8601(trimmed); iso.isValid())
        return iso;
    return rfc822(trimmed);
}

} // namespace qrt::feeds
