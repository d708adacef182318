#pragma once
// The classes a window can embed by name, as the pivot views register
// themselves ("OWC11.PivotTable", "OWC11.Chartspace", ...). A build or a
// test that leaves a class out sees the window without that view.
//
// A page names the class it embeds by its class id instead
// ("CLSID:0002E55A-0000-0000-C000-000000000046"), so a class id can be made
// an alias of a registered name; create() takes either form.

#include <QString>

#include <functional>

class QWidget;

namespace EmbeddableClasses {

using Factory = std::function<QWidget *(QWidget *parent)>;

void registerClass(const QString &className, const Factory &factory);
void unregisterClass(const QString &className);
// Lets `classId` (with or without "CLSID:" and braces) stand for the
// class registered under `className`, now or later.
void registerClassId(const QString &classId, const QString &className);
void unregisterClassId(const QString &classId);
// A new object of the class, found by name or by class id, or null when
// no registered class answers to it.
QWidget *create(const QString &className, QWidget *parent);

} // namespace EmbeddableClasses
