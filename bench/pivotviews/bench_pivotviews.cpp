// The pivot engine on the demo database of one and of ten million news
// items: the load of every row of the pivot statement, and the aggregation
// of "NewsDate By Month" Months against Provider with a category filter,
// side by side with DuckDB and Perspective doing the same on the same rows
// (read from a CSV file of the statement's result, by the Node scripts in
// bench/peers). Targets: our aggregation faster than both peers, and our
// memory below twice the size of the raw rows (the bytes of all values).
//
// Then what the window does: the load grouped in the database (SQLite, and
// PostgreSQL when QRT_BENCH_PG names a server) with the table's and the
// chart's default layouts aggregated, against DuckDB reading and grouping
// the same rows; the memory the grouped data holds at each size; and a
// year's months expanded to days. Targets: open under 1.5 s and faster than
// DuckDB, the same memory within 10% at 1M and 10M and under 60 MiB, the
// expansion under 0.5 s.

#include "BenchData.h"
#include "base/Dates.h"
#include "demodata/DemoDatabase.h"
#include "pivot/PivotAggregator.h"
#include "pivot/PivotData.h"
#include "pivot/PivotGrain.h"
#include "pivot/PivotLoader.h"
#include "pivot/PivotResult.h"
#include "pivot/PivotView.h"
#include "pivot/PivotStatement.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QUrl>

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <map>

using namespace Qt::StringLiterals;
using namespace qrt::pivot;
using Clock = std::chrono::steady_clock;

namespace {

const QStringList kCategories = {u"World"_s, u"Sports"_s};
constexpr double kMiB = 1024.0 * 1024.0;

struct Dataset
{
    QString database;
    QString csv;
    qint64 rawBytes = 0; // the bytes of every value of every row
};

QString itemsName(qint64 items)
{
    return QString::number(items / 1000000) + u'm';
}

// The rows of the statement as CSV, for the peers; counts the raw bytes on
// the way.
bool writeCsv(const QString &database, const QString &csv, qint64 *rawBytes)
{
    sqlite3 *db = nullptr;
    if (sqlite3_open_v2(QFile::encodeName(database).constData(), &db, SQLITE_OPEN_READONLY,
                        nullptr) != SQLITE_OK)
        return false;
    sqlite3_stmt *stmt = nullptr;
    const QByteArray sql = pivotStatement().toUtf8();
    sqlite3_prepare_v2(db, sql.constData(), -1, &stmt, nullptr);
    std::ofstream out(QFile::encodeName(csv + u".part"_s).constData(), std::ios::binary);
    out << "Provider,Channel,News,NewsDate,Category\n";
    std::string line;
    *rawBytes = 0;
    while (stmt && sqlite3_step(stmt) == SQLITE_ROW) {
        line.clear();
        for (int c = 0; c < 5; ++c) {
            if (c)
                line += ',';
            const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(stmt, c));
            if (!text)
                continue;
            const std::string_view value(text,
                                         static_cast<std::size_t>(sqlite3_column_bytes(stmt, c)));
            *rawBytes += static_cast<qint64>(value.size());
            line += '"';
            for (char ch : value) {
                if (ch == '"')
                    line += '"';
                line += ch;
            }
            line += '"';
        }
        line += '\n';
        out << line;
    }
    sqlite3_finalize(stmt);
    sqlite3_close(db);
    out.close();
    QFile::remove(csv);
    return out.good() && QFile::rename(csv + u".part"_s, csv);
}

// The demo database and its CSV, made on first use and kept between runs.
Dataset dataset(qint64 items)
{
    static std::map<qint64, Dataset> made;
    if (made.count(items))
        return made[items];
    Dataset set;
    set.database = qrt::bench::dataFolder() + u"/pivot-"_s + itemsName(items) + u".db"_s;
    set.csv = qrt::bench::dataFolder() + u"/pivot-"_s + itemsName(items) + u".csv"_s;
    if (!QFileInfo::exists(set.database)) {
        std::fprintf(stderr, "creating %s\n", qPrintable(set.database));
        const QString program = qEnvironmentVariable("ZORVANE_STATS");
        if (QProcess::execute(program, {u"demo-db"_s, set.database, u"--items"_s,
                                        QString::number(items), u"--until"_s, u"2025-12-31"_s}) !=
            0)
            return {};
    }
    QFile sizes(set.csv + u".rawbytes"_s);
    if (!QFileInfo::exists(set.csv) || !sizes.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "writing %s\n", qPrintable(set.csv));
        if (!writeCsv(set.database, set.csv, &set.rawBytes) || !sizes.open(QIODevice::WriteOnly))
            return {};
        sizes.write(QByteArray::number(set.rawBytes));
    } else {
        set.rawBytes = sizes.readAll().toLongLong();
    }
    return made[items] = set;
}

