#include "controls/pivot/PivotHeaderView.h"

#include "pivot/PivotGridModel.h"

#include <QHelpEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>

using namespace Qt::StringLiterals;
using qrt::pivot::PivotGridModel;
using LineKind = qrt::pivot::PivotResult::LineKind;

namespace {

constexpr int kBox = 9;
constexpr int kPad = 4;
// Enough lines to size the levels by; the rest of a large result scrolls
// past without being measured.
constexpr int kMeasuredLines = 2000;

const QColor kHeaderFill(0xEC, 0xE9, 0xD8);
const QColor kTotalFill(0xDD, 0xD9, 0xC3);
const QColor kLine(0xB8, 0xB4, 0x9C);

} // namespace

PivotHeaderView::PivotHeaderView(Qt::Orientation orientation, QWidget *parent)
    : QHeaderView(orientation, parent)
{
    setSectionsClickable(false);
    setHighlightSections(false);
    setSectionResizeMode(orientation == Qt::Vertical ? QHeaderView::Fixed
                                                     : QHeaderView::Interactive);
    setMouseTracking(true);
}

PivotGridModel *PivotHeaderView::gridModel() const
{
    return qobject_cast<PivotGridModel *>(model());
}

void PivotHeaderView::updateLevels()
{
    m_levels.clear();
    PivotGridModel *grid = gridModel();
    if (!grid)
        return;
    const int levels = grid->headerLevels(orientation());
    const int lineHeight = fontMetrics().height() + 6;
    if (orientation() == Qt::Horizontal) {
        m_levels.assign(static_cast<std::size_t>(levels), lineHeight);
        updateGeometry();
        return;
    }
    QFont bold = font();
    bold.setBold(true);
    const QFontMetrics plain(font());
    const QFontMetrics strong(bold);
    m_levels.assign(static_cast<std::size_t>(levels), 40);
    const int sections = count();
    auto measure = [&](int section) {
        for (int level = 0; level < levels; ++level) {
            const PivotGridModel::HeaderCell cell = grid->headerCell(Qt::Vertical, section, level);
            if (cell.level != level)
                continue;
            const QFontMetrics &fm = cell.kind == LineKind::Member ? plain : strong;
            const int width = fm.horizontalAdvance(cell.caption) + 2 * kPad + kBox + kPad;
            // A caption spanning several levels needs only the room they give together.
            int room = 0;
            for (int l = level + 1; l <= cell.lastLevel; ++l)
                room += m_levels[static_cast<std::size_t>(l)];
            int &size = m_levels[static_cast<std::size_t>(level)];
            size = std::max(size, std::min(width - room, 320));
        }
    };
    for (int section = 0; section < std::min(sections, kMeasuredLines); ++section)
        measure(section);
    if (sections > kMeasuredLines)
        measure(sections - 1);
    const QStringList names = grid->rowLevelNames();
    for (int level = 0; level < std::min(levels, static_cast<int>(names.size())); ++level)
        m_levels[static_cast<std::size_t>(level)] =
            std::max(m_levels[static_cast<std::size_t>(level)],
                     strong.horizontalAdvance(names[level]) + 2 * kPad + 14);
    updateGeometry();
}

int PivotHeaderView::levelSize(int level) const
{
    return level >= 0 && level < levelCount() ? m_levels[static_cast<std::size_t>(level)] : 0;
}

int PivotHeaderView::levelStart(int level) const
{
    int start = 0;
    for (int l = 0; l < level; ++l)
        start += levelSize(l);
    return start;
}

QSize PivotHeaderView::sizeHint() const
{
    QSize hint = QHeaderView::sizeHint();
    const int extent = std::max(levelStart(levelCount()), 1);
    if (orientation() == Qt::Vertical)
        hint.setWidth(extent);
    else
        hint.setHeight(extent);
    return hint;
}

QRect PivotHeaderView::cellRect(int first, int last, int level, int lastLevel) const
{
    const int from = sectionViewportPosition(first);
    const int to = sectionViewportPosition(last) + sectionSize(last);
    const int start = levelStart(level);
    const int end = levelStart(lastLevel + 1);
    if (orientation() == Qt::Vertical)
        return QRect(QPoint(start, from), QPoint(end - 1, to - 1));
    return QRect(QPoint(from, start), QPoint(to - 1, end - 1));
}

QRect PivotHeaderView::boxRect(const QRect &cell) const
{
    // At the top of a tall cell, so it stays with the caption's first line.
    const int lineHeight = fontMetrics().height() + 6;
    const int top = orientation() == Qt::Vertical
                        ? std::max(cell.top(), 0) + (lineHeight - kBox) / 2
                        : cell.top() + (cell.height() - kBox) / 2;
    const int left =
        orientation() == Qt::Horizontal ? std::max(cell.left(), 0) + kPad : cell.left() + kPad;
    return QRect(left, top, kBox, kBox);
}

