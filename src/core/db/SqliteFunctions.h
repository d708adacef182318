#pragma once
// SQL functions that statements written for the application's original
// dialect call and SQLite lacks.

struct sqlite3;

namespace qrt::db {

class SqliteFunctions
{
public:
    // CDate(x): a date text in any of our forms, or a number of days, as the
    // "yyyy-MM-dd HH:mm:ss" text that pubDate is stored in; an error for
    // anything else, so a bad date stops the statement instead of matching
    // nothing silently.
    static bool install(sqlite3 *db);
};

} // namespace qrt::db
