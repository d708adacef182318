#include "pivot/PivotNewsCells.h"

#include "pivot/PivotStatement.h"

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

void PivotNewsCells::absorb(const PivotNewsCells &other)
{
    for (const auto &[channel, dates] : other.m_channels.values()) {
        Dates &into = m_channels[channel];
        for (const auto &[key, c] : dates.cells) {
            Cell &sum = into.cells[key];
            sum.rows += c.rows;
            sum.titled += c.titled;
        }
    }
}

void PivotNewsCells::join(const std::vector<ChannelRow> &channels, PivotGroupTable &groups) const
{
    std::vector<Value> row(Columns);
    for (const ChannelRow &channel : channels) {
        const auto found = m_channels.values().find(channel.id);
        if (found == m_channels.values().end())
            continue;
        row[Provider] = view(channel.provider);
        row[Channel] = view(channel.channel);
        row[Category] = view(channel.category);
        for (const auto &[key, c] : found->second.cells) {
            row[Title] = {Value::Type::Number, double(c.titled), {}};
            row[Date] = key[0] == kTextDate
                            ? Value{Value::Type::Text, 0, std::string_view(key).substr(1)}
                            : Value{};
            groups.add(row, c.rows);
        }
    }
}

} // namespace qrt::pivot
