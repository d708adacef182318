#include "controls/pivot/PivotDropZone.h"

#include "controls/pivot/PivotMemberFilter.h"
#include "pivot/PivotColumn.h"
#include "pivot/PivotView.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QToolButton>

using namespace Qt::StringLiterals;
using namespace qrt::pivot;

namespace {

QString zoneName(PivotAxis::Kind kind)
{
    switch (kind) {
    case PivotAxis::Kind::Filter:
        return u"filterZone"_s;
    case PivotAxis::Kind::Row:
        return u"rowZone"_s;
    case PivotAxis::Kind::Column:
        return u"columnZone"_s;
    case PivotAxis::Kind::Data:
        break;
    }
    return u"dataZone"_s;
}

bool hasChoice(const PivotFieldSet &fieldSet)
{
    const int mode = fieldSet.AllIncludeExclude();
    for (const PivotField *field : fieldSet.Fields())
        if ((mode == PivotFieldSet::ExcludeAllButIncluded && !field->includedKeys().empty()) ||
            (mode == PivotFieldSet::IncludeAllButExcluded && !field->excludedKeys().empty()))
            return true;
    return false;
}

} // namespace

PivotDropZone::PivotDropZone(Kind kind, QWidget *parent)
    : QFrame(parent)
    , m_kind(kind)
    , m_layout(new QHBoxLayout(this))
    , m_hint(new QLabel(hintText(), this))
{
    setObjectName(zoneName(kind));
    setFrameShape(QFrame::StyledPanel);
    setFrameShadow(QFrame::Sunken);
    setMinimumHeight(fontMetrics().height() + 14);
    setDropTarget(false);
    m_layout->setContentsMargins(3, 2, 3, 2);
    m_layout->setSpacing(3);
    m_hint->setObjectName(u"hint"_s);
    m_hint->setStyleSheet(u"color: #8C8A78;"_s);
    m_layout->addWidget(m_hint);
    m_layout->addStretch(1);
    setToolTip(hintText());
}

void PivotDropZone::setDropTarget(bool target)
{
    setStyleSheet(target ? u"PivotDropZone { background: #FFF6C8; border: 2px solid #D09A30; }"_s
                         : u"PivotDropZone { background: #F7F5E9; border: 1px dashed #B8B49C; }"_s);
}

QString PivotDropZone::hintText() const
{
    if (!m_hintText.isEmpty())
        return m_hintText;
    switch (m_kind) {
    case Kind::Filter:
        return tr("Drop Filter Fields Here");
    case Kind::Row:
        return tr("Drop Row Fields Here");
    case Kind::Column:
        return tr("Drop Column Fields Here");
    case Kind::Data:
        break;
    }
    return tr("Drop Totals Here");
}

void PivotDropZone::setHintText(const QString &text)
{
    m_hintText = text;
    m_hint->setText(hintText());
    setToolTip(hintText());
}

void PivotDropZone::setView(PivotView *view)
{
    m_view = view;
    refresh();
}

void PivotDropZone::setFilteringAllowed(bool allowed)
{
    m_filtering = allowed;
    refresh();
}

PivotAxis *PivotDropZone::axis() const
{
    if (!m_view)
        return nullptr;
    switch (m_kind) {
    case Kind::Filter:
        return &m_view->FilterAxis();
    case Kind::Row:
        return &m_view->RowAxis();
    case Kind::Column:
        return &m_view->ColumnAxis();
    case Kind::Data:
        break;
    }
    return &m_view->DataAxis();
}

PivotFieldDrag::Payload PivotDropZone::payloadAt(int index) const
{
    PivotFieldDrag::Payload payload;
    payload.from = const_cast<PivotDropZone *>(this);
    PivotAxis *a = axis();
    if (!a)
        return payload;
    if (m_kind == Kind::Data) {
        const auto &totals = m_view->DataAxis().Totals();
        if (index < totals.Count()) {
            payload.total = &totals.Item(index);
            payload.caption = payload.total->Caption();
        }
        return payload;
    }
    if (index < a->FieldSets().Count()) {
        payload.fieldSet = &a->FieldSets().Item(index);
        payload.caption = payload.fieldSet->Name();
    }
    return payload;
}

void PivotDropZone::refresh()
{
    // Later: a drag may still be inside one of the old buttons.
    for (QWidget *button : m_buttons) {
        button->hide();
        button->deleteLater();
    }
    m_buttons.clear();
    const qsizetype count = !axis()                ? 0
                            : m_kind == Kind::Data ? m_view->DataAxis().Totals().Count()
                                                   : axis()->FieldSets().Count();
    for (int i = 0; i < count; ++i) {
        QWidget *button = makeButton(payloadAt(i), i);
        m_layout->insertWidget(i, button);
        // Shown now, not when the layout gets to it, so that the zone's
        // size hint counts it at once.
        button->show();
        m_buttons.push_back(button);
    }
    m_hint->setVisible(count == 0);
    elideCaptions();
}

