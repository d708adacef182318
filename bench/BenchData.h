#pragma once
// The folder the benchmarks make their databases in: $QRT_BENCH_DATA, kept
// between runs, else the temporary folder.

#include <QDir>
#include <QString>

namespace qrt::bench {

inline QString dataFolder()
{
    QString path = qEnvironmentVariable("QRT_BENCH_DATA");
    if (path.isEmpty())
        path = QDir::tempPath();
    QDir().mkpath(path);
    return path;
}

} // namespace qrt::bench