qint64 procStatus(const char *key)
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith(key))
            return line.mid(static_cast<qsizetype>(qstrlen(key)))
                       .trimmed()
                       .split(' ')
                       .value(0)
                       .toLongLong() *
                   1024;
    return 0;
}

// Run in a fresh process (this program with --measure-load), so that no
// memory left over from an earlier benchmark hides what a load needs: loads
// the database and prints the process's resident memory before the load, its
// peak, and what stays resident with the data held.
int measureLoad(const QString &database, bool grouped)
{
    const qint64 before = procStatus("VmRSS:");
    QString error;
    const std::shared_ptr<PivotData> data =
        PivotLoader::load(database, pivotStatement(), {}, &error, nullptr,
                          grouped ? PivotGrain() : PivotGrain::allRows());
    if (!data)
        return 1;
    const QJsonObject figures{{u"before"_s, double(before)},
                              {u"peak"_s, double(procStatus("VmHWM:"))},
                              {u"resident"_s, double(procStatus("VmRSS:"))},
                              {u"engine"_s, double(data->memoryBytes())}};
    std::printf("%s\n", QJsonDocument(figures).toJson(QJsonDocument::Compact).constData());
    return 0;
}

struct Figures
{
    double loadMs = 0, aggregateMs = 0, rawMiB = 0;
    QJsonObject memory; // from measureLoad
    std::map<QString, QJsonObject> peers;
};
std::map<qint64, Figures> g_figures;
std::map<qint64, std::shared_ptr<const PivotData>> g_loaded;

void BM_PivotLoad(benchmark::State &state)
{
    const qint64 items = state.range(0);
    const Dataset set = dataset(items);
    if (set.database.isEmpty())
        return state.SkipWithError("no demo database");
    g_loaded.clear();
    for (auto _ : state) {
        QString error;
        const auto start = Clock::now();
        std::shared_ptr<const PivotData> data =
            PivotLoader::load(set.database, pivotStatement(), {}, &error);
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        if (!data)
            return state.SkipWithError(qPrintable(error));
        state.SetIterationTime(seconds);
        Figures &f = g_figures[items];
        f.loadMs = seconds * 1000;
        f.rawMiB = double(set.rawBytes) / kMiB;
        QProcess child;
        child.start(QCoreApplication::applicationFilePath(), {u"--measure-load"_s, set.database});
        child.waitForFinished(-1);
        f.memory = QJsonDocument::fromJson(child.readAllStandardOutput().trimmed()).object();
        state.counters["rows"] = double(data->rowCount());
        state.counters["raw_MiB"] = f.rawMiB;
        state.counters["engine_MiB"] = double(data->memoryBytes()) / kMiB;
        state.counters["process_peak_MiB"] = f.memory.value(u"peak"_s).toDouble() / kMiB;
        g_loaded[items] = std::move(data);
    }
}

void BM_PivotAggregate(benchmark::State &state)
{
    const qint64 items = state.range(0);
    const auto it = g_loaded.find(items);
    if (it == g_loaded.end())
        return state.SkipWithError("not loaded");
    PivotView view(it->second);
    PivotFieldSet &months = view.FieldSets(u"NewsDate By Month"_s);
    for (PivotField *field : months.Fields())
        field->setIsIncluded(field->Name() == u"Months"_s);
    view.RowAxis().InsertFieldSet(months);
    view.ColumnAxis().InsertFieldSet(view.FieldSets(u"Provider"_s));
    PivotFieldSet &category = view.FieldSets(u"Category"_s);
    view.FilterAxis().InsertFieldSet(category);
    std::vector<PivotMember> chosen;
    for (const QString &caption : kCategories)
        chosen.push_back(category.Members()(caption));
    category.Fields(0).setIncludedMembers(chosen);
    category.setAllIncludeExclude(PivotFieldSet::ExcludeAllButIncluded);
    view.DataAxis().InsertTotal(
        view.AddTotal(u"Count of News"_s, view.FieldSets(u"News"_s).Fields(0), 2));
    double grand = 0;
    for (auto _ : state) {
        const PivotResult result = PivotAggregator::run(view);
        grand = result.value(0, 0, 0).value_or(-1);
        benchmark::DoNotOptimize(grand);
    }
    state.counters["grand_total"] = grand;
}

