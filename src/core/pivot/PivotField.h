#pragma once
// One level of a field set: shown on its axis or not (IsIncluded), and the
// member choices made at this level. Which list counts, the included or the
// excluded members, is the field set's AllIncludeExclude.

#include "pivot/PivotMember.h"

#include <QString>

#include <vector>

namespace qrt::pivot {

class PivotFieldSet;

class PivotField
{
public:
    PivotField(PivotFieldSet *fieldSet, int level, QString name);

    const QString &Name() const { return m_name; }
    // The name of the column the field comes from.
    QString BaseName() const;
    PivotFieldSet *FieldSet() const { return m_fieldSet; }
    int level() const { return m_level; }

    bool IsIncluded() const { return m_included; }
    void setIsIncluded(bool included);

    std::vector<PivotMember> IncludedMembers() const { return members(m_includedKeys); }
    std::vector<PivotMember> ExcludedMembers() const { return members(m_excludedKeys); }
    // Members of this field only; anything else raises a PivotError and
    // leaves the choice as it was.
    void setIncludedMembers(const std::vector<PivotMember> &members);
    void setExcludedMembers(const std::vector<PivotMember> &members);
    const std::vector<qint64> &includedKeys() const { return m_includedKeys; }
    const std::vector<qint64> &excludedKeys() const { return m_excludedKeys; }

private:
    std::vector<PivotMember> members(const std::vector<qint64> &keys) const;
    std::vector<qint64> keysOf(const std::vector<PivotMember> &members) const;

    PivotFieldSet *m_fieldSet;
    int m_level;
    QString m_name;
    bool m_included = true;
    std::vector<qint64> m_includedKeys; // in the order given
    std::vector<qint64> m_excludedKeys;
};

} // namespace qrt::pivot
