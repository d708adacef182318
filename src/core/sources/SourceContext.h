#pragma once
// What a reader's mapping works with while a connection opens: the open
// database, its catalogue, the connection string's reader keys, and what
// the mapping chooses on the way (the user, the prefix of its tables).

#include "db/ConnectionString.h"
#include "sources/Catalog.h"
#include "sources/LocalTime.h"

#include <QSqlDatabase>
#include <QString>
#include <QVariant>

namespace qrt::sources {

struct SourceContext
{
    QSqlDatabase db;
    db::Engine engine = db::Engine::None;
    Catalog catalog;
    db::ConnectionString options;
    LocalTime time;
    QString tablePrefix; // before each table name, where the reader has one per user
    qint64 userId = 0;   // the chosen user, where the reader keeps several in one set of tables
    QString userName;

    // The real name of one of the reader's tables, without quotes.
    QString tableName(const QString &table) const { return tablePrefix + table; }
    // The table as a statement names it: quoted, with its schema.
    QString table(const QString &table) const;
    // A text as an SQL literal.
    static QString literal(const QString &text);
    // The first column of the first row, or an invalid value.
    QVariant scalar(const QString &statement, const QVariantList &values = {}) const;
};

} // namespace qrt::sources
