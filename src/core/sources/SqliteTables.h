#pragma once
// The mapping's small tables (providers, categories, channels, feed keys)
// served to SQLite as eponymous virtual tables of one connection, held in
// memory and looked up by their first column. Written as VALUES lists they
// would have no index, and the planner, with nothing to go on, loops over
// them for every item; here a lookup by key costs one probe. Nothing is
// created in the database: the tables live in this process only.

#include <QStringList>
#include <QVariant>

#include <vector>

struct sqlite3;

namespace qrt::sources::SqliteTables {

using Rows = std::vector<QVariantList>;

// A table `name` with `columns` (the first one unique: qint64 or text).
bool install(sqlite3 *db, const QString &name, const QStringList &columns, Rows rows);

} // namespace qrt::sources::SqliteTables
