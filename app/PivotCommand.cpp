#include "PivotCommand.h"

#include "OptionScan.h"
#include "ProgressLine.h"
#include "SizeOption.h"
#include "controls/pivot/PivotChartView.h"
#include "pivot/PivotAggregator.h"
#include "pivot/PivotChartData.h"
#include "pivot/PivotData.h"
#include "pivot/PivotGrain.h"
#include "pivot/PivotLayoutText.h"
#include "pivot/PivotLoad.h"
#include "pivot/PivotResult.h"
#include "pivot/PivotResultWriter.h"
#include "pivot/PivotView.h"
#include "pivotpage/PivotChartLayout.h"
#include "pivotpage/PivotMemberParser.h"
#include "pivotpage/PivotPage.h"
#include "pivotpage/PivotPageRun.h"
#include "pivot/PivotStatement.h"
#include "settings/CAppSettings.h"

#include <QCommandLineParser>
#include <QEventLoop>
#include <QFileInfo>

#include <cstdio>
#include <optional>

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

std::shared_ptr<const PivotData> load(const QString &connection, const QString &command,
                                      const PivotGrain &grain)
{
    PivotLoad load(connection, command, grain);
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

struct ChartOptions
{
    QString path;
    QSize size{592, 338}; // the chart tab at the window's design size
    qrt::pivot::PivotChartLayout::Options options;
    int plotAggregates = PivotChartData::FirstTotal;
};

// The layout and the chart keys the window's pivot chart restores, members
// that no longer exist passed over.
void applyStoredChartLayout(PivotView &view, ChartOptions &chart, bool typeGiven)
{
    namespace Layout = qrt::pivot::PivotChartLayout;
    CAppSettings settings;
    settings.Init(u"Koltrin"_s, u"Zorvane"_s);
    const int type = chart.options.type;
    chart.options = Layout::readOptions(settings);
    if (typeGiven)
        chart.options.type = type;
    chart.plotAggregates = PivotChartData::AllTotals; // as the window's chart space
    Layout::RestoreChartAxes(
        settings, view, [](const PivotMembers &root, const QString &path, const QString &members) {
            return PivotMemberParser().ParseMembers(root, path, members);
        });
}

int writeChart(const PivotView &view, const ChartOptions &chart)
{
    PivotChartView plot;
    plot.resize(chart.size);
    plot.setChartType(chart.options.type);
    plot.setLegendShown(chart.options.legend);
    plot.setChartData(PivotChartData::from(PivotAggregator::run(view), chart.options.seriesByRows,
                                           chart.plotAggregates));
    QString why;
    if (plot.exportTo(chart.path, chart.size, &why))
        return 0;
    std::fprintf(stderr, "zorvane-stats: %s\n", qPrintable(why));
    return 1;
}

// The chart options of the command line, or nothing (with the reason
// written) when one of them is malformed.
std::optional<ChartOptions> chartOptions(const QCommandLineParser &parser)
{
    ChartOptions chart;
    chart.path = parser.value(u"chart"_s);
    const QString suffix = QFileInfo(chart.path).suffix().toLower();
    if (suffix != u"png"_s && suffix != u"svg"_s && suffix != u"pdf"_s) {
        std::fputs("zorvane-stats: --chart writes .png, .svg or .pdf\n", stderr);
        return std::nullopt;
    }
    bool ok = true;
    if (parser.isSet(u"type"_s))
        chart.options.type = parser.value(u"type"_s).toInt(&ok);
    if (!ok) {
        std::fputs("zorvane-stats: --type takes a chart type number\n", stderr);
        return std::nullopt;
    }
    if (parser.isSet(u"size"_s)) {
        const auto size = parseSizeOption(parser.value(u"size"_s));
        if (!size) {
            std::fputs("zorvane-stats: --size takes WIDTHxHEIGHT in pixels, e.g. 592x338\n",
                       stderr);
            return std::nullopt;
        }
        chart.size = *size;
    }
    chart.options.seriesByRows = parser.isSet(u"series-by-rows"_s);
    chart.options.legend = !parser.isSet(u"no-legend"_s);
    if (parser.isSet(u"all-totals"_s))
        chart.plotAggregates = PivotChartData::AllTotals;
    return chart;
}

int printOrDraw(const PivotView &view, const QString &format, const ChartOptions *chart)
{
    return chart ? writeChart(view, *chart) : printGrid(view, format);
}

} // namespace

