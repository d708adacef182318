#include "pivot/PivotGridModel.h"

#include "pivot/PivotAggregator.h"
#include "pivot/PivotData.h"
#include "pivot/PivotGrain.h"
#include "pivot/PivotResultWriter.h"
#include "pivot/PivotView.h"

#include <QLocale>

#include <cmath>

using namespace Qt::StringLiterals;

namespace qrt::pivot {

namespace {

using Node = PivotResult::Node;
using Line = PivotResult::Line;
using LineKind = PivotResult::LineKind;

const Node &nodeAt(const std::vector<Node> &nodes, int index)
{
    return nodes[static_cast<std::size_t>(index)];
}

int maxDepth(const std::vector<Node> &nodes)
{
    int depth = 0;
    for (const Node &node : nodes)
        depth = std::max(depth, node.depth);
    return depth;
}

QString captionOf(const Node &node, LineKind kind)
{
    switch (kind) {
    case LineKind::GrandTotal:
        return u"Grand Total"_s;
    case LineKind::Subtotal:
        return node.caption + u" Total"_s;
    case LineKind::Member:
        break;
    }
    return node.caption;
}

QString escaped(const QString &text, QChar separator)
{
    if (separator == u'\t') {
        QString flat = text;
        return flat.replace(u'\t', u' ').replace(u'\n', u' ');
    }
    if (!text.contains(separator) && !text.contains(u'"') && !text.contains(u'\n'))
        return text;
    return u'"' + QString(text).replace(u"\""_s, u"\"\""_s) + u'"';
}

} // namespace

PivotGridModel::PivotGridModel(QObject *parent)
    : QAbstractTableModel(parent)
{}

PivotGridModel::~PivotGridModel() = default;

void PivotGridModel::setView(PivotView *view)
{
    beginResetModel();
    m_view = view;
    m_aggregated = false;
    m_result = PivotResult();
    m_descending.clear();
    rebuild();
    endResetModel();
    refresh();
}

bool PivotGridModel::refresh()
{
    if (!m_view || (m_aggregated && m_version == m_view->layoutVersion()))
        return false;
    // A layout finer than the loaded grain keeps the grid it had until the
    // view moves onto a load of that grain.
    if (m_view->data() && !m_view->data()->covers(PivotGrain::of(*m_view)))
        return false;
    beginResetModel();
    m_version = m_view->layoutVersion();
    m_result = PivotAggregator::run(*m_view);
    m_aggregated = true;
    m_rowExpanded.clear();
    for (const Node &node : m_result.rowNodes())
        m_rowExpanded.push_back(node.expanded);
    m_columnExpanded.clear();
    for (const Node &node : m_result.columnNodes())
        m_columnExpanded.push_back(node.expanded);
    rebuild();
    endResetModel();
    return true;
}

const std::vector<Node> &PivotGridModel::nodes(Qt::Orientation orientation) const
{
    return orientation == Qt::Vertical ? m_result.rowNodes() : m_result.columnNodes();
}

std::vector<bool> &PivotGridModel::expandedFlags(Qt::Orientation orientation)
{
    return orientation == Qt::Vertical ? m_rowExpanded : m_columnExpanded;
}

void PivotGridModel::rebuild()
{
    buildAxis(Qt::Vertical, m_rows);
    buildAxis(Qt::Horizontal, m_columns);
}

void PivotGridModel::addLines(const std::vector<Node> &nodes, const std::vector<bool> &expanded,
                              int node, std::vector<Line> &out) const
{
    std::vector<int> children = nodeAt(nodes, node).children;
    if (!children.empty() && m_descending.count(nodeAt(nodes, children.front()).fieldSet))
        std::reverse(children.begin(), children.end());
    for (int child : children) {
        if (nodeAt(nodes, child).children.empty() || !expanded[static_cast<std::size_t>(child)]) {
            out.push_back({child, LineKind::Member});
            continue;
        }
        addLines(nodes, expanded, child, out);
        if (m_subtotals)
            out.push_back({child, LineKind::Subtotal});
    }
}

// Each line gets a cell per member level: above its own level the
// ancestors, each covering the run of lines under it; from its own level to
// the last one its own caption.
void PivotGridModel::buildAxis(Qt::Orientation orientation, Axis &axis) const
{
    axis = Axis();
    const std::vector<Node> &all = nodes(orientation);
    if (all.empty())
        return;
    const std::vector<bool> &expanded =
        orientation == Qt::Vertical ? m_rowExpanded : m_columnExpanded;
    addLines(all, expanded, 0, axis.lines);
    axis.lines.push_back({0, LineKind::GrandTotal});
    const int depth = maxDepth(all);
    axis.depth = orientation == Qt::Vertical ? std::max(depth, 1) : depth;
    const int levels = axis.depth;
    axis.cells.assign(axis.lines.size() * static_cast<std::size_t>(levels), -1);
    std::vector<int> previous(static_cast<std::size_t>(levels), -1);
    std::vector<int> ancestors;
    for (std::size_t i = 0; i < axis.lines.size(); ++i) {
        const Line &line = axis.lines[i];
        const Node &own = nodeAt(all, line.node);
        const int k = line.kind == LineKind::GrandTotal ? 0 : own.depth;
        ancestors.assign(static_cast<std::size_t>(k + 1), 0);
        for (int n = line.node; n > 0; n = nodeAt(all, n).parent)
            ancestors[static_cast<std::size_t>(nodeAt(all, n).depth)] = n;
        const int line32 = static_cast<int>(i);
        for (int level = 0; level < std::max(k - 1, 0); ++level) {
            const int ancestor = ancestors[static_cast<std::size_t>(level + 1)];
            int &prev = previous[static_cast<std::size_t>(level)];
            if (prev >= 0 && axis.spans[static_cast<std::size_t>(prev)].node == ancestor &&
                axis.spans[static_cast<std::size_t>(prev)].last == line32 - 1 &&
                axis.spans[static_cast<std::size_t>(prev)].level == level &&
                axis.spans[static_cast<std::size_t>(prev)].lastLevel == level) {
                axis.spans[static_cast<std::size_t>(prev)].last = line32;
            } else {
                HeaderCell cell;
                cell.node = ancestor;
                cell.first = cell.last = line32;
                cell.level = cell.lastLevel = level;
                cell.caption = nodeAt(all, ancestor).caption;
                cell.expandable = cell.expanded = true;
                prev = static_cast<int>(axis.spans.size());
                axis.spans.push_back(cell);
            }
            axis.cells[i * static_cast<std::size_t>(levels) + static_cast<std::size_t>(level)] =
                prev;
        }
        if (levels == 0)
            continue;
        HeaderCell cell;
        cell.node = line.node;
        cell.kind = line.kind;
        cell.first = cell.last = line32;
        cell.level = std::max(k - 1, 0);
        cell.lastLevel = levels - 1;
        cell.caption = captionOf(own, line.kind);
        cell.expandable = line.kind == LineKind::Member && !own.children.empty();
        cell.expanded = cell.expandable && expanded[static_cast<std::size_t>(line.node)];
        const int index = static_cast<int>(axis.spans.size());
        axis.spans.push_back(cell);
        for (int level = cell.level; level < levels; ++level) {
            axis.cells[i * static_cast<std::size_t>(levels) + static_cast<std::size_t>(level)] =
                index;
            previous[static_cast<std::size_t>(level)] = index;
        }
    }
}

int PivotGridModel::totalSlots() const
{
    return std::max(m_result.totalCount(), 1);
}

QString PivotGridModel::totalCaption(int total) const
{
    // A renamed total shows its new caption before the next aggregation.
    if (m_view && total < m_view->DataAxis().Totals().Count())
        return m_view->DataAxis().Totals().Item(total).Caption();
    return total < m_result.totalCount() ? m_result.totalCaption(total) : QString();
}

QString PivotGridModel::numberFormat(int total) const
{
    if (m_view && total < m_view->DataAxis().Totals().Count())
        return m_view->DataAxis().Totals().Item(total).NumberFormat();
    return {};
}

int PivotGridModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.lines.size());
}

int PivotGridModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_columns.lines.size()) * totalSlots();
}

PivotResult::Line PivotGridModel::line(Qt::Orientation orientation, int section) const
{
    if (orientation == Qt::Vertical)
        return m_rows.lines[static_cast<std::size_t>(section)];
    return m_columns.lines[static_cast<std::size_t>(section / totalSlots())];
}

int PivotGridModel::totalOf(int column) const
{
    return column % totalSlots();
}

QVariant PivotGridModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount() || index.column() >= columnCount())
        return {};
    const Line row = line(Qt::Vertical, index.row());
    const Line column = line(Qt::Horizontal, index.column());
    const int total = totalOf(index.column());
    switch (role) {
    case Qt::DisplayRole:
    case ValueRole: {
        const std::optional<double> value = m_result.value(row.node, column.node, total);
        if (!value)
            return {};
        if (role == ValueRole)
            return *value;
        return formatNumber(*value, numberFormat(total));
    }
    case Qt::TextAlignmentRole:
        return QVariant::fromValue(Qt::Alignment(Qt::AlignRight | Qt::AlignVCenter));
    case LineKindRole: {
        // The one column (or line) of an axis without members holds the
        // plain values, not a total over others.
        const LineKind rowKind = m_result.rowNodes().size() > 1 ? row.kind : LineKind::Member;
        const LineKind columnKind =
            m_result.columnNodes().size() > 1 ? column.kind : LineKind::Member;
        return static_cast<int>(std::max(rowKind, columnKind));
    }
    case TotalRole:
        return total;
    default:
        return {};
    }
}

