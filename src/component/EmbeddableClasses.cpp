#include "component/EmbeddableClasses.h"

#include <QHash>
#include <QWidget>

using namespace Qt::StringLiterals;

namespace {

// Widgets live on the GUI thread, and so does their registry.
thread_local QHash<QString, EmbeddableClasses::Factory> registry;
thread_local QHash<QString, QString> classIds;

// "CLSID:{0002E55A-...}", "{0002e55a-...}" and "0002E55A-..." are one id.
QString classIdKey(const QString &classId)
{
    QString key = classId.trimmed().toLower();
    if (key.startsWith(u"clsid:"_s))
        key.remove(0, 6);
    if (key.startsWith(u'{') && key.endsWith(u'}'))
        key = key.mid(1, key.size() - 2);
    return key;
}

} // namespace

void EmbeddableClasses::registerClass(const QString &className, const Factory &factory)
{
    registry.insert(className.toLower(), factory);
}

void EmbeddableClasses::unregisterClass(const QString &className)
{
    registry.remove(className.toLower());
}

void EmbeddableClasses::registerClassId(const QString &classId, const QString &className)
{
    classIds.insert(classIdKey(classId), className.toLower());
}

void EmbeddableClasses::unregisterClassId(const QString &classId)
{
    classIds.remove(classIdKey(classId));
}

QWidget *EmbeddableClasses::create(const QString &className, QWidget *parent)
{
    auto it = registry.constFind(className.toLower());
    if (it == registry.constEnd())
        it = registry.constFind(classIds.value(classIdKey(className)));
    return it == registry.constEnd() ? nullptr : (*it)(parent);
}