void BM_Peer(benchmark::State &state, const QString &engine)
{
    const qint64 items = state.range(0);
    const Dataset set = dataset(items);
    const QString peers = QStringLiteral(QRT_BENCH_PEERS_DIR);
    if (!QFileInfo::exists(peers + u"/node_modules"_s))
        return state.SkipWithError(
            "bench/peers/node_modules is missing: run npm ci in bench/peers");
    for (auto _ : state) {
        QProcess node;
        node.setWorkingDirectory(peers);
        node.start(u"node"_s, {u"--max-old-space-size=8192"_s, engine + u"-pivot.mjs"_s, set.csv,
                               kCategories.join(u','), items >= 10000000 ? u"5"_s : u"10"_s});
        node.waitForFinished(-1);
        const QByteArray out = node.readAllStandardOutput().trimmed();
        const QJsonObject report = QJsonDocument::fromJson(out.split('\n').constLast()).object();
        if (node.exitCode() != 0 || report.isEmpty())
            return state.SkipWithError(
                qPrintable(engine + u" failed: "_s +
                           QString::fromUtf8(node.readAllStandardError().right(400))));
        state.SetIterationTime(report.value(u"aggregate_ms"_s).toDouble() / 1000);
        state.counters["load_ms"] = report.value(u"load_ms"_s).toDouble();
        state.counters["peak_MiB"] = report.value(u"peak_rss"_s).toDouble() / kMiB;
        state.counters["grand_total"] = report.value(u"grand_total"_s).toDouble();
        g_figures[items].peers[engine] = report;
    }
}

// The PostgreSQL copy of a demo database, made on first use in the
// server QRT_BENCH_PG names; empty without one.
QString postgresDataset(qint64 items)
{
    const QString server = qEnvironmentVariable("QRT_BENCH_PG");
    if (server.isEmpty())
        return {};
    QUrl url(server);
    url.setPath(u"/pivot_"_s + itemsName(items));
    const QString target = url.toString();
    QString error;
    PivotLoader::load(target, u"SELECT 1"_s, {}, &error);
    if (error.isEmpty())
        return target; // made by an earlier run
    std::fprintf(stderr, "creating %s on the server\n", qPrintable(url.path()));
    QUrl admin(server);
    qrt::db::DemoDatabase::Options options;
    options.items = items;
    options.until = QDate(2025, 12, 31);
    // The database itself is made through the server's own "postgres" one.
    QProcess::execute(u"psql"_s,
                      {admin.toString(), u"-qc"_s, u"CREATE DATABASE "_s + url.path().mid(1)});
    error.clear(); // the probe's, which only said the database was missing
    if (!qrt::db::DemoDatabase::create(target, options, &error))
        std::fprintf(stderr, "cannot create it: %s\n", qPrintable(error));
    return error.isEmpty() ? target : QString();
}

// What the window's two pivot views do once the data is in.
struct Opened
{
    std::unique_ptr<PivotView> table, chart;
};

Opened openViews(const std::shared_ptr<const PivotData> &data)
{
    Opened views{std::make_unique<PivotView>(data), std::make_unique<PivotView>(data)};
    for (PivotView *view : {views.table.get(), views.chart.get()}) {
        PivotFieldSet &months = view->FieldSets(u"NewsDate By Month"_s);
        for (PivotField *field : months.Fields())
            field->setIsIncluded(field->Name() == u"Months"_s);
        view->RowAxis().InsertFieldSet(months);
        if (view == views.table.get()) {
            view->RowAxis().InsertFieldSet(view->FieldSets(u"Provider"_s));
        } else {
            view->FilterAxis().InsertFieldSet(view->FieldSets(u"Channel"_s));
            view->ColumnAxis().InsertFieldSet(view->FieldSets(u"Provider"_s));
        }
        view->DataAxis().InsertTotal(
            view->AddTotal(u"Count of News"_s, view->FieldSets(u"News"_s).Fields(0), 2));
    }
    return views;
}

std::map<QString, double> g_openMs;    // "<engine> <items>" -> load and both grids
std::map<QString, double> g_memoryMiB; // "<items>" -> resident memory the grouped data added
std::map<qint64, double> g_expandMs;