QVariant PivotGridModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    const int count = orientation == Qt::Vertical ? rowCount() : columnCount();
    if (section < 0 || section >= count)
        return {};
    if (role == Qt::DisplayRole)
        return headerCell(orientation, section, headerLevels(orientation) - 1).caption;
    if (role == LineKindRole)
        return static_cast<int>(line(orientation, section).kind);
    return {};
}

int PivotGridModel::headerLevels(Qt::Orientation orientation) const
{
    if (orientation == Qt::Vertical)
        return m_rows.depth;
    const bool totalLevel = m_result.totalCount() > 1 || m_columns.depth == 0;
    return m_columns.depth + (totalLevel ? 1 : 0);
}

PivotGridModel::HeaderCell PivotGridModel::headerCell(Qt::Orientation orientation, int section,
                                                      int level) const
{
    const Axis &axis = orientation == Qt::Vertical ? m_rows : m_columns;
    const int slots = orientation == Qt::Vertical ? 1 : totalSlots();
    const int lineIndex = section / slots;
    if (level >= axis.depth) {
        HeaderCell cell;
        cell.first = cell.last = section;
        cell.level = cell.lastLevel = level;
        cell.caption = totalCaption(totalOf(section));
        cell.kind = axis.lines[static_cast<std::size_t>(lineIndex)].kind;
        return cell;
    }
    HeaderCell cell = axis.spans[static_cast<std::size_t>(
        axis.cells[static_cast<std::size_t>(lineIndex) * static_cast<std::size_t>(axis.depth) +
                   static_cast<std::size_t>(level)])];
    cell.first *= slots;
    cell.last = cell.last * slots + slots - 1;
    return cell;
}

QStringList PivotGridModel::rowLevelNames() const
{
    QStringList names;
    const std::vector<Node> &all = m_result.rowNodes();
    for (int depth = 1; depth <= maxDepth(all); ++depth) {
        const auto it = std::find_if(all.begin(), all.end(), [&](const Node &node) {
            return node.depth == depth && node.fieldSet;
        });
        names << (it == all.end() ? QString() : it->fieldSet->Fields(it->level).Name());
    }
    return names;
}

void PivotGridModel::setExpanded(Qt::Orientation orientation, int node, bool expanded)
{
    const std::vector<Node> &all = nodes(orientation);
    if (!m_view || node <= 0 || node >= static_cast<int>(all.size()))
        return;
    const bool current = m_aggregated && m_version == m_view->layoutVersion();
    nodeAt(all, node).member().setExpanded(expanded);
    if (!current) {
        refresh();
        return;
    }
    // The result holds the children of collapsed members too: only the
    // lines change.
    beginResetModel();
    m_version = m_view->layoutVersion();
    expandedFlags(orientation)[static_cast<std::size_t>(node)] = expanded;
    rebuild();
    endResetModel();
}

