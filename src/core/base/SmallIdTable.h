#pragma once
// Values by a whole-number ID (a channel's), those of a small ID found
// straight in a table. A pass over the news meets the channels interleaved,
// item by item, and a hash lookup per item was a tenth of such a pass.

#include <QtGlobal>

#include <unordered_map>
#include <vector>

namespace qrt {

template<typename T>
class SmallIdTable
{
public:
    // The value of the ID, made empty on first use.
    T &operator[](qint64 id)
    {
        if (id < 0 || id >= Direct)
            return m_values[id];
        const auto at = static_cast<std::size_t>(id);
        if (at >= m_direct.size())
            m_direct.resize(at + 1, nullptr);
        if (!m_direct[at])
            m_direct[at] = &m_values[id]; // a map's values stay where they are
        return *m_direct[at];
    }

    // Every ID used, with its value.
    std::unordered_map<qint64, T> &values() { return m_values; }
    const std::unordered_map<qint64, T> &values() const { return m_values; }

    void clear()
    {
        m_values.clear();
        m_direct.clear();
    }

private:
    static constexpr qint64 Direct = 1 << 16;

    std::unordered_map<qint64, T> m_values;
    std::vector<T *> m_direct;
};

} // namespace qrt
