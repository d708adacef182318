#include "controls/pivot/PivotFieldList.h"

#include "controls/pivot/PivotDropZone.h"
#include "controls/pivot/PivotFieldDrag.h"
#include "pivot/PivotView.h"

#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QTreeWidget>

using namespace Qt::StringLiterals;
using namespace qrt::pivot;

namespace {

constexpr int kFieldSetRole = Qt::UserRole + 1;
constexpr int kLevelRole = Qt::UserRole + 2;
constexpr int kTotalRole = Qt::UserRole + 3;

} // namespace

PivotFieldList::PivotFieldList(QWidget *parent)
    : QWidget(parent)
    , m_tree(new QTreeWidget(this))
    , m_area(new QComboBox(this))
    , m_addTo(new QPushButton(tr("&Add to"), this))
    , m_totals(new QListWidget(this))
    , m_function(new QComboBox(this))
    , m_addTotal(new QPushButton(tr("Add T&otal"), this))
    , m_removeTotal(new QPushButton(tr("Re&move"), this))
{
    setObjectName(u"fieldList"_s);
    auto *layout = new QGridLayout(this);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->setSpacing(3);
    auto *title = new QLabel(tr("&Fields"), this);
    QFont bold = title->font();
    bold.setBold(true);
    title->setFont(bold);
    title->setBuddy(m_tree);
    layout->addWidget(title, 0, 0, 1, 2);
    m_tree->setObjectName(u"fieldTree"_s);
    m_tree->setHeaderHidden(true);
    m_tree->setToolTip(tr("Drag a field set, or one of its fields, onto an area of the table"));
    layout->addWidget(m_tree, 1, 0, 1, 2);
    m_addTo->setObjectName(u"addToButton"_s);
    m_addTo->setToolTip(tr("Put the chosen field set on the area beside"));
    m_area->setObjectName(u"areaCombo"_s);
    m_area->addItem(tr("Row Area"), int(PivotAxis::Kind::Row));
    m_area->addItem(tr("Column Area"), int(PivotAxis::Kind::Column));
    m_area->addItem(tr("Filter Area"), int(PivotAxis::Kind::Filter));
    m_area->addItem(tr("Data Area"), int(PivotAxis::Kind::Data));
    m_area->setToolTip(tr("The area \"Add to\" puts the field set on"));
    for (QComboBox *combo : {m_area, m_function}) {
        combo->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
        combo->setMinimumContentsLength(5);
    }
    layout->addWidget(m_addTo, 2, 0);
    layout->addWidget(m_area, 2, 1);
    auto *totalsTitle = new QLabel(tr("&Totals"), this);
    totalsTitle->setFont(bold);
    totalsTitle->setBuddy(m_totals);
    layout->addWidget(totalsTitle, 3, 0, 1, 2);
    m_totals->setObjectName(u"totalList"_s);
    m_totals->setToolTip(tr("The totals; F2 or a double click renames one"));
    m_totals->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed);
    layout->addWidget(m_totals, 4, 0, 1, 2);
    m_function->setObjectName(u"functionCombo"_s);
    for (int f = PivotTotal::Sum; f <= PivotTotal::Average; ++f)
        m_function->addItem(PivotTotal::functionName(f), f);
    m_function->setCurrentIndex(m_function->findData(int(PivotTotal::Count)));
    m_function->setToolTip(tr("The function of a new total"));
    m_addTotal->setObjectName(u"addTotalButton"_s);
    m_addTotal->setToolTip(tr("Add a total over the chosen field set with the function beside"));
    m_removeTotal->setObjectName(u"removeTotalButton"_s);
    m_removeTotal->setToolTip(tr("Remove the chosen total"));
    layout->addWidget(m_addTotal, 5, 0);
    layout->addWidget(m_function, 5, 1);
    layout->addWidget(m_removeTotal, 6, 0);
    layout->setRowStretch(1, 3);
    layout->setRowStretch(4, 1);

    connect(m_addTo, &QPushButton::clicked, this, &PivotFieldList::addToArea);
    connect(m_addTotal, &QPushButton::clicked, this, &PivotFieldList::addTotal);
    connect(m_removeTotal, &QPushButton::clicked, this, &PivotFieldList::removeTotal);
    connect(m_totals, &QListWidget::itemChanged, this, &PivotFieldList::renameTotal);
    connect(m_tree, &QTreeWidget::currentItemChanged, this, &PivotFieldList::updateButtons);
    // A double click (or Return) puts the field set on the area chosen below.
    connect(m_tree, &QTreeWidget::itemActivated, this, &PivotFieldList::addToArea);
    connect(m_totals, &QListWidget::currentItemChanged, this, &PivotFieldList::updateButtons);
    PivotFieldDrag::enable(m_tree->viewport(), [this](const QPoint &pos) {
        PivotFieldDrag::Payload payload;
        const QTreeWidgetItem *item = m_tree->itemAt(pos);
        if (!item || !m_view)
            return payload;
        payload.fieldSet = &m_view->FieldSets(item->data(0, kFieldSetRole).toString());
        const int level = item->data(0, kLevelRole).toInt();
        payload.field = level >= 0 ? &payload.fieldSet->Fields(level) : nullptr;
        payload.caption = item->text(0);
        return payload;
    });
    updateButtons();
}

