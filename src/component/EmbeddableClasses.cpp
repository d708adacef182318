#include "component/EmbeddableClasses.h"

#include <QHash>
#include <QWidget>

namespace {

// Widgets live on the GUI thread, and so does their registry.
thread_local QHash<QString, EmbeddableClasses::Factory> registry;

} // namespace

void EmbeddableClasses::registerClass(const QString &className, const Factory &factory)
{
    registry.insert(className.toLower(), factory);
}

void EmbeddableClasses::unregisterClass(const QString &className)
{
    registry.remove(className.toLower());
}

QWidget *EmbeddableClasses::create(const QString &className, QWidget *parent)
{
    const auto it = registry.constFind(className.toLower());
    return it == registry.constEnd() ? nullptr : (*it)(parent);
}
