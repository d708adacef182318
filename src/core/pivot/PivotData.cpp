#include "pivot/PivotData.h"

namespace qrt::pivot {

PivotData::PivotData(QString connectionString, QString commandText,
                     std::vector<PivotColumn> columns)
    : m_connectionString(std::move(connectionString))
    , m_commandText(std::move(commandText))
    , m_columns(std::move(columns))
    , m_rows(m_columns.empty() ? 0 : m_columns.front().rowCount())
{}

int PivotData::columnIndex(const QString &name) const
{
    for (std::size_t i = 0; i < m_columns.size(); ++i)
        if (m_columns[i].name() == name)
            return static_cast<int>(i);
    return -1;
}

int PivotData::chunkCount() const
{
    return static_cast<int>((m_rows + PivotColumn::ChunkRows - 1) / PivotColumn::ChunkRows);
}

qint64 PivotData::memoryBytes() const
{
    qint64 bytes = sizeof(*this);
    for (const PivotColumn &column : m_columns)
        bytes += column.memoryBytes();
    return bytes;
}

} // namespace qrt::pivot
