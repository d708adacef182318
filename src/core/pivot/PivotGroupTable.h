#pragma once
// The rows of a grouped load merged by their grouping key as they are
// read: each group keeps its values once, the number of its rows and, for
// a column kept by its count, that count. A load that reads in parts gives
// each reading thread a table of its own, so that neither waits for the
// other nor copies its rows anywhere, and adds them up at the end.

#include "pivot/PivotGroupedStatement.h"

#include <QtGlobal>

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace qrt::pivot {

class PivotGroupTable
{
public:
    using Kind = PivotGroupedStatement::Column::Kind;

    // One value of a row. A counted column gives its count (a value: 1,
    // none: 0) as a number; a text is only looked at during add().
    struct Value
    {
        enum class Type : char { Null, Number, Text } type = Type::Null;
        double number = 0;
        std::string_view text;
    };

    PivotGroupTable(std::vector<Kind> kinds, std::vector<PivotGrain::Time> times);

    // One row, a value per column; a date text is cut to its column's time.
    // `rows` of them when they were already counted together, a counted
    // column then giving its count over all of them.
    void add(const std::vector<Value> &row, quint32 rows = 1);
    // Another table's groups added to this one's.
    void absorb(const PivotGroupTable &other);

    std::size_t size() const { return m_keys.size(); }
    // A group's values in the columns that are not counted (their texts
    // point into this table), its rows and its count in a counted column.
    void values(std::size_t group, std::vector<Value> &row) const;
    quint32 rows(std::size_t group) const { return m_rows[group]; }
    quint32 count(std::size_t group, std::size_t column) const;

private:
    std::size_t groupOf(const std::string &key);

    std::vector<Kind> m_kinds;
    std::vector<PivotGrain::Time> m_times;
    std::vector<std::size_t> m_countSlot; // per column: its place among the counts
    std::size_t m_counted = 0;
    std::vector<std::string> m_cut; // per date column: an hour's text
    std::string m_key;
    std::unordered_map<std::string, quint32> m_groups;
    std::vector<const std::string *> m_keys; // the groups in the order they came
    std::vector<quint32> m_rows;
    std::vector<quint32> m_counts; // group by group, m_counted each
};

} // namespace qrt::pivot