void PivotGridModel::expandAll(bool expanded)
{
    if (!m_view)
        return;
    for (PivotFieldSet *fieldSet : m_view->FieldSets())
        fieldSet->clearMemberExpanded();
    m_view->setExpandMembers(expanded ? PivotView::ExpandAlways : PivotView::ExpandNever);
    refresh();
}

void PivotGridModel::setSortOrder(const PivotFieldSet *fieldSet, Qt::SortOrder order)
{
    if (sortOrder(fieldSet) == order)
        return;
    beginResetModel();
    if (order == Qt::DescendingOrder)
        m_descending.insert(fieldSet);
    else
        m_descending.erase(fieldSet);
    rebuild();
    endResetModel();
}

Qt::SortOrder PivotGridModel::sortOrder(const PivotFieldSet *fieldSet) const
{
    return m_descending.count(fieldSet) ? Qt::DescendingOrder : Qt::AscendingOrder;
}

void PivotGridModel::setSubtotalsShown(bool shown)
{
    if (m_subtotals == shown)
        return;
    beginResetModel();
    m_subtotals = shown;
    rebuild();
    endResetModel();
}

QString PivotGridModel::formatNumber(double value, const QString &format)
{
    QLocale locale;
    if (format.isEmpty() || format.compare(u"General"_s, Qt::CaseInsensitive) == 0) {
        locale.setNumberOptions(locale.numberOptions() | QLocale::OmitGroupSeparator);
        if (std::fabs(value) < 1e15 && value == std::trunc(value))
            return locale.toString(static_cast<qint64>(value));
        return locale.toString(value, 'g', 15);
    }
    const bool percent = format.endsWith(u'%');
    const QString pattern = percent ? format.chopped(1) : format;
    const qsizetype point = pattern.indexOf(u'.');
    const int decimals = point < 0 ? 0 : static_cast<int>(pattern.size() - point - 1);
    if (pattern.contains(u','))
        locale.setNumberOptions(locale.numberOptions() & ~QLocale::OmitGroupSeparator);
    else
        locale.setNumberOptions(locale.numberOptions() | QLocale::OmitGroupSeparator);
    const QString text = locale.toString(percent ? value * 100 : value, 'f', decimals);
    return percent ? text + u'%' : text;
}

QString PivotGridModel::toText(QChar separator) const
{
    QString out;
    const int rowLevels = headerLevels(Qt::Vertical);
    const int columnLevels = headerLevels(Qt::Horizontal);
    const QStringList names = rowLevelNames();
    auto headerText = [&](Qt::Orientation orientation, int section, int level) {
        const HeaderCell cell = headerCell(orientation, section, level);
        if (cell.level != level)
            return QString();
        // The first column names its members whole: months shown without
        // their year are told apart there.
        if (orientation == Qt::Vertical && level == 0 && cell.node > 0 &&
            cell.kind != LineKind::GrandTotal) {
            const QString path = m_result.wholePath(m_result.rowNodes(), cell.node);
            return escaped(cell.kind == LineKind::Subtotal ? path + u" Total"_s : path, separator);
        }
        return escaped(cell.caption, separator);
    };
    for (int level = 0; level < columnLevels; ++level) {
        QStringList fields;
        for (int r = 0; r < rowLevels; ++r)
            fields << (level == columnLevels - 1 ? escaped(names.value(r), separator) : QString());
        for (int c = 0; c < columnCount(); ++c)
            fields << headerText(Qt::Horizontal, c, level);
        out += fields.join(separator) + u'\n';
    }
    for (int row = 0; row < rowCount(); ++row) {
        QStringList fields;
        for (int level = 0; level < rowLevels; ++level)
            fields << headerText(Qt::Vertical, row, level);
        for (int c = 0; c < columnCount(); ++c) {
            const QVariant value = data(index(row, c), ValueRole);
            fields << (value.isValid() ? PivotResultWriter::number(value.toDouble()) : QString());
        }
        out += fields.join(separator) + u'\n';
    }
    return out;
}

} // namespace qrt::pivot
