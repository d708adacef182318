#pragma once
// The four tables of a news database of this program's own schema, as the
// statements that create them on each engine: the demo data and the feed
// import write the same database, so both create it here.

#include "db/ConnectionString.h"

#include <QStringList>

namespace qrt::db {

// The CREATE TABLE and CREATE INDEX statements for SQLite or PostgreSQL;
// empty for any other engine. pubDate is ISO text in SQLite and a timestamp
// in PostgreSQL, indexed with the channel. With keysAfterRows, News comes
// without its keys and indexes, for a bulk load that adds them with
// newsKeys() once the rows are in (one pass each instead of a check per
// row), and the engine's statistics with them.
QStringList newsSchema(Engine engine, bool keysAfterRows = false);
QStringList newsKeys(Engine engine);

// The tables and their columns, for telling a database of this schema from
// any other.
struct NewsTable
{
    const char *name;
    QStringList columns;
};
const QList<NewsTable> &newsTables();

} // namespace qrt::db
