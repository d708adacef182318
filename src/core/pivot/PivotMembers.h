#pragma once
// The children of one member, in member order. A look-up by caption finds
// the one child of that caption (captions are unique among siblings) and
// raises a PivotError when there is none. The list of children is worked
// out only when counted, indexed or enumerated.

#include "pivot/PivotMember.h"

#include <vector>

namespace qrt::pivot {

class PivotMembers
{
public:
    explicit PivotMembers(PivotMember parent);

    const PivotMember &parent() const { return m_parent; }
    qsizetype Count() const;
    PivotMember Item(qsizetype index) const;
    PivotMember Item(QStringView caption) const;
    PivotMember operator[](qsizetype index) const { return Item(index); }
    PivotMember operator()(QStringView caption) const { return Item(caption); }

private:
    const std::vector<qint64> &keys() const;

    PivotMember m_parent;
    mutable std::optional<std::vector<qint64>> m_keys;
};

} // namespace qrt::pivot
