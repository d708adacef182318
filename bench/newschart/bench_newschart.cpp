// The redraw of the news chart on a large demo database, period "All", one
// series per provider: what DrawChart runs, NewsChartBuilder from the query
// through to the filled chart table (no screen needed), side by side with the sqlite3 command-line
// tool running the literal statistics statement on the same file. Targets: the window's first
// drawing (one read of News into its per-day counts, then the chart from them) in at most a tenth
// of the time the literal statement takes; a redraw with another filter or grouping from those
// counts within 20 ms. Also reports the peak memory of the process and of the tool.

#include "base/Dates.h"
#include "db/Connection.h"
#include "newschart/ChannelDayCounts.h"
#include "newschart/ChartControl.h"
#include "newschart/NamedPeriod.h"
#include "newschart/NewsChartBuilder.h"
#include "newschart/StatisticsStatement.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryFile>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

using namespace Qt::StringLiterals;
using Clock = std::chrono::steady_clock;

namespace {

const QString kAllTicked =
    u"Categories.ID  not in (0) AND Providers.ID  not in (0) AND Channels.ID  not in (0) "_s;
constexpr int kByProvider = 3;

QString itemsName(qint64 items)
{
    return items % 1000000 == 0 ? QString::number(items / 1000000) + u'm' : QString::number(items);
}

// The demo database of that many items, made on first use and kept.
QString demoDatabase(qint64 items)
{
    QString folder = qEnvironmentVariable("QRT_BENCH_DATA");
    if (folder.isEmpty())
        folder = QDir::tempPath();
    QDir().mkpath(folder);
    const QString path = folder + u"/newschart-"_s + itemsName(items) + u".db"_s;
    if (QFileInfo::exists(path))
        return path;
    const QString program = qEnvironmentVariable("ZORVANE_STATS");
    std::fprintf(stderr, "creating %s\n", qPrintable(path));
    const int rc =
        QProcess::execute(program, {u"demo-db"_s, path, u"--items"_s, QString::number(items),
                                    u"--until"_s, u"2025-12-31"_s});
    return rc == 0 ? path : QString();
}

double peakMegabytes(int who)
{
    rusage usage{};
    getrusage(who, &usage);
    return double(usage.ru_maxrss) / 1024.0;
}

struct Chart
{
    QString database;
    qrt::db::Connection connection;
    ChartControl control;
    qrt::chart::NewsChartBuilder builder{control};
    qrt::chart::NewsChartQuery query;

    explicit Chart(const QString &file)
        : database(file)
    {
        const auto range =
            qrt::chart::NamedPeriod::Range(qrt::chart::NamedPeriod::All, qrt::dates::today());
        query.FromDate = range.FromDate;
        query.TillDate = range.TillDate;
        query.chartSeria = kByProvider;
        query.sOrder = qrt::chart::StatisticsStatement::ColumnsFor(kByProvider)->order;
        query.sFilter = kAllTicked;
    }

    // What frmChart::DrawChart runs, less the cursor.
    double redrawSeconds()
    {
        const auto start = Clock::now();
        builder.ClearChart(query);
        builder.Build(connection, database, query);
        return std::chrono::duration<double>(Clock::now() - start).count();
    }
};

// The window's chart: its counts kept from one drawing to the next.
struct WindowChart : Chart
{
    std::unique_ptr<qrt::chart::ChannelDayCounts> counts;

