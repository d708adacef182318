#include "controls/pivot/PivotMemberFilter.h"

#include "pivot/PivotAxis.h"
#include "pivot/PivotFieldSet.h"

#include <QDialogButtonBox>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPushButton>
#include <QScreen>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <unordered_set>

using namespace Qt::StringLiterals;
using namespace qrt::pivot;

namespace {

constexpr int kLevelRole = Qt::UserRole + 1;
constexpr int kKeyRole = Qt::UserRole + 2;
constexpr int kFilledRole = Qt::UserRole + 3;

// The tree goes down to the deepest level the axis shows; a field set with
// nothing shown (or on the filter area) offers every level.
int lastLevel(const PivotFieldSet &fieldSet)
{
    int last = -1;
    if (fieldSet.Axis() && fieldSet.Axis()->kind() != PivotAxis::Kind::Filter)
        for (const PivotField *field : fieldSet.Fields())
            if (field->IsIncluded())
                last = std::max(last, field->level());
    return last < 0 ? static_cast<int>(fieldSet.Fields().Count()) - 1 : last;
}

} // namespace

PivotMemberFilter::PivotMemberFilter(PivotFieldSet &fieldSet, QWidget *parent)
    : QFrame(parent, Qt::Popup)
    , m_fieldSet(fieldSet)
    , m_lastLevel(lastLevel(fieldSet))
    , m_tree(new QTreeWidget(this))
    , m_all(new QTreeWidgetItem(m_tree))
    , m_ok(nullptr)
{
    setObjectName(u"memberFilter"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    setFrameShape(QFrame::Box);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 4, 4, 4);
    m_tree->setObjectName(u"memberTree"_s);
    m_tree->setHeaderHidden(true);
    m_tree->setToolTip(
        tr("Tick the members of %1 to show; Space ticks the current one").arg(fieldSet.Name()));
    m_all->setText(0, tr("(All)"));
    m_all->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable |
                    Qt::ItemIsAutoTristate);
    m_all->setData(0, kLevelRole, -1);
    addChildren(m_all);
    m_all->setExpanded(true);
    layout->addWidget(m_tree);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    m_ok = buttons->button(QDialogButtonBox::Ok);
    m_ok->setObjectName(u"okButton"_s);
    buttons->button(QDialogButtonBox::Cancel)->setObjectName(u"cancelButton"_s);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, [this] {
        apply();
        close();
    });
    connect(buttons, &QDialogButtonBox::rejected, this, &QWidget::close);
    connect(m_tree, &QTreeWidget::itemExpanded, this, &PivotMemberFilter::ensureChildren);
    connect(m_tree, &QTreeWidget::itemChanged, this, &PivotMemberFilter::updateOk);
    m_tree->setCurrentItem(m_all);
    m_tree->setFocus();
    resize(230, 270);
    updateOk();
}

void PivotMemberFilter::popup(const QPoint &globalPos)
{
    QPoint pos = globalPos;
    // Inside the window that holds the table when it has the room, so the
    // buttons stay in sight of a small embedded table.
    if (const QWidget *window = parentWidget() ? parentWidget()->window() : nullptr) {
        const int below = window->mapToGlobal(QPoint(0, window->height())).y() - pos.y();
        resize(width(), std::clamp(below - 2, 180, 270));
    }
    if (const QScreen *screen = QGuiApplication::screenAt(globalPos)) {
        const QRect room = screen->availableGeometry();
        pos.setX(std::clamp(pos.x(), room.left(), std::max(room.left(), room.right() - width())));
        pos.setY(std::clamp(pos.y(), room.top(), std::max(room.top(), room.bottom() - height())));
    }
    move(pos);
    show();
    m_tree->setFocus();
}

Qt::CheckState PivotMemberFilter::initialState(int level, qint64 key) const
{
    const int mode = m_fieldSet.AllIncludeExclude();
    if (mode != PivotFieldSet::IncludeAllButExcluded &&
        mode != PivotFieldSet::ExcludeAllButIncluded)
        return Qt::Checked;
    const bool include = mode == PivotFieldSet::ExcludeAllButIncluded;
    const PivotHierarchy &h = m_fieldSet.hierarchy();
    bool chosen = false;
    bool below = false;
    for (const PivotField *field : m_fieldSet.Fields()) {
        const std::vector<qint64> &keys = include ? field->includedKeys() : field->excludedKeys();
        const int l = field->level();
        for (qint64 k : keys) {
            if (l <= level && h.ancestorKey(level, key, l) == k)
                chosen = true;
            else if (l > level && h.ancestorKey(l, k, level) == key)
                below = true;
        }
    }
    if (chosen)
        return include ? Qt::Checked : Qt::Unchecked;
    if (below)
        return Qt::PartiallyChecked;
    return include ? Qt::Unchecked : Qt::Checked;
}

