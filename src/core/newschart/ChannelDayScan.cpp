#include "newschart/ChannelDayScan.h"

#include "base/Dates.h"
#include "base/SmallIdTable.h"
#include "base/ThreadPriority.h"
#include "db/Connection.h"
#include "db/NewsHalves.h"
#include "db/Recordset.h"
#include "newschart/StatisticsStatement.h"

#include <sqlite3.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <limits>
#include <optional>
#include <string_view>
#include <thread>
#include <utility>

using namespace Qt::StringLiterals;

namespace qrt::chart {

namespace {

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// Reads stored pubDate texts. Only a text that begins with its ISO day
// compares with the period's bounds as its date does; any other is refused.
// The form SQLite keeps them in, "yyyy-MM-dd HH:mm:ss", is read here with
// the day checked once per run of items on it, to the very value the date
// parser gives; every other form goes to that parser.
class PubDates
{
public:
    std::optional<double> read(std::string_view text)
    {
        if (text.size() < 10 || !isDigit(text[0]) || text[4] != '-')
            return std::nullopt;
        if (text.size() == 19 && text[10] == ' ' && text[13] == ':' && text[16] == ':')
            if (const auto value = readPlain(text))
                return value;
        return dates::fromText(text);
    }

private:
    // The value the parser gives, the day's part worked out once per day.
    std::optional<double> readPlain(std::string_view text)
    {
        if (!m_hasDay || std::memcmp(text.data(), m_dayText, 10) != 0) {
            const auto day = dates::fromText(text.substr(0, 10));
            if (!day)
                return std::nullopt;
            m_day = *day;
            std::memcpy(m_dayText, text.data(), 10);
            m_hasDay = true;
        }
        int hour = 0, minute = 0, second = 0;
        if (!twoDigits(text, 11, hour) || !twoDigits(text, 14, minute) ||
            !twoDigits(text, 17, second) || hour > 23 || minute > 59 || second > 59)
            return std::nullopt;
        return dates::withTime(m_day, hour, minute, second);
    }
    static bool twoDigits(std::string_view text, size_t at, int &out)
    {
        if (!isDigit(text[at]) || !isDigit(text[at + 1]))
            return false;
        out = (text[at] - '0') * 10 + (text[at + 1] - '0');
        return true;
    }

    char m_dayText[10] = {};
    double m_day = 0.0;
    bool m_hasDay = false;
};

// Days of every channel gathered from rows in any order. News of one channel
// and day tend to come together, so the last day of each channel is kept
// at hand and the index is asked only when the day changes.
class DayCollector
{
public:
    void add(qint64 channel, double date, bool counted)
    {
        ChannelDay &d = cell(slot(channel), qint32(dates::dayOf(date)), date);
        d.firstDate = std::min(d.firstDate, date);
        d.lastDate = std::max(d.lastDate, date);
        d.newsCount += counted;
        if (date == dates::dayOf(date)) {
            d.atMidnight = true;
            d.midnightCount += counted;
        }
    }

    void finish(ChannelDays &out)
    {
        out.clear();
        for (auto &[channel, s] : m_slots.values()) {
            std::sort(s.days.begin(), s.days.end(),
                      [](const ChannelDay &a, const ChannelDay &b) { return a.day < b.day; });
            s.days.shrink_to_fit();
            out.emplace(channel, std::move(s.days));
        }
        m_slots.clear();
    }

private:
    struct Slot
    {
        qint32 lastDay = 0;
        size_t lastIndex = std::numeric_limits<size_t>::max();
        std::unordered_map<qint32, size_t> index;
        std::vector<ChannelDay> days;
    };

    Slot &slot(qint64 channel) { return m_slots[channel]; }

    static ChannelDay &cell(Slot &s, qint32 day, double date)
    {
        if (s.lastIndex < s.days.size() && s.lastDay == day)
            return s.days[s.lastIndex];
        const auto [it, made] = s.index.try_emplace(day, s.days.size());
        if (made)
            s.days.push_back({date, date, day, 0, 0, false});
        s.lastDay = day;
        s.lastIndex = it->second;
        return s.days[it->second];
    }