void BM_PivotOpen(benchmark::State &state, bool postgres)
{
    const qint64 items = state.range(0);
    const QString target = postgres ? postgresDataset(items) : dataset(items).database;
    if (target.isEmpty())
        return state.SkipWithError(postgres ? "QRT_BENCH_PG is not set" : "no demo database");
    std::shared_ptr<const PivotData> data;
    double grand = 0, best = 1e9;
    for (auto _ : state) {
        data.reset();
        const auto start = Clock::now();
        QString error;
        data = PivotLoader::load(target, pivotStatement(), {}, &error, nullptr, PivotGrain());
        if (!data)
            return state.SkipWithError(qPrintable(error));
        const Opened views = openViews(data);
        const PivotResult table = PivotAggregator::run(*views.table);
        const PivotResult chart = PivotAggregator::run(*views.chart);
        grand = table.value(0, 0, 0).value_or(-1) + chart.value(0, 0, 0).value_or(-1);
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        best = std::min(best, seconds);
        state.SetIterationTime(seconds);
    }
    g_openMs[(postgres ? u"PostgreSQL "_s : u"SQLite "_s) + QString::number(items)] = best * 1000;
    state.counters["grouped_rows"] = double(data->rowCount());
    state.counters["items"] = grand / 2;
    state.counters["engine_MiB"] = double(data->memoryBytes()) / kMiB;
    if (!postgres) {
        QProcess child;
        child.start(QCoreApplication::applicationFilePath(), {u"--measure-grouped"_s, target});
        child.waitForFinished(-1);
        const QJsonObject memory =
            QJsonDocument::fromJson(child.readAllStandardOutput().trimmed()).object();
        g_memoryMiB[QString::number(items)] =
            (memory.value(u"resident"_s).toDouble() - memory.value(u"before"_s).toDouble()) / kMiB;
        state.counters["resident_added_MiB"] = g_memoryMiB[QString::number(items)];
    }
}

// The table's default layout with the days of one year's months shown: the
// grouped load holds days already, so this is an aggregation, no load.
void BM_PivotExpandDays(benchmark::State &state)
{
    const qint64 items = state.range(0);
    QString error;
    const auto data = PivotLoader::load(dataset(items).database, pivotStatement(), {}, &error,
                                        nullptr, PivotGrain());
    if (!data)
        return state.SkipWithError(qPrintable(error));
    const Opened views = openViews(data);
    PivotView &view = *views.table;
    PivotFieldSet &months = view.FieldSets(u"NewsDate By Month"_s);
    for (PivotField *field : months.Fields())
        field->setIsIncluded(field->Name() == u"Years"_s || field->Name() == u"Months"_s ||
                             field->Name() == u"Days"_s);
    view.setExpandMembers(PivotView::ExpandNever);
    const PivotMembers years = months.Members();
    PivotMember year = years.Item(years.Count() - 1);
    year.setExpanded(true);
    for (qsizetype m = 0; m < year.ChildMembers().Count(); ++m)
        year.ChildMembers().Item(m).setExpanded(true);
    if (!data->covers(PivotGrain::of(view)))
        return state.SkipWithError("days not held");
    double best = 1e9;
    for (auto _ : state) {
        const auto start = Clock::now();
        const PivotResult result = PivotAggregator::run(view);
        benchmark::DoNotOptimize(result.rowsAggregated());
        best = std::min(best, std::chrono::duration<double>(Clock::now() - start).count());
    }
    g_expandMs[items] = best * 1000;
}

void registerAll()
{
    for (const qint64 items : {qint64(1000000), qint64(10000000)}) {
        benchmark::RegisterBenchmark("BM_PivotLoad", BM_PivotLoad)
            ->Arg(items)
            ->Iterations(1)
            ->UseManualTime()
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark("BM_PivotAggregate", BM_PivotAggregate)
            ->Arg(items)
            ->MinTime(1.0)
            ->UseRealTime()
            ->Unit(benchmark::kMillisecond);
        for (const bool postgres : {false, true})
            benchmark::RegisterBenchmark(
                postgres ? "BM_PivotOpen_PostgreSQL" : "BM_PivotOpen_SQLite",
                [postgres](benchmark::State &s) { BM_PivotOpen(s, postgres); })
                ->Arg(items)
                ->Iterations(3)
                ->UseManualTime()
                ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark("BM_PivotExpandDays", BM_PivotExpandDays)
            ->Arg(items)
            ->UseRealTime()
            ->Unit(benchmark::kMillisecond);
        for (const QString &engine : {u"duckdb"_s, u"perspective"_s})
            benchmark::RegisterBenchmark(("BM_Peer_" + engine.toStdString()).c_str(),
                                         [engine](benchmark::State &s) { BM_Peer(s, engine); })
                ->Arg(items)
                ->Iterations(1)
                ->UseManualTime()
                ->Unit(benchmark::kMillisecond);
    }
}

