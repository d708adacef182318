#pragma once
// The rows of one command text, column by column, as the pivot engine reads
// them. Built once by PivotLoader and then shared, read-only, by every view
// over the same connection string and command text.

#include "pivot/PivotColumn.h"

#include <QString>

#include <vector>

namespace qrt::pivot {

class PivotData
{
public:
    PivotData(QString connectionString, QString commandText, std::vector<PivotColumn> columns);

    const QString &connectionString() const { return m_connectionString; }
    const QString &commandText() const { return m_commandText; }
    qint64 rowCount() const { return m_rows; }
    int columnCount() const { return static_cast<int>(m_columns.size()); }
    const PivotColumn &column(int index) const
    {
        return m_columns[static_cast<std::size_t>(index)];
    }
    // -1 when no column has the name (compared as the engine spelt it).
    int columnIndex(const QString &name) const;
    int chunkCount() const;

    qint64 memoryBytes() const;

private:
    QString m_connectionString;
    QString m_commandText;
    std::vector<PivotColumn> m_columns;
    qint64 m_rows = 0;
};

} // namespace qrt::pivot
