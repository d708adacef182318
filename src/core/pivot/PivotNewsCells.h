#pragma once
// The pivot views' own statement (pivotStatement()) joins every news item
// to its channel's row, provider and category. Grouped with its dates cut
// and its titles counted, each of its groups is a channel's items on one
// cut date joined to one row of the channels: so a load of that statement
// reads News alone, counting its items by channel and cut date here, reads
// the few channel rows once, and makes the groups of both. Stepping the
// join instead would look up three tables for each of millions of items.
// Any other statement is grouped the general way (PivotGroupTable).

#include "base/SmallIdTable.h"
#include "pivot/PivotGroupTable.h"

#include <QString>

#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace qrt::pivot {

class PivotNewsCells
{
public:
    using Value = PivotGroupTable::Value;

    // The statement's columns, in its order.
    enum Column { Provider, Channel, Title, Date, Category, Columns };

    // A value of a channel's row, kept.
    struct Stored
    {
        Value::Type type = Value::Type::Null;
        double number = 0;
        std::string text;
    };
    // One row of Channels joined to its provider and category.
    struct ChannelRow
    {
        qint64 id = 0;
        Stored provider, channel, category;
    };

    // Whether the statement is the views' own and the plan groups it as
    // this does: dates cut, titles counted, the rest by value.
    static bool applies(const QString &commandText,
                        const std::vector<PivotGroupedStatement::Column> &plan);
    // The statement of the channels' rows (ID, provider, channel, category)
    // and of News' items (channel, date, title), all of them or those of
    // after < rowid <= upTo.
    static QString channelStatement();
    static QString newsStatement(std::optional<std::pair<qint64, qint64>> range = std::nullopt);

    explicit PivotNewsCells(PivotGrain::Time time);

    // An item of a channel: its date is null or a text (cut here), and its
    // title counts or not.
    void add(qint64 channel, const Value &date, bool titled);
    // The other part's items added to these.
    void absorb(const PivotNewsCells &other);
    // The groups of the statement, each once: the cells of the channels
    // whose rows have the same provider, channel and category added up,
    // a channel's cells counted once for each of its rows. The title's
    // column gives the titles counted as its number.
    using Group = std::function<void(const std::vector<Value> &row, quint32 rows)>;
    void join(const std::vector<ChannelRow> &channels, const Group &group) const;

private:
    struct Cell
    {
        quint32 rows = 0;
        quint32 titled = 0;
    };
    // A channel's cells by date (a tag, then the cut text), with the last
    // one at hand: a channel's items tend to come day by day.
    using Cells = std::unordered_map<std::string, Cell>;
    struct Dates
    {
        Cells cells;
        const std::string *lastKey = nullptr;
        Cell *last = nullptr;
    };

    Cell &cell(Dates &dates, char tag, std::string_view text);
    static void addCells(Cells &into, const Cells &cells);

    PivotGrain::Time m_time;
    std::string m_scratch;
    std::string m_key;
    SmallIdTable<Dates> m_channels;
};

} // namespace qrt::pivot
