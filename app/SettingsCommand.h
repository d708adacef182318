#pragma once
// zorvane-stats settings [--machine] list SECTION | get SECTION KEY |
//                        set SECTION KEY VALUE [--int] | delete SECTION [KEY]
// Reads and repairs the settings the component keeps, in the same sections
// it uses (Software\Koltrin\Zorvane\SECTION of the current user's store, or
// of the machine's with --machine). Errors of the store print their number,
// source and description and end with a non-zero status.

#include <QStringList>

namespace SettingsCommand {

// Exit codes: 0 done, 1 a setting missing or an error raised, 2 bad usage.
int run(const QStringList &arguments);

} // namespace SettingsCommand
