#pragma once
// What a SQLite connection of ours is given: the SQL functions that
// statements written for the application's original dialect call and
// SQLite lacks, and, for a reader, the fence that keeps statements inside
// the one database file.

struct sqlite3;

namespace qrt::db::SqliteFunctions {

// CDate(x): a date text in any of our forms, or a number of days, as the
// "yyyy-MM-dd HH:mm:ss" text that pubDate is stored in; an error for
// anything else, so a bad date stops the statement instead of matching
// nothing silently. SortableDate(x): a date text in any of our forms as
// dates::toSortableText writes it, so it compares with CDate's text as the
// dates do; x itself when it is no date text, so it compares as before.
bool install(sqlite3 *db);

// Refuses from now on what reaches beyond the open file or changes the
// connection: ATTACH and DETACH, PRAGMA, and loading extensions.
void denyOutsideReach(sqlite3 *db);

} // namespace qrt::db::SqliteFunctions
