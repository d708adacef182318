#pragma once
// What the window benchmarks share: the wait until both pivot views of a
// window have their rows, and the program's run.

#include "pivotviews/PivotChartSpace.h"

#include <QApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QString>
#include <QTimer>
#include <QWidget>

#include <benchmark/benchmark.h>

namespace qrt::bench {

// Until both pivot views have their data (or two minutes have gone).
inline void waitForPivotViews(QWidget *window)
{
    QObject *page = window->findChild<QObject *>(QStringLiteral("WebBrowser1"));
    auto *chart = window->findChild<PivotChartSpace *>();
    QEventLoop loop;
    QTimer::singleShot(120000, &loop, &QEventLoop::quit);
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        if ((!page || !page->property("busy").toBool()) && (!chart || !chart->isLoading()))
            loop.quit();
    });
    poll.start(5);
    loop.exec();
}

// Runs the benchmarks of a window program: offscreen unless a platform is
// set, with a settings folder of its own, so the window opens as on a first
// run and the user's settings stay out of it.
inline int runWindowBenchmarks(int argc, char **argv, const QString &configName)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QString home = QDir::temp().filePath(configName);
    QDir(home).removeRecursively();
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home));
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

} // namespace qrt::bench
