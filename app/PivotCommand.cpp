#include "PivotCommand.h"

#include "ProgressLine.h"
#include "pivotviews/PivotAggregator.h"
#include "pivotviews/PivotData.h"
#include "pivotviews/PivotLayoutText.h"
#include "pivotviews/PivotLoad.h"
#include "pivotviews/PivotPage.h"
#include "pivotviews/PivotPageRun.h"
#include "pivotviews/PivotResult.h"
#include "pivotviews/PivotResultWriter.h"
#include "pivotviews/PivotStatement.h"
#include "pivotviews/PivotView.h"
#include "settings/CAppSettings.h"

#include <QCommandLineParser>
#include <QEventLoop>

#include <cstdio>

using namespace Qt::StringLiterals;
using namespace qrt::pivot;

namespace {

const QString kLayoutHelp = uR"help(
LAYOUT: field sets separated by ';', each NAME[FIELD,...](FIELD=MEMBER|MEMBER)...
  [..]    the included fields (all when left out)
  (F=..)  only these members of field F; (F!=..) all but these
  MEMBER  the captions from the top down, separated by '/', e.g. 2024/Qtr1/Jan
TOTAL: CAPTION=FUNCTION(FIELDSET), separated by ';'; FUNCTION is Sum, Count,
  Min, Max or Average (default "Count of News=Count(News)").
Example:
  zorvane-stats pivot news.db --rows "NewsDate By Month[Months]" --columns Provider \
      --filter "Category(Category=World|Sports)"
)help"_s;

std::shared_ptr<const PivotData> load(const QString &connection, const QString &command)
{
    PivotLoad load(connection, command);
    ProgressLine line;
    QObject::connect(&load, &PivotLoad::progress, [&line](qint64 rows) {
        if (rows > 0)
            line.show(u"reading rows: %1"_s.arg(rows));
    });
    if (!load.isFinished()) {
        QEventLoop loop;
        QObject::connect(&load, &PivotLoad::finished, &loop, &QEventLoop::quit);
        loop.exec();
    }
    line.finish();
    if (!load.data())
        std::fprintf(stderr, "zorvane-stats: cannot load the rows: %s\n", qPrintable(load.error()));
    return load.data();
}

int printGrid(const PivotView &view, const QString &format)
{
    const PivotResult result = PivotAggregator::run(view);
    const QString text =
        format == u"json"_s ? PivotResultWriter::json(result) : PivotResultWriter::csv(result);
    std::fputs(text.toUtf8().constData(), stdout);
    return 0;
}

// The layout the window's pivot table would restore: the page it writes
// from the stored STATMSTABLE values, run against the loaded view. A
// layout that stops part-way is shown as far as it went, as in the window.
void applyStoredLayout(PivotView &view, const QString &connection)
{
    CAppSettings settings;
    settings.Init(u"Koltrin"_s, u"Zorvane"_s);
    const auto outcome = runPivotPage(PivotPage::BuildPivotPage(settings, connection), view);
    if (outcome.isFailed())
        std::fprintf(stderr, "zorvane-stats: the stored layout stops at %s\n",
                     qPrintable(outcome.text()));
}

} // namespace

namespace PivotCommand {

int run(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Prints the grid of a pivot layout over the news database."_s + kLayoutHelp);
    parser.addHelpOption();
    parser.addPositionalArgument(u"pivot"_s, u"The command."_s);
    parser.addPositionalArgument(u"connection"_s, u"A SQLite file or a connection string."_s);
    parser.addOptions({
        {u"rows"_s, u"Field sets on the row axis."_s, u"LAYOUT"_s},
        {u"columns"_s, u"Field sets on the column axis."_s, u"LAYOUT"_s},
        {u"filter"_s, u"Field sets on the filter axis."_s, u"LAYOUT"_s},
        {u"total"_s, u"The totals."_s, u"TOTAL"_s, u"Count of News=Count(News)"_s},
        {u"format"_s, u"csv (default) or json."_s, u"FORMAT"_s, u"csv"_s},
        {u"command"_s, u"Another statement to pivot."_s, u"SQL"_s},
        {u"layout-from-settings"_s,
         u"The layout the window's pivot table restores (the stored STATMSTABLE values) "
         "instead of --rows, --columns, --filter and --total."_s},
    });
    parser.process(arguments);
    const QString format = parser.value(u"format"_s);
    if (parser.positionalArguments().size() != 2 || (format != u"csv"_s && format != u"json"_s)) {
        std::fputs(qPrintable(parser.helpText()), stderr);
        return 2;
    }
    const std::shared_ptr<const PivotData> data =
        load(parser.positionalArguments().at(1),
             parser.isSet(u"command"_s) ? parser.value(u"command"_s) : pivotStatement());
    if (!data)
        return 1;
    PivotView view(data);
    try {
        if (parser.isSet(u"layout-from-settings"_s)) {
            applyStoredLayout(view, parser.positionalArguments().at(1));
            return printGrid(view, format);
        }
        PivotLayoutText::applyFieldSets(view, view.FilterAxis(), parser.value(u"filter"_s));
        PivotLayoutText::applyFieldSets(view, view.RowAxis(), parser.value(u"rows"_s));
        PivotLayoutText::applyFieldSets(view, view.ColumnAxis(), parser.value(u"columns"_s));
        PivotLayoutText::applyTotals(view, parser.value(u"total"_s));
        return printGrid(view, format);
    } catch (const PivotError &error) {
        std::fprintf(stderr, "zorvane-stats: %s\n", qPrintable(error.description));
        return 2;
    }
}

} // namespace PivotCommand
