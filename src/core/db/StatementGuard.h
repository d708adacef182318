#pragma once
// Decides whether a statement text may be sent to the database at all. The
// component only reads, and some of its statement text comes from outside
// (the stored ORDER clause, a filter or a statement given on the command
// line), so before any engine sees a text it must be one query:
//
//  - a single statement: a ';' may end it, but nothing may follow it but
//    blanks and comments (quotes, quoted names, dollar quotes and comments
//    are skipped, so a ';' inside them counts for nothing);
//  - a query: it begins with SELECT, WITH, VALUES, TABLE or '(';
//  - no call of a function that acts outside the query (ends sessions,
//    reads or writes files, changes settings, opens other connections),
//    and no SELECT ... INTO, which makes a table.
//
// The engines' own read-only modes stay in force behind this; it is what
// keeps a text from stepping out of them (a COMMIT followed by a writing
// transaction, a SET of the session's defaults).

#include <QString>

namespace qrt::db::StatementGuard {

// Empty when the text may run, else why it may not.
QString refusal(QStringView statement);

} // namespace qrt::db::StatementGuard
