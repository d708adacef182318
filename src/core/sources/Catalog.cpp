#include "sources/Catalog.h"

#include <QSqlQuery>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace qrt::sources {

namespace {

// One statement either way: the engine's own catalogue, tables with columns.
QString catalogStatement(db::Engine engine)
{
    if (engine == db::Engine::SQLite)
        return u"SELECT '', m.name, p.name FROM sqlite_master AS m, pragma_table_info(m.name) AS p "
               "WHERE m.type IN ('table', 'view')"_s;
    return u"SELECT c.table_schema, c.table_name, c.column_name FROM information_schema.columns "
           "AS c WHERE c.table_schema NOT IN ('pg_catalog', 'information_schema') ORDER BY "
           "array_position(current_schemas(false), c.table_schema::name) NULLS LAST, 1"_s;
}

} // namespace

Catalog Catalog::read(const QSqlDatabase &db, db::Engine engine)
{
    Catalog catalog;
    QSqlQuery query(db);
    query.setForwardOnly(true);
    if (!query.exec(catalogStatement(engine)))
        return catalog;
    while (query.next()) {
        const QString schema = query.value(0).toString();
        const QString name = query.value(1).toString();
        const QString table = name.toLower();
        auto it = catalog.m_tables.find(table);
        if (it == catalog.m_tables.end())
            it = catalog.m_tables.insert(table, Table{schema, name, {}});
        else if (it->schema != schema)
            continue; // hidden behind the one found first
        it->columns.insert(query.value(2).toString().toLower());
    }
    return catalog;
}

bool Catalog::hasTable(const QString &table) const
{
    return m_tables.contains(table.toLower());
}

bool Catalog::hasColumn(const QString &table, const QString &column) const
{
    const auto it = m_tables.constFind(table.toLower());
    return it != m_tables.cend() && it->columns.contains(column.toLower());
}

QString Catalog::schemaOf(const QString &table) const
{
    return m_tables.value(table.toLower()).schema;
}

QString Catalog::realName(const QString &table) const
{
    const auto it = m_tables.constFind(table.toLower());
    return it == m_tables.cend() ? table : it->name;
}

QStringList Catalog::tables() const
{
    QStringList names = m_tables.keys();
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace qrt::sources
