#include "workspace/PopupTool.h"

#include <QToolButton>

PopupTool::PopupTool(const QString &id, const QString &caption, PopupWindow *popup, QObject *parent)
    : Tool(id, Kind::Popup, parent)
    , m_button(new QToolButton)
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

PopupTool::~PopupTool()
{
    if (m_button && !m_button->parent())
        delete m_button.data();
}

QString PopupTool::Caption() const
{
    return m_button ? m_button->text() : QString();
}

void PopupTool::setCaption(const QString &caption)
{
    if (m_button)
        m_button->setText(caption);
}

QWidget *PopupTool::widget() const
{
    return m_button;
}
