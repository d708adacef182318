#include "controls/pivot/PivotGrid.h"

#include "controls/pivot/PivotHeaderView.h"
#include "pivot/PivotGridModel.h"
#include "pivot/PivotView.h"

#include <QKeyEvent>
#include <QPainter>
#include <QStyledItemDelegate>

using namespace Qt::StringLiterals;
using qrt::pivot::PivotGridModel;
using LineKind = qrt::pivot::PivotResult::LineKind;

namespace {

// Columns measured for their width; wider results keep the default width
// beyond these.
constexpr int kMeasuredColumns = 400;
constexpr int kMeasuredRows = 300;

const QColor kTotalFill(0xF3, 0xF1, 0xE4);
const QColor kGridLine(0xD8, 0xD5, 0xC4);

// Bold values and a tinted ground on subtotal and grand total lines.
class TotalDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        if (index.data(PivotGridModel::LineKindRole).toInt() != int(LineKind::Member)) {
            option->font.setBold(true);
            option->backgroundBrush = kTotalFill;
        }
    }
};

} // namespace

PivotGrid::PivotGrid(QWidget *parent)
    : QTableView(parent)
    , m_model(new PivotGridModel(this))
    , m_rowHeader(new PivotHeaderView(Qt::Vertical, this))
    , m_columnHeader(new PivotHeaderView(Qt::Horizontal, this))
{
    setObjectName(u"pivotGrid"_s);
    m_rowHeader->setObjectName(u"rowHeader"_s);
    m_columnHeader->setObjectName(u"columnHeader"_s);
    setVerticalHeader(m_rowHeader);
    setHorizontalHeader(m_columnHeader);
    setItemDelegate(new TotalDelegate(this));
    setModel(m_model);
    setWordWrap(false);
    setCornerButtonEnabled(false);
    setSelectionMode(QAbstractItemView::ContiguousSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    setGridStyle(Qt::SolidLine);
    setStyleSheet(u"QTableView { gridline-color: %1; background: white; }"_s.arg(kGridLine.name()));
    m_rowHeader->setDefaultSectionSize(fontMetrics().height() + 6);
    m_rowHeader->setMinimumSectionSize(fontMetrics().height() + 2);
    setToolTip(tr("Values of the totals; +/- on a member, or the + and - keys, expand and "
                  "collapse it"));
    connect(m_model, &QAbstractItemModel::modelReset, this, &PivotGrid::modelWasReset);
    auto selectLine = [this](Qt::Orientation orientation, int section) {
        if (m_model->rowCount() == 0 || m_model->columnCount() == 0)
            return;
        const QModelIndex current = currentIndex();
        setCurrentIndex(orientation == Qt::Vertical
                            ? m_model->index(section, std::max(current.column(), 0))
                            : m_model->index(std::max(current.row(), 0), section));
    };
    connect(m_rowHeader, &PivotHeaderView::memberClicked, this, [this, selectLine](int section) {
        m_lastHeader = Qt::Vertical;
        selectLine(Qt::Vertical, section);
    });
    connect(m_columnHeader, &PivotHeaderView::memberClicked, this, [this, selectLine](int section) {
        m_lastHeader = Qt::Horizontal;
        selectLine(Qt::Horizontal, section);
    });
    connect(m_rowHeader, &PivotHeaderView::expandRequested, this,
            [this](int node, bool expand) { setExpanded(Qt::Vertical, node, expand); });
    connect(m_columnHeader, &PivotHeaderView::expandRequested, this,
            [this](int node, bool expand) { setExpanded(Qt::Horizontal, node, expand); });
}

void PivotGrid::setView(qrt::pivot::PivotView *view)
{
    m_model->setView(view);
}

void PivotGrid::refresh()
{
    m_model->refresh();
}

void PivotGrid::modelWasReset()
{
    m_rowHeader->updateLevels();
    m_columnHeader->updateLevels();
    fitColumns();
    updateGeometries();
    viewport()->update();
    m_rowHeader->viewport()->update();
    m_columnHeader->viewport()->update();
}

void PivotGrid::setExpanded(Qt::Orientation orientation, int node, bool expand)
{
    m_model->setExpanded(orientation, node, expand);
    Q_EMIT layoutChanged();
}

void PivotGrid::fitColumns()
{
    QFont bold = font();
    bold.setBold(true);
    const QFontMetrics fm(bold);
    const int columns = std::min(m_model->columnCount(), kMeasuredColumns);
    const int rows = m_model->rowCount();
    const int levels = m_model->headerLevels(Qt::Horizontal);
    for (int c = 0; c < columns; ++c) {
        int width = 56;
        for (int level = 0; level < levels; ++level) {
            const PivotGridModel::HeaderCell cell = m_model->headerCell(Qt::Horizontal, c, level);
            // A caption spanning several columns shares them.
            const int share = (cell.last - cell.first + 1);
            const int box = cell.expandable ? 17 : 0;
            width = std::max(width, (fm.horizontalAdvance(cell.caption) + 12 + box) / share);
        }
        auto measure = [&](int row) {
            width = std::max(width,
                             fm.horizontalAdvance(m_model->index(row, c).data().toString()) + 12);
        };
        for (int row = 0; row < std::min(rows, kMeasuredRows); ++row)
            measure(row);
        if (rows > kMeasuredRows)
            measure(rows - 1);
        m_columnHeader->resizeSection(c, std::min(width, 260));
    }
}

const qrt::pivot::PivotFieldSet *PivotGrid::currentFieldSet() const
{
    // The member of the header last clicked, else the current line's.
    const QModelIndex current = currentIndex();
    const Qt::Orientation orientation = m_lastHeader;
    const auto &nodes = orientation == Qt::Vertical ? m_model->result().rowNodes()
                                                    : m_model->result().columnNodes();
    if (current.isValid()) {
        const int section = orientation == Qt::Vertical ? current.row() : current.column();
        const int node = m_model->line(orientation, section).node;
        if (node > 0)
            return nodes[static_cast<std::size_t>(node)].fieldSet;
    }
    if (qrt::pivot::PivotView *view = m_model->view()) {
        if (view->RowAxis().FieldSets().Count() > 0)
            return &view->RowAxis().FieldSets().Item(0);
        if (view->ColumnAxis().FieldSets().Count() > 0)
            return &view->ColumnAxis().FieldSets().Item(0);
    }
    return nullptr;
}

void PivotGrid::toggleCurrent(Qt::Orientation orientation, bool expand)
{
    const QModelIndex current = currentIndex();
    if (!current.isValid())
        return;
    const int section = orientation == Qt::Vertical ? current.row() : current.column();
    const int levels = m_model->headerLevels(orientation);
    // The line's own member; collapsing a leaf collapses the member above it.
    for (int level = levels - 1; level >= 0; --level) {
        const PivotGridModel::HeaderCell cell = m_model->headerCell(orientation, section, level);
        if (cell.node <= 0 || cell.kind != LineKind::Member)
            continue;
        if (cell.expandable && cell.expanded != expand) {
            setExpanded(orientation, cell.node, expand);
            const int again = std::min(
                cell.first,
                (orientation == Qt::Vertical ? m_model->rowCount() : m_model->columnCount()) - 1);
            setCurrentIndex(orientation == Qt::Vertical
                                ? m_model->index(again, std::max(current.column(), 0))
                                : m_model->index(std::max(current.row(), 0), again));
            return;
        }
        if (expand)
            return;
    }
}

void PivotGrid::keyPressEvent(QKeyEvent *event)
{
    const Qt::Orientation orientation =
        event->modifiers() & Qt::ShiftModifier ? Qt::Horizontal : Qt::Vertical;
    if (event->key() == Qt::Key_Plus) {
        toggleCurrent(orientation, true);
        return;
    }
    if (event->key() == Qt::Key_Minus) {
        toggleCurrent(orientation, false);
        return;
    }
    QTableView::keyPressEvent(event);
}
