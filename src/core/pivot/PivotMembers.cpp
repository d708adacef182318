#include "pivot/PivotMembers.h"

#include "pivot/PivotError.h"
#include "pivot/PivotFieldSet.h"

using namespace Qt::StringLiterals;

namespace qrt::pivot {

PivotMembers::PivotMembers(PivotMember parent)
    : m_parent(parent)
{}

const std::vector<qint64> &PivotMembers::keys() const
{
    if (!m_keys) {
        const PivotFieldSet *fieldSet = m_parent.FieldSet();
        const int childLevel = m_parent.level() + 1;
        if (!fieldSet || childLevel >= fieldSet->hierarchy().levelCount())
            m_keys.emplace();
        else
            m_keys = fieldSet->hierarchy().childKeys(childLevel, m_parent.key());
    }
    return *m_keys;
}

qsizetype PivotMembers::Count() const
{
    return static_cast<qsizetype>(keys().size());
}

PivotMember PivotMembers::Item(qsizetype index) const
{
    if (index < 0 || index >= Count())
        throw PivotError::indexOutOfRange(u"the members of \"%1\""_s.arg(m_parent.Caption()), index,
                                          Count());
    return {m_parent.FieldSet(), m_parent.level() + 1, keys()[static_cast<std::size_t>(index)]};
}

PivotMember PivotMembers::Item(QStringView caption) const
{
    const PivotFieldSet *fieldSet = m_parent.FieldSet();
    const int childLevel = m_parent.level() + 1;
    if (fieldSet && childLevel < fieldSet->hierarchy().levelCount()) {
        if (const std::optional<qint64> key =
                fieldSet->hierarchy().findChild(childLevel, m_parent.key(), caption))
            return {fieldSet, childLevel, *key};
    }
    throw PivotError::noSuchMember(m_parent.Caption(), caption.toString());
}

} // namespace qrt::pivot