    SmallIdTable<Slot> m_slots;
};

// Rows after < rowid <= upTo.
using RowidRange = std::optional<std::pair<qint64, qint64>>;

// SQLite: one pass over News (or a range of it), stepping the engine's
// statement directly. A NULL channel joins nothing and a NULL date passes no
// bound: both are left out; a channel or date of another type would compare
// by rules of its own, and ends the pass with a failure, which `failed`
// tells a pass over the other range.
bool readSqliteNews(sqlite3 *db, const RowidRange &range, ChannelDays &out,
                    const std::atomic<bool> *stop, std::atomic<bool> &failed)
{
    const char *sql = range ? "SELECT Channel, pubDate, ID IS NOT NULL FROM News "
                              "WHERE rowid > ?1 AND rowid <= ?2"
                            : "SELECT Channel, pubDate, ID IS NOT NULL FROM News";
    sqlite3_stmt *stmt = nullptr;
    if (sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr) != SQLITE_OK) {
        failed = true;
        return false;
    }
    if (range) {
        sqlite3_bind_int64(stmt, 1, range->first);
        sqlite3_bind_int64(stmt, 2, range->second);
    }
    DayCollector days;
    PubDates dates;
    int rc = SQLITE_OK;
    qint64 rows = 0;
    while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
        if ((++rows & 0xffff) == 0 &&
            ((stop && stop->load(std::memory_order_relaxed)) || failed.load()))
            break;
        const int channelType = sqlite3_column_type(stmt, 0);
        const int dateType = sqlite3_column_type(stmt, 1);
        if (channelType == SQLITE_NULL || dateType == SQLITE_NULL)
            continue;
        if (channelType != SQLITE_INTEGER || dateType != SQLITE_TEXT)
            break;
        const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(stmt, 1));
        const auto date = dates.read(std::string_view(text, size_t(sqlite3_column_bytes(stmt, 1))));
        if (!date)
            break;
        days.add(sqlite3_column_int64(stmt, 0), *date, sqlite3_column_int(stmt, 2) != 0);
    }
    sqlite3_finalize(stmt);
    if (rc != SQLITE_DONE) { // an error, or a row the pass cannot take
        failed = true;
        return false;
    }
    days.finish(out);
    return true;
}

// A day of one channel seen in both halves.
void addDay(ChannelDay &into, const ChannelDay &day)
{
    into.firstDate = std::min(into.firstDate, day.firstDate);
    into.lastDate = std::max(into.lastDate, day.lastDate);
    into.newsCount += day.newsCount;
    into.midnightCount += day.midnightCount;
    into.atMidnight = into.atMidnight || day.atMidnight;
}

// The other half's days added to `into`'s, each channel's still by day.
void addDays(ChannelDays &into, ChannelDays &&other)
{
    for (auto &[channel, days] : other) {
        const auto [it, added] = into.try_emplace(channel, std::move(days));
        if (added)
            continue;
        std::vector<ChannelDay> merged;
        merged.reserve(it->second.size() + days.size());
        auto a = it->second.begin();
        auto b = days.begin();
        while (a != it->second.end() || b != days.end()) {
            if (b == days.end() || (a != it->second.end() && a->day < b->day)) {
                merged.push_back(*a++);
            } else if (a == it->second.end() || b->day < a->day) {
                merged.push_back(*b++);
            } else {
                merged.push_back(*a++);
                addDay(merged.back(), *b++);
            }
        }
        it->second = std::move(merged);
    }
}

// Both halves of News at once when a second connection is at hand, each on
// a thread of its own below the GUI thread: the caller may be a thread of
// the shared pool, which must keep its priority.
bool readSqlite(sqlite3 *db, sqlite3 *second, ChannelDays &out, const std::atomic<bool> *stop)
{
    std::atomic<bool> failed = false;
    const auto bounds = second ? db::NewsHalves::bounds(db) : std::nullopt;
    if (!bounds)
        return readSqliteNews(db, std::nullopt, out, stop, failed);
    ChannelDays upper;
    bool lowerRead = false;
    bool upperRead = false;
    std::thread lower([&] {
        lowerThreadPriority();
        lowerRead = readSqliteNews(db, {{(*bounds)[0], (*bounds)[1]}}, out, stop, failed);
    });
    std::thread other([&] {
        lowerThreadPriority();
        upperRead = readSqliteNews(second, {{(*bounds)[1], (*bounds)[2]}}, upper, stop, failed);
    });
    lower.join();
    other.join();
    if (!lowerRead || !upperRead)
        return false;
    addDays(out, std::move(upper));
    return true;
}

