#include "pivot/PivotNewsCells.h"

#include "base/Dates.h"
#include "pivot/PivotStatement.h"

#include <algorithm>
#include <cstdio>
#include <limits>
#include <map>

using namespace Qt::StringLiterals;

namespace qrt::pivot {

namespace {

using Kind = PivotGroupedStatement::Column::Kind;

constexpr qint64 kMinutesPerDay = 1440;
// Date keys: none, then the texts other than a plain date's, by number;
// a plain date's minutes lie far above both.
constexpr qint64 kNullDate = std::numeric_limits<qint64>::min();
constexpr qint64 kOtherDates = kNullDate + 1;

// The minutes since day 0 of a cut plain date ("2025-01-31" or
// "2025-01-31 10:00", also with a 'T'), one the date parser reads; none
// for any other text, which is kept as it is.
std::optional<qint64> plainMinutes(std::string_view cut)
{
    if ((cut.size() != 10 && cut.size() != 16) || cut[4] != '-' || cut.back() == ' ')
        return std::nullopt; // a time alone, or spaces the parser passes over
    const auto f = dates::fieldsFromText(cut);
    if (!f)
        return std::nullopt;
    return dates::daysFromCivil(f->year, f->month, f->day) * kMinutesPerDay + qint64(f->hour) * 60 +
           f->minute;
}

PivotGroupTable::Value view(const PivotNewsCells::Stored &stored)
{
    return {stored.type, stored.number, stored.text};
}

// A value as a part of a key: its type, then its number or its text.
std::string key(const PivotNewsCells::Stored &stored)
{
    std::string out(1, static_cast<char>(stored.type));
    if (stored.type == PivotGroupTable::Value::Type::Number)
        out.append(reinterpret_cast<const char *>(&stored.number), sizeof stored.number);
    else if (stored.type == PivotGroupTable::Value::Type::Text)
        out += std::to_string(stored.text.size()) + ':' + stored.text;
    return out;
}

} // namespace

bool PivotNewsCells::applies(const QString &commandText,
                             const std::vector<PivotGroupedStatement::Column> &plan)
{
    const auto plain = [](const QString &statement) {
        return PivotGroupedStatement::nestable(statement).simplified();
    };
    if (plan.size() != Columns || plain(commandText) != plain(pivotStatement()))
        return false;
    for (int c = 0; c < Columns; ++c) {
        const Kind expected = c == Title ? Kind::Count : c == Date ? Kind::Date : Kind::Value;
        if (plan[std::size_t(c)].kind != expected)
            return false;
    }
    return true;
}

QString PivotNewsCells::channelStatement()
{
    return u"SELECT Channels.ID, Providers.Provider, Channels.Channel, Categories.Name "
           "FROM Categories INNER JOIN (Providers INNER JOIN Channels ON Providers.ID = "
           "Channels.Provider) ON Categories.ID = Channels.Category"_s;
}

QString PivotNewsCells::newsStatement(std::optional<std::pair<qint64, qint64>> range)
{
    const QString all = u"SELECT Channel, pubDate, Title FROM main.News"_s;
    return range ? all + u" WHERE rowid > %1 AND rowid <= %2"_s.arg(range->first).arg(range->second)
                 : all;
}

QString PivotNewsCells::serverNewsStatement(PivotGrain::Time time)
{
    const QString cut = PivotGroupedStatement::serverDate(u"News.pubDate"_s, time);
    return u"SELECT News.Channel, to_char(%1, 'YYYY-MM-DD HH24:MI:SS'), Count(*), "
           "Count(NULLIF(CAST(News.Title AS TEXT), '')), pg_typeof(News.Channel)::text, "
           "pg_typeof(Min(News.pubDate))::text FROM News GROUP BY News.Channel, %1"_s.arg(cut);
}

PivotNewsCells::PivotNewsCells(PivotGrain::Time time)
    : m_time(time)
{}

void PivotNewsCells::add(qint64 channel, const Value &date, quint32 rows, quint32 titled)
{
    const bool isNull = date.type != Value::Type::Text;
    const std::string_view cut =
        isNull ? std::string_view() : PivotGroupedStatement::cutDate(date.text, m_time, m_scratch);
    Last &last = m_last[channel];
    if (last.set && last.isNull == isNull && std::string_view(last.text, last.length) == cut) {
        Record &r = m_records[last.record];
        r.rows += rows;
        r.titled += titled;
        return;
    }
    m_records.push_back({channel, isNull ? kNullDate : dateKey(cut), rows, titled});
    m_settled = false;
    if (m_records.size() >= m_settleAt) { // items in no order of date: added up now and then
        settle();
        m_settleAt = std::max(2 * m_records.size(), kSettleRecords);
        return;
    }
    last.record = m_records.size() - 1;
    last.isNull = isNull;
    last.set = cut.size() <= sizeof last.text;
    last.length = static_cast<quint8>(std::min(cut.size(), sizeof last.text));
    std::copy_n(cut.data(), last.length, last.text);
}

qint64 PivotNewsCells::dateKey(std::string_view cut)
{
    if (const auto minutes = plainMinutes(cut))
        return *minutes;
    const auto [it, added] =
        m_otherKeys.try_emplace(std::string(cut), kOtherDates + qint64(m_otherTexts.size()));
    if (added)
        m_otherTexts.emplace_back(cut);
    return it->second;
}

bool PivotNewsCells::isOtherDate(qint64 key) const
{
    return key >= kOtherDates && key < kOtherDates + qint64(m_otherTexts.size());
}

std::string PivotNewsCells::dateText(qint64 key) const
{
    if (isOtherDate(key))
        return m_otherTexts[std::size_t(key - kOtherDates)];
    const qint64 day =
        key >= 0 ? key / kMinutesPerDay : -((-key + kMinutesPerDay - 1) / kMinutesPerDay);
    const qint64 minute = key - day * kMinutesPerDay;
    const dates::Fields f = dates::toFields(double(day));
    char text[32];
    const int n = m_time == PivotGrain::Time::Days
                      ? std::snprintf(text, sizeof text, "%04d-%02d-%02d", f.year, f.month, f.day)
                      : std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d", f.year,
                                      f.month, f.day, int(minute / 60), int(minute % 60));
    return std::string(text, std::size_t(std::max(n, 0)));
}

