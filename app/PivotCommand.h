#pragma once
// zorvane-stats pivot CONNECTION [--rows LAYOUT] [--columns LAYOUT] [--filter LAYOUT]
//                                [--total TOTAL] [--format csv|json] [--command SQL]
//                                [--layout-from-settings]
//                                [--chart FILE.png|.svg|.pdf [--type N] [--size WxH]
//                                 [--series-by-rows] [--all-totals] [--no-legend]]
// Loads the pivot statement (or --command) and prints the grid the layout
// gives, or draws its pivot chart as the window's chart space does; the
// LAYOUT and TOTAL forms are those of qrt::pivot::PivotLayoutText. Only a
// chart needs a GUI application.

#include <QStringList>

namespace PivotCommand {

int run(const QStringList &arguments);
// Whether the arguments ask for a chart (--chart).
bool needsWidgets(const QStringList &arguments);

} // namespace PivotCommand
