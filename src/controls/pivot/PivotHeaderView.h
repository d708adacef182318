#pragma once
// The nested member headers of a pivot grid, at the left for the row
// members and on top for the column members. A member covers the lines of
// its children, its caption stays in sight while they scroll, and a member
// with children has a +/- box that expands or collapses it. Subtotals and
// the grand total are bold. Reads the cells from a PivotGridModel.

#include <QHeaderView>

namespace qrt::pivot {
class PivotGridModel;
}

class PivotHeaderView : public QHeaderView
{
    Q_OBJECT

public:
    explicit PivotHeaderView(Qt::Orientation orientation, QWidget *parent = nullptr);

    // Measures the captions again; call after the model reset.
    void updateLevels();
    // The extent of one header level (a column at the left, a line on top).
    int levelSize(int level) const;
    int levelCount() const { return static_cast<int>(m_levels.size()); }
    QSize sizeHint() const override;

Q_SIGNALS:
    // A click on a member's caption (not its box): the grid makes its line current.
    void memberClicked(int section);
    // A click on a member's +/- box, or a double click on its caption.
    void expandRequested(int node, bool expand);

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    bool viewportEvent(QEvent *event) override;

private:
    struct Hit
    {
        int section = -1;
        int level = -1;
    };

    qrt::pivot::PivotGridModel *gridModel() const;
    int levelStart(int level) const;
    Hit hitAt(const QPoint &pos) const;
    QRect cellRect(int first, int last, int level, int lastLevel) const;
    QRect boxRect(const QRect &cell) const;

    std::vector<int> m_levels;
};
