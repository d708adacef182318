#pragma once
// The tables of an open database and their columns, read once when a
// connection opens, so a feed reader can be told by its tables and a
// schema it does not match named by what it lacks.

#include "db/ConnectionString.h"

#include <QHash>
#include <QSet>
#include <QSqlDatabase>
#include <QString>
#include <QStringList>

namespace qrt::sources {

class Catalog
{
public:
    // Names are kept in lower case; on PostgreSQL the schemas on the search
    // path come first, so a name found twice is the one a statement sees.
    static Catalog read(const QSqlDatabase &db, db::Engine engine);

    bool hasTable(const QString &table) const;
    bool hasColumn(const QString &table, const QString &column) const;
    QString schemaOf(const QString &table) const; // empty on SQLite
    QString realName(const QString &table) const; // as the database spells it
    QStringList tables() const;

private:
    struct Table
    {
        QString schema;
        QString name;
        QSet<QString> columns;
    };
    QHash<QString, Table> m_tables;
};

} // namespace qrt::sources
