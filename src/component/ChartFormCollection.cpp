#include "component/ChartFormCollection.h"

#include "component/ChartWorkspace.h"

bool ChartFormCollection::Add(const QString &key, ChartWorkspace *form)
{
    if (Contains(key))
        return false;
    m_forms[key] = form;
    return true;
}

void ChartFormCollection::Remove(const QString &key)
{
    m_forms.erase(key);
}

ChartWorkspace *ChartFormCollection::Item(const QString &key) const
{
    const auto it = m_forms.find(key);
    return it == m_forms.end() ? nullptr : it->second.data();
}

int ChartFormCollection::Count() const
{
    int count = 0;
    for (const auto &[key, form] : m_forms)
        count += form ? 1 : 0;
    return count;
}
