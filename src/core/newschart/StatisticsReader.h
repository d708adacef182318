#pragma once
// Reads the rows the news chart is built from. The literal statistics
// statement groups by the full publication time, so it returns about one row
// per news item and makes the engine sort them all; on engines we know, a
// faster statement gives the same chart: one row per series and calendar
// day, with the day's count and its earliest and latest time. Any other
// engine, and any grouping we don't recognise, gets the literal statement.

#include <QHash>
#include <QString>

#include <memory>
#include <vector>

namespace qrt::db {
class Connection;
}

namespace qrt::chart {

struct DayRow;

enum class StatisticsMode {
    Fastest, // the fastest statement that gives the same chart
    Literal, // always the statistics statement as written
};

enum class StatisticsPath {
    None,             // nothing could be read
    Literal,          // the statement as written, one row per group
    SqliteNewsScan,   // series of each channel first, then one pass over News
    SqliteJoinedScan, // one pass over the joined, filtered rows
    PostgresDaily,    // the server groups by series and day
    Memory,           // the window's per-day counts of each channel
};

QString pathName(StatisticsPath path);

// One row: a series ID, a date and a count. A literal row has one time of
// day; a daily row stands for all rows of its series on one day.
struct StatisticsRow
{
    qint32 seriesId = 0;
    bool dated = false;     // false when the date could not be read
    double pointDate = 0.0; // the row's date, 0 when not dated
    double firstDate = 0.0; // earliest and latest time the row stands for
    double lastDate = 0.0;
    qint64 newsCount = 0;
};

class StatisticsRows
{
public:
    virtual ~StatisticsRows() = default;
    // Fills the next row; false at the end.
    virtual bool next(StatisticsRow &row) = 0;
    // The series name of the current row.
    virtual QString seriesName() const = 0;
    virtual StatisticsPath path() const = 0;
};

namespace StatisticsReader {

// Runs on an open connection. `where` is the whole condition (period
// clause and filter), `order` the ORDER BY text, `chartSeria` the column
// number of the series ID. Never null: a statement that fails gives no rows.
std::unique_ptr<StatisticsRows> Open(db::Connection &connection, const QString &where,
                                     const QString &order, int chartSeria,
                                     StatisticsMode mode = StatisticsMode::Fastest);

// Rows of days gathered elsewhere, ordered by series ID and day, with the
// name of each series.
std::unique_ptr<StatisticsRows> FromDays(std::vector<DayRow> rows, QHash<qint64, QString> names,
                                         StatisticsPath path);

} // namespace StatisticsReader

} // namespace qrt::chart