void PivotNewsCells::addUp(std::vector<Record> &records)
{
    std::sort(records.begin(), records.end(), [](const Record &a, const Record &b) {
        return a.channel != b.channel ? a.channel < b.channel : a.date < b.date;
    });
    std::size_t kept = 0;
    for (std::size_t i = 0; i < records.size(); ++i) {
        if (kept > 0 && records[kept - 1].channel == records[i].channel &&
            records[kept - 1].date == records[i].date) {
            records[kept - 1].rows += records[i].rows;
            records[kept - 1].titled += records[i].titled;
        } else {
            records[kept++] = records[i];
        }
    }
    records.resize(kept);
}

void PivotNewsCells::settle()
{
    if (m_settled)
        return;
    addUp(m_records);
    m_records.shrink_to_fit();
    m_last.clear(); // the records moved
    m_settled = true;
}

void PivotNewsCells::absorb(PivotNewsCells &other)
{
    for (Record r : other.m_records) {
        if (other.isOtherDate(r.date))
            r.date = dateKey(other.m_otherTexts[std::size_t(r.date - kOtherDates)]);
        m_records.push_back(r);
    }
    other.m_records = {};
    m_settled = false;
    settle();
}

void PivotNewsCells::join(const std::vector<ChannelRow> &channels, const Group &group)
{
    settle();
    using Range =
        std::pair<std::vector<Record>::const_iterator, std::vector<Record>::const_iterator>;
    // The channels' rows by their three values; most stand alone.
    std::map<std::string, std::vector<std::pair<const ChannelRow *, Range>>> rowsOf;
    for (const ChannelRow &channel : channels) {
        const Range range = std::equal_range(
            m_records.cbegin(), m_records.cend(), Record{channel.id, 0, 0, 0},
            [](const Record &a, const Record &b) { return a.channel < b.channel; });
        if (range.first != range.second)
            rowsOf[key(channel.provider) + key(channel.channel) + key(channel.category)]
                .emplace_back(&channel, range);
    }
    std::vector<Value> row(Columns);
    std::vector<Record> added;
    std::string date;
    for (const auto &[names, rows] : rowsOf) {
        Range cells = rows.front().second;
        if (rows.size() > 1) {
            added.clear();
            for (const auto &[channel, range] : rows)
                for (auto r = range.first; r != range.second; ++r)
                    added.push_back({0, r->date, r->rows, r->titled});
            addUp(added);
            cells = {added.cbegin(), added.cend()};
        }
        const ChannelRow &channel = *rows.front().first;
        row[Provider] = view(channel.provider);
        row[Channel] = view(channel.channel);
        row[Category] = view(channel.category);
        for (auto r = cells.first; r != cells.second; ++r) {
            row[Title] = {Value::Type::Number, double(r->titled), {}};
            row[Date] = Value{};
            if (r->date != kNullDate) {
                date = dateText(r->date);
                row[Date] = {Value::Type::Text, 0, date};
            }
            group(row, r->rows);
        }
    }
}

} // namespace qrt::pivot
