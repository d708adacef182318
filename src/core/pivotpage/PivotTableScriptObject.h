#pragma once
// The page's pivot table object (`PT`) as its script sees it: the flags
// AllowFiltering, AllowGrouping, AllowPropertyToolbox, DisplayToolbar and
// DisplayFieldList, the ConnectionString and CommandText of its data,
// ActiveView once the data is in, and ActiveData with HideDetails.
//
// The object keeps what the script sets and tells its owner through
// `changed`, so the pivot table widget can start its load and show its
// tools, and the headless command can simply collect the values. Until
// `activeView` gives a view, ActiveView raises ScriptPending and the page
// host runs the script again once the data is in.

#include "script/ScriptObject.h"

#include <QHash>

#include <functional>

namespace qrt::pivot {

class PivotView;

class PivotTableScriptObject : public script::ScriptObject
{
public:
    struct Owner
    {
        // The loaded view, or null while the data loads.
        std::function<PivotView *()> activeView;
        // A property the script set, by its canonical name.
        std::function<void(const QString &name, const script::ScriptValue &value)> changed;
        std::function<void()> hideDetails;
    };

    explicit PivotTableScriptObject(Owner owner);

    QString className() const override;
    script::ScriptValue getProperty(const QString &name) override;
    void setProperty(const QString &name, const script::ScriptValue &value) override;

    // What the script set, by canonical name ("ConnectionString").
    script::ScriptValue value(const QString &name) const { return m_values.value(name); }

    // The names of the properties the object keeps.
    static const QStringList &propertyNames();

private:
    QString canonical(const QString &name) const;

    Owner m_owner;
    QHash<QString, script::ScriptValue> m_values;
    PivotView *m_boundView = nullptr;
    std::shared_ptr<script::ScriptObject> m_viewObject;
};

} // namespace qrt::pivot