namespace PivotCommand {

bool needsWidgets(const QStringList &arguments)
{
    return optionGiven(arguments, u"chart"_s);
}

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
         "instead of --rows, --columns, --filter and --total; with --chart, the layout and "
         "chart keys of the window's pivot chart (STATMSCHART)."_s},
        {u"chart"_s, u"Draw the chart of the layout to an image: .png, .svg or .pdf."_s, u"FILE"_s},
        {u"type"_s,
         u"Chart type by number (default 7, line with markers; 0 columns, 3 bars, "
         "6 lines, 18 pie, 29 area, 32 doughnut, ...)."_s,
         u"N"_s},
        {u"size"_s, u"Chart size in pixels (default 592x338)."_s, u"WxH"_s},
        {u"series-by-rows"_s, u"Series from the row members, categories from the columns."_s},
        {u"all-totals"_s, u"Plot every total, not only the first."_s},
        {u"no-legend"_s, u"Leave out the legend."_s},
    });
    parser.process(arguments);
    const QString format = parser.value(u"format"_s);
    if (parser.positionalArguments().size() != 2 || (format != u"csv"_s && format != u"json"_s)) {
        std::fputs(qPrintable(parser.helpText()), stderr);
        return 2;
    }
    std::optional<ChartOptions> chart;
    if (parser.isSet(u"chart"_s)) {
        chart = chartOptions(parser);
        if (!chart)
            return 2;
    }
    const QString connection = parser.positionalArguments().at(1);
    const QString command =
        parser.isSet(u"command"_s) ? parser.value(u"command"_s) : pivotStatement();
    // The layout first goes on the rows grouped by day; a layout that asks
    // for more (hours, titles, a member below the day) gets the grain it
    // needs, or every row when a member it names is not in the grouped rows.
    const auto layOut = [&](PivotView &view) {
        if (parser.isSet(u"layout-from-settings"_s)) {
            if (chart)
                applyStoredChartLayout(view, *chart, parser.isSet(u"type"_s));
            else
                applyStoredLayout(view, connection);
            return;
        }
        PivotLayoutText::applyFieldSets(view, view.FilterAxis(), parser.value(u"filter"_s));
        PivotLayoutText::applyFieldSets(view, view.RowAxis(), parser.value(u"rows"_s));
        PivotLayoutText::applyFieldSets(view, view.ColumnAxis(), parser.value(u"columns"_s));
        PivotLayoutText::applyTotals(view, parser.value(u"total"_s));
    };
    std::shared_ptr<const PivotData> data = load(connection, command, PivotGrain());
    if (!data)
        return 1;
    try {
        auto view = std::make_unique<PivotView>(data);
        try {
            layOut(*view);
        } catch (const PivotError &) {
            if (data->grain().isAllRows())
                throw;
            if (!(data = load(connection, command, PivotGrain::allRows())))
                return 1;
            view = std::make_unique<PivotView>(data);
            layOut(*view);
        }
        if (const PivotGrain needed = PivotGrain::of(*view); !data->covers(needed)) {
            if (!(data = load(connection, command, needed)) || !view->setData(data))
                return 1;
        }
        return printOrDraw(*view, format, chart ? &*chart : nullptr);
    } catch (const PivotError &error) {
        std::fprintf(stderr, "zorvane-stats: %s\n", qPrintable(error.description));
        return 2;
    }
}

} // namespace PivotCommand
