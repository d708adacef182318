#pragma once
// The wait of the window benchmarks until both pivot views of a window
// have their rows.

#include "pivotviews/PivotChartSpace.h"

#include <QEventLoop>
#include <QString>
#include <QTimer>
#include <QWidget>

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

} // namespace qrt::bench
