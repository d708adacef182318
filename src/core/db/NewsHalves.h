#pragma once
// SQLite steps a statement on one core, and a read of millions of news
// items spends most of its time there: a read of all of News goes twice
// as fast as two reads of its halves by rowid, each on a connection and a
// thread of its own.

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