// Keeps our aggregation times for the summary.
class Reporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run> &runs) override
    {
        for (const Run &run : runs)
            if (run.run_name.function_name == "BM_PivotAggregate" && !run.error_occurred)
                g_figures[std::stoll(run.run_name.args)].aggregateMs =
                    run.GetAdjustedRealTime(); // already in milliseconds
        ConsoleReporter::ReportRuns(runs);
    }
};

void printWindowSummary()
{
    std::printf("\n== the window's pivot views, grouped in the database\n");
    for (const auto &[key, ms] : g_openMs) {
        const qint64 items = key.section(u' ', 1).toLongLong();
        const auto &peers = g_figures[items].peers;
        const auto duck = peers.find(u"duckdb"_s);
        const double duckMs = duck == peers.end()
                                  ? 0
                                  : duck->second.value(u"load_ms"_s).toDouble() +
                                        duck->second.value(u"aggregate_ms"_s).toDouble();
        std::printf("  %-22s open and both grids %8.0f ms  DuckDB reading and grouping %8.0f ms  "
                    "target <= 1500 ms and faster: %s\n",
                    qPrintable(key + u" items"_s), ms, duckMs,
                    ms <= 1500 && duckMs > ms ? "met" : "NOT met");
    }
    for (const auto &[items, mib] : g_memoryMiB)
        std::printf("  memory held by the grouped data, %s items: %.1f MiB\n", qPrintable(items),
                    mib);
    for (const auto &[items, ms] : g_expandMs)
        std::printf("  a year's months to days, %lld items: %.1f ms (target <= 500 ms)\n",
                    static_cast<long long>(items), ms);
}

void printSummary()
{
    for (const auto &[items, f] : g_figures) {
        std::printf("\n== %lld items: raw rows %.1f MiB\n", static_cast<long long>(items),
                    f.rawMiB);
        const double before = f.memory.value(u"before"_s).toDouble() / kMiB;
        const double peak = f.memory.value(u"peak"_s).toDouble() / kMiB;
        const double resident = f.memory.value(u"resident"_s).toDouble() / kMiB;
        std::printf(
            "  ours        load %8.0f ms  aggregate %8.2f ms  peak process memory %.1f MiB; the "
            "load "
            "took it from %.1f to a peak of %.1f MiB (%.2f x raw), %.1f MiB stay with the data "
            "(the engine's own %.1f MiB)\n",
            f.loadMs, f.aggregateMs, peak, before, peak,
            f.rawMiB > 0 ? (peak - before) / f.rawMiB : 0.0, resident - before,
            f.memory.value(u"engine"_s).toDouble() / kMiB);
        bool fastest = f.aggregateMs > 0;
        for (const auto &[engine, r] : f.peers) {
            const double ms = r.value(u"aggregate_ms"_s).toDouble();
            fastest = fastest && f.aggregateMs < ms;
            std::printf("  %-11s load %8.0f ms  aggregate %8.2f ms  peak process memory %.1f MiB  "
                        "(%.1f x our "
                        "aggregation time)\n",
                        qPrintable(engine), r.value(u"load_ms"_s).toDouble(), ms,
                        r.value(u"peak_rss"_s).toDouble() / kMiB,
                        f.aggregateMs > 0 ? ms / f.aggregateMs : 0.0);
        }
        std::printf("  target: aggregation faster than every peer: %s; memory for the load under 2 "
                    "x raw rows: %s\n",
                    fastest && f.peers.size() == 2 ? "met" : "NOT met",
                    peak > 0 && peak - before < 2 * f.rawMiB ? "met" : "NOT met");
    }
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (argc == 3 && qstrcmp(argv[1], "--measure-load") == 0)
        return measureLoad(QString::fromLocal8Bit(argv[2]), false);
    if (argc == 3 && qstrcmp(argv[1], "--measure-grouped") == 0)
        return measureLoad(QString::fromLocal8Bit(argv[2]), true);
    benchmark::Initialize(&argc, argv);
    registerAll();
    Reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    printSummary();
    printWindowSummary();
    return 0;
}
