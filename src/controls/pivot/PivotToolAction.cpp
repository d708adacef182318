#include "controls/pivot/PivotToolAction.h"

#include <QToolBar>

using namespace Qt::StringLiterals;

namespace PivotToolAction {

QAction *add(QWidget *view, QToolBar *bar, const QString &name, const QIcon &icon,
             const QString &text, const QKeySequence &keys)
{
    auto *action = new QAction(icon, text, view);
    action->setObjectName(name);
    action->setShortcut(keys);
    action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    action->setToolTip(
        u"%1 (%2)"_s.arg(QString(text).remove(u'&'), keys.toString(QKeySequence::NativeText)));
    view->addAction(action);
    bar->addAction(action);
    return action;
}

} // namespace PivotToolAction
