#pragma once
// Whether an option is on a command line, before any parser runs: main()
// asks it to choose between a GUI application and a plain one.

#include <QStringList>

// True for "--name" and "--name=value".
bool optionGiven(const QStringList &arguments, const QString &name);
