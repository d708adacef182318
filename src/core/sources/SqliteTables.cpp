#include "sources/SqliteTables.h"

#include <QHash>

#include <sqlite3.h>

using namespace Qt::StringLiterals;

namespace qrt::sources {

namespace {

struct Table
{
    QByteArray declaration;
    SqliteTables::Rows rows;
    QHash<QString, int> byKey; // the first column as text
};

struct VTab : sqlite3_vtab
{
    const Table *table = nullptr;
};

struct Cursor : sqlite3_vtab_cursor
{
    int row = 0;
    int end = 0;
};

const Table &tableOf(sqlite3_vtab_cursor *cursor)
{
    return *static_cast<VTab *>(cursor->pVtab)->table;
}

int connect(sqlite3 *db, void *aux, int, const char *const *, sqlite3_vtab **out, char **)
{
    const auto *table = static_cast<const Table *>(aux);
    const int rc = sqlite3_declare_vtab(db, table->declaration.constData());
    if (rc != SQLITE_OK)
        return rc;
    auto *vtab = new VTab{};
    vtab->table = table;
    *out = vtab;
    return SQLITE_OK;
}

int disconnect(sqlite3_vtab *vtab)
{
    delete static_cast<VTab *>(vtab);
    return SQLITE_OK;
}

// A usable "first column = ?" finds one row; anything else reads them all.
int bestIndex(sqlite3_vtab *vtab, sqlite3_index_info *info)
{
    const double rows = double(static_cast<VTab *>(vtab)->table->rows.size());
    for (int i = 0; i < info->nConstraint; ++i) {
        const auto &constraint = info->aConstraint[i];
        if (constraint.usable && constraint.iColumn == 0 &&
            constraint.op == SQLITE_INDEX_CONSTRAINT_EQ) {
            info->aConstraintUsage[i].argvIndex = 1;
            info->aConstraintUsage[i].omit = 1;
            info->idxNum = 1;
            info->estimatedCost = 1;
            info->estimatedRows = 1;
            info->idxFlags = SQLITE_INDEX_SCAN_UNIQUE;
            return SQLITE_OK;
        }
    }
    info->idxNum = 0;
    info->estimatedCost = rows + 1;
    info->estimatedRows = qint64(rows) + 1;
    return SQLITE_OK;
}

int openCursor(sqlite3_vtab *, sqlite3_vtab_cursor **out)
{
    *out = new Cursor{};
    return SQLITE_OK;
}

int closeCursor(sqlite3_vtab_cursor *cursor)
{
    delete static_cast<Cursor *>(cursor);
    return SQLITE_OK;
}

int filter(sqlite3_vtab_cursor *base, int idxNum, const char *, int, sqlite3_value **argv)
{
    auto *cursor = static_cast<Cursor *>(base);
    const Table &table = tableOf(base);
    if (idxNum == 0) {
        cursor->row = 0;
        cursor->end = int(table.rows.size());
        return SQLITE_OK;
    }
    const auto *text = reinterpret_cast<const char *>(sqlite3_value_text(argv[0]));
    const int found =
        text ? table.byKey.value(QString::fromUtf8(text, sqlite3_value_bytes(argv[0])), -1) : -1;
    cursor->row = found < 0 ? 0 : found;
    cursor->end = found < 0 ? 0 : found + 1;
    return SQLITE_OK;
}

int next(sqlite3_vtab_cursor *cursor)
{
    ++static_cast<Cursor *>(cursor)->row;
    return SQLITE_OK;
}

int eof(sqlite3_vtab_cursor *base)
{
    const auto *cursor = static_cast<Cursor *>(base);
    return cursor->row >= cursor->end;
}

int column(sqlite3_vtab_cursor *base, sqlite3_context *context, int index)
{
    const QVariant &value = tableOf(base).rows[static_cast<Cursor *>(base)->row][index];
    if (value.typeId() == QMetaType::LongLong || value.typeId() == QMetaType::Int) {
        sqlite3_result_int64(context, value.toLongLong());
    } else {
        const QByteArray text = value.toString().toUtf8();
        sqlite3_result_text(context, text.constData(), int(text.size()), SQLITE_TRANSIENT);
    }
    return SQLITE_OK;
}

int rowid(sqlite3_vtab_cursor *cursor, sqlite3_int64 *out)
{
    *out = static_cast<Cursor *>(cursor)->row;
    return SQLITE_OK;
}

// xCreate left out: an eponymous-only table, named by its module, which no
// CREATE VIRTUAL TABLE (a write to the schema) ever names.
const sqlite3_module kModule = {
    0,       nullptr, connect, bestIndex, disconnect, disconnect, openCursor, closeCursor,
    filter,  next,    eof,     column,    rowid,      nullptr,    nullptr,    nullptr,
    nullptr, nullptr, nullptr, nullptr,   nullptr,    nullptr,    nullptr,    nullptr,
};

} // namespace

namespace SqliteTables {

bool install(sqlite3 *db, const QString &name, const QStringList &columns, Rows rows)
{
    auto *table = new Table;
    table->declaration = u"CREATE TABLE x(%1)"_s.arg(columns.join(u", "_s)).toUtf8();
    for (int row = 0; row < int(rows.size()); ++row)
        table->byKey.insert(rows[row].value(0).toString(), row);
    table->rows = std::move(rows);
    return sqlite3_create_module_v2(db, name.toUtf8().constData(), &kModule, table, [](void *aux) {
               delete static_cast<Table *>(aux);
           }) == SQLITE_OK;
}

} // namespace SqliteTables

} // namespace qrt::sources
