#include "db/SqliteRecordSource.h"

#include "base/Dates.h"

#include <sqlite3.h>

using namespace Qt::StringLiterals;

namespace qrt::db {

namespace {

std::string_view textOf(sqlite3_stmt *stmt, int column)
{
    const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(stmt, column));
    return text ? std::string_view(text, sqlite3_column_bytes(stmt, column)) : std::string_view();
}

} // namespace

SqliteRecordSource::SqliteRecordSource(sqlite3 *db, const QString &statement)
    : m_db(db)
{
    const QByteArray utf8 = statement.toUtf8();
    const char *tail = nullptr;
    if (sqlite3_prepare_v2(m_db, utf8.constData(), static_cast<int>(utf8.size()), &m_stmt, &tail) !=
        SQLITE_OK) {
        m_error = QString::fromUtf8(sqlite3_errmsg(m_db));
        close();
        return;
    }
    if (!m_stmt) {
        m_error = u"the statement is empty"_s;
        return;
    }
    // One statement per reader: a second one after ';' would run unseen.
    if (tail && !QByteArray(tail).trimmed().isEmpty()) {
        m_error = u"more than one statement"_s;
        close();
    }
}

SqliteRecordSource::~SqliteRecordSource()
{
    close();
}

bool SqliteRecordSource::next()
{
    if (!m_stmt)
        return false;
    const int rc = sqlite3_step(m_stmt);
    if (rc == SQLITE_ROW)
        return true;
    if (rc != SQLITE_DONE)
        m_error = QString::fromUtf8(sqlite3_errmsg(m_db));
    return false;
}

void SqliteRecordSource::close()
{
    if (m_stmt)
        sqlite3_finalize(m_stmt);
    m_stmt = nullptr;
}

bool SqliteRecordSource::valid(int column) const
{
    return m_stmt && column >= 0 && column < sqlite3_column_count(m_stmt);
}

int SqliteRecordSource::columnCount() const
{
    return m_stmt ? sqlite3_column_count(m_stmt) : 0;
}

QString SqliteRecordSource::columnName(int column) const
{
    return valid(column) ? QString::fromUtf8(sqlite3_column_name(m_stmt, column)) : QString();
}

bool SqliteRecordSource::isNull(int column) const
{
    return !valid(column) || sqlite3_column_type(m_stmt, column) == SQLITE_NULL;
}

QVariant SqliteRecordSource::value(int column) const
{
    if (!valid(column))
        return {};
    switch (sqlite3_column_type(m_stmt, column)) {
    case SQLITE_INTEGER:
        return QVariant::fromValue<qint64>(sqlite3_column_int64(m_stmt, column));
    case SQLITE_FLOAT:
        return sqlite3_column_double(m_stmt, column);
    case SQLITE_TEXT:
        return toText(column);
    case SQLITE_BLOB:
        return QByteArray(static_cast<const char *>(sqlite3_column_blob(m_stmt, column)),
                          sqlite3_column_bytes(m_stmt, column));
    default:
        return {};
    }
}

qint64 SqliteRecordSource::toInt(int column) const
{
    return valid(column) ? sqlite3_column_int64(m_stmt, column) : 0;
}

double SqliteRecordSource::toDouble(int column) const
{
    return valid(column) ? sqlite3_column_double(m_stmt, column) : 0.0;
}

QString SqliteRecordSource::toText(int column) const
{
    if (!valid(column))
        return {};
    const std::string_view text = textOf(m_stmt, column);
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

std::optional<double> SqliteRecordSource::toDate(int column) const
{
    if (!valid(column))
        return std::nullopt;
    switch (sqlite3_column_type(m_stmt, column)) {
    case SQLITE_INTEGER:
    case SQLITE_FLOAT:
        return sqlite3_column_double(m_stmt, column);
    case SQLITE_TEXT:
        return dates::fromText(textOf(m_stmt, column));
    default:
        return std::nullopt;
    }
}

} // namespace qrt::db
