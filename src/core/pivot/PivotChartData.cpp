#include "pivot/PivotChartData.h"

#include "pivot/PivotField.h"
#include "pivot/PivotFieldSet.h"

using namespace Qt::StringLiterals;

namespace qrt::pivot {

namespace {

using Nodes = std::vector<PivotResult::Node>;

const PivotResult::Node &nodeAt(const Nodes &nodes, int node)
{
    return nodes[static_cast<std::size_t>(node)];
}

// The nodes a chart shows along one axis: the leaves in member order, a
// collapsed member in place of its own; the grand total alone when the axis
// has no members.
void collectLeaves(const Nodes &nodes, int node, std::vector<int> &out)
{
    const PivotResult::Node &n = nodeAt(nodes, node);
    if (n.children.empty() || (node > 0 && !n.expanded)) {
        out.push_back(node);
        return;
    }
    for (int child : n.children)
        collectLeaves(nodes, child, out);
}

std::vector<int> leaves(const Nodes &nodes)
{
    std::vector<int> out;
    if (!nodes.empty())
        collectLeaves(nodes, 0, out);
    return out;
}

// The field names from the outermost level down to the deepest leaf.
QString levelTitle(const Nodes &nodes, const std::vector<int> &leafNodes)
{
    int deepest = -1;
    for (int node : leafNodes)
        if (deepest < 0 || nodeAt(nodes, node).depth > nodeAt(nodes, deepest).depth)
            deepest = node;
    QStringList names;
    for (int node = deepest; node > 0; node = nodeAt(nodes, node).parent) {
        const PivotResult::Node &n = nodeAt(nodes, node);
        if (n.fieldSet)
            names.prepend(n.fieldSet->Fields(n.level).Name());
    }
    return names.join(u" / "_s);
}

QString seriesName(const QStringList &path, const QString &total, bool withTotal)
{
    if (path.isEmpty())
        return total;
    const QString member = path.join(u" - "_s);
    return withTotal ? member + u" - "_s + total : member;
}

} // namespace

PivotChartData PivotChartData::from(const PivotResult &result, bool seriesByRows,
                                    int plotAggregates)
{
    PivotChartData chart;
    const Nodes &categoryNodes = seriesByRows ? result.columnNodes() : result.rowNodes();
    const Nodes &seriesNodes = seriesByRows ? result.rowNodes() : result.columnNodes();
    const std::vector<int> categories = leaves(categoryNodes);
    const std::vector<int> series = leaves(seriesNodes);
    const int totals =
        plotAggregates == FirstTotal ? std::min(result.totalCount(), 1) : result.totalCount();
    for (int node : categories) {
        chart.categories.push_back(result.path(categoryNodes, node));
        chart.categoryTips.push_back(result.wholePath(categoryNodes, node));
    }
    chart.categoryTitle = levelTitle(categoryNodes, categories);
    chart.seriesTitle = levelTitle(seriesNodes, series);
    if (totals == 1)
        chart.valueTitle = result.totalCaption(0);
    for (int node : series) {
        for (int total = 0; total < totals; ++total) {
            Series s;
            s.path = result.path(seriesNodes, node);
            s.total = total;
            s.name = seriesName(s.path, result.totalCaption(total), totals > 1);
            const QString whole = result.wholePath(seriesNodes, node);
            s.tip = seriesName(whole.isEmpty() ? QStringList() : QStringList{whole},
                               result.totalCaption(total), totals > 1);
            s.values.reserve(categories.size());
            for (int category : categories)
                s.values.push_back(seriesByRows ? result.value(node, category, total)
                                                : result.value(category, node, total));
            chart.series.push_back(std::move(s));
        }
    }
    return chart;
}

} // namespace qrt::pivot
