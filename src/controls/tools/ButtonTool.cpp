#include "controls/tools/ButtonTool.h"

#include <QToolButton>

namespace {

// Pressed or released only as the value says: the click leaves the state to
// the command, which may refuse it.
class ValueButton : public QToolButton
{
public:
    using QToolButton::QToolButton;

protected:
    void nextCheckState() override {}
};

} // namespace

ButtonTool::ButtonTool(const QString &id, const QString &caption, const QIcon &icon,
                       QObject *parent)
    : Tool(id, new ValueButton, parent)
    , m_button(static_cast<QToolButton *>(widget()))
{
    m_button->setObjectName(id);
    m_button->setIcon(icon);
    m_button->setCheckable(true);
    m_button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_button->setAutoRaise(true);
    setCaption(caption);
    connect(m_button, &QToolButton::clicked, this, [this] { Q_EMIT fired(this); });
}

int ButtonTool::Value() const
{
    return widget() && m_button->isChecked() ? 1 : 0;
}

void ButtonTool::setValue(int value)
{
    if (widget())
        m_button->setChecked(value != 0);
}

QString ButtonTool::Caption() const
{
    return widget() ? m_button->text() : QString();
}

void ButtonTool::setCaption(const QString &caption)
{
    if (widget())
        m_button->setText(caption);
}
