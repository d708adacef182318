#include "controls/tools/PopupWindow.h"

#include <QGuiApplication>
#include <QScreen>
#include <QVBoxLayout>

PopupWindow::PopupWindow(const QString &key, const QSize &size, QWidget *parent)
    : QFrame(parent, Qt::Popup)
{
    setObjectName(key);
    setFrameShape(QFrame::StyledPanel);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(1, 1, 1, 1);
    resize(size);
}

void PopupWindow::setContent(QWidget *form)
{
    if (m_content)
        layout()->removeWidget(m_content);
    m_content = form;
    if (form) {
        form->setParent(this);
        layout()->addWidget(form);
    }
}

void PopupWindow::setVisible(bool visible)
{
    if (!visible && isVisible())
        m_closingByProgram = true;
    QFrame::setVisible(visible);
    m_closingByProgram = false;
}

void PopupWindow::popUpUnder(QWidget *anchor)
{
    QPoint at = anchor ? anchor->mapToGlobal(QPoint(0, anchor->height())) : QPoint();
    if (const QScreen *screen = anchor ? anchor->screen() : QGuiApplication::primaryScreen()) {
        const QRect room = screen->availableGeometry();
        at.setX(qBound(room.left(), at.x(), room.right() - width()));
        if (at.y() + height() > room.bottom() && anchor)
            at.setY(anchor->mapToGlobal(QPoint(0, 0)).y() - height());
    }
    move(at);
    show();
}

void PopupWindow::hideEvent(QHideEvent *event)
{
    QFrame::hideEvent(event);
    Q_EMIT Hide(m_closingByProgram ? ClosedByProgram : ClosedByUser);
}
