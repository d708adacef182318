#pragma once
// SQLite steps a statement on one core, and a read of millions of news
// items spends most of its time there: two reads of the halves of News by
// rowid, each on a connection and a thread of its own, take half the time
// of one read of the whole.

#include <QtGlobal>

#include <array>
#include <optional>

struct sqlite3;

namespace qrt::db::NewsHalves {

// The bounds of the two halves of main.News by rowid: the first holds
// bounds[0] < rowid <= bounds[1], the second bounds[1] < rowid <= bounds[2];
// nothing for a table of fewer than two rows.
std::optional<std::array<qint64, 3>> bounds(sqlite3 *handle);

} // namespace qrt::db::NewsHalves
