#include "filterpanel/TickListModel.h"

TickListModel::TickListModel(QObject *parent)
    : QAbstractListModel(parent)
{}

void TickListModel::setRows(int rows)
{
    rows = qMax(0, rows);
    if (rows > Rows()) {
        beginInsertRows({}, Rows(), rows - 1);
        m_rows.resize(rows);
        endInsertRows();
    } else if (rows < Rows()) {
        beginRemoveRows({}, rows, Rows() - 1);
        m_rows.resize(rows);
        endRemoveRows();
        if (m_row >= rows)
            Select(rows - 1, m_col);
    }
}

void TickListModel::changed(int row)
{
    const QModelIndex i = index(row);
    Q_EMIT dataChanged(i, i);
}

QVariant TickListModel::Cell(CellKind kind, int row) const
{
    if (!valid(row))
        return {};
    switch (kind) {
    case CellText:
        return m_rows[row].text;
    case CellChecked:
        return m_rows[row].tick;
    case CellFontBold:
        return m_rows[row].bold;
    }
    return {};
}

void TickListModel::setCell(CellKind kind, int row, const QVariant &value)
{
    if (!valid(row))
        return;
    Item &item = m_rows[row];
    switch (kind) {
    case CellText:
        item.text = value.toString();
        break;
    case CellChecked:
        item.tick = value.toInt();
        break;
    case CellFontBold:
        item.bold = value.toBool();
        break;
    }
    changed(row);
}

QString TickListModel::cellText(int row) const
{
    return valid(row) ? m_rows[row].text : QString();
}

int TickListModel::cellChecked(int row) const
{
    return valid(row) ? m_rows[row].tick : 0;
}

QString TickListModel::RowKey(int row) const
{
    return valid(row) ? m_rows[row].key : QString();
}

void TickListModel::setRowKey(int row, const QString &key)
{
    if (valid(row))
        m_rows[row].key = key;
}

qint64 TickListModel::RowData(int row) const
{
    return valid(row) ? m_rows[row].data : 0;
}

void TickListModel::setRowData(int row, qint64 value)
{
    if (valid(row))
        m_rows[row].data = value;
}

int TickListModel::FindRow(const QString &key) const
{
    for (int row = 0; row < Rows(); ++row)
        if (m_rows[row].key == key)
            return row;
    return -1;
}

void TickListModel::Select(int row, int col)
{
    if (row == m_row && col == m_col)
        return;
    m_row = row;
    m_col = col;
    Q_EMIT currentCellChanged(row, col);
}

void TickListModel::setRedraw(bool redraw)
{
    if (redraw == m_redraw)
        return;
    m_redraw = redraw;
    Q_EMIT redrawChanged(redraw);
}

void TickListModel::setMouseCell(int row, int col)
{
    m_mouseRow = row;
    m_mouseCol = col;
}

void TickListModel::setToolTipText(const QString &text)
{
    m_toolTip = text;
    Q_EMIT toolTipTextChanged(text);
}

int TickListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : Rows();
}

QVariant TickListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || !valid(index.row()))
        return {};
    const Item &item = m_rows[index.row()];
    switch (role) {
    case Qt::DisplayRole:
        return item.text;
    case Qt::CheckStateRole:
        if (item.tick == Ticked)
            return Qt::Checked;
        return item.tick == Unticked ? QVariant(Qt::Unchecked) : QVariant();
    case BoldRole:
        return item.bold;
    case KeyRole:
        return item.key;
    default:
        return {};
    }
}

Qt::ItemFlags TickListModel::flags(const QModelIndex &index) const
{
    // Ticks change through the list's own edit events, never behind them.
    return index.isValid() ? Qt::ItemIsEnabled | Qt::ItemIsSelectable : Qt::NoItemFlags;
}
