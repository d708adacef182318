#pragma once
// Every open workspace window by its key ("KEY1", "KEY2", ...). Children of a
// window find it here by their fIndex instead of holding a reference to it.
// A window that is destroyed without leaving drops out by itself.

#include <QPointer>
#include <QString>

#include <map>

class ChartWorkspace;

class ChartFormCollection
{
public:
    // False when the key is taken already; the collection is unchanged then.
    bool Add(const QString &key, ChartWorkspace *form);
    void Remove(const QString &key);
    // The window under the key, or null.
    ChartWorkspace *Item(const QString &key) const;
    bool Contains(const QString &key) const { return Item(key) != nullptr; }
    int Count() const;

private:
    std::map<QString, QPointer<ChartWorkspace>> m_forms;
};
