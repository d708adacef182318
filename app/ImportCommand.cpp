#include "ImportCommand.h"

#include "db/ConnectionString.h"
#include "importer/ArchiveWriter.h"
#include "importer/FeedImport.h"

#include <QCommandLineParser>
#include <QEventLoop>
#include <QTimer>

#include <cstdio>

using namespace Qt::StringLiterals;
using qrt::importer::FeedImport;

namespace {

using Outcome = FeedImport::FeedReport::Outcome;

void printReport(const FeedImport::FeedReport &report)
{
    QString line;
    switch (report.outcome) {
    case Outcome::Imported:
        line = u"%1 new  %2 (%3)"_s.arg(report.items, 5).arg(report.channel, report.address);
        break;
    case Outcome::Unchanged:
        line = u"unchanged   %1"_s.arg(report.address);
        break;
    case Outcome::Failed:
        line = u"failed      %1: %2"_s.arg(report.address, report.error);
        break;
    case Outcome::SubscriptionList:
        line = u"list        %1: %2 feeds"_s.arg(report.address).arg(report.items);
        break;
    }
    std::fprintf(stderr, "%s\n", qPrintable(line));
}

void printSummary(const FeedImport::Summary &summary, const QString &archive)
{
    std::printf("%d feeds: %d new items, %d unchanged, %d failed; archive %s\n", summary.feeds,
                summary.newItems, summary.unchanged, summary.failed, qPrintable(archive));
    std::fflush(stdout);
}

// A number option within bounds, or false after saying what it takes.
bool readNumber(const QCommandLineParser &parser, const QString &name, double low, double high,
                double *out)
{
    if (!parser.isSet(name))
        return true;
    bool ok = false;
    const double value = parser.value(name).toDouble(&ok);
    if (ok && value >= low && value <= high) {
        *out = value;
        return true;
    }
    std::fprintf(stderr, "zorvane-stats: --%s takes a number from %g to %g\n", qPrintable(name),
                 low, high);
    return false;
}

bool readLimits(const QCommandLineParser &parser, qrt::importer::FeedFetcher::Limits *limits,
                double *every)
{
    double timeout = limits->timeoutMs / 1000.0, parallel = limits->parallel,
           maxSize = double(limits->maxBytes) / (1024 * 1024);
    if (!readNumber(parser, u"every"_s, 0.001, 525600, every) ||
        !readNumber(parser, u"timeout"_s, 0.1, 3600, &timeout) ||
        !readNumber(parser, u"max-size"_s, 0.001, 4096, &maxSize) ||
        !readNumber(parser, u"parallel"_s, 1, 64, &parallel))
        return false;
    limits->timeoutMs = int(timeout * 1000);
    limits->maxBytes = qint64(maxSize * 1024 * 1024);
    limits->parallel = int(parallel);
    return true;
}

void wait(double minutes)
{
    QEventLoop loop;
    QTimer::singleShot(qint64(minutes * 60000), &loop, &QEventLoop::quit);
    loop.exec();
}

} // namespace

namespace ImportCommand {

int run(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Imports news feeds into a news archive that the window and every command open.\n"
        "A source is an OPML subscription list (its folders become categories), a feed file\n"
        "(RSS 0.91 to 2.0, RSS 1.0, Atom 1.0) or a feed address (http, https, file).\n"
        "Importing again adds only the new items; an archive is a SQLite file (made when\n"
        "missing) or a PostgreSQL database, of this program's schema or empty.\n\n"
        "  zorvane-stats import subscriptions.opml --into news.db\n"
        "  zorvane-stats news.db"_s);
    parser.addHelpOption();
    parser.addPositionalArgument(u"import"_s, u"The command."_s);
    parser.addPositionalArgument(u"sources"_s, u"OPML files, feed files or feed addresses."_s,
                                 u"SOURCE..."_s);
    parser.addOptions({
        {u"into"_s, u"The archive: a SQLite file or a PostgreSQL connection string."_s, u"DB"_s},
        {u"every"_s, u"Import again every MINUTES until stopped."_s, u"MINUTES"_s},
        {u"timeout"_s, u"Seconds one feed may take (default 30)."_s, u"SECONDS"_s},
        {u"max-size"_s, u"Largest feed in MiB (default 16)."_s, u"MIB"_s},
        {u"parallel"_s, u"Feeds fetched at once (default 6)."_s, u"N"_s},
    });
    parser.process(arguments);
    const QStringList sources = parser.positionalArguments().mid(1);
    if (sources.isEmpty() || !parser.isSet(u"into"_s)) {
        std::fputs(qPrintable(parser.helpText()), stderr);
        return 2;
    }
    qrt::importer::FeedFetcher::Limits limits;
    double every = 0;
    if (!readLimits(parser, &limits, &every))
        return 2;

    const QString target = parser.value(u"into"_s);
    // A server's connection string may hold a password: name only files.
    const auto cs = qrt::db::ConnectionString::parse(target);
    const QString where = cs.engine == qrt::db::Engine::SQLite ? cs.database : u"database"_s;
    // The archive is opened for each run and let go between runs, so it
    // rests as a plain file while the next run waits.
    for (bool first = true;; first = false) {
        qrt::importer::ArchiveWriter archive;
        QString error;
        if (!archive.open(target, &error)) {
            std::fprintf(stderr, "zorvane-stats: cannot import into %s: %s\n", qPrintable(where),
                         qPrintable(error));
            if (every <= 0 || first) // a later run may find it locked for a while
                return 1;
        } else {
            const FeedImport::Summary summary =
                FeedImport(archive, limits).run(sources, &printReport);
            printSummary(summary, where);
            if (every <= 0)
                return summary.failed ? 1 : 0;
        }
        wait(every);
    }
}

} // namespace ImportCommand
