#pragma once
// zorvane-stats pivot CONNECTION [--rows SPEC] [--columns SPEC] [--filter SPEC]
//                                [--total SPEC] [--format csv|json] [--command SQL]
// Loads the pivot statement (or --command) and prints the grid the layout
// gives; the SPEC forms are those of qrt::pivot::PivotLayoutSpec.

#include <QStringList>

class PivotCommand
{
public:
    static int run(const QStringList &arguments);
};