// PostgreSQL: the server groups News by channel and day. Only a timestamp
// without time zone has the day the reader sees, and only a whole-number
// channel compares with Channels.ID as the statement's join does. The dates
// come as texts: a timestamp value would become a QDateTime in local time,
// which asks the C library for the time zone, a stat() of /etc/localtime,
// for every value.
bool readPostgresNews(db::Connection &connection, ChannelDays &out)
{
    const QString midnight = u"News.pubDate = date_trunc('day', News.pubDate)"_s;
    connection.preferHashedGrouping();
    db::Recordset rows;
    rows.Open(u"SELECT News.Channel, to_char(date_trunc('day', News.pubDate), 'YYYY-MM-DD'), "
              "Count(News.ID), to_char(Min(News.pubDate), 'YYYY-MM-DD HH24:MI:SS.US'), "
              "to_char(Max(News.pubDate), 'YYYY-MM-DD HH24:MI:SS.US'), "
              "Count(News.ID) FILTER (WHERE "_s +
                  midnight + u"), Count(*) FILTER (WHERE "_s + midnight +
                  u"), pg_typeof(Min(News.pubDate))::text, pg_typeof(News.Channel)::text "
                  "FROM News WHERE News.Channel IS NOT NULL AND News.pubDate IS NOT NULL "
                  "GROUP BY News.Channel, date_trunc('day', News.pubDate)"_s,
              connection);
    if (!rows.lastError().isEmpty())
        return false;
    static const QStringList wholeNumbers = {u"integer"_s, u"bigint"_s, u"smallint"_s};
    if (!rows.IsEOF() &&
        (rows.Text(7) != u"timestamp without time zone"_s || !wholeNumbers.contains(rows.Text(8))))
        return false;
    out.clear();
    for (; !rows.IsEOF(); rows.MoveNext()) {
        const auto day = rows.DateValue(1);
        const auto first = rows.DateValue(3);
        const auto last = rows.DateValue(4);
        if (!day || !first || !last)
            return false;
        out[rows.Int(0)].push_back({*first, *last, qint32(*day), quint32(rows.Int(2)),
                                    quint32(rows.Int(5)), rows.Int(6) > 0});
    }
    if (!rows.lastError().isEmpty())
        return false;
    for (auto &[channel, days] : out)
        std::sort(days.begin(), days.end(),
                  [](const ChannelDay &a, const ChannelDay &b) { return a.day < b.day; });
    return true;
}

// A condition true when every ID of the join is a whole number.
QString idsAreWholeNumbers(db::Engine engine)
{
    QStringList checks;
    for (const char *column : {"Channels.ID", "Providers.ID", "Categories.ID"})
        checks << (engine == db::Engine::SQLite
                       ? u"typeof(%1) = 'integer'"_s
                       : u"pg_typeof(%1) IN ('integer'::regtype, 'bigint'::regtype, "
                         "'smallint'::regtype)"_s)
                      .arg(QLatin1StringView(column));
    return checks.join(u" AND "_s);
}

bool fitsSeriesId(qint64 id)
{
    return id >= std::numeric_limits<qint32>::min() && id <= std::numeric_limits<qint32>::max();
}

} // namespace

bool ChannelDayScan::readNews(db::Connection &connection, ChannelDays &out,
                              const std::atomic<bool> *stop, db::Connection *second)
{
    switch (connection.engine()) {
    case db::Engine::SQLite:
        return readSqlite(connection.sqliteHandle(), second ? second->sqliteHandle() : nullptr, out,
                          stop);
    case db::Engine::PostgreSQL:
        return readPostgresNews(connection, out);
    default:
        return false;
    }
}

bool ChannelDayScan::readChannels(db::Connection &connection, std::vector<ChannelRow> &out)
{
    db::Recordset rows;
    rows.Open(u"SELECT Channels.ID, Providers.ID, Categories.ID, Channels.Channel, "
              "Providers.Provider, Categories.Name, "_s +
                  idsAreWholeNumbers(connection.engine()) + u" FROM "_s +
                  StatisticsStatement::ChannelJoins,
              connection);
    if (!rows.lastError().isEmpty())
        return false;
    out.clear();
    for (; !rows.IsEOF(); rows.MoveNext()) {
        ChannelRow row;
        for (int c = 0; c < 3; ++c) {
            row.ids[size_t(c)] = rows.Int(c);
            row.names[size_t(c)] = rows.Text(c + 3);
            if (!fitsSeriesId(row.ids[size_t(c)]))
                return false;
        }
        if (rows.Int(6) != 1)
            return false;
        out.push_back(std::move(row));
    }
    return rows.lastError().isEmpty();
}

} // namespace qrt::chart
