#include "pivot/PivotResult.h"

#include "pivot/PivotTotal.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace qrt::pivot {

QStringList PivotResult::path(const std::vector<Node> &nodes, int node) const
{
    QStringList captions;
    for (; node > 0; node = nodes[static_cast<std::size_t>(node)].parent)
        captions.prepend(nodes[static_cast<std::size_t>(node)].caption);
    return captions;
}

QString PivotResult::wholePath(const std::vector<Node> &nodes, int node) const
{
    QStringList members;
    const PivotFieldSet *inner = nullptr;
    for (; node > 0; node = nodes[static_cast<std::size_t>(node)].parent) {
        const Node &n = nodes[static_cast<std::size_t>(node)];
        // A member of the same field set as the one below it is in that one's path.
        if (n.fieldSet && n.fieldSet == inner)
            continue;
        inner = n.fieldSet;
        QStringList captions;
        for (PivotMember m = n.member(); !m.isNull() && !m.isRoot(); m = m.ParentMember())
            captions.prepend(m.Caption());
        members.prepend(captions.isEmpty() ? n.caption : captions.join(u" \u203A "_s));
    }
    return members.join(u" / "_s);
}

std::vector<PivotResult::Line> PivotResult::lines(const std::vector<Node> &nodes)
{
    std::vector<Line> out;
    if (!nodes.empty()) {
        addLines(nodes, 0, out);
        out.push_back({0, LineKind::GrandTotal});
    }
    return out;
}

void PivotResult::addLines(const std::vector<Node> &nodes, int node, std::vector<Line> &out)
{
    for (int child : nodes[static_cast<std::size_t>(node)].children) {
        const Node &c = nodes[static_cast<std::size_t>(child)];
        if (c.children.empty() || !c.expanded) {
            out.push_back({child, LineKind::Member});
        } else {
            addLines(nodes, child, out);
            out.push_back({child, LineKind::Subtotal});
        }
    }
}

qint64 PivotResult::cellIndex(int row, int column) const
{
    if (row < 0 || column < 0 || row >= static_cast<int>(m_rows.size()) ||
        column >= static_cast<int>(m_columns.size()))
        return -1;
    if (m_dense)
        return static_cast<qint64>(row) * static_cast<qint64>(m_columns.size()) + column;
    const auto it =
        m_cellIndex.find((static_cast<quint64>(row) << 32) | static_cast<quint32>(column));
    return it == m_cellIndex.end() ? qint64(-1) : qint64(it->second);
}

qint64 PivotResult::cellFor(int row, int column)
{
    if (m_dense)
        return static_cast<qint64>(row) * static_cast<qint64>(m_columns.size()) + column;
    const auto [it, added] =
        m_cellIndex.try_emplace((static_cast<quint64>(row) << 32) | static_cast<quint32>(column),
                                static_cast<quint32>(m_cellRows.size()));
    if (added) {
        m_cellRows.push_back(0);
        m_cellAccs.resize(m_cellAccs.size() + m_totalCaptions.size());
    }
    return it->second;
}

qint64 PivotResult::sourceRows(int row, int column) const
{
    const qint64 cell = cellIndex(row, column);
    return cell < 0 ? 0 : m_cellRows[static_cast<std::size_t>(cell)];
}

std::optional<double> PivotResult::value(int row, int column, int total) const
{
    const qint64 cell = cellIndex(row, column);
    if (cell < 0 || total < 0 || total >= totalCount() ||
        m_cellRows[static_cast<std::size_t>(cell)] == 0)
        return std::nullopt;
    const auto t = static_cast<std::size_t>(total);
    if (m_countsRows[t])
        return static_cast<double>(m_cellRows[static_cast<std::size_t>(cell)]);
    const Acc &acc = m_cellAccs[static_cast<std::size_t>(cell) * m_totalCaptions.size() + t];
    if (m_functions[t] == PivotTotal::Count)
        return static_cast<double>(acc.count);
    if (acc.count == 0)
        return std::nullopt;
    switch (m_functions[t]) {
    case PivotTotal::Sum:
        return acc.sum;
    case PivotTotal::Min:
        return acc.min;
    case PivotTotal::Max:
        return acc.max;
    case PivotTotal::Average:
        return acc.sum / static_cast<double>(acc.count);
    default:
        return std::nullopt;
    }
}

} // namespace qrt::pivot
