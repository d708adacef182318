#include "pivot/PivotData.h"

namespace qrt::pivot {

namespace {

const std::vector<quint32> kNoWeights;

} // namespace

PivotData::PivotData(QString connectionString, QString commandText,
                     std::vector<PivotColumn> columns)
    : m_connectionString(std::move(connectionString))
    , m_commandText(std::move(commandText))
    , m_columns(std::move(columns))
    , m_rows(m_columns.empty() ? 0 : m_columns.front().rowCount())
    , m_items(m_rows)
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

const std::vector<quint32> &PivotData::weights(int chunk) const
{
    return m_weights.empty() ? kNoWeights : m_weights[static_cast<std::size_t>(chunk)];
}

void PivotData::setGrain(PivotGrain grain, std::vector<std::vector<quint32>> weights)
{
    m_grain = std::move(grain);
    m_weights = std::move(weights);
    m_items = 0;
    for (const auto &chunk : m_weights)
        for (quint32 weight : chunk)
            m_items += weight;
}

bool PivotData::covers(const PivotGrain &wanted) const
{
    if (m_grain.isAllRows())
        return true;
    if (wanted.isAllRows())
        return false;
    for (const QString &name : wanted.valueColumns())
        if (!m_grain.needsValues(name) && columnIndex(name) >= 0)
            return false;
    for (const auto &[name, time] : wanted.times())
        if (m_grain.time(name) < time)
            return false;
    return true;
}

qint64 PivotData::memoryBytes() const
{
    qint64 bytes = sizeof(*this);
    for (const PivotColumn &column : m_columns)
        bytes += column.memoryBytes();
    for (const auto &chunk : m_weights)
        bytes += static_cast<qint64>(chunk.capacity() * sizeof(quint32));
    return bytes;
}

} // namespace qrt::pivot
