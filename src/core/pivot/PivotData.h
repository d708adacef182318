#pragma once
// The rows of one command text, column by column, as the pivot engine reads
// them. Built once by PivotLoader and then shared, read-only, by every view
// over the same connection string and command text.
//
// A grouped load (see PivotGrain) holds one row per combination of the
// grouped values, and each row's weight: the number of the statement's rows
// it stands for. The engine counts a row by its weight, so a grid is the
// same as over all rows.

#include "pivot/PivotColumn.h"
#include "pivot/PivotGrain.h"

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

    // Grouped loads: the weight of each row of a chunk; empty when every row
    // weighs one.
    const std::vector<quint32> &weights(int chunk) const;
    // The statement's rows the data stands for.
    qint64 itemCount() const { return m_items; }
    // What the load holds: all rows, or the grain it was grouped at, with
    // every column it holds by value among its value columns.
    const PivotGrain &grain() const { return m_grain; }
    void setGrain(PivotGrain grain, std::vector<std::vector<quint32>> weights);
    // Whether a layout needing `grain` can be aggregated from this data.
    bool covers(const PivotGrain &grain) const;

    qint64 memoryBytes() const;

private:
    QString m_connectionString;
    QString m_commandText;
    std::vector<PivotColumn> m_columns;
    qint64 m_rows = 0;
    qint64 m_items = 0;
    PivotGrain m_grain = PivotGrain::allRows();
    std::vector<std::vector<quint32>> m_weights;
};

} // namespace qrt::pivot
