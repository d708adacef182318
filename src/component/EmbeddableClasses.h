#pragma once
// The classes a window can embed by name, as the pivot views register
// themselves ("OWC11.PivotTable", "OWC11.Chartspace", ...). A build or a
// test that leaves a class out sees the window without that view.

#include <QString>

#include <functional>

class QWidget;

class EmbeddableClasses
{
public:
    using Factory = std::function<QWidget *(QWidget *parent)>;

    static void registerClass(const QString &className, const Factory &factory);
    static void unregisterClass(const QString &className);
    // A new object of the class, or null when no class has that name.
    static QWidget *create(const QString &className, QWidget *parent);
};
