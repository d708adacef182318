#pragma once
// A statement over our schema read in parts, each on a connection and a
// core of its own: SQLite steps a statement on one core, and a load of
// millions of items spends most of its time there. A common table
// expression named News over a range of the table's rowids, in front of
// the statement, makes it read that part of News only. The parts then add
// up to the whole only for a statement that reads each row of News once
// and on its own: one SELECT, News once in its FROM, nothing that looks
// across rows (grouping, DISTINCT, limits, set operations, window and
// aggregate functions, subqueries). Anything else is read whole.

#include <QString>

namespace qrt::pivot::PivotRowRanges {

bool readsNewsRowByRow(const QString &statement);
// The statement over the rows of News with after < rowid <= upTo.
QString over(const QString &statement, qint64 after, qint64 upTo);

} // namespace qrt::pivot::PivotRowRanges
