#pragma once
// One member of a field set's tree, as a small value: the field set, the
// level (-1 for the root, whose caption is "ALL") and the member's key. It
// is made on demand, so a tree of a million timestamps costs nothing until
// someone walks it. Two handles on the same member compare equal.

#include <QString>

#include <optional>

namespace qrt::pivot {

class PivotField;
class PivotFieldSet;
class PivotMembers;

class PivotMember
{
public:
    PivotMember() = default; // no member ("Nothing")
    PivotMember(const PivotFieldSet *fieldSet, int level, qint64 key);

    static QString rootCaption();

    bool isNull() const { return m_fieldSet == nullptr; }
    bool isRoot() const { return m_fieldSet && m_level < 0; }
    const PivotFieldSet *FieldSet() const { return m_fieldSet; }
    int level() const { return m_level; }
    qint64 key() const { return m_key; }

    QString Caption() const;
    // A null member above the root.
    PivotMember ParentMember() const;
    PivotMembers ChildMembers() const;
    // The field of the member's level; null for the root.
    PivotField *Field() const;

    // Whether the member shows its children: its own setting, else the
    // view's ExpandMembers.
    bool Expanded() const;
    void setExpanded(bool expanded) const;

    friend bool operator==(const PivotMember &a, const PivotMember &b)
    {
        return a.m_fieldSet == b.m_fieldSet && a.m_level == b.m_level &&
               (a.m_level < 0 || a.m_key == b.m_key);
    }

private:
    const PivotFieldSet *m_fieldSet = nullptr;
    int m_level = -1;
    qint64 m_key = 0;
};

} // namespace qrt::pivot
