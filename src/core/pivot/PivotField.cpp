#include "pivot/PivotField.h"

#include "pivot/PivotColumn.h"
#include "pivot/PivotError.h"
#include "pivot/PivotFieldSet.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace qrt::pivot {

PivotField::PivotField(PivotFieldSet *fieldSet, int level, QString name)
    : m_fieldSet(fieldSet)
    , m_level(level)
    , m_name(std::move(name))
{}

QString PivotField::BaseName() const
{
    return m_fieldSet->hierarchy().column().name();
}

void PivotField::setIsIncluded(bool included)
{
    if (m_included != included) {
        m_included = included;
        m_fieldSet->changed();
    }
}

std::vector<PivotMember> PivotField::members(const std::vector<qint64> &keys) const
{
    std::vector<PivotMember> result;
    result.reserve(keys.size());
    for (qint64 key : keys)
        result.emplace_back(m_fieldSet, m_level, key);
    return result;
}

std::vector<qint64> PivotField::keysOf(const std::vector<PivotMember> &members) const
{
    std::vector<qint64> keys;
    for (const PivotMember &member : members) {
        if (member.FieldSet() != m_fieldSet || member.level() != m_level)
            throw PivotError(PivotError::Code::WrongFieldSet,
                             u"The member \"%1\" is not a member of the field \"%2\"."_s.arg(
                                 member.Caption(), m_name));
        if (std::find(keys.begin(), keys.end(), member.key()) == keys.end())
            keys.push_back(member.key());
    }
    return keys;
}

void PivotField::setIncludedMembers(const std::vector<PivotMember> &members)
{
    m_includedKeys = keysOf(members);
    m_fieldSet->changed();
}

void PivotField::setExcludedMembers(const std::vector<PivotMember> &members)
{
    m_excludedKeys = keysOf(members);
    m_fieldSet->changed();
}

} // namespace qrt::pivot
