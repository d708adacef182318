#pragma once
// zorvane-stats demo-db TARGET [--items N] [--seed S] [--until DATE] [--days N] [--replace]

#include <QStringList>

namespace DemoDbCommand {

int run(const QStringList &arguments);
// Writes the demo database, showing progress on standard error.
bool create(const QString &target, qint64 items, QString *error);

} // namespace DemoDbCommand
