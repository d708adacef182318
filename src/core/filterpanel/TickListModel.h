#pragma once
// The state of a one-column list of tick boxes: per row a key, a text, a
// tick (1 ticked, 2 unticked), a bold flag and one free number; a current
// cell, the cell under the mouse, the list's tool tip and whether it
// repaints. Kept apart from the widget so it can be read without a screen.

#include <QAbstractListModel>
#include <QList>

class TickListModel : public QAbstractListModel
{
    Q_OBJECT

public:
    enum Tick { Ticked = 1, Unticked = 2 };
    enum CellKind { CellText = 0, CellChecked = 5, CellFontBold = 13 };
    enum Role { BoldRole = Qt::UserRole + 1, KeyRole };

    explicit TickListModel(QObject *parent = nullptr);

    int Rows() const { return static_cast<int>(m_rows.size()); }
    // Growing adds empty rows at the end; shrinking drops rows from the end.
    void setRows(int rows);

    QVariant Cell(CellKind kind, int row) const;
    void setCell(CellKind kind, int row, const QVariant &value);
    QString cellText(int row) const;
    int cellChecked(int row) const;

    QString RowKey(int row) const;
    void setRowKey(int row, const QString &key);
    qint64 RowData(int row) const;
    void setRowData(int row, qint64 value);
    // The row holding the key, or -1.
    int FindRow(const QString &key) const;

    int Row() const { return m_row; }
    int Col() const { return m_col; }
    void Select(int row, int col);

    bool Redraw() const { return m_redraw; }
    void setRedraw(bool redraw);
    // 2 lets the user change ticks by mouse and keyboard.
    int Editable() const { return m_editable; }
    void setEditable(int mode) { m_editable = mode; }

    int MouseRow() const { return m_mouseRow; }
    int MouseCol() const { return m_mouseCol; }
    void setMouseCell(int row, int col);
    QString ToolTipText() const { return m_toolTip; }
    void setToolTipText(const QString &text);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;

Q_SIGNALS:
    void redrawChanged(bool redraw);
    void currentCellChanged(int row, int col);
    void toolTipTextChanged(const QString &text);

private:
    struct Item
    {
        QString key;
        QString text;
        int tick = 0; // 0: no tick box yet
        bool bold = false;
        qint64 data = 0;
    };
    bool valid(int row) const { return row >= 0 && row < Rows(); }
    void changed(int row);

    QList<Item> m_rows;
    int m_row = -1;
    int m_col = 0;
    int m_mouseRow = -1;
    int m_mouseCol = -1;
    int m_editable = 0;
    bool m_redraw = true;
    QString m_toolTip;
};
