#include "pivot/PivotNewsCells.h"

#include "pivot/PivotStatement.h"

#include <map>

using namespace Qt::StringLiterals;

namespace qrt::pivot {

namespace {

using Kind = PivotGroupedStatement::Column::Kind;

constexpr char kNullDate = 'N';
constexpr char kTextDate = 'T';

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

PivotNewsCells::PivotNewsCells(PivotGrain::Time time)
    : m_time(time)
{}

void PivotNewsCells::add(qint64 channel, const Value &date, bool titled)
{
    const bool text = date.type == Value::Type::Text;
    const std::string_view cut =
        text ? PivotGroupedStatement::cutDate(date.text, m_time, m_scratch) : std::string_view();
    Cell &c = cell(m_channels[channel], text ? kTextDate : kNullDate, cut);
    ++c.rows;
    c.titled += titled;
}

PivotNewsCells::Cell &PivotNewsCells::cell(Dates &dates, char tag, std::string_view text)
{
    const std::string *last = dates.lastKey;
    if (last && last->size() == text.size() + 1 && (*last)[0] == tag &&
        std::string_view(*last).substr(1) == text)
        return *dates.last;
    m_key.assign(1, tag);
    m_key.append(text);
    auto &[key, found] = *dates.cells.try_emplace(m_key).first;
    dates.lastKey = &key;
    dates.last = &found;
    return found;
}

void PivotNewsCells::addCells(Cells &into, const Cells &cells)
{
    for (const auto &[key, c] : cells) {
        Cell &sum = into[key];
        sum.rows += c.rows;
        sum.titled += c.titled;
    }
}

void PivotNewsCells::absorb(const PivotNewsCells &other)
{
    for (const auto &[channel, dates] : other.m_channels.values())
        addCells(m_channels[channel].cells, dates.cells);
}

void PivotNewsCells::join(const std::vector<ChannelRow> &channels, const Group &group) const
{
    // The channels' rows by their three values; most stand alone.
    std::map<std::string, std::vector<const ChannelRow *>> rowsOf;
    for (const ChannelRow &channel : channels)
        if (m_channels.values().contains(channel.id))
            rowsOf[key(channel.provider) + key(channel.channel) + key(channel.category)].push_back(
                &channel);
    std::vector<Value> row(Columns);
    Cells added;
    for (const auto &[names, rows] : rowsOf) {
        const Cells *cells = &m_channels.values().at(rows.front()->id).cells;
        if (rows.size() > 1) {
            added.clear();
            for (const ChannelRow *channel : rows)
                addCells(added, m_channels.values().at(channel->id).cells);
            cells = &added;
        }
        row[Provider] = view(rows.front()->provider);
        row[Channel] = view(rows.front()->channel);
        row[Category] = view(rows.front()->category);
        for (const auto &[date, c] : *cells) {
            row[Title] = {Value::Type::Number, double(c.titled), {}};
            row[Date] = date[0] == kTextDate
                            ? Value{Value::Type::Text, 0, std::string_view(date).substr(1)}
                            : Value{};
            group(row, c.rows);
        }
    }
}

} // namespace qrt::pivot
