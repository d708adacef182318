#pragma once
// zorvane-stats import SOURCE... --into DB [--every MINUTES]: subscription
// lists, feed files and feed addresses imported into a news archive.

#include <QStringList>

namespace ImportCommand {

int run(const QStringList &arguments);

} // namespace ImportCommand
