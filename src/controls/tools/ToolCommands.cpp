#include "controls/tools/ToolCommands.h"

#include "controls/tools/ButtonTool.h"
#include "controls/tools/ComboTool.h"
#include "controls/tools/PopupTool.h"

Tool *ToolCommands::Item(const QString &id) const
{
    return m_tools ? m_tools->value(id) : nullptr;
}

ButtonTool *ToolCommands::GetToolButton(const QString &id) const
{
    return qobject_cast<ButtonTool *>(Item(id));
}

ComboTool *ToolCommands::GetComboBox(const QString &id) const
{
    return qobject_cast<ComboTool *>(Item(id));
}

PopupTool *ToolCommands::GetPopupTool(const QString &id) const
{
    return qobject_cast<PopupTool *>(Item(id));
}
