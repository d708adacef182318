#include "controls/pivot/PivotFieldDrag.h"

#include "controls/pivot/PivotDropZone.h"

#include <QApplication>
#include <QLabel>
#include <QMouseEvent>

using namespace Qt::StringLiterals;

PivotFieldDrag::PivotFieldDrag(QWidget *source, Resolver resolver)
    : QObject(source)
    , m_source(source)
    , m_resolver(std::move(resolver))
{
    source->installEventFilter(this);
}

void PivotFieldDrag::enable(QWidget *source, Resolver resolver)
{
    new PivotFieldDrag(source, std::move(resolver));
}

bool PivotFieldDrag::eventFilter(QObject *watched, QEvent *event)
{
    if (watched != m_source)
        return false;
    switch (event->type()) {
    case QEvent::MouseButtonPress: {
        auto *mouse = static_cast<QMouseEvent *>(event);
        m_dragging = false;
        m_payload =
            mouse->button() == Qt::LeftButton ? m_resolver(mouse->position().toPoint()) : Payload();
        m_pressPos = mouse->position().toPoint();
        return false;
    }
    case QEvent::MouseMove: {
        auto *mouse = static_cast<QMouseEvent *>(event);
        if (!m_payload.isValid() || !(mouse->buttons() & Qt::LeftButton))
            return false;
        if (!m_dragging && (mouse->position().toPoint() - m_pressPos).manhattanLength() <
                               QApplication::startDragDistance())
            return false;
        QWidget *window = m_source->window();
        if (!m_dragging) {
            m_dragging = true;
            m_label = new QLabel(m_payload.caption, window);
            m_label->setObjectName(u"pivotDragLabel"_s);
            m_label->setAttribute(Qt::WA_TransparentForMouseEvents);
            m_label->setStyleSheet(u"QLabel { background: #FFFDE8; border: 1px solid #8C8A78; "
                                   u"padding: 2px 6px; }"_s);
            m_label->adjustSize();
            m_label->show();
            m_label->raise();
        }
        m_label->move(window->mapFromGlobal(mouse->globalPosition().toPoint()) + QPoint(8, 8));
        setTarget(zoneAt(mouse->globalPosition().toPoint()));
        return true;
    }
    case QEvent::MouseButtonRelease: {
        if (!m_dragging)
            return false;
        finish(static_cast<QMouseEvent *>(event)->globalPosition().toPoint());
        return true;
    }
    default:
        return false;
    }
}

PivotDropZone *PivotFieldDrag::zoneAt(const QPoint &globalPos) const
{
    QWidget *window = m_source->window();
    PivotDropZone *zone = nullptr;
    for (QWidget *w = window->childAt(window->mapFromGlobal(globalPos)); w && !zone;
         w = w->parentWidget())
        zone = qobject_cast<PivotDropZone *>(w);
    return zone;
}

void PivotFieldDrag::setTarget(PivotDropZone *zone)
{
    if (zone == m_target)
        return;
    if (m_target)
        m_target->setDropTarget(false);
    m_target = zone;
    if (zone)
        zone->setDropTarget(true);
}

void PivotFieldDrag::finish(const QPoint &globalPos)
{
    m_dragging = false;
    delete m_label;
    setTarget(nullptr);
    const Payload payload = m_payload;
    m_payload = Payload();
    if (PivotDropZone *zone = zoneAt(globalPos)) {
        zone->drop(payload, zone->insertIndexAt(zone->mapFromGlobal(globalPos)));
        return;
    }
    if (payload.from)
        payload.from->takeOff(payload);
}
