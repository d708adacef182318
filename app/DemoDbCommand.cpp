#include "DemoDbCommand.h"

#include "ProgressLine.h"
#include "db/ConnectionString.h"
#include "demodata/DemoDatabase.h"

#include <QCommandLineParser>
#include <QElapsedTimer>

#include <cstdio>
#include <memory>

using namespace Qt::StringLiterals;
using qrt::db::DemoDatabase;

namespace {

DemoDatabase::Progress progressOnStderr()
{
    auto line = std::make_shared<ProgressLine>();
    return [line](qint64 done, qint64 total) {
        const int percent = total ? static_cast<int>(100 * done / total) : 100;
        line->show(u"writing news items: %1%"_s.arg(percent, 3));
        if (done == total)
            line->finish();
        return true;
    };
}

bool readNumber(const QCommandLineParser &parser, const QString &name, qint64 &out)
{
    if (!parser.isSet(name))
        return true;
    bool ok = false;
    out = parser.value(name).toLongLong(&ok);
    if (!ok || out < 0)
        std::fprintf(stderr, "zorvane-stats: --%s takes a whole number\n", qPrintable(name));
    return ok && out >= 0;
}

} // namespace

namespace DemoDbCommand {

bool create(const QString &target, qint64 items, QString *error)
{
    DemoDatabase::Options options;
    options.items = items;
    return DemoDatabase::create(target, options, error, progressOnStderr());
}

int run(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(u"Creates a demo news database."_s);
    parser.addHelpOption();
    parser.addPositionalArgument(u"demo-db"_s, u"The command."_s);
    parser.addPositionalArgument(u"target"_s,
                                 u"A SQLite file or a PostgreSQL connection string."_s);
    parser.addOptions({
        {u"items"_s, u"Number of news items (default 200000)."_s, u"N"_s},
        {u"seed"_s, u"Seed of the random content (default 1)."_s, u"S"_s},
        {u"until"_s, u"Last day with news, yyyy-MM-dd (default today)."_s, u"DATE"_s},
        {u"days"_s, u"Days of news, ending on --until (default 1460)."_s, u"N"_s},
        {u"replace"_s, u"Replace an existing database."_s},
    });
    parser.process(arguments);
    if (parser.positionalArguments().size() != 2) {
        std::fputs(qPrintable(parser.helpText()), stderr);
        return 2;
    }
    DemoDatabase::Options options;
    qint64 items = options.items, seed = 1, days = options.days;
    if (!readNumber(parser, u"items"_s, items) || !readNumber(parser, u"seed"_s, seed) ||
        !readNumber(parser, u"days"_s, days))
        return 2;
    options.items = items;
    options.seed = static_cast<quint64>(seed);
    options.days = static_cast<int>(days);
    options.replace = parser.isSet(u"replace"_s);
    if (parser.isSet(u"until"_s)) {
        options.until = QDate::fromString(parser.value(u"until"_s), Qt::ISODate);
        if (!options.until.isValid()) {
            std::fputs("zorvane-stats: --until takes a date as yyyy-MM-dd\n", stderr);
            return 2;
        }
    }
    const QString target = parser.positionalArguments().at(1);
    QElapsedTimer timer;
    timer.start();
    QString error;
    if (!DemoDatabase::create(target, options, &error, progressOnStderr())) {
        std::fprintf(stderr, "\nzorvane-stats: cannot create the demo database: %s\n",
                     qPrintable(error));
        return 1;
    }
    // A server's connection string may hold a password: name only files.
    const auto cs = qrt::db::ConnectionString::parse(target);
    const QString where = cs.engine == qrt::db::Engine::SQLite ? cs.database : u"the database"_s;
    std::printf("%lld news items written to %s in %.1f s\n", static_cast<long long>(items),
                qPrintable(where), timer.elapsed() / 1000.0);
    return 0;
}

} // namespace DemoDbCommand
