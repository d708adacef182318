#pragma once
// An ordered collection of pivot objects owned elsewhere: a count, access by
// index (a bad index raises a PivotError rather than reading past the end)
// and enumeration in order, as the layout code walks them.

#include "pivot/PivotError.h"

#include <algorithm>
#include <vector>

namespace qrt::pivot {

template<typename T>
class PivotList
{
public:
    explicit PivotList(QString what)
        : m_what(std::move(what))
    {}

    qsizetype Count() const { return static_cast<qsizetype>(m_items.size()); }
    T &Item(qsizetype index) const
    {
        if (index < 0 || index >= Count())
            throw PivotError::indexOutOfRange(m_what, index, Count());
        return *m_items[static_cast<std::size_t>(index)];
    }
    T &operator[](qsizetype index) const { return Item(index); }
    auto begin() const { return m_items.begin(); }
    auto end() const { return m_items.end(); }
    bool contains(const T *item) const
    {
        return std::find(m_items.begin(), m_items.end(), item) != m_items.end();
    }
    qsizetype indexOf(const T *item) const
    {
        const auto it = std::find(m_items.begin(), m_items.end(), item);
        return it == m_items.end() ? -1 : static_cast<qsizetype>(it - m_items.begin());
    }

    // For the owners: the collection itself never owns its items.
    void insert(T *item, qsizetype before)
    {
        if (before < 0 || before > Count())
            before = Count();
        m_items.insert(m_items.begin() + before, item);
    }
    void remove(const T *item) { std::erase(m_items, item); }

private:
    QString m_what;
    std::vector<T *> m_items;
};

} // namespace qrt::pivot
