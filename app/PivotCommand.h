#pragma once
// zorvane-stats pivot CONNECTION [--rows LAYOUT] [--columns LAYOUT] [--filter LAYOUT]
//                                [--total TOTAL] [--format csv|json] [--command SQL]
// Loads the pivot statement (or --command) and prints the grid the layout
// gives; the LAYOUT and TOTAL forms are those of qrt::pivot::PivotLayoutText.

#include <QStringList>

namespace PivotCommand {

int run(const QStringList &arguments);

} // namespace PivotCommand