int PivotDropZone::preferredWidth() const
{
    // Worked out from the captions rather than from the layouts, whose
    // cached hints lag behind a caption just shortened.
    if (m_buttons.empty())
        return QFrame::sizeHint().width();
    const QMargins margins = m_layout->contentsMargins();
    int width = 2 * frameWidth() + margins.left() + margins.right() +
                m_layout->spacing() * static_cast<int>(m_buttons.size() - 1);
    for (const QWidget *button : m_buttons) {
        const auto *caption = button->findChild<QToolButton *>();
        const QFontMetrics &fm = caption->fontMetrics();
        const int padding = caption->sizeHint().width() - fm.horizontalAdvance(caption->text());
        width += padding + fm.horizontalAdvance(caption->property("fullText").toString());
        const auto *arrow = button->findChild<QToolButton *>(
            u"filterArrow:"_s + caption->property("fullText").toString());
        width += (arrow && !arrow->isHidden() ? arrow->width() : 0) + 4; // frame margins and border
    }
    return width;
}

QSize PivotDropZone::sizeHint() const
{
    // As wide as the full captions, whatever the shortened ones need now.
    return {preferredWidth(), QFrame::sizeHint().height()};
}

void PivotDropZone::resizeEvent(QResizeEvent *event)
{
    QFrame::resizeEvent(event);
    elideCaptions();
}

void PivotDropZone::elideCaptions()
{
    if (m_buttons.empty())
        return;
    const int spare = width() - preferredWidth();
    int fullSum = 0;
    std::vector<QToolButton *> captions;
    for (QWidget *button : m_buttons) {
        captions.push_back(button->findChild<QToolButton *>());
        fullSum += captions.back()->fontMetrics().horizontalAdvance(
            captions.back()->property("fullText").toString());
    }
    for (QToolButton *caption : captions) {
        const QString full = caption->property("fullText").toString();
        const int fullWidth = caption->fontMetrics().horizontalAdvance(full);
        // Each caption gives up room in proportion to its length.
        if (spare >= 0) {
            caption->setText(full);
            continue;
        }
        const int width = std::max(fullWidth + spare * fullWidth / std::max(fullSum, 1), 12);
        caption->setText(caption->fontMetrics().elidedText(full, Qt::ElideRight, width));
    }
}

QWidget *PivotDropZone::makeButton(const PivotFieldDrag::Payload &payload, int index)
{
    auto *frame = new QFrame(this);
    frame->setObjectName(u"fieldItem"_s);
    frame->setStyleSheet(u"QFrame#fieldItem { background: #E6E2CC; border: 1px solid #A9A58C; "
                         u"border-radius: 2px; }"_s);
    auto *layout = new QHBoxLayout(frame);
    layout->setContentsMargins(1, 0, 1, 0);
    layout->setSpacing(0);
    auto *caption = new QToolButton(frame);
    caption->setObjectName(u"fieldButton:"_s + payload.caption);
    caption->setText(payload.caption);
    caption->setProperty("fullText", payload.caption);
    caption->setAutoRaise(true);
    caption->setFocusPolicy(Qt::StrongFocus);
    caption->setProperty("itemIndex", index);
    // A narrow table clips the captions rather than growing past its room.
    caption->setMinimumWidth(24);
    caption->installEventFilter(this);
    layout->addWidget(caption);
    PivotFieldDrag::enable(caption, [payload](const QPoint &) { return payload; });
    if (payload.fieldSet) {
        const bool filtered = hasChoice(*payload.fieldSet);
        if (filtered) {
            QFont font = caption->font();
            font.setItalic(true);
            caption->setFont(font);
            caption->setStyleSheet(u"color: #1F3F9F;"_s);
        }
        caption->setToolTip(
            tr("%1%2: drag to another area, or off the areas to remove; Alt+Down filters")
                .arg(payload.caption, filtered ? tr(" (filtered)") : QString()));
        auto *arrow = new QToolButton(frame);
        arrow->setObjectName(u"filterArrow:"_s + payload.caption);
        arrow->setArrowType(Qt::DownArrow);
        arrow->setAutoRaise(true);
        arrow->setFixedWidth(14);
        arrow->setToolTip(tr("Show only some members of %1").arg(payload.caption));
        arrow->setVisible(m_filtering);
        arrow->setFocusPolicy(Qt::NoFocus);
        PivotFieldSet *fieldSet = payload.fieldSet;
        connect(arrow, &QToolButton::clicked, this,
                [this, fieldSet, arrow] { openFilter(fieldSet, arrow); });
        layout->addWidget(arrow);
    } else {
        caption->setToolTip(
            tr("%1: drag along the area to reorder, off the areas to remove").arg(payload.caption));
    }
    return frame;
}

