#include "controls/tools/DockStudio.h"

#include "controls/tools/ButtonTool.h"
#include "controls/tools/ComboTool.h"
#include "controls/tools/PopupTool.h"
#include "controls/tools/PopupWindow.h"

#include <QDockWidget>
#include <QToolBar>
#include <QVBoxLayout>

DockStudio::DockStudio(QWidget *parent)
    : QMainWindow(parent)
{
    // A main window is a top-level window by birth; this one lives in a page.
    setWindowFlags(Qt::Widget);
    setDockOptions(QMainWindow::AnimatedDocks | QMainWindow::AllowTabbedDocks);
}

QToolBar *DockStudio::AddCommandBar(const QString &name, const QString &caption)
{
    auto *bar = new QToolBar(caption, this);
    bar->setObjectName(name);
    bar->setIconSize(QSize(16, 16));
    bar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    addToolBar(Qt::TopToolBarArea, bar);
    return bar;
}

void DockStudio::addTool(QToolBar *bar, Tool *tool, const QString &toolTip)
{
    tool->setParent(this);
    tool->setToolTipText(toolTip);
    m_tools.insert(tool->ID(), tool);
    bar->addWidget(tool->widget());
    connect(tool, &Tool::fired, this, &DockStudio::onFired);
}

ButtonTool *DockStudio::AddButton(QToolBar *bar, const QString &id, const QString &caption,
                                  const QIcon &icon, const QString &toolTip)
{
    auto *tool = new ButtonTool(id, caption, icon);
    addTool(bar, tool, toolTip);
    return tool;
}

ComboTool *DockStudio::AddComboBox(QToolBar *bar, const QString &id, const QString &caption,
                                   const QStringList &items, const QString &toolTip)
{
    auto *tool = new ComboTool(id, caption, items);
    addTool(bar, tool, toolTip);
    return tool;
}

PopupTool *DockStudio::AddPopupTool(QToolBar *bar, const QString &id, const QString &caption,
                                    const QString &popupKey, const QString &toolTip)
{
    auto *tool = new PopupTool(id, caption, PopupWindows(popupKey));
    addTool(bar, tool, toolTip);
    return tool;
}

PopupWindow *DockStudio::AddPopupWindow(const QString &key, const QSize &size)
{
    auto *popup = new PopupWindow(key, size, this);
    m_popups.insert(key, popup);
    return popup;
}

QDockWidget *DockStudio::AddDockWindow(const QString &key, const QString &caption,
                                       const QString &toolTip, Qt::DockWidgetArea area, int width)
{
    auto *dock = new QDockWidget(caption, this);
    dock->setObjectName(key);
    dock->setToolTip(toolTip);
    dock->setFeatures(QDockWidget::DockWidgetMovable | QDockWidget::DockWidgetFloatable |
                      QDockWidget::DockWidgetClosable);
    addDockWidget(area, dock);
    m_docks.insert(key, dock);
    m_dockWidths.insert(key, width);
    return dock;
}

void DockStudio::SetDockContent(const QString &key, QWidget *form)
{
    QDockWidget *dock = DockWindows(key);
    if (!dock || !form)
        return;
    dock->setWidget(form);
    // The main window sizes its docks when it lays itself out, which it does
    // only when shown and after the layout request of a new content; before
    // that a dock would take its content's own width.
    m_pendingWidths.insert(key);
    if (isVisible())
        QMetaObject::invokeMethod(this, &DockStudio::applyDockWidths, Qt::QueuedConnection);
}

void DockStudio::showEvent(QShowEvent *event)
{
    QMainWindow::showEvent(event);
    if (!m_pendingWidths.isEmpty())
        QMetaObject::invokeMethod(this, &DockStudio::applyDockWidths, Qt::QueuedConnection);
}

// Once per content, after the layout: later the user's own width stands.
void DockStudio::applyDockWidths()
{
    if (m_pendingWidths.isEmpty() || !isVisible())
        return;
    QList<QDockWidget *> docks;
    QList<int> widths;
    for (const QString &key : std::as_const(m_pendingWidths)) {
        if (QDockWidget *dock = DockWindows(key)) {
            docks << dock;
            widths << m_dockWidths.value(key);
        }
    }
    m_pendingWidths.clear();
    resizeDocks(docks, widths, Qt::Horizontal);
}

void DockStudio::AddClientWindow(const QString &key, const QString &caption, QWidget *form)
{
    auto *client = new QWidget(this);
    client->setObjectName(key);
    client->setWindowTitle(caption);
    auto *layout = new QVBoxLayout(client);
    layout->setContentsMargins(0, 0, 0, 0);
    if (form) {
        form->setParent(client);
        layout->addWidget(form);
    }
    setCentralWidget(client);
    m_clients.insert(key, client);
}

QDockWidget *DockStudio::DockWindows(const QString &key) const
{
    return m_docks.value(key);
}

PopupWindow *DockStudio::PopupWindows(const QString &key) const
{
    return m_popups.value(key);
}

QWidget *DockStudio::ClientWindows(const QString &key) const
{
    return m_clients.value(key);
}

void DockStudio::onFired(Tool *tool)
{
    if (!tool->Enabled())
        return;
    auto *popupTool = qobject_cast<PopupTool *>(tool);
    if (!popupTool) {
        Q_EMIT ToolClick(tool);
        return;
    }
    if (PopupWindow *popup = popupTool->popup())
        popup->popUpUnder(tool->widget());
    Q_EMIT ToolPopup(tool);
}
