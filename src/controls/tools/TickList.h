#pragma once
// A one-column list of tick boxes showing a TickListModel. A click on a row,
// or the space key on the current row, is an edit of that row's tick:
// BeforeEdit fires first (and may cancel), then the tick flips, then
// AfterEdit. Mouse moves report the cell under the mouse.

#include <QListView>

class TickListModel;

class TickList : public QListView
{
    Q_OBJECT

public:
    explicit TickList(QWidget *parent = nullptr);

    TickListModel *model() const { return m_model; }

Q_SIGNALS:
    void BeforeEdit(int row, int col, bool *cancel);
    void AfterEdit(int row, int col);
    void MouseMove(int button, int shift, int x, int y);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    void edit(int row);
    void showCurrentCell(int row);

    TickListModel *m_model;
};
