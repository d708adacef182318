#include "pivotviews/PivotLoader.h"

#include "db/Connection.h"
#include "db/Dialect.h"
#include "db/Recordset.h"
#include "pivotviews/PivotColumnBuilder.h"
#include "pivotviews/PivotData.h"

#include <sqlite3.h>

#ifdef __GLIBC__
#include <malloc.h>
#endif
#include <vector>

using namespace Qt::StringLiterals;

namespace qrt::pivot {

namespace {

using Builders = std::vector<PivotColumnBuilder>;

bool reportProgress(const PivotLoader::Progress &progress, qint64 rows)
{
    return !progress || progress(rows);
}

// The SQLite path: one prepared statement, values read as the engine keeps them.
bool readSqlite(db::Connection &connection, const QString &commandText, Builders &builders,
                const PivotLoader::Progress &progress, QString *error)
{
    const QByteArray sql = db::Dialect::translate(commandText, db::Engine::SQLite).toUtf8();
    sqlite3 *handle = connection.sqliteHandle();
    sqlite3_stmt *stmt = nullptr;
    const char *tail = nullptr;
    if (sqlite3_prepare_v2(handle, sql.constData(), static_cast<int>(sql.size()), &stmt, &tail) !=
            SQLITE_OK ||
        !stmt) {
        *error = u"statement refused: "_s +
                 (stmt ? QString::fromUtf8(sqlite3_errmsg(handle)) : u"the statement is empty"_s);
        sqlite3_finalize(stmt);
        return false;
    }
    if (tail && !QByteArray(tail).trimmed().isEmpty()) {
        *error = u"statement refused: more than one statement"_s;
        sqlite3_finalize(stmt);
        return false;
    }
    const int columns = sqlite3_column_count(stmt);
    for (int c = 0; c < columns; ++c)
        builders.emplace_back(QString::fromUtf8(sqlite3_column_name(stmt, c)));

    qint64 rows = 0;
    int rc = SQLITE_ROW;
    while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
        for (int c = 0; c < columns; ++c) {
            PivotColumnBuilder &builder = builders[static_cast<std::size_t>(c)];
            switch (sqlite3_column_type(stmt, c)) {
            case SQLITE_INTEGER:
                builder.addNumber(static_cast<double>(sqlite3_column_int64(stmt, c)));
                break;
            case SQLITE_FLOAT:
                builder.addNumber(sqlite3_column_double(stmt, c));
                break;
            case SQLITE_TEXT:
            case SQLITE_BLOB: {
                const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(stmt, c));
                builder.addText(std::string_view(
                    text, static_cast<std::size_t>(sqlite3_column_bytes(stmt, c))));
                break;
            }
            default:
                builder.addNull();
            }
        }
        if (++rows % PivotLoader::ProgressStep == 0 && !reportProgress(progress, rows)) {
            sqlite3_finalize(stmt);
            *error = PivotLoader::cancelledText();
            return false;
        }
    }
    if (rc != SQLITE_DONE)
        *error = u"reading rows failed: "_s + QString::fromUtf8(sqlite3_errmsg(handle));
    sqlite3_finalize(stmt);
    return rc == SQLITE_DONE;
}

// Every other engine: the record set, a QVariant per value.
bool readRecordset(db::Connection &connection, const QString &commandText, Builders &builders,
                   const PivotLoader::Progress &progress, QString *error)
{
    db::Recordset rs;
    if (!rs.Open(commandText, connection)) {
        *error = rs.lastError();
        return false;
    }
    const int columns = rs.FieldCount();
    for (int c = 0; c < columns; ++c)
        builders.emplace_back(rs.FieldName(c));
    qint64 rows = 0;
    for (; !rs.IsEOF(); rs.MoveNext()) {
        for (int c = 0; c < columns; ++c)
            builders[static_cast<std::size_t>(c)].addVariant(rs.Value(c));
        if (++rows % PivotLoader::ProgressStep == 0 && !reportProgress(progress, rows)) {
            *error = PivotLoader::cancelledText();
            return false;
        }
    }
    if (!rs.lastError().isEmpty()) {
        *error = rs.lastError();
        return false;
    }
    return true;
}

} // namespace

QString PivotLoader::cancelledText()
{
    return u"cancelled"_s;
}

std::shared_ptr<PivotData> PivotLoader::load(const QString &connectionString,
                                             const QString &commandText, const Progress &progress,
                                             QString *error)
{
    QString reason;
    db::Connection connection;
    Builders builders;
    bool ok = connection.Open(connectionString);
    if (!ok)
        reason = connection.lastError();
    else if (connection.engine() == db::Engine::SQLite)
        ok = readSqlite(connection, commandText, builders, progress, &reason);
    else
        ok = readRecordset(connection, commandText, builders, progress, &reason);
    connection.Close();
    if (!ok) {
        if (error)
            *error = reason;
        return nullptr;
    }
    std::vector<PivotColumn> columns;
    columns.reserve(builders.size());
    for (PivotColumnBuilder &builder : builders)
        columns.push_back(builder.finish());
    builders.clear();
#ifdef __GLIBC__
    // The builders' maps and sort keys were many small blocks; without this
    // the heap keeps them, and a load of millions of rows would look twice
    // its size for the rest of the session.
    malloc_trim(0);
#endif
    if (progress && !columns.empty())
        progress(columns.front().rowCount());
    return std::make_shared<PivotData>(connectionString, commandText, std::move(columns));
}

} // namespace qrt::pivot
