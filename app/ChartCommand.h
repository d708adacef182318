#pragma once
// zorvane-stats chart CONNECTION [--period today|yesterday|week|month|year|all
//     | --from DATE --till DATE] [--series channels|providers|categories]
//     [--type plot|bar|stacking-bar|area] [--stacked] [--no-legend]
//     [--filter TEXT] [--out FILE.png|.svg|.pdf] [--table FILE.csv|.json]
//     [--size WxH]
// Draws the built-in news chart without a window, with the same chart
// algorithm the window uses, and writes it as an image and/or as a table.
// Only an image needs a GUI application; the table is made without one.

#include <QStringList>

namespace ChartCommand {

int run(const QStringList &arguments);
// Whether the arguments ask for an image (--out).
bool needsWidgets(const QStringList &arguments);

} // namespace ChartCommand
