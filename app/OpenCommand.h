#pragma once
// zorvane-stats [CONNECTION] [--windows N] [--screenshot FILE]
// Plays the host application's part: creates statCharts, hands it the
// connection string and shows the windows it gives back. Without a display
// it renders each window to a PNG instead and then closes it as a user would.

#include <QStringList>

namespace OpenCommand {

int run(const QStringList &arguments);

} // namespace OpenCommand