void PivotFieldList::setView(PivotView *view)
{
    m_view = view;
    refresh();
}

void PivotFieldList::refresh()
{
    const QSignalBlocker blockTree(m_tree);
    const QSignalBlocker blockTotals(m_totals);
    const QString current = m_tree->currentItem() ? m_tree->currentItem()->text(0) : QString();
    const int currentTotal = m_totals->currentRow();
    m_tree->clear();
    m_totals->clear();
    if (m_view) {
        for (const PivotFieldSet *fieldSet : m_view->FieldSets()) {
            auto *item = new QTreeWidgetItem(m_tree, {fieldSet->Name()});
            item->setData(0, kFieldSetRole, fieldSet->Name());
            item->setData(0, kLevelRole, -1);
            if (fieldSet->Axis()) {
                QFont font = item->font(0);
                font.setBold(true);
                item->setFont(0, font);
                item->setToolTip(0,
                                 tr("%1, on the %2 area")
                                     .arg(fieldSet->Name(), fieldSet->Axis()->keyword().toLower()));
            }
            if (fieldSet->Fields().Count() > 1)
                for (const PivotField *field : fieldSet->Fields()) {
                    auto *child = new QTreeWidgetItem(item, {field->Name()});
                    child->setData(0, kFieldSetRole, fieldSet->Name());
                    child->setData(0, kLevelRole, field->level());
                }
            if (item->text(0) == current)
                m_tree->setCurrentItem(item);
        }
        for (PivotTotal *total : m_view->Totals()) {
            auto *item = new QListWidgetItem(total->Caption(), m_totals);
            item->setFlags(item->flags() | Qt::ItemIsEditable);
            item->setData(kTotalRole, QVariant::fromValue(static_cast<void *>(total)));
            const bool shown = m_view->DataAxis().Totals().contains(total);
            item->setForeground(shown ? palette().color(QPalette::Text)
                                      : palette().color(QPalette::Disabled, QPalette::Text));
            item->setToolTip(tr("%1 of %2%3")
                                 .arg(PivotTotal::functionName(total->Function()),
                                      total->Field()->FieldSet()->Name(),
                                      shown ? QString() : tr(", not on the data area")));
        }
        m_totals->setCurrentRow(std::min(currentTotal, m_totals->count() - 1));
    }
    updateButtons();
}

PivotFieldSet *PivotFieldList::currentFieldSet(PivotField **field) const
{
    const QTreeWidgetItem *item = m_tree->currentItem();
    if (!item || !m_view)
        return nullptr;
    PivotFieldSet *fieldSet = &m_view->FieldSets(item->data(0, kFieldSetRole).toString());
    const int level = item->data(0, kLevelRole).toInt();
    if (field)
        *field = level >= 0 ? &fieldSet->Fields(level) : nullptr;
    return fieldSet;
}

void PivotFieldList::addToArea()
{
    PivotField *field = nullptr;
    PivotFieldSet *fieldSet = currentFieldSet(&field);
    if (!fieldSet)
        return;
    const auto kind = static_cast<PivotAxis::Kind>(m_area->currentData().toInt());
    if (kind == PivotAxis::Kind::Data)
        PivotDropZone::addTotal(*m_view, *fieldSet, m_function->currentData().toInt());
    else
        PivotDropZone::place(*m_view, kind, *fieldSet, field);
    refresh();
    Q_EMIT layoutChanged();
}

void PivotFieldList::addTotal()
{
    PivotFieldSet *fieldSet = currentFieldSet();
    if (!fieldSet)
        return;
    PivotDropZone::addTotal(*m_view, *fieldSet, m_function->currentData().toInt());
    refresh();
    m_totals->setCurrentRow(m_totals->count() - 1);
    Q_EMIT layoutChanged();
}

void PivotFieldList::removeTotal()
{
    QListWidgetItem *item = m_totals->currentItem();
    if (!item || !m_view)
        return;
    m_view->DeleteTotal(*static_cast<PivotTotal *>(item->data(kTotalRole).value<void *>()));
    refresh();
    Q_EMIT layoutChanged();
}

void PivotFieldList::renameTotal(QListWidgetItem *item)
{
    auto *total = static_cast<PivotTotal *>(item->data(kTotalRole).value<void *>());
    const QString caption = item->text().trimmed();
    if (!total || !m_view || caption.isEmpty() || caption == total->Caption()) {
        const QSignalBlocker block(m_totals);
        item->setText(total ? total->Caption() : QString());
        return;
    }
    total->setCaption(caption);
    m_view->touch();
    Q_EMIT layoutChanged();
}

void PivotFieldList::updateButtons()
{
    const bool fieldSet = m_view && m_tree->currentItem();
    m_addTo->setEnabled(fieldSet);
    m_addTotal->setEnabled(fieldSet);
    m_removeTotal->setEnabled(m_view && m_totals->currentItem());
}