void PivotMemberFilter::addChildren(QTreeWidgetItem *parent)
{
    const QSignalBlocker block(m_tree);
    const int level = parent->data(0, kLevelRole).toInt() + 1;
    const qint64 parentKey = parent->data(0, kKeyRole).toLongLong();
    const PivotHierarchy &h = m_fieldSet.hierarchy();
    // A ticked or unticked branch hands its state down; a partly ticked one
    // was partly chosen, and its children say how.
    const Qt::CheckState inherited = parent == m_all ? Qt::PartiallyChecked : parent->checkState(0);
    for (qint64 key : h.childKeys(level, parentKey)) {
        auto *item = new QTreeWidgetItem(parent);
        item->setText(0, h.caption(level, key));
        item->setData(0, kLevelRole, level);
        item->setData(0, kKeyRole, key);
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable |
                       Qt::ItemIsAutoTristate);
        item->setCheckState(0, inherited == Qt::PartiallyChecked ? initialState(level, key)
                                                                 : inherited);
        if (level < m_lastLevel)
            item->setChildIndicatorPolicy(QTreeWidgetItem::ShowIndicator);
    }
    parent->setData(0, kFilledRole, true);
}

void PivotMemberFilter::ensureChildren(QTreeWidgetItem *item)
{
    if (!item->data(0, kFilledRole).toBool() && item->data(0, kLevelRole).toInt() < m_lastLevel)
        addChildren(item);
}

QTreeWidgetItem *PivotMemberFilter::itemAt(const QStringList &captions)
{
    QTreeWidgetItem *item = m_all;
    for (const QString &caption : captions) {
        ensureChildren(item);
        item->setExpanded(true);
        QTreeWidgetItem *next = nullptr;
        for (int i = 0; i < item->childCount() && !next; ++i)
            if (item->child(i)->text(0) == caption)
                next = item->child(i);
        if (!next)
            return nullptr;
        item = next;
    }
    return item;
}

void PivotMemberFilter::collect(QTreeWidgetItem *item, std::vector<QTreeWidgetItem *> &ticked,
                                std::vector<QTreeWidgetItem *> &unticked)
{
    switch (item->checkState(0)) {
    case Qt::Checked:
        ticked.push_back(item);
        return;
    case Qt::Unchecked:
        unticked.push_back(item);
        return;
    case Qt::PartiallyChecked:
        ensureChildren(item);
        for (int i = 0; i < item->childCount(); ++i)
            collect(item->child(i), ticked, unticked);
    }
}

void PivotMemberFilter::apply()
{
    std::vector<QTreeWidgetItem *> ticked;
    std::vector<QTreeWidgetItem *> unticked;
    for (int i = 0; i < m_all->childCount(); ++i)
        collect(m_all->child(i), ticked, unticked);
    const bool none = unticked.empty();
    const bool include = !none && ticked.size() <= unticked.size();
    const std::vector<QTreeWidgetItem *> &chosen = include ? ticked : unticked;
    for (PivotField *field : m_fieldSet.Fields()) {
        std::vector<PivotMember> members;
        for (const QTreeWidgetItem *item : chosen)
            if (item->data(0, kLevelRole).toInt() == field->level())
                members.emplace_back(&m_fieldSet, field->level(),
                                     item->data(0, kKeyRole).toLongLong());
        field->setIncludedMembers(include ? members : std::vector<PivotMember>());
        field->setExcludedMembers(include || none ? std::vector<PivotMember>() : members);
    }
    m_fieldSet.setAllIncludeExclude(none      ? PivotFieldSet::IncludeDefault
                                    : include ? PivotFieldSet::ExcludeAllButIncluded
                                              : PivotFieldSet::IncludeAllButExcluded);
    Q_EMIT applied();
}

void PivotMemberFilter::keyPressEvent(QKeyEvent *event)
{
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && m_ok->isEnabled()) {
        apply();
        close();
        return;
    }
    QFrame::keyPressEvent(event);
}

void PivotMemberFilter::updateOk()
{
    // Nothing ticked would show an empty table.
    m_ok->setEnabled(m_all->checkState(0) != Qt::Unchecked);
}
