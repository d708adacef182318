// Opening the window on the demo database of one and ten million news items,
// as a user does: how long until the built-in chart is drawn (target at ten
// million: 0.5 s after show()), of all items and of the first run's period
// ("Last Month") on items that run up to today; whether the window keeps
// answering while the pivot views load off the GUI thread (the longest gap
// between ticks of a 10 ms timer; target 50 ms); how long until the pivot
// table's page has run, and the memory with the table open. The pivot
// engine's own load of the same rows (bench_pivotviews, same run) is the
// peer: the table adds its grid and widgets to that load, nothing more.
//
// At one million it opens the window twice: with the pivot table alone (the
// chart space's classes left out) and with both pivot views. Both views load the same
// statement, so they share one copy of the rows: "added_MiB", what the
// window added to the process, grows by the chart's widgets only. For
// memory figures free of the other run's heap, run each alone
// (--benchmark_filter=chart:0, then chart:1).
//
// At ten million it opens it once more on the first run's period of items
// that end today: that chart asks the database for its month alone (the
// index on pubDate finds it) while every item is counted behind it.

#include "BenchWindow.h"
#include "newschart/NamedPeriod.h"
#include "pivotviews/PivotChartSpace.h"

#include <qrt/statCharts.h>

#include <QApplication>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QPointer>
#include <QProcess>
#include <QTimer>
#include <QWidget>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <malloc.h>

using namespace Qt::StringLiterals;

namespace {

constexpr double kKiBPerMiB = 1024.0;

// Items up to the end of 2025: the same file as the pivot benchmark's, so a
// run makes it once. Recent items end today: made anew once their last
// month has aged by a week.
QString database(qint64 items, bool recent)
{
    QString folder = qEnvironmentVariable("QRT_BENCH_DATA");
    if (folder.isEmpty())
        folder = QDir::tempPath();
    QDir().mkpath(folder);
    const QString path = folder + (recent ? u"/recent-"_s : u"/pivot-"_s) +
                         QString::number(items / 1000000) + u"m.db"_s;
    const QFileInfo file(path);
    const bool aged =
        recent && file.exists() && file.lastModified().daysTo(QDateTime::currentDateTime()) > 7;
    if (!file.exists() || aged) {
        std::fprintf(stderr, "creating %s\n", qPrintable(path));
        QStringList arguments = {u"demo-db"_s, path, u"--items"_s, QString::number(items),
                                 u"--replace"_s};
        if (!recent)
            arguments << u"--until"_s << u"2025-12-31"_s;
        if (QProcess::execute(qEnvironmentVariable("ZORVANE_STATS"), arguments) != 0)
            return {};
    }
    return path;
}

// A line of /proc/self/status in KiB ("VmRSS:", "VmHWM:").
qint64 procStatus(const char *key)
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith(key))
            return line.mid(qstrlen(key)).trimmed().split(' ').value(0).toLongLong();
    return 0;
}

// The period the window opens on, as a user who chose it last time finds it:
// "All" draws every item, "Last Month" (the first run's) a month of them.
bool choosePeriod(qrt::chart::NamedPeriod::Code period)
{
    return QProcess::execute(qEnvironmentVariable("ZORVANE_STATS"),
                             {u"settings"_s, u"set"_s, u"STATCHART"_s, u"PERIOD"_s,
                              QString::number(period), u"--int"_s}) == 0;
}

void OpenWindow(benchmark::State &state)
{
    const bool recent = state.range(2) != 0;
    const QString path = database(state.range(0), recent);
    if (path.isEmpty())
        return state.SkipWithError("no demo database");
    if (!choosePeriod(recent ? qrt::chart::NamedPeriod::LastMonth : qrt::chart::NamedPeriod::All))
        return state.SkipWithError("the period could not be stored");
    const bool withChart = state.range(1) != 0;
    if (!withChart)
        PivotChartSpace::unregisterClasses();
    for (auto _ : state) {
        malloc_trim(0);
        const qint64 residentBefore = procStatus("VmRSS:");
        statCharts charts;
        charts.ConnectionString(path);
        QPointer<QWidget> window = charts.ShowChartForm();
        QElapsedTimer clock;
        clock.start();
        window->show(); // the load runs here: the built-in chart is drawn at its end
        const double drawnMs = clock.nsecsElapsed() / 1e6;

        // Ticks while the pivot views load: the longest gap is how long
        // a key press would have waited.
        qint64 lastTick = clock.nsecsElapsed();
        qint64 longestGap = 0;
        QTimer ticker;
        QObject::connect(&ticker, &QTimer::timeout, [&] {
            const qint64 now = clock.nsecsElapsed();
            longestGap = std::max(longestGap, now - lastTick);
            lastTick = now;
        });
        ticker.start(10);
        double answersMs = 0;
        QTimer::singleShot(0, [&] { answersMs = clock.nsecsElapsed() / 1e6; });

        QObject *page = window->findChild<QObject *>(u"WebBrowser1"_s);
        qrt::bench::waitForPivotViews(window);
        const double tableMs = clock.nsecsElapsed() / 1e6;
        ticker.stop();
        state.counters["drawn_ms"] = drawnMs;
        state.counters["answers_ms"] = answersMs;
        state.counters["longest_stall_ms"] = longestGap / 1e6;
        state.counters["table_ms"] = page ? tableMs : 0;
        state.counters["resident_MiB"] = procStatus("VmRSS:") / kKiBPerMiB;
        state.counters["added_MiB"] = (procStatus("VmRSS:") - residentBefore) / kKiBPerMiB;
        state.counters["peak_MiB"] = procStatus("VmHWM:") / kKiBPerMiB;
        state.SetIterationTime(tableMs / 1000);
        window->close();
        delete window.data(); // with it the rows, before the next run measures
        QApplication::processEvents();
    }
    if (!withChart)
        PivotChartSpace::registerClasses();
}

} // namespace

BENCHMARK(OpenWindow)
    ->ArgNames({"items", "chart", "recent"})
    ->Args({1000000, 0, 0})
    ->Args({1000000, 1, 0})
    ->Args({10000000, 1, 0})
    ->Args({10000000, 1, 1})
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

int main(int argc, char **argv)
{
    return qrt::bench::runWindowBenchmarks(argc, argv, u"bench-window-config"_s);
}
