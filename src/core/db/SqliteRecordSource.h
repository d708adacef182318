#pragma once
// Steps SQLite's own statement: no QVariant per value, which matters on the
// hot paths that read a row per news item.

#include "db/RecordSource.h"

struct sqlite3;
struct sqlite3_stmt;

namespace qrt::db {

class SqliteRecordSource final : public RecordSource
{
public:
    SqliteRecordSource(sqlite3 *db, const QString &statement);
    ~SqliteRecordSource() override;

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
    bool valid(int column) const;

    sqlite3 *m_db;
    sqlite3_stmt *m_stmt = nullptr;
};

} // namespace qrt::db