void PivotDropZone::openFilter(PivotFieldSet *fieldSet, QWidget *anchor)
{
    if (!m_filtering || !fieldSet)
        return;
    auto *filter = new PivotMemberFilter(*fieldSet, this);
    connect(filter, &PivotMemberFilter::applied, this, &PivotDropZone::changed);
    filter->popup(anchor->mapToGlobal(QPoint(0, anchor->height())));
}

qsizetype PivotDropZone::insertIndexAt(const QPoint &pos) const
{
    for (std::size_t i = 0; i < m_buttons.size(); ++i)
        if (pos.x() < m_buttons[i]->geometry().center().x())
            return static_cast<qsizetype>(i);
    return static_cast<qsizetype>(m_buttons.size());
}

void PivotDropZone::drop(const PivotFieldDrag::Payload &payload, qsizetype before)
{
    if (!m_view)
        return;
    if (payload.total) {
        // Totals stay on the data area; along it they reorder.
        if (m_kind != Kind::Data)
            return;
        PivotDataAxis &data = m_view->DataAxis();
        const qsizetype at = data.Totals().indexOf(payload.total);
        if (at >= 0 && at < before)
            --before;
        data.InsertTotal(*payload.total, before);
    } else if (payload.fieldSet) {
        place(*m_view, m_kind, *payload.fieldSet, payload.field, before);
    }
    changed();
}

void PivotDropZone::takeOff(const PivotFieldDrag::Payload &payload)
{
    if (!m_view)
        return;
    if (payload.total)
        m_view->DataAxis().RemoveTotal(*payload.total);
    else if (payload.fieldSet && payload.fieldSet->Axis())
        payload.fieldSet->Axis()->RemoveFieldSet(*payload.fieldSet);
    changed();
}

void PivotDropZone::place(PivotView &view, Kind kind, PivotFieldSet &fieldSet, PivotField *field,
                          qsizetype before)
{
    if (kind == Kind::Data) {
        const bool numbers = fieldSet.hierarchy().column().kind() == PivotColumn::Kind::Number;
        addTotal(view, fieldSet, numbers ? PivotTotal::Sum : PivotTotal::Count, before);
        return;
    }
    PivotAxis &target = kind == Kind::Filter ? view.FilterAxis()
                        : kind == Kind::Row  ? view.RowAxis()
                                             : view.ColumnAxis();
    target.InsertFieldSet(fieldSet, before);
    bool anyIncluded = false;
    for (PivotField *f : fieldSet.Fields())
        anyIncluded = anyIncluded || f->IsIncluded();
    for (PivotField *f : fieldSet.Fields())
        if (field)
            f->setIsIncluded(f == field);
        else if (!anyIncluded)
            f->setIsIncluded(true);
}

PivotTotal &PivotDropZone::addTotal(PivotView &view, PivotFieldSet &fieldSet, int function,
                                    qsizetype before)
{
    const QString base = tr("%1 of %2").arg(PivotTotal::functionName(function), fieldSet.Name());
    QString name = base;
    for (int n = 2;; ++n) {
        const auto &totals = view.Totals();
        if (std::none_of(totals.begin(), totals.end(),
                         [&](const PivotTotal *t) { return t->Name() == name; }))
            break;
        name = u"%1 %2"_s.arg(base).arg(n);
    }
    PivotTotal &total = view.AddTotal(name, fieldSet.Fields(0), function);
    view.DataAxis().InsertTotal(total, before);
    return total;
}

void PivotDropZone::moveItem(int index, int by)
{
    const PivotFieldDrag::Payload payload = payloadAt(index);
    const int to = index + by;
    if (to < 0 || to >= static_cast<int>(m_buttons.size()))
        return;
    drop(payload, by > 0 ? to + 1 : to);
    if (QWidget *moved = m_buttons[static_cast<std::size_t>(to)]->findChild<QToolButton *>())
        moved->setFocus();
}

bool PivotDropZone::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::KeyPress)
        return false;
    auto *key = static_cast<QKeyEvent *>(event);
    const int index = watched->property("itemIndex").toInt();
    const PivotFieldDrag::Payload payload = payloadAt(index);
    if (key->key() == Qt::Key_Down && key->modifiers() & Qt::AltModifier) {
        if (payload.fieldSet)
            openFilter(payload.fieldSet, static_cast<QWidget *>(watched));
        return true;
    }
    if (key->key() == Qt::Key_Delete) {
        takeOff(payload);
        return true;
    }
    if ((key->key() == Qt::Key_Left || key->key() == Qt::Key_Right) &&
        key->modifiers() & Qt::ControlModifier) {
        moveItem(index, key->key() == Qt::Key_Left ? -1 : 1);
        return true;
    }
    return false;
}

void PivotDropZone::changed()
{
    refresh();
    Q_EMIT layoutChanged();
}
