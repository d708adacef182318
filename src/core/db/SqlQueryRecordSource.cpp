#include "db/SqlQueryRecordSource.h"

#include "base/Dates.h"

#include <QDateTime>
#include <QSqlError>
#include <QSqlRecord>

namespace qrt::db {

SqlQueryRecordSource::SqlQueryRecordSource(const QSqlDatabase &db, const QString &statement)
    : m_query(db)
{
    m_query.setForwardOnly(true);
    m_executed = m_query.exec(statement);
    if (!m_executed)
        m_error = m_query.lastError().text();
}

bool SqlQueryRecordSource::next()
{
    if (!m_executed)
        return false;
    if (m_query.next())
        return true;
    if (m_query.lastError().isValid())
        m_error = m_query.lastError().text();
    return false;
}

void SqlQueryRecordSource::close()
{
    m_query.finish();
    m_query.clear();
    m_executed = false;
}

int SqlQueryRecordSource::columnCount() const
{
    return m_query.record().count();
}

QString SqlQueryRecordSource::columnName(int column) const
{
    return m_query.record().fieldName(column);
}

bool SqlQueryRecordSource::isNull(int column) const
{
    return m_query.isNull(column);
}

QVariant SqlQueryRecordSource::value(int column) const
{
    return m_query.value(column);
}

qint64 SqlQueryRecordSource::toInt(int column) const
{
    return m_query.value(column).toLongLong();
}

double SqlQueryRecordSource::toDouble(int column) const
{
    return m_query.value(column).toDouble();
}

QString SqlQueryRecordSource::toText(int column) const
{
    return m_query.value(column).toString();
}

std::optional<double> SqlQueryRecordSource::toDate(int column) const
{
    const QVariant v = m_query.value(column);
    switch (v.typeId()) {
    case QMetaType::QDateTime:
        return dates::fromQDateTime(v.toDateTime());
    case QMetaType::QDate:
        return dates::fromQDate(v.toDate());
    case QMetaType::Double:
    case QMetaType::Int:
    case QMetaType::LongLong:
        return v.toDouble();
    case QMetaType::QString:
        return dates::fromText(v.toString());
    default:
        return std::nullopt;
    }
}

} // namespace qrt::db
