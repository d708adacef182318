#pragma once
// The pivot views' own statement (pivotStatement()) joins every news item
// to its channel's row, provider and category. Grouped with its dates cut
// and its titles counted, each of its groups is a channel's items on one
// cut date joined to one row of the channels: so a load of that statement
// reads News alone, counting its items by channel and cut date here, reads
// the few channel rows once, and makes the groups of both. Stepping the
// join instead would look up three tables for each of millions of items.
// Any other statement is grouped the general way (PivotGroupTable).
//
// The counts are flat records, sorted and added up at the end: a hash
// node per cell would scatter a few hundred thousand small blocks over the
// heap, which keeps them after the load.

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
    // A server's count of News by channel and date cut to the time (a
    // text), with the titles that count and the types of the channel and
    // the date.
    static QString serverNewsStatement(PivotGrain::Time time);

    explicit PivotNewsCells(PivotGrain::Time time);

    // Items of a channel: their date is null or a text (cut here), and
    // so many of them have a title that counts.
    void add(qint64 channel, const Value &date, quint32 rows, quint32 titled);
    // The other part's items added to these.
    void absorb(PivotNewsCells &other);

    // The groups of the statement, each once: the cells of the channels
    // whose rows have the same provider, channel and category added up,
    // a channel's cells counted once for each of its rows. The title's
    // column gives the titles counted as its number.
    using Group = std::function<void(const std::vector<Value> &row, quint32 rows)>;
    void join(const std::vector<ChannelRow> &channels, const Group &group);

private:
    // A channel's items on one date: a plain date's minutes since day 0
    // at the cut's precision, another text by its number, or none.
    struct Record
    {
        qint64 channel = 0;
        qint64 date = 0;
        quint32 rows = 0;
        quint32 titled = 0;
    };
    // Each channel's last cut date, whose record takes the next items of
    // that date at once: a channel's items tend to come day by day.
    struct Last
    {
        std::size_t record = 0;
        char text[16] = {};
        quint8 length = 0;
        bool isNull = false;
        bool set = false;
    };

    // Records before they are added up: 24 MiB.
    static constexpr std::size_t kSettleRecords = std::size_t(1) << 20;

    qint64 dateKey(std::string_view cut);
    bool isOtherDate(qint64 key) const;
    void settle();
    static void addUp(std::vector<Record> &records);
    std::string dateText(qint64 key) const;

    PivotGrain::Time m_time;
    std::string m_scratch;
    std::vector<Record> m_records;
    bool m_settled = true;
    std::size_t m_settleAt = kSettleRecords;
    SmallIdTable<Last> m_last;
    std::vector<std::string> m_otherTexts;
    std::unordered_map<std::string, qint64> m_otherKeys;
};

} // namespace qrt::pivot
