// Filling the filter panel's three lists at a window's load, from a SQLite
// database of 500 channels: Form_Load with its one statement, the rows of
// the lists, the stored filter and the filter text. Beside it the literal
// statement the load would run on an engine we don't know, walked with a
// bare Recordset reading the same six columns: it joins every news item
// before DISTINCT folds them, so its time grows with the news. Target: the
// load stays instant (well under 100 ms) at 500 channels and a million
// news items, and well under the literal statement alone.

#include "component/modUtils.h"
#include "controls/tools/TickList.h"
#include "db/Connection.h"
#include "db/Recordset.h"
#include "filterpanel/TickListModel.h"
#include "filterpanel/frmProvChannels.h"

#include <qrt/statCharts.h>

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSqlQuery>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr int kChannels = 500;
constexpr int kProviders = 60;
constexpr int kCategories = 12;

// Runs the statements in one transaction; false on the first failure.
bool execAll(qrt::db::Connection &db, const QStringList &statements)
{
    QSqlQuery query(db.database());
    if (!query.exec(u"BEGIN"_s))
        return false;
    for (const QString &sql : statements) {
        if (!query.exec(sql)) {
            std::fprintf(stderr, "%s\n", qPrintable(sql.left(200)));
            return false;
        }
    }
    return query.exec(u"COMMIT"_s);
}

// 500 channels over 60 providers and 12 categories, all with news, the
// items spread over the channels; made on first use and kept.
QString database(qint64 items)
{
    QString folder = qEnvironmentVariable("QRT_BENCH_DATA");
    if (folder.isEmpty())
        folder = QDir::tempPath();
    QDir().mkpath(folder);
    const QString path = u"%1/filterpanel-%2ch-%3.db"_s.arg(folder).arg(kChannels).arg(items);
    if (QFileInfo::exists(path))
        return path;
    std::fprintf(stderr, "creating %s\n", qPrintable(path));
    QStringList sql = {
        u"CREATE TABLE Categories (ID integer PRIMARY KEY, Name text)"_s,
        u"CREATE TABLE Providers (ID integer PRIMARY KEY, Provider text)"_s,
        u"CREATE TABLE Channels (ID integer PRIMARY KEY, Channel text, Provider integer, "
        "Category integer)"_s,
        u"CREATE TABLE News (ID integer, pubDate text, Channel integer, Title text)"_s,
    };
    for (int i = 1; i <= kCategories; ++i)
        sql << u"INSERT INTO Categories VALUES (%1, 'Category %1')"_s.arg(i);
    for (int i = 1; i <= kProviders; ++i)
        sql << u"INSERT INTO Providers VALUES (%1, 'Provider %1 Press Agency')"_s.arg(i);
    // Providers and categories first turn up out of ID order, as they do in
    // a real catalogue.
    for (int i = 1; i <= kChannels; ++i)
        sql << u"INSERT INTO Channels VALUES (%1, 'Provider %2 Channel %1 Headlines', %2, %3)"_s
                   .arg(i)
                   .arg(1 + (i * 37) % kProviders)
                   .arg(1 + (i * 7) % kCategories);
    QString values;
    for (qint64 id = 1; id <= items; ++id) {
        if (!values.isEmpty())
            values += u',';
        values += u"(%1, '2024-%2-%3 10:00:00', %4, 'item')"_s.arg(id)
                      .arg(1 + id % 12, 2, 10, QLatin1Char('0'))
                      .arg(1 + id % 28, 2, 10, QLatin1Char('0'))
                      .arg(1 + (id * 7919) % kChannels);
        if (id % 5000 == 0 || id == items) {
            sql << u"INSERT INTO News VALUES "_s + values;
            values.clear();
        }
    }
    qrt::db::Connection writer;
    if (!writer.Open(path, qrt::db::Connection::Access::ReadWrite) || !execAll(writer, sql)) {
        writer.Close();
        QFile::remove(path);
        return {};
    }
    writer.Close();
    return path;
}

// The component's globals as a window's load finds them, on the database,
// with a settings store of its own.
struct Component
{
    QTemporaryDir home;
    std::unique_ptr<statCharts> charts;

    explicit Component(const QString &path)
    {
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.path()));
        charts = std::make_unique<statCharts>();
        charts->ConnectionString(path);
    }
};

void FormLoad(benchmark::State &state)
{
    const QString path = database(state.range(0));
    if (path.isEmpty()) {
        state.SkipWithError("no database");
        return;
    }
    Component component(path);
    qint64 rows = 0;
    for (auto _ : state) {
        state.PauseTiming();
        auto panel = std::make_unique<frmProvChannels>();
        state.ResumeTiming();
        panel->Form_Load();
        state.PauseTiming();
        rows = panel->fgCategories->model()->Rows() + panel->fgProviders->model()->Rows() +
               panel->fgChannels->model()->Rows();
        panel.reset();
        state.ResumeTiming();
    }
    if (rows != 1 + kCategories + 1 + kProviders + 1 + kChannels)
        state.SkipWithError("the lists did not fill");
    state.counters["list rows"] = double(rows);
}

// The literal statement alone: open, walk the rows reading what the fill
// reads, close.
void LiteralStatementAlone(benchmark::State &state)
{
    const QString path = database(state.range(0));
    if (path.isEmpty()) {
        state.SkipWithError("no database");
        return;
    }
    Component component(path);
    qint64 rows = 0;
    for (auto _ : state) {
        rows = 0;
        gConnection->Open(gConnectionString);
        qrt::db::Recordset rs;
        rs.Open(frmProvChannels::GridsStatement, *gConnection);
        for (; !rs.IsEOF(); rs.MoveNext()) {
            benchmark::DoNotOptimize(rs.Int(0) + rs.Int(1) + rs.Int(2));
            benchmark::DoNotOptimize(rs.Text(3).size() + rs.Text(4).size() + rs.Text(5).size());
            ++rows;
        }
        rs.Close();
        gConnection->Close();
    }
    state.counters["statement rows"] = double(rows);
}

} // namespace

BENCHMARK(FormLoad)->ArgName("news")->Arg(20000)->Arg(200000)->Arg(1000000)->Unit(
    benchmark::kMillisecond);
BENCHMARK(LiteralStatementAlone)
    ->ArgName("news")
    ->Arg(20000)
    ->Arg(200000)
    ->Arg(1000000)
    ->Unit(benchmark::kMillisecond);

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
