#include "controls/tools/PopupTool.h"

#include <QToolButton>

PopupTool::PopupTool(const QString &id, const QString &caption, PopupWindow *popup, QObject *parent)
    : Tool(id, new QToolButton, parent)
    , m_button(static_cast<QToolButton *>(widget()))
    , m_popup(popup)
{
    m_button->setObjectName(id);
    m_button->setToolButtonStyle(Qt::ToolButtonTextOnly);
    m_button->setArrowType(Qt::NoArrow);
    m_button->setPopupMode(QToolButton::InstantPopup);
    m_button->setAutoRaise(true);
    setCaption(caption);
    connect(m_button, &QToolButton::clicked, this, [this] { Q_EMIT fired(this); });
}

QString PopupTool::Caption() const
{
    return widget() ? m_button->text() : QString();
}

void PopupTool::setCaption(const QString &caption)
{
    if (widget())
        m_button->setText(caption);
}
