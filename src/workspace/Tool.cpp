#include "workspace/Tool.h"

#include <QWidget>

Tool::Tool(const QString &id, Kind kind, QObject *parent)
    : QObject(parent)
    , m_id(id)
    , m_kind(kind)
{
    setObjectName(id);
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

QString Tool::Caption() const
{
    return widget() ? widget()->accessibleName() : QString();
}

void Tool::setCaption(const QString &caption)
{
    if (QWidget *w = widget())
        w->setAccessibleName(caption);
}

void Tool::setToolTipText(const QString &text)
{
    if (QWidget *w = widget())
        w->setToolTip(text);
}
