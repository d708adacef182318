#include "controls/tools/Tool.h"

Tool::Tool(const QString &id, QWidget *widget, QObject *parent)
    : QObject(parent)
    , m_id(id)
    , m_widget(widget)
{
    setObjectName(id);
}

Tool::~Tool()
{
    if (m_widget && !m_widget->parent())
        delete m_widget.data();
}

// The bar owns the widgets and may be gone first when a window closes.
bool Tool::Enabled() const
{
    return widget() && widget()->isEnabled();
}

void Tool::setEnabled(bool enabled)
{
    if (QWidget *w = widget())
        w->setEnabled(enabled);
}

void Tool::setToolTipText(const QString &text)
{
    if (QWidget *w = widget())
        w->setToolTip(text);
}
