#include "pivot/PivotMember.h"

#include "pivot/PivotFieldSet.h"
#include "pivot/PivotMembers.h"
#include "pivot/PivotView.h"

using namespace Qt::StringLiterals;

namespace qrt::pivot {

PivotMember::PivotMember(const PivotFieldSet *fieldSet, int level, qint64 key)
    : m_fieldSet(fieldSet)
    , m_level(level < 0 ? -1 : level)
    , m_key(level < 0 ? 0 : key)
{}

QString PivotMember::rootCaption()
{
    return u"ALL"_s;
}

QString PivotMember::Caption() const
{
    if (isNull())
        return {};
    return isRoot() ? rootCaption() : m_fieldSet->hierarchy().caption(m_level, m_key);
}

PivotMember PivotMember::ParentMember() const
{
    if (isNull() || isRoot())
        return {};
    if (m_level == 0)
        return m_fieldSet->Member();
    return {m_fieldSet, m_level - 1, m_fieldSet->hierarchy().parentKey(m_level, m_key)};
}

PivotMembers PivotMember::ChildMembers() const
{
    return PivotMembers(*this);
}

PivotField *PivotMember::Field() const
{
    return isNull() || isRoot() ? nullptr : &m_fieldSet->Fields(m_level);
}

bool PivotMember::Expanded() const
{
    if (isNull())
        return false;
    if (const std::optional<bool> own = m_fieldSet->memberExpanded(m_level, m_key))
        return *own;
    return m_fieldSet->View()->ExpandMembers() != PivotView::ExpandNever;
}

void PivotMember::setExpanded(bool expanded) const
{
    if (!isNull())
        const_cast<PivotFieldSet *>(m_fieldSet)->setMemberExpanded(m_level, m_key, expanded);
}

} // namespace qrt::pivot
