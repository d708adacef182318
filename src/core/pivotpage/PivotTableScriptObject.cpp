#include "pivotpage/PivotTableScriptObject.h"

#include "pivotpage/PivotScriptObjects.h"
#include "script/ScriptPending.h"

using namespace Qt::StringLiterals;

namespace qrt::pivot {

PivotTableScriptObject::PivotTableScriptObject(Owner owner)
    : m_owner(std::move(owner))
{}

QString PivotTableScriptObject::className() const
{
    return u"PivotTable"_s;
}

const QStringList &PivotTableScriptObject::propertyNames()
{
    static const QStringList names = {
        u"AllowFiltering"_s, u"AllowGrouping"_s,    u"AllowPropertyToolbox"_s,
        u"DisplayToolbar"_s, u"DisplayFieldList"_s, u"ConnectionString"_s,
        u"CommandText"_s,
    };
    return names;
}

QString PivotTableScriptObject::canonical(const QString &name) const
{
    for (const QString &known : propertyNames())
        if (is(name, known))
            return known;
    return {};
}

script::ScriptValue PivotTableScriptObject::getProperty(const QString &name)
{
    if (is(name, u"ActiveView")) {
        PivotView *view = m_owner.activeView ? m_owner.activeView() : nullptr;
        if (!view)
            throw script::ScriptPending();
        // One handle per view, so `Is` and repeated reads agree.
        if (view != m_boundView) {
            m_boundView = view;
            m_viewObject = makeViewObject(*view);
        }
        return m_viewObject;
    }
    if (is(name, u"ActiveData"))
        return makeActiveDataObject(m_owner.hideDetails ? m_owner.hideDetails : [] {});
    const QString known = canonical(name);
    if (known.isEmpty())
        noMember(name);
    return m_values.value(known);
}

void PivotTableScriptObject::setProperty(const QString &name, const script::ScriptValue &value)
{
    const QString known = canonical(name);
    if (known.isEmpty()) {
        if (is(name, u"ActiveView") || is(name, u"ActiveData"))
            readOnly(name);
        noMember(name);
    }
    m_values.insert(known, value);
    if (m_owner.changed)
        m_owner.changed(known, value);
}

} // namespace qrt::pivot
