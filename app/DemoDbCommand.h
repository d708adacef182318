#pragma once
// zorvane-stats demo-db TARGET [--items N] [--seed S] [--until DATE] [--days N] [--replace]

#include <QStringList>

class DemoDbCommand
{
public:
    static int run(const QStringList &arguments);
    // Writes the demo database, showing progress on standard error.
    static bool create(const QString &target, qint64 items, QString *error);
};
