#pragma once
// A tool of a pivot view's tool bar: a named action whose shortcut works
// anywhere in the view and whose tip says the shortcut, as both pivot
// views' bars show them.

#include <QAction>

class QToolBar;

namespace PivotToolAction {

// Adds the action to the view (for its shortcut) and to the bar.
QAction *add(QWidget *view, QToolBar *bar, const QString &name, const QIcon &icon,
             const QString &text, const QKeySequence &keys);

} // namespace PivotToolAction