    explicit WindowChart(const QString &file)
        : Chart(file)
    {
        forget();
    }
    // As a new window: nothing read yet.
    void forget()
    {
        counts = std::make_unique<qrt::chart::ChannelDayCounts>();
        builder.setCounts(counts.get());
    }
};

// The literal statement as the chart composes it, with the dates CDate would
// give written out, since the tool has no CDate.
QString literalForTool(const qrt::chart::NewsChartQuery &query)
{
    using qrt::dates::toTimestampText;
    const QString where = u"(News.pubDate >= '"_s + toTimestampText(query.FromDate) +
                          u"' AND News.pubDate<='"_s + toTimestampText(query.TillDate + 1) +
                          u"') AND "_s + query.sFilter;
    return qrt::chart::StatisticsStatement::Compose(where, query.sOrder) + u";\n"_s;
}

struct ToolRun
{
    double seconds = -1; // below 0: the tool failed
    double peakMegabytes = 0;
};

// The high-water mark of a running process's own memory. Its resource usage
// after exit would not do: a spawned child starts in our address space, and
// the kernel carries that mark over the exec.
double highWaterMegabytes(pid_t pid)
{
    QFile status(u"/proc/%1/status"_s.arg(pid));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').value(0).toDouble() / 1024.0;
    return 0;
}

// Runs the statement in the sqlite3 tool, its rows going to /dev/null,
// watching its peak memory while it runs.
ToolRun runTool(const QString &database, const QString &statementFile)
{
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    const QByteArray input = QFile::encodeName(statementFile);
    posix_spawn_file_actions_addopen(&files, 0, input.constData(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&files, 1, "/dev/null", O_WRONLY, 0);
    QByteArray file = QFile::encodeName(database);
    char program[] = "sqlite3";
    char readOnly[] = "-readonly";
    char *argv[] = {program, readOnly, file.data(), nullptr};
    ToolRun run;
    pid_t pid = 0;
    const auto start = Clock::now();
    const int spawned = posix_spawnp(&pid, program, &files, nullptr, argv, environ);
    posix_spawn_file_actions_destroy(&files);
    if (spawned != 0)
        return run;
    int status = 0;
    double peak = 0;
    pid_t done = 0;
    while ((done = waitpid(pid, &status, WNOHANG)) == 0) {
        peak = std::max(peak, highWaterMegabytes(pid));
        usleep(2000);
    }
    if (done != pid || !WIFEXITED(status) || WEXITSTATUS(status) != 0)
        return run;
    run.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    run.peakMegabytes = peak;
    return run;
}

// The statement in a file the tool reads as its input.
struct StatementFile
{
    QTemporaryFile file;
    explicit StatementFile(const QString &statement)
    {
        if (file.open()) {
            file.write(statement.toUtf8());
            file.flush();
        }
    }
    QString path() const { return file.fileName(); }
};

void setChartCounters(benchmark::State &state, const Chart &chart)
{
    state.counters["series"] = chart.control.NumSeries();
    state.counters["points"] = chart.control.NumPoints(1);
    state.counters["peak_rss_MB"] = peakMegabytes(RUSAGE_SELF);
    state.SetLabel(qrt::chart::pathName(chart.builder.lastPath()).toStdString());
}

void Redraw(benchmark::State &state, qint64 items, qrt::chart::StatisticsMode mode)
{
    const QString database = demoDatabase(items);
    if (database.isEmpty()) {
        state.SkipWithError("no demo database");
        return;
    }
    Chart chart(database);
    chart.query.mode = mode;
    for (auto _ : state)
        state.SetIterationTime(chart.redrawSeconds());
    setChartCounters(state, chart);
    state.SetItemsProcessed(state.iterations() * items);
}

void Sqlite3Literal(benchmark::State &state, qint64 items)
{
    const QString database = demoDatabase(items);
    Chart chart(database);
    const StatementFile statement(literalForTool(chart.query));
    double peak = 0;
    for (auto _ : state) {
        const ToolRun run = runTool(database, statement.path());
        if (run.seconds < 0) {
            state.SkipWithError("sqlite3 failed (is the sqlite3 package installed?)");
            return;
        }
        peak = std::max(peak, run.peakMegabytes);
        state.SetIterationTime(run.seconds);
    }
    state.counters["tool_peak_rss_MB"] = peak;
    state.SetItemsProcessed(state.iterations() * items);
}

// Both in one run, turn about, so that the ratio sees the same machine state:
// a drawing that asks the database (the chart command's way), or the
// window's first drawing (its counts read anew each time).
void RedrawVsSqlite3(benchmark::State &state, qint64 items, bool firstInWindow)
{
    const QString database = demoDatabase(items);
    if (database.isEmpty()) {
        state.SkipWithError("no demo database");
        return;
    }
    WindowChart chart(database);
    if (!firstInWindow)
        chart.builder.setCounts(nullptr);
    const StatementFile statement(literalForTool(chart.query));
    double ours = 0, tool = 0;
    for (auto _ : state) {
        if (firstInWindow)
            chart.forget();
        const double redraw = chart.redrawSeconds();
        const double literal = runTool(database, statement.path()).seconds;
        if (literal < 0) {
            state.SkipWithError("sqlite3 failed (is the sqlite3 package installed?)");
            return;
        }
        ours += redraw;
        tool += literal;
        state.SetIterationTime(redraw);
    }
    state.counters["redraw_s"] = ours / double(state.iterations());
    state.counters["sqlite3_s"] = tool / double(state.iterations());
    state.counters["ratio"] = ours / tool; // target <= 0.10 for the window's first drawing
    setChartCounters(state, chart);
}

// Redraws from the window's counts, each with another filter or grouping
// than the one before, as a user ticks and unticks: the filter panel's
// texts over providers and categories, and the three groupings in turn.
void RedrawFromMemory(benchmark::State &state, qint64 items)
{
    const QString database = demoDatabase(items);
    if (database.isEmpty()) {
        state.SkipWithError("no demo database");
        return;
    }
    WindowChart chart(database);
    chart.redrawSeconds(); // the first drawing reads News
    const QStringList filters = {
        kAllTicked,
        u"Categories.ID  in ( 1, 3, 5) AND Providers.ID  not in (0) AND Channels.ID  not in (0) "_s,
        u"Categories.ID  not in (0) AND Providers.ID  not in ( 2, 4) AND Channels.ID  not in ( 7) "_s,
    };
    qint64 step = 0;
    for (auto _ : state) {
        chart.query.sFilter = filters[step % filters.size()];
        chart.query.chartSeria = 2 + int(step / filters.size() % 3);
        chart.query.sOrder =
            qrt::chart::StatisticsStatement::ColumnsFor(chart.query.chartSeria)->order;
        ++step;
        state.SetIterationTime(chart.redrawSeconds());
    }
    state.counters["scans"] = chart.counts->scans(); // 1: every redraw from memory
    setChartCounters(state, chart);
}

void registerAll()
{
    using qrt::chart::StatisticsMode;
    for (const qint64 items : {qint64(1000000), qint64(10000000)}) {
        const int passes = items > 1000000 ? 2 : 5;
        const std::string size = itemsName(items).toStdString();
        benchmark::RegisterBenchmark(("RedrawAllByProvider/" + size).c_str(), Redraw, items,
                                     StatisticsMode::Fastest)
            ->Unit(benchmark::kMillisecond)
            ->UseManualTime()
            ->Iterations(passes * 2);
        benchmark::RegisterBenchmark(("Sqlite3CliLiteral/" + size).c_str(), Sqlite3Literal, items)
            ->Unit(benchmark::kMillisecond)
            ->UseManualTime()
            ->Iterations(passes);
        benchmark::RegisterBenchmark(("RedrawVsSqlite3Cli/" + size).c_str(), RedrawVsSqlite3, items,
                                     false)
            ->Unit(benchmark::kMillisecond)
            ->UseManualTime()
            ->Iterations(passes);
        benchmark::RegisterBenchmark(("FirstDrawingVsSqlite3Cli/" + size).c_str(), RedrawVsSqlite3,
                                     items, true)
            ->Unit(benchmark::kMillisecond)
            ->UseManualTime()
            ->Iterations(passes);
        benchmark::RegisterBenchmark(("RedrawFromMemory/" + size).c_str(), RedrawFromMemory, items)
            ->Unit(benchmark::kMillisecond)
            ->UseManualTime()
            ->Iterations(36);
    }
    // Our reading of the literal statement, for reference: the same chart the
    // slow way (last, since it holds a point per row and raises the peak).
    benchmark::RegisterBenchmark("RedrawAllByProviderLiteral/1m", Redraw, qint64(1000000),
                                 StatisticsMode::Literal)
        ->Unit(benchmark::kMillisecond)
        ->UseManualTime()
        ->Iterations(3);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    registerAll();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
