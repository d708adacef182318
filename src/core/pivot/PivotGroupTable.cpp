#include "pivot/PivotGroupTable.h"

#include <cstring>

namespace qrt::pivot {

namespace {

// The key holds each value that is not counted, tagged by its type: a
// text by its length and bytes, a number by its bytes.
void append(std::string &key, const void *data, std::size_t size)
{
    key.append(static_cast<const char *>(data), size);
}

} // namespace

PivotGroupTable::PivotGroupTable(std::vector<Kind> kinds, std::vector<PivotGrain::Time> times)
    : m_kinds(std::move(kinds))
    , m_times(std::move(times))
    , m_countSlot(m_kinds.size())
    , m_cut(m_kinds.size())
{
    for (std::size_t c = 0; c < m_kinds.size(); ++c)
        if (m_kinds[c] == Kind::Count)
            m_countSlot[c] = m_counted++;
}

void PivotGroupTable::add(const std::vector<Value> &row, quint32 rows)
{
    m_key.clear();
    for (std::size_t c = 0; c < m_kinds.size(); ++c) {
        if (m_kinds[c] == Kind::Count)
            continue;
        const Value &v = row[c];
        m_key += static_cast<char>(v.type);
        if (v.type == Value::Type::Text) {
            const std::string_view text =
                m_kinds[c] == Kind::Date
                    ? PivotGroupedStatement::cutDate(v.text, m_times[c], m_cut[c])
                    : v.text;
            const auto length = static_cast<quint32>(text.size());
            append(m_key, &length, sizeof length);
            m_key.append(text);
        } else if (v.type == Value::Type::Number) {
            append(m_key, &v.number, sizeof v.number);
        }
    }
    const std::size_t group = groupOf(m_key);
    m_rows[group] += rows;
    for (std::size_t c = 0; c < m_kinds.size(); ++c)
        if (m_kinds[c] == Kind::Count && row[c].type != Value::Type::Null)
            m_counts[group * m_counted + m_countSlot[c]] += static_cast<quint32>(row[c].number);
}

std::size_t PivotGroupTable::groupOf(const std::string &key)
{
    const auto [it, added] = m_groups.try_emplace(key, static_cast<quint32>(m_keys.size()));
    if (added) {
        m_keys.push_back(&it->first);
        m_rows.push_back(0);
        m_counts.resize(m_counts.size() + m_counted);
    }
    return it->second;
}

void PivotGroupTable::absorb(const PivotGroupTable &other)
{
    for (std::size_t g = 0; g < other.size(); ++g) {
        const std::size_t group = groupOf(*other.m_keys[g]);
        m_rows[group] += other.m_rows[g];
        for (std::size_t k = 0; k < m_counted; ++k)
            m_counts[group * m_counted + k] += other.m_counts[g * m_counted + k];
    }
}

void PivotGroupTable::values(std::size_t group, std::vector<Value> &row) const
{
    row.assign(m_kinds.size(), {});
    const std::string &key = *m_keys[group];
    std::size_t at = 0;
    for (std::size_t c = 0; c < m_kinds.size(); ++c) {
        if (m_kinds[c] == Kind::Count)
            continue;
        Value &v = row[c];
        v.type = static_cast<Value::Type>(key[at++]);
        if (v.type == Value::Type::Text) {
            quint32 length = 0;
            std::memcpy(&length, key.data() + at, sizeof length);
            at += sizeof length;
            v.text = std::string_view(key).substr(at, length);
            at += length;
        } else if (v.type == Value::Type::Number) {
            std::memcpy(&v.number, key.data() + at, sizeof v.number);
            at += sizeof v.number;
        }
    }
}

quint32 PivotGroupTable::count(std::size_t group, std::size_t column) const
{
    return m_counts[group * m_counted + m_countSlot[column]];
}

} // namespace qrt::pivot
