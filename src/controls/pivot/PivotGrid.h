#pragma once
// The grid of a pivot view: values of the totals with the nested row
// members at the left and the column members on top, as a table view over
// a PivotGridModel, so a result of any size scrolls at the cost of the
// lines in sight. Subtotals and grand totals are bold on a darker ground,
// numbers right-aligned in their total's number format.
//
// Keys: "+" and "-" expand and collapse the member of the current line
// (with Shift, of the current column).

#include <QTableView>

namespace qrt::pivot {
class PivotFieldSet;
class PivotGridModel;
class PivotView;
} // namespace qrt::pivot

class PivotHeaderView;

class PivotGrid : public QTableView
{
    Q_OBJECT

public:
    explicit PivotGrid(QWidget *parent = nullptr);

    void setView(qrt::pivot::PivotView *view);
    qrt::pivot::PivotGridModel *gridModel() const { return m_model; }
    PivotHeaderView *rowHeader() const { return m_rowHeader; }
    PivotHeaderView *columnHeader() const { return m_columnHeader; }

    // Aggregates again if the layout changed; the grid shows the new result.
    void refresh();
    // The field set to sort: of the member whose header was clicked last (a
    // row's by default) at the current cell, else the first on the rows.
    const qrt::pivot::PivotFieldSet *currentFieldSet() const;
    // Expands or collapses a member of the result and tells the layout changed.
    void setExpanded(Qt::Orientation orientation, int node, bool expand);

Q_SIGNALS:
    // The grid changed the view's layout (a member expanded or collapsed).
    void layoutChanged();

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void modelWasReset();
    void fitColumns();
    void toggleCurrent(Qt::Orientation orientation, bool expand);

    qrt::pivot::PivotGridModel *m_model;
    PivotHeaderView *m_rowHeader;
    PivotHeaderView *m_columnHeader;
    Qt::Orientation m_lastHeader = Qt::Vertical;
};
