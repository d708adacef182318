// Importing 100 feeds of 100 items each from a server on loopback: into a
// new archive (target: under 2 s), and again into the same archive, where
// every feed answers "304 Not Modified". The peer is Newsboat reloading the
// same feeds from the same server into a new cache, as many at once.

#include "LoopbackHttpServer.h"
#include "RandomFeeds.h"
#include "importer/ArchiveWriter.h"
#include "importer/FeedImport.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int kFeeds = 100;
constexpr int kItems = 100;
constexpr int kParallel = 6;

struct Served
{
    qrt::test::LoopbackHttpServer server;
    QStringList urls;
    QTemporaryDir dir;
};

// The feeds, each with an ETag so that the second import is conditional.
Served &served()
{
    static Served *s = [] {
        auto *s = new Served;
        s->server.listen();
        const auto feeds = qrt::test::randomFeeds(
            7, {.feeds = kFeeds, .minItems = kItems, .maxItems = kItems, .days = 30});
        for (const qrt::test::RandomFeed &feed : feeds) {
            const QByteArray path = "/" + feed.fileName.toLatin1();
            s->server.routes[path] = {.body = qrt::test::feedDocument(feed),
                                      .etag = "\"" + feed.fileName.toLatin1() + "\""};
            s->urls << s->server.url(path).toString();
        }
        return s;
    }();
    return *s;
}

qrt::importer::FeedImport::Summary import(const QString &archive)
{
    qrt::importer::ArchiveWriter writer;
    QString error;
    if (!writer.open(archive, &error))
        qFatal("%s", qPrintable(error));
    qrt::importer::FeedImport run(writer, {.parallel = kParallel});
    return run.run(served().urls, {});
}

void ImportNewArchive(benchmark::State &state)
{
    const QString archive = served().dir.filePath(u"new.db"_s);
    for (auto _ : state) {
        state.PauseTiming();
        QFile::remove(archive);
        state.ResumeTiming();
        const auto summary = import(archive);
        if (summary.newItems != kFeeds * kItems)
            state.SkipWithError("not every item came");
    }
    state.SetItemsProcessed(state.iterations() * kFeeds * kItems);
}

void ImportAgainUnchanged(benchmark::State &state)
{
    const QString archive = served().dir.filePath(u"again.db"_s);
    import(archive);
    for (auto _ : state)
        if (import(archive).unchanged != kFeeds)
            state.SkipWithError("a feed was fetched again whole");
    state.SetItemsProcessed(state.iterations() * kFeeds);
}

// Newsboat runs while this thread's event loop serves it.
void NewsboatReload(benchmark::State &state)
{
    const QString newsboat = QStandardPaths::findExecutable(u"newsboat"_s);
    if (newsboat.isEmpty()) {
        state.SkipWithError("newsboat is not installed (scripts/install-deps)");
        return;
    }
    QTemporaryDir home;
    QFile urls(home.filePath(u"urls"_s)), config(home.filePath(u"config"_s));
    urls.open(QIODevice::WriteOnly);
    urls.write(served().urls.join(u'\n').toUtf8() + '\n');
    urls.close();
    config.open(QIODevice::WriteOnly);
    config.write("reload-threads " + QByteArray::number(kParallel) + "\n");
    config.close();
    const QString cache = home.filePath(u"cache.db"_s);
    for (auto _ : state) {
        state.PauseTiming();
        QFile::remove(cache);
        state.ResumeTiming();
        QProcess process;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(u"HOME"_s, home.path());
        process.setProcessEnvironment(env);
        QEventLoop loop;
        QObject::connect(&process, &QProcess::finished, &loop, &QEventLoop::quit);
        process.start(newsboat, {u"-u"_s, urls.fileName(), u"-c"_s, cache, u"-C"_s,
                                 config.fileName(), u"-x"_s, u"reload"_s});
        loop.exec();
        if (process.exitCode() != 0)
            state.SkipWithError("newsboat failed");
    }
    state.SetItemsProcessed(state.iterations() * kFeeds * kItems);
}

} // namespace

BENCHMARK(ImportNewArchive)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);
BENCHMARK(ImportAgainUnchanged)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);
BENCHMARK(NewsboatReload)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
