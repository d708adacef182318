#include "db/NewsHalves.h"

#include <sqlite3.h>

namespace qrt::db {

std::optional<std::array<qint64, 3>> NewsHalves::bounds(sqlite3 *handle)
{
    sqlite3_stmt *stmt = nullptr;
    std::optional<std::array<qint64, 3>> halves;
    // One subquery each: SQLite finds a lone min() or max() of the rowid at
    // one end of the table, but reads every row for both in one SELECT.
    if (sqlite3_prepare_v2(handle,
                           "SELECT (SELECT min(rowid) FROM main.News), "
                           "(SELECT max(rowid) FROM main.News)",
                           -1, &stmt, nullptr) == SQLITE_OK &&
        sqlite3_step(stmt) == SQLITE_ROW && sqlite3_column_type(stmt, 0) == SQLITE_INTEGER) {
        const qint64 low = sqlite3_column_int64(stmt, 0);
        const qint64 high = sqlite3_column_int64(stmt, 1);
        if (high > low)
            halves = std::array<qint64, 3>{low - 1, low + (high - low) / 2, high};
    }
    sqlite3_finalize(stmt);
    return halves;
}

} // namespace qrt::db
