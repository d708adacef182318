#pragma once
// Rows of any Qt SQL driver, read forward only through QSqlQuery.

#include "db/RecordSource.h"

#include <QSqlQuery>

namespace qrt::db {

class SqlQueryRecordSource final : public RecordSource
{
public:
    SqlQueryRecordSource(const QSqlDatabase &db, const QString &statement);

    bool next() override;
    void close() override;
    int columnCount() const override;
    QString columnName(int column) const override;
    bool isNull(int column) const override;
    QVariant value(int column) const override;
    qint64 toInt(int column) const override;
    double toDouble(int column) const override;
    QString toText(int column) const override;
    std::optional<double> toDate(int column) const override;

private:
    QSqlQuery m_query;
    bool m_executed = false;
};

} // namespace qrt::db
