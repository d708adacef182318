#pragma once
// The icons of the windows' tools, made once for the process and shared by
// every window. Qt keeps the pixmaps it scales for a button in its pixmap
// cache under the key of the icon's own pixmap: an icon made anew for each
// window adds entries that no later window finds, and Qt 6.4 keeps their
// keys even once it drops the pixmaps, so the process would grow with every
// window opened. Shared, each later window finds what the first one scaled.
// GUI thread only; the icons go when the application does.

#include <QIcon>
#include <QStyle>

#include <functional>

namespace IconCache {

// The icon kept under `name`, made by `make` at the first call.
QIcon icon(const QString &name, const std::function<QIcon()> &make);

// The style's standard icon of this kind, asked of the style once.
QIcon standardIcon(const QStyle *style, QStyle::StandardPixmap kind);

// Gives Qt's own buttons under `root` (a dock's float and close buttons, a
// tool bar's extension button), which take a new icon from the style each,
// the shared ones instead.
void shareStyleIcons(QWidget *root);

} // namespace IconCache
