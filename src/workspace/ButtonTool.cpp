#include "workspace/ButtonTool.h"

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
    : Tool(id, Kind::Button, parent)
    , m_button(new ValueButton)
{
    m_button->setObjectName(id);
    m_button->setIcon(icon);
    m_button->setCheckable(true);
    m_button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_button->setAutoRaise(true);
    setCaption(caption);
    connect(m_button, &QToolButton::clicked, this, [this] { Q_EMIT fired(this); });
}

ButtonTool::~ButtonTool()
{
    if (m_button && !m_button->parent())
        delete m_button.data();
}

int ButtonTool::Value() const
{
    return m_button && m_button->isChecked() ? 1 : 0;
}

void ButtonTool::setValue(int value)
{
    if (m_button)
        m_button->setChecked(value != 0);
}

QString ButtonTool::Caption() const
{
    return m_button ? m_button->text() : QString();
}

void ButtonTool::setCaption(const QString &caption)
{
    if (m_button)
        m_button->setText(caption);
}

QWidget *ButtonTool::widget() const
{
    return m_button;
}
