#pragma once
// The dock area of the chart page: command bars of named tools, dock
// windows at the edges, pop-up windows that drop down under a tool, and the
// client window in the middle. Tool clicks and pop-up openings come out as
// ToolClick and ToolPopup with the tool, which the commands tell apart by id.

#include "controls/tools/ToolCommands.h"

#include <QHash>
#include <QMainWindow>
#include <QSet>

class QDockWidget;
class QIcon;
class QToolBar;
class ButtonTool;
class ComboTool;
class PopupTool;
class PopupWindow;

class DockStudio : public QMainWindow
{
    Q_OBJECT

public:
    explicit DockStudio(QWidget *parent = nullptr);

    QToolBar *AddCommandBar(const QString &name, const QString &caption);
    ButtonTool *AddButton(QToolBar *bar, const QString &id, const QString &caption,
                          const QIcon &icon, const QString &toolTip);
    ComboTool *AddComboBox(QToolBar *bar, const QString &id, const QString &caption,
                           const QStringList &items, const QString &toolTip);
    PopupTool *AddPopupTool(QToolBar *bar, const QString &id, const QString &caption,
                            const QString &popupKey, const QString &toolTip);
    PopupWindow *AddPopupWindow(const QString &key, const QSize &size);
    QDockWidget *AddDockWindow(const QString &key, const QString &caption, const QString &toolTip,
                               Qt::DockWidgetArea area, int width);
    void AddClientWindow(const QString &key, const QString &caption, QWidget *form);

    ToolCommands Commands() const { return ToolCommands(&m_tools); }
    QDockWidget *DockWindows(const QString &key) const;
    PopupWindow *PopupWindows(const QString &key) const;
    QWidget *ClientWindows(const QString &key) const;

    // Makes a form the content of a dock window.
    void SetDockContent(const QString &key, QWidget *form);

Q_SIGNALS:
    void ToolClick(Tool *tool);
    void ToolPopup(Tool *tool);

protected:
    void showEvent(QShowEvent *event) override;

private:
    void applyDockWidths();
    void addTool(QToolBar *bar, Tool *tool, const QString &toolTip);
    void onFired(Tool *tool);

    QHash<QString, Tool *> m_tools;
    QHash<QString, PopupWindow *> m_popups;
    QHash<QString, QDockWidget *> m_docks;
    QHash<QString, QWidget *> m_clients;
    QHash<QString, int> m_dockWidths;
    QSet<QString> m_pendingWidths; // docks that take their width at the first show
};