void PivotHeaderView::paintEvent(QPaintEvent *)
{
    QPainter painter(viewport());
    // Past the last line the ground is the grid's, not the headers'.
    painter.fillRect(viewport()->rect(), palette().color(QPalette::Base));
    PivotGridModel *grid = gridModel();
    if (!grid || count() == 0)
        return;
    const bool vertical = orientation() == Qt::Vertical;
    const int extent = vertical ? viewport()->height() : viewport()->width();
    const int firstSection = std::max(logicalIndexAt(0), 0);
    int lastSection = logicalIndexAt(extent - 1);
    if (lastSection < 0)
        lastSection = count() - 1;
    const int lineHeight = fontMetrics().height() + 6;
    QFont bold = font();
    bold.setBold(true);
    for (int level = 0; level < levelCount(); ++level) {
        for (int section = firstSection; section <= lastSection; ++section) {
            const PivotGridModel::HeaderCell cell = grid->headerCell(orientation(), section, level);
            if (cell.level != level || (cell.first < section && section != firstSection))
                continue;
            const QRect rect = cellRect(cell.first, cell.last, cell.level, cell.lastLevel);
            const bool total = cell.kind != LineKind::Member;
            painter.fillRect(rect, total ? kTotalFill : kHeaderFill);
            painter.setPen(kLine);
            painter.drawLine(rect.topRight(), rect.bottomRight());
            painter.drawLine(rect.bottomLeft(), rect.bottomRight());
            // The caption stays at the visible start of a cell cut by the edge.
            QRect text = rect.adjusted(kPad, 0, -kPad, 0);
            if (vertical) {
                text.setTop(std::max(rect.top(), 0));
                text.setHeight(std::min(lineHeight, rect.bottom() - text.top() + 1));
            } else {
                text.setLeft(std::max(rect.left(), 0) + kPad);
            }
            if (cell.expandable) {
                const QRect box = boxRect(rect);
                painter.setPen(palette().color(QPalette::Shadow));
                painter.fillRect(box, Qt::white);
                painter.drawRect(box.adjusted(0, 0, -1, -1));
                const QPoint c = box.center();
                painter.drawLine(c.x() - 2, c.y(), c.x() + 2, c.y());
                if (!cell.expanded)
                    painter.drawLine(c.x(), c.y() - 2, c.x(), c.y() + 2);
                text.setLeft(box.right() + kPad);
            }
            painter.setFont(total ? bold : font());
            painter.setPen(palette().color(QPalette::WindowText));
            const QString caption =
                painter.fontMetrics().elidedText(cell.caption, Qt::ElideRight, text.width());
            painter.drawText(text, Qt::AlignLeft | Qt::AlignVCenter, caption);
        }
    }
}

PivotHeaderView::Hit PivotHeaderView::hitAt(const QPoint &pos) const
{
    const bool vertical = orientation() == Qt::Vertical;
    const int section = logicalIndexAt(vertical ? pos.y() : pos.x());
    const int across = vertical ? pos.x() : pos.y();
    for (int level = 0; level < levelCount(); ++level)
        if (across >= levelStart(level) && across < levelStart(level + 1))
            return {section, level};
    return {section, -1};
}

void PivotHeaderView::mousePressEvent(QMouseEvent *event)
{
    PivotGridModel *grid = gridModel();
    const Hit hit = hitAt(event->position().toPoint());
    const bool onHandle = viewport()->cursor().shape() == Qt::SplitHCursor;
    if (!grid || hit.section < 0 || hit.level < 0 || event->button() != Qt::LeftButton ||
        onHandle) {
        QHeaderView::mousePressEvent(event);
        return;
    }
    const PivotGridModel::HeaderCell cell = grid->headerCell(orientation(), hit.section, hit.level);
    const QRect rect = cellRect(cell.first, cell.last, cell.level, cell.lastLevel);
    if (cell.expandable &&
        boxRect(rect).adjusted(-2, -2, 2, 2).contains(event->position().toPoint())) {
        Q_EMIT expandRequested(cell.node, !cell.expanded);
        return;
    }
    Q_EMIT memberClicked(cell.first);
}

void PivotHeaderView::mouseDoubleClickEvent(QMouseEvent *event)
{
    // A double click on a caption toggles the member, as in a tree.
    PivotGridModel *grid = gridModel();
    const Hit hit = hitAt(event->position().toPoint());
    if (!grid || hit.section < 0 || hit.level < 0)
        return;
    const PivotGridModel::HeaderCell cell = grid->headerCell(orientation(), hit.section, hit.level);
    if (cell.expandable)
        Q_EMIT expandRequested(cell.node, !cell.expanded);
}

bool PivotHeaderView::viewportEvent(QEvent *event)
{
    // A month shown without its year says in the tip which one it is.
    if (event->type() != QEvent::ToolTip)
        return QHeaderView::viewportEvent(event);
    auto *help = static_cast<QHelpEvent *>(event);
    PivotGridModel *grid = gridModel();
    const Hit hit = hitAt(help->pos());
    if (!grid || hit.section < 0 || hit.level < 0)
        return true;
    const PivotGridModel::HeaderCell cell = grid->headerCell(orientation(), hit.section, hit.level);
    const auto &nodes =
        orientation() == Qt::Vertical ? grid->result().rowNodes() : grid->result().columnNodes();
    QString tip = cell.caption;
    if (cell.node > 0 && cell.kind == LineKind::Member) {
        tip = grid->result().wholePath(nodes, cell.node);
        if (cell.expandable)
            tip += cell.expanded ? tr(" (click the box to collapse)")
                                 : tr(" (click the box to expand)");
    }
    QToolTip::showText(help->globalPos(), tip, viewport());
    return true;
}

void PivotHeaderView::mouseMoveEvent(QMouseEvent *event)
{
    // Only the column widths are the user's to drag.
    if (orientation() == Qt::Horizontal)
        QHeaderView::mouseMoveEvent(event);
}

void PivotHeaderView::mouseReleaseEvent(QMouseEvent *event)
{
    if (orientation() == Qt::Horizontal)
        QHeaderView::mouseReleaseEvent(event);
}
