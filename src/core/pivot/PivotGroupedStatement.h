#pragma once
// The statement of a grouped load: the page's statement, unchanged, as a
// common table expression whose columns are renamed by position, grouped
// by its columns at the grain asked for (in the engine, or on SQLite as
// the rows arrive, see cutDate()), with the number of rows of each
// group and, for a column of nearly unique texts, the number of its
// non-blank values. Only standard grouping and the engine's own date
// functions, so an engine that spreads a table over many machines runs it
// where the rows are.
//
// Dates. On SQLite a date is text in one of several ISO forms. The three
// plain forms ("2025-01-31", "2025-01-31 10:00", "2025-01-31 10:00:00", also
// with a 'T') are cut to the day, hour or minute as text; any other text
// goes through whole, and the load reads every kept text with the same
// date parser as a load of all rows, so a day that does not exist turns the
// column into text exactly as it would there. On PostgreSQL a timestamp is
// cut with date_trunc; a date kept as text is grouped as it is.

#include "db/ConnectionString.h"
#include "pivot/PivotGrain.h"

#include <QString>
#include <QStringList>

#include <string>
#include <string_view>
#include <vector>

namespace qrt::pivot::PivotGroupedStatement {

// What the first rows of the statement say about one of its columns.
struct Sample
{
    QString name;
    int nonBlank = 0;
    int distinct = 0;
    int dateTexts = 0;  // texts our date parser reads
    int dateValues = 0; // values the engine gives as dates
};

// How the grouped statement gives a column.
struct Column
{
    enum class Kind { Value, Date, Count } kind = Kind::Value;
    PivotGrain::Time time = PivotGrain::Time::Exact; // Date only
};

// The rows read to decide the plan.
constexpr int SampleRows = 2000;

std::vector<Column> plan(const std::vector<Sample> &samples, const PivotGrain &grain,
                         db::Engine engine);
// The grain a load by this plan holds.
PivotGrain heldGrain(const std::vector<Sample> &samples, const std::vector<Column> &plan);

// A server's timestamp x cut to the time (date_trunc).
QString serverDate(const QString &x, PivotGrain::Time time);
// The statement without the ';' that may end it, ready to be nested.
QString nestable(const QString &statement);
// The first rows, for the sample (engines that fetch a whole result at once).
QString sampleStatement(const QString &statement);
// The grouped statement of a server engine over an already translated
// statement: one column per planned column, in order, then the number of
// rows of the group. The plan groups by at least one column.
QString statement(const QString &statement, const std::vector<Column> &plan);
// SQLite's side of the same: SQLite groups by sorting every row, several
// times the cost of the scan, and computing a cut date in SQL for every row
// costs as much as the scan again. It runs in this process, so the load
// steps the page's statement itself and groups the rows in a hash table as
// they come, with each date text cut here: the day, hour or minute of a
// plain form (`scratch` holds an hour's text), any other text whole.
std::string_view cutDate(std::string_view text, PivotGrain::Time time, std::string &scratch);

} // namespace qrt::pivot::PivotGroupedStatement
