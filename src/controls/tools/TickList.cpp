#include "controls/tools/TickList.h"

#include "filterpanel/TickListModel.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QStyledItemDelegate>

namespace {

class BoldDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        option->font.setBold(index.data(TickListModel::BoldRole).toBool());
    }
};

} // namespace

TickList::TickList(QWidget *parent)
    : QListView(parent)
    , m_model(new TickListModel(this))
{
    setModel(m_model);
    setItemDelegate(new BoldDelegate(this));
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    // Every row is as wide as the list and a long name ends in an ellipsis,
    // with the whole name in the tool tip: a narrow dock needs no sideways
    // scrolling. The rows take their size from "All", so the widest name
    // never widens them.
    setUniformItemSizes(true);
    setTextElideMode(Qt::ElideRight);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setMouseTracking(true);
    connect(m_model, &TickListModel::redrawChanged, this, [this](bool redraw) {
        setUpdatesEnabled(redraw);
        if (redraw)
            viewport()->update();
    });
    connect(m_model, &TickListModel::currentCellChanged, this,
            [this](int row, int) { showCurrentCell(row); });
    connect(m_model, &TickListModel::toolTipTextChanged, this, &QWidget::setToolTip);
}

void TickList::showCurrentCell(int row)
{
    const QModelIndex index = m_model->index(row);
    if (index.isValid())
        setCurrentIndex(index);
    else
        clearSelection();
}

void TickList::edit(int row)
{
    if (m_model->Editable() != 2 || row < 0 || m_model->cellChecked(row) == 0)
        return;
    bool cancel = false;
    Q_EMIT BeforeEdit(row, 0, &cancel);
    if (cancel)
        return;
    const int tick = m_model->cellChecked(row) == TickListModel::Ticked ? TickListModel::Unticked
                                                                        : TickListModel::Ticked;
    m_model->setCell(TickListModel::CellChecked, row, tick);
    Q_EMIT AfterEdit(row, 0);
}

void TickList::mousePressEvent(QMouseEvent *event)
{
    QListView::mousePressEvent(event);
    const QModelIndex index = indexAt(event->position().toPoint());
    if (event->button() == Qt::LeftButton && index.isValid())
        edit(index.row());
}

// The second click of a quick pair is a click too: ticking and unticking
// fast leaves the tick where it was, as with any tick box.
void TickList::mouseDoubleClickEvent(QMouseEvent *event)
{
    mousePressEvent(event);
}

void TickList::mouseMoveEvent(QMouseEvent *event)
{
    QListView::mouseMoveEvent(event);
    const QModelIndex index = indexAt(event->position().toPoint());
    m_model->setMouseCell(index.isValid() ? index.row() : -1, index.isValid() ? 0 : -1);
    const QPoint at = event->position().toPoint();
    Q_EMIT MouseMove(static_cast<int>(event->buttons()), static_cast<int>(event->modifiers()),
                     at.x(), at.y());
}

void TickList::leaveEvent(QEvent *event)
{
    QListView::leaveEvent(event);
    m_model->setMouseCell(-1, -1);
}

void TickList::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Space && currentIndex().isValid()) {
        edit(currentIndex().row());
        return;
    }
    QListView::keyPressEvent(event);
    // Arrow keys move the current cell, as a click does.
    if (currentIndex().isValid())
        m_model->Select(currentIndex().row(), 0);
}
