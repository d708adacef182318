#include "pivot/PivotFieldSet.h"

#include "pivot/PivotColumn.h"
#include "pivot/PivotView.h"

using namespace Qt::StringLiterals;

namespace qrt::pivot {

PivotFieldSet::PivotFieldSet(PivotView *view, QString name, const PivotColumn &column,
                             PivotHierarchy::Shape shape)
    : m_view(view)
    , m_name(std::move(name))
    , m_hierarchy(column, shape)
    , m_fieldList(u"the fields of \"%1\""_s.arg(m_name))
{
    for (int level = 0; level < m_hierarchy.levelCount(); ++level) {
        QString fieldName = PivotHierarchy::levelName(m_hierarchy.level(level));
        if (fieldName.isEmpty()) // a one-level set: the field bears the column's name
            fieldName = column.name();
        m_fields.push_back(std::make_unique<PivotField>(this, level, fieldName));
        m_fieldList.insert(m_fields.back().get(), -1);
    }
}

PivotField &PivotFieldSet::Fields(const QString &name) const
{
    for (PivotField *field : m_fieldList)
        if (field->Name() == name)
            return *field;
    throw PivotError::noSuchField(m_name, name);
}

void PivotFieldSet::setAllIncludeExclude(int value)
{
    if (value < IncludeDefault || value > ExcludeAllButIncluded)
        throw PivotError::invalidValue(u"AllIncludeExclude"_s, QString::number(value));
    if (m_allIncludeExclude != value) {
        m_allIncludeExclude = value;
        changed();
    }
}

std::optional<bool> PivotFieldSet::memberExpanded(int level, qint64 key) const
{
    const auto it = m_expanded.find({level, key});
    return it == m_expanded.end() ? std::nullopt : std::optional<bool>(it->second);
}

void PivotFieldSet::setMemberExpanded(int level, qint64 key, bool expanded)
{
    m_expanded[{level, key}] = expanded;
    changed();
}

void PivotFieldSet::clearMemberExpanded()
{
    if (m_expanded.empty())
        return;
    m_expanded.clear();
    changed();
}

void PivotFieldSet::changed()
{
    m_view->touch();
}

} // namespace qrt::pivot
