#pragma once
// The statements keep the text the application writes them in: nested
// parenthesised INNER JOINs, Count(...) and CDate("...") date literals. This
// makes that text run on each engine without changing its meaning, its
// column order or its row order.

#include "db/ConnectionString.h"

#include <QString>

namespace qrt::db {

namespace Dialect {

// CDate("2005-03-15") becomes CDate('2005-03-15') on SQLite, where a
// CDate function of ours normalises it, and a TIMESTAMP literal on
// PostgreSQL. Other engines get the text unchanged. On SQLite a column
// compared with a CDate by <, <=, > or >= is compared as a date in any
// of the ISO forms it may be stored in, not as text.
QString translate(const QString &statement, Engine engine);

// PostgreSQL folds unquoted names to lower case, so "AS NewsDate" comes
// back as "newsdate". This gives a column name the spelling it has in the
// statement, so fields are named alike on every engine.
QString columnSpelling(const QString &statement, const QString &name);

} // namespace Dialect

} // namespace qrt::db
