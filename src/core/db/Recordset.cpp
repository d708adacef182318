#include "db/Recordset.h"

#include "db/Connection.h"
#include "db/Dialect.h"
#include "db/SqlQueryRecordSource.h"
#include "db/SqliteRecordSource.h"
#include "db/StatementGuard.h"

using namespace Qt::StringLiterals;

namespace qrt::db {

Recordset::Recordset() = default;

Recordset::~Recordset()
{
    Close();
}

void Recordset::fail(const QString &why)
{
    m_lastError = why;
    if (m_connection)
        m_connection->setLastError(why);
}

bool Recordset::Open(const QString &statement, Connection &connection)
{
    Close();
    m_lastError.clear();
    if (!connection.IsOpen()) {
        m_lastError = u"the connection is not open"_s;
        return false;
    }
    m_connection = &connection;
    connection.attach(this);
    if (const QString why = StatementGuard::refusal(statement); !why.isEmpty()) {
        fail(u"statement refused: "_s + why);
        Close();
        return false;
    }
    m_statement = statement;
    m_foldsNames = connection.engine() == Engine::PostgreSQL;
    const QString sql = connection.statementText(statement);
    if (connection.engine() == Engine::SQLite)
        m_source = std::make_unique<SqliteRecordSource>(connection.sqliteHandle(), sql);
    else
        m_source = std::make_unique<SqlQueryRecordSource>(connection.database(), sql);
    if (!m_source->error().isEmpty()) {
        fail(u"statement refused: "_s + m_source->error());
        Close();
        return false;
    }
    MoveNext();
    return m_lastError.isEmpty();
}

void Recordset::MoveNext()
{
    m_onRow = m_source && m_source->next();
    if (!m_onRow && m_source && !m_source->error().isEmpty())
        fail(u"reading rows failed: "_s + m_source->error());
}

void Recordset::Close()
{
    m_onRow = false;
    if (m_source)
        m_source->close();
    m_source.reset();
    if (m_connection)
        m_connection->detach(this);
    m_connection = nullptr;
}

int Recordset::FieldCount() const
{
    return m_source ? m_source->columnCount() : 0;
}

QString Recordset::FieldName(int column) const
{
    if (!m_source)
        return {};
    const QString name = m_source->columnName(column);
    return m_foldsNames ? Dialect::columnSpelling(m_statement, name) : name;
}

bool Recordset::IsNull(int column) const
{
    return !m_onRow || m_source->isNull(column);
}

QVariant Recordset::Value(int column) const
{
    return m_onRow ? m_source->value(column) : QVariant();
}

qint64 Recordset::Int(int column) const
{
    return m_onRow ? m_source->toInt(column) : 0;
}

double Recordset::Double(int column) const
{
    return m_onRow ? m_source->toDouble(column) : 0.0;
}

QString Recordset::Text(int column) const
{
    return m_onRow ? m_source->toText(column) : QString();
}

std::optional<double> Recordset::DateValue(int column) const
{
    return m_onRow ? m_source->toDate(column) : std::nullopt;
}

} // namespace qrt::db
