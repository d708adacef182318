#pragma once
// Finds the tools of a dock studio by id, each kind through its own call.
// A name that is not there, or a tool of another kind, gives null.

#include <QHash>
#include <QString>

class Tool;
class ButtonTool;
class ComboTool;
class PopupTool;

class ToolCommands
{
public:
    explicit ToolCommands(const QHash<QString, Tool *> *tools)
        : m_tools(tools)
    {}

    Tool *Item(const QString &id) const;
    ButtonTool *GetToolButton(const QString &id) const;
    ComboTool *GetComboBox(const QString &id) const;
    PopupTool *GetPopupTool(const QString &id) const;

private:
    const QHash<QString, Tool *> *m_tools;
};
