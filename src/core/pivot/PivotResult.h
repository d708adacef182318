#pragma once
// The grid a layout gives: a tree of row members and a tree of column
// members over the included levels (node 0 of each is the grand total), and
// for every pair of nodes the value of each total. Leaves are the deepest
// included level; every inner node holds the subtotal of its leaves, so a
// collapsed member shows its own values without aggregating again.

#include "pivot/PivotMember.h"

#include <QString>

#include <limits>
#include <optional>
#include <unordered_map>
#include <vector>

namespace qrt::pivot {

class PivotResult;
class PivotView;
namespace PivotAggregator {
PivotResult run(const PivotView &view);
}

class PivotResult
{
public:
    struct Node
    {
        int parent = -1;
        int depth = 0; // 0 for the grand total
        const PivotFieldSet *fieldSet = nullptr;
        int level = -1; // in the field set's tree
        qint64 key = 0;
        QString caption;
        bool expanded = true;
        std::vector<int> children;

        PivotMember member() const
        {
            return fieldSet ? PivotMember(fieldSet, level, key) : PivotMember();
        }
    };
    // What a cell gathers for one total: the values counted and their sum,
    // least and greatest.
    struct Acc
    {
        qint64 count = 0;
        double sum = 0;
        double min = std::numeric_limits<double>::infinity();
        double max = -std::numeric_limits<double>::infinity();
        void merge(const Acc &o)
        {
            count += o.count;
            sum += o.sum;
            min = std::min(min, o.min);
            max = std::max(max, o.max);
        }
    };
    enum class LineKind { Member, Subtotal, GrandTotal };
    struct Line
    {
        int node;
        LineKind kind;
    };

    const std::vector<Node> &rowNodes() const { return m_rows; }
    const std::vector<Node> &columnNodes() const { return m_columns; }
    // The lines a table shows along an axis: a leaf or a collapsed member is
    // one line; an expanded member's lines are followed by its subtotal;
    // the grand total comes last.
    std::vector<Line> rowLines() const { return lines(m_rows); }
    std::vector<Line> columnLines() const { return lines(m_columns); }
    // The captions from the outermost member down to the node.
    QStringList path(const std::vector<Node> &nodes, int node) const;
    // The same for a tip, each member with every level of its field set
    // above it, also those the layout leaves out, so that months shown
    // without their year tell which one they are: "2024 › Qtr4 › Nov", and
    // "2024 › Qtr4 › Nov / Provider A" below it. Empty for the grand total.
    QString wholePath(const std::vector<Node> &nodes, int node) const;

    int totalCount() const { return static_cast<int>(m_totalCaptions.size()); }
    const QString &totalCaption(int total) const
    {
        return m_totalCaptions[static_cast<std::size_t>(total)];
    }

    // Empty where no row of the data falls in the cell, or where a total
    // other than Count finds no number there.
    std::optional<double> value(int row, int column, int total) const;
    // The number of rows of the data in a cell.
    qint64 sourceRows(int row, int column) const;
    // The rows that passed the member choices.
    qint64 rowsAggregated() const { return sourceRows(0, 0); }

private:
    friend PivotResult PivotAggregator::run(const PivotView &view);

    static std::vector<Line> lines(const std::vector<Node> &nodes);
    static void addLines(const std::vector<Node> &nodes, int node, std::vector<Line> &out);
    // The cell of a pair of nodes, or -1.
    qint64 cellIndex(int row, int column) const;
    qint64 cellFor(int row, int column); // adds the cell when missing

    std::vector<Node> m_rows;
    std::vector<Node> m_columns;
    std::vector<QString> m_totalCaptions;
    std::vector<int> m_functions;
    std::vector<bool> m_countsRows; // a Count over a column without blanks

    bool m_dense = true;
    std::vector<qint64> m_cellRows;
    std::vector<Acc> m_cellAccs; // cell * totalCount() + total
    std::unordered_map<quint64, quint32> m_cellIndex;
};

} // namespace qrt::pivot
