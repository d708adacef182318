#pragma once
// The grid of a pivot view as a table model: one row per row line of the
// result, one column per column line and total. It aggregates again when
// the view's layout has changed, and keeps what a grid needs to draw nested
// member headers (which member covers which lines at each header level)
// precomputed, so scrolling a large result asks for nothing but lookups.
//
// Sorting reverses the members of a field set; hiding subtotals drops their
// lines; expanding or collapsing a member rebuilds the lines from the result
// already held, without aggregating again.

#include "pivot/PivotResult.h"

#include <QAbstractTableModel>

#include <set>

namespace qrt::pivot {

class PivotFieldSet;
class PivotView;

class PivotGridModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Role {
        LineKindRole = Qt::UserRole + 1, // PivotResult::LineKind of the cell's row or column
        ValueRole,                       // the number, or an invalid variant
        TotalRole,                       // index of the cell's total on the data axis
    };

    // One cell of the nested headers: a member (or a subtotal or the grand
    // total) covering the sections [first, last] across the header levels
    // [level, lastLevel].
    struct HeaderCell
    {
        int node = -1; // in rowNodes() / columnNodes(); -1 for a total caption
        PivotResult::LineKind kind = PivotResult::LineKind::Member;
        int first = 0;
        int last = 0;
        int level = 0;
        int lastLevel = 0;
        QString caption;
        bool expandable = false;
        bool expanded = false;
    };

    explicit PivotGridModel(QObject *parent = nullptr);
    ~PivotGridModel() override;

    void setView(PivotView *view);
    PivotView *view() const { return m_view; }
    // Aggregates again when the layout changed since the last time; the
    // model resets then. True when it did.
    bool refresh();
    const PivotResult &result() const { return m_result; }

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

    // Header levels along an orientation: the nesting depth of the members,
    // on top one more for the total captions when there are several totals
    // or no column members.
    int headerLevels(Qt::Orientation orientation) const;
    HeaderCell headerCell(Qt::Orientation orientation, int section, int level) const;
    // The field names of the row header levels, outermost first.
    QStringList rowLevelNames() const;

    // The line of a section: node and kind.
    PivotResult::Line line(Qt::Orientation orientation, int section) const;
    int totalOf(int column) const;

    void setExpanded(Qt::Orientation orientation, int node, bool expanded);
    // Every member of every field set expanded or collapsed.
    void expandAll(bool expanded);

    void setSortOrder(const PivotFieldSet *fieldSet, Qt::SortOrder order);
    Qt::SortOrder sortOrder(const PivotFieldSet *fieldSet) const;

    bool subtotalsShown() const { return m_subtotals; }
    void setSubtotalsShown(bool shown);

    // The grid as text: the column header lines, then a line per row line
    // with its member captions (a member's caption on every line it covers;
    // in the first column its whole path, PivotResult::wholePath) and the
    // values as plain numbers.
    QString toCsv() const { return toText(u','); }
    QString toTabText() const { return toText(u'\t'); }

    // "General" writes up to 15 significant digits; a pattern such as
    // "#,##0.00" or "0.0%" gives grouping, the decimals and a percentage.
    static QString formatNumber(double value, const QString &format);

private:
    // The header cells of one orientation, precomputed per line and level.
    struct Axis
    {
        std::vector<PivotResult::Line> lines;
        int depth = 0;          // member levels
        std::vector<int> cells; // line * depth + level -> index into spans
        std::vector<HeaderCell> spans;
    };

    const std::vector<PivotResult::Node> &nodes(Qt::Orientation orientation) const;
    std::vector<bool> &expandedFlags(Qt::Orientation orientation);
    void rebuild();
    void buildAxis(Qt::Orientation orientation, Axis &axis) const;
    void addLines(const std::vector<PivotResult::Node> &nodes, const std::vector<bool> &expanded,
                  int node, std::vector<PivotResult::Line> &out) const;
    int totalSlots() const;
    QString totalCaption(int total) const;
    QString numberFormat(int total) const;
    QString toText(QChar separator) const;

    PivotView *m_view = nullptr;
    quint64 m_version = 0;
    bool m_aggregated = false;
    PivotResult m_result;
    std::vector<bool> m_rowExpanded;
    std::vector<bool> m_columnExpanded;
    Axis m_rows;
    Axis m_columns;
    std::set<const PivotFieldSet *> m_descending;
    bool m_subtotals = true;
};

} // namespace qrt::pivot
