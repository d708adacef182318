#include "pivot/PivotLoader.h"

#include "base/Dates.h"
#include "db/Connection.h"
#include "db/Dialect.h"
#include "db/NewsHalves.h"
#include "db/Recordset.h"
#include "db/StatementGuard.h"
#include "db/StatementInterrupt.h"
#include "pivot/PivotColumnBuilder.h"
#include "pivot/PivotData.h"
#include "pivot/PivotGroupTable.h"
#include "pivot/PivotGroupedStatement.h"
#include "pivot/PivotNewsCells.h"
#include "pivot/PivotRowRanges.h"

#include <QSet>

#include <sqlite3.h>

#ifdef __GLIBC__
#include <malloc.h>
#endif
#include <algorithm>
#include <array>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

namespace qrt::pivot {

namespace {

using Builders = std::vector<PivotColumnBuilder>;

// Rows from which a load hands its scratch memory back to the system.
constexpr qint64 kTrimRows = 100000;

bool reportProgress(const PivotLoader::Progress &progress, qint64 rows)
{
    return !progress || progress(rows);
}

// Rows on their way from the statement to the builders: SQLite steps on one
// thread while the dictionaries grow on another, each about half the work.
struct Batch
{
    struct Value
    {
        double number;
        std::size_t offset;
        std::size_t length;
        int type;
    };
    static constexpr int Rows = 4096;
    std::string bytes;         // the text values, back to back
    std::vector<Value> values; // row by row, column by column
    int rows = 0;
};

class BatchQueue
{
public:
    BatchQueue()
    {
        for (Batch &batch : m_batches)
            m_empty.push_back(&batch);
    }

    // The reader's side; null once the other side stopped.
    Batch *empty()
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return !m_empty.empty() || m_stopped; });
        if (m_stopped)
            return nullptr;
        Batch *batch = m_empty.front();
        m_empty.pop_front();
        batch->bytes.clear();
        batch->values.clear();
        batch->rows = 0;
        return batch;
    }
    void push(Batch *batch) { hand(m_full, batch); }
    void finish()
    {
        const std::lock_guard lock(m_mutex);
        m_finished = true;
        m_changed.notify_all();
    }
    void stop()
    {
        const std::lock_guard lock(m_mutex);
        m_stopped = true;
        m_changed.notify_all();
    }

    // The builders' side; null at the end.
    Batch *full()
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return !m_full.empty() || m_finished || m_stopped; });
        if (m_stopped || m_full.empty())
            return nullptr;
        Batch *batch = m_full.front();
        m_full.pop_front();
        return batch;
    }
    void recycle(Batch *batch) { hand(m_empty, batch); }

private:
    void hand(std::deque<Batch *> &to, Batch *batch)
    {
        const std::lock_guard lock(m_mutex);
        to.push_back(batch);
        m_changed.notify_all();
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::array<Batch, 6> m_batches;
    std::deque<Batch *> m_empty;
    std::deque<Batch *> m_full;
    bool m_finished = false;
    bool m_stopped = false;
};

// A row of a load of all rows, its texts copied into the batch.
void readRow(sqlite3_stmt *stmt, int columns, Batch &batch)
{
    for (int c = 0; c < columns; ++c) {
        Batch::Value value{0, 0, 0, sqlite3_column_type(stmt, c)};
        switch (value.type) {
        case SQLITE_INTEGER:
            value.number = static_cast<double>(sqlite3_column_int64(stmt, c));
            break;
        case SQLITE_FLOAT:
            value.number = sqlite3_column_double(stmt, c);
            break;
        case SQLITE_TEXT:
        case SQLITE_BLOB: {
            value.type = SQLITE_TEXT;
            const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(stmt, c));
            value.offset = batch.bytes.size();
            value.length = static_cast<std::size_t>(sqlite3_column_bytes(stmt, c));
            batch.bytes.append(text, value.length);
            break;
        }
        default:
            break;
        }
        batch.values.push_back(value);
    }
    ++batch.rows;
}

// A row of a merging load, its texts pointing into SQLite's own buffers
// until the next step. A column kept by its count gives 1 or 0 (a
// non-blank value or not), the long texts it holds are not looked at.
void readRow(sqlite3_stmt *stmt, int columns, const std::vector<bool> &counted,
             std::vector<PivotGroupTable::Value> &row)
{
    using Type = PivotGroupTable::Value::Type;
    row.resize(static_cast<std::size_t>(columns));
    for (int c = 0; c < columns; ++c) {
        PivotGroupTable::Value &value = row[static_cast<std::size_t>(c)];
        const int type = sqlite3_column_type(stmt, c);
        value.type = type == SQLITE_NULL ? Type::Null : Type::Number;
        if (static_cast<std::size_t>(c) < counted.size() && counted[static_cast<std::size_t>(c)]) {
            value.number = type == SQLITE_TEXT || type == SQLITE_BLOB
                               ? (sqlite3_column_bytes(stmt, c) > 0 ? 1 : 0)
                               : 1;
        } else if (type == SQLITE_INTEGER) {
            value.number = static_cast<double>(sqlite3_column_int64(stmt, c));
        } else if (type == SQLITE_FLOAT) {
            value.number = sqlite3_column_double(stmt, c);
        } else if (type != SQLITE_NULL) {
            value.type = Type::Text;
            const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(stmt, c));
            value.text =
                std::string_view(text, static_cast<std::size_t>(sqlite3_column_bytes(stmt, c)));
        }
    }
}

// Where the values of a load go: one builder per column of the statement;
// a grouped load also gives each row's weight and, for a column kept by
// its counts, the count instead of a value.
class Sink
{
public:
    using Kind = PivotGroupedStatement::Column::Kind;

    Sink() = default;
    // `merging`: the rows come one by one and are grouped here.
    Sink(const std::vector<PivotGroupedStatement::Sample> &samples,
         const std::vector<PivotGroupedStatement::Column> &plan, bool merging)
        : m_merging(merging)
    {
        for (std::size_t i = 0; i < samples.size(); ++i) {
            m_builders.emplace_back(samples[i].name);
            m_kinds.push_back(plan[i].kind);
            m_times.push_back(plan[i].time);
            m_counted.push_back(merging && plan[i].kind == Kind::Count);
        }
    }

    // The columns a merging load reads as 1 or 0.
    const std::vector<bool> &counted() const { return m_counted; }

    bool isGrouped() const { return !m_kinds.empty(); }
    bool isMerging() const { return m_merging; }

    // One group: its values, a counted column's count as its number, and
    // the number of its rows.
    void addGroup(const std::vector<PivotGroupTable::Value> &row, quint32 rows)
    {
        using Type = PivotGroupTable::Value::Type;
        for (std::size_t c = 0; c < m_builders.size(); ++c) {
            if (m_kinds[c] == Kind::Count)
                m_builders[c].addCount(static_cast<quint32>(row[c].number));
            else if (row[c].type == Type::Text)
                m_builders[c].addText(row[c].text);
            else if (row[c].type == Type::Number)
                m_builders[c].addNumber(row[c].number);
            else
                m_builders[c].addNull();
        }
        count(m_builders.size(), rows);
    }

    // A merging load's own table, one per reading thread.
    PivotGroupTable newTable() const { return PivotGroupTable(m_kinds, m_times); }
    // The merged groups, which finish() hands to the builders.
    void setGroups(PivotGroupTable &&groups) { m_groups.emplace(std::move(groups)); }

    void add(std::size_t c, const Batch::Value &value, std::string_view bytes)
    {
        switch (value.type) {
        case SQLITE_INTEGER:
        case SQLITE_FLOAT:
            return number(c, value.number);
        case SQLITE_TEXT:
            return text(c, bytes.substr(value.offset, value.length));
        default:
            return null(c);
        }
    }
    // Names the columns of an all-rows load once the statement is ready.
    void name(const QString &column)
    {
        if (!isGrouped())
            m_builders.emplace_back(column);
    }
    std::size_t columnCount() const
    {
        return m_builders.size() + (isGrouped() && !m_merging ? 1 : 0);
    }

    void number(std::size_t c, double value)
    {
        if (isCount(c))
            return count(c, value);
        m_builders[c].addNumber(value);
    }
    void text(std::size_t c, std::string_view utf8)
    {
        if (isCount(c))
            return count(c, 0);
        m_builders[c].addText(utf8);
    }
    void null(std::size_t c)
    {
        if (isCount(c))
            return count(c, 0);
        m_builders[c].addNull();
    }
    void variant(std::size_t c, const QVariant &value)
    {
        if (isCount(c))
            return count(c, value.toDouble());
        m_builders[c].addVariant(value);
    }

    std::vector<PivotColumn> finish()
    {
        if (m_groups)
            addGroups(*std::exchange(m_groups, std::nullopt));
        std::vector<PivotColumn> columns;
        columns.reserve(m_builders.size());
        for (PivotColumnBuilder &builder : m_builders)
            columns.push_back(builder.finish());
        m_builders.clear();
        return columns;
    }
    std::vector<std::vector<quint32>> takeWeights() { return std::move(m_weights); }

private:
    void addGroups(const PivotGroupTable &groups)
    {
        std::vector<PivotGroupTable::Value> row;
        for (std::size_t g = 0; g < groups.size(); ++g) {
            groups.values(g, row);
            for (std::size_t c = 0; c < m_builders.size(); ++c)
                if (m_kinds[c] == Kind::Count)
                    row[c].number = groups.count(g, c);
            addGroup(row, groups.rows(g));
        }
    }

    bool isCount(std::size_t c) const
    {
        return isGrouped() && (c >= m_builders.size() || m_kinds[c] == Kind::Count);
    }
    void count(std::size_t c, double value)
    {
        const auto n = static_cast<quint32>(std::max(0.0, value));
        if (c < m_builders.size())
            return m_builders[c].addCount(n);
        if (m_weights.empty() || m_weights.back().size() == std::size_t(PivotColumn::ChunkRows))
            m_weights.emplace_back().reserve(PivotColumn::ChunkRows);
        m_weights.back().push_back(n);
    }

    Builders m_builders;
    std::vector<Kind> m_kinds;
    std::vector<PivotGrain::Time> m_times;
    std::vector<bool> m_counted;
    std::vector<std::vector<quint32>> m_weights;
    bool m_merging = false;
    std::optional<PivotGroupTable> m_groups;
};

void encode(const Batch &batch, Sink &sink)
{
    const std::size_t columns = sink.columnCount();
    const std::string_view bytes(batch.bytes);
    for (std::size_t i = 0; i < batch.values.size(); ++i)
        sink.add(i % columns, batch.values[i], bytes);
}

sqlite3_stmt *prepareSqlite(sqlite3 *handle, const QString &sql, QString *error)
{
    const QByteArray text = sql.toUtf8();
    sqlite3_stmt *stmt = nullptr;
    const char *tail = nullptr;
    const int prepared =
        sqlite3_prepare_v2(handle, text.constData(), static_cast<int>(text.size()), &stmt, &tail);
    if (prepared != SQLITE_OK || !stmt) {
        // A file that is no database fails here, before any statement is read.
        *error = u"statement refused: "_s + (prepared != SQLITE_OK
                                                 ? QString::fromUtf8(sqlite3_errmsg(handle))
                                                 : u"the statement is empty"_s);
        sqlite3_finalize(stmt);
        return nullptr;
    }
    if (tail && !QByteArray(tail).trimmed().isEmpty()) {
        *error = u"statement refused: more than one statement"_s;
        sqlite3_finalize(stmt);
        return nullptr;
    }
    return stmt;
}

// One statement to step, on a connection of its own.
struct Part
{
    sqlite3 *handle = nullptr;
    sqlite3_stmt *stmt = nullptr;
    int rc = SQLITE_DONE;
    bool cancelled = false;
    std::atomic<qint64> rows = 0; // published a batch at a time, for the progress
};

// Rows of a load of all rows, copied into batches for the thread that
// encodes them.
class BatchWriter
{
public:
    explicit BatchWriter(BatchQueue &queue)
        : m_queue(queue)
    {}
    // False once the other side stopped.
    bool take(sqlite3_stmt *stmt, int columns)
    {
        if (!m_batch && !(m_batch = m_queue.empty()))
            return false;
        readRow(stmt, columns, *m_batch);
        if (m_batch->rows == Batch::Rows)
            m_queue.push(std::exchange(m_batch, nullptr));
        return true;
    }
    void end(bool done)
    {
        if (m_batch)
            done ? m_queue.push(m_batch) : m_queue.recycle(m_batch);
    }

private:
    BatchQueue &m_queue;
    Batch *m_batch = nullptr;
};

// Rows of a merging load, grouped where they are read.
class TableWriter
{
public:
    TableWriter(PivotGroupTable table, const std::vector<bool> &counted)
        : table(std::move(table))
        , m_counted(counted)
    {}
    bool take(sqlite3_stmt *stmt, int columns)
    {
        readRow(stmt, columns, m_counted, m_row);
        table.add(m_row);
        return true;
    }
    void end(bool) {}

    PivotGroupTable table;

private:
    const std::vector<bool> &m_counted;
    std::vector<PivotGroupTable::Value> m_row;
};

// Steps a part into its writer until its end, an error, the other part's
// failure (`stop`) or a cancel from `progress`, which only one part is given.
template<typename Writer>
void step(Part &part, Writer &writer, std::atomic<bool> &stop,
          const std::function<bool(qint64 rows)> &progress)
{
    const int columns = sqlite3_column_count(part.stmt);
    qint64 rows = 0;
    while (!stop && (part.rc = sqlite3_step(part.stmt)) == SQLITE_ROW) {
        if (!writer.take(part.stmt, columns))
            break;
        if (++rows % Batch::Rows == 0)
            part.rows = rows;
        if (rows % PivotLoader::ProgressStep == 0 && progress && !progress(rows)) {
            part.cancelled = true;
            break;
        }
    }
    const bool done = part.rc == SQLITE_DONE && !part.cancelled;
    writer.end(done);
    part.rows = rows;
    if (!done)
        stop = true;
}

// Steps the parts at once, each on a thread of its own.
template<typename Writer>
void stepParts(std::array<Part, 2> &parts, std::size_t count, std::array<Writer, 2> &writers,
               const PivotLoader::Progress &progress)
{
    std::atomic<bool> stop = false;
    std::thread second;
    if (count > 1)
        second = std::thread([&] { step(parts[1], writers[1], stop, {}); });
    step(parts[0], writers[0], stop, [&](qint64 rows) {
        return reportProgress(progress, rows + (count > 1 ? parts[1].rows.load() : 0));
    });
    if (second.joinable())
        second.join();
}

// Whether every part was read to its end; if not, why. The parts'
// statements are done with.
bool finishParts(std::array<Part, 2> &parts, std::size_t count, QString *error)
{
    const bool read = std::all_of(parts.begin(), parts.begin() + count, [](const Part &part) {
        return part.rc == SQLITE_DONE && !part.cancelled;
    });
    for (std::size_t i = 0; i < count && !read; ++i) {
        if (parts[i].cancelled)
            *error = PivotLoader::cancelledText();
        else if (parts[i].rc != SQLITE_DONE && parts[i].rc != SQLITE_ROW && error->isEmpty())
            *error =
                u"reading rows failed: "_s + QString::fromUtf8(sqlite3_errmsg(parts[i].handle));
    }
    if (!read && error->isEmpty())
        *error = u"reading rows failed"_s;
    for (std::size_t i = 0; i < count; ++i)
        sqlite3_finalize(std::exchange(parts[i].stmt, nullptr));
    return read;
}

// A merging load groups on the reading threads and adds the tables up at
// the end; a load of all rows encodes its batches on a thread of its own.
bool readParts(std::array<Part, 2> &parts, std::size_t count, Sink &sink,
               const PivotLoader::Progress &progress, QString *error)
{
    const auto done = [&] {
        return std::all_of(parts.begin(), parts.begin() + count, [](const Part &part) {
            return part.rc == SQLITE_DONE && !part.cancelled;
        });
    };
    if (sink.isMerging()) {
        std::array<TableWriter, 2> writers{TableWriter(sink.newTable(), sink.counted()),
                                           TableWriter(sink.newTable(), sink.counted())};
        stepParts(parts, count, writers, progress);
        if (done()) {
            writers[0].table.absorb(writers[1].table);
            sink.setGroups(std::move(writers[0].table));
        }
    } else {
        BatchQueue queue;
        std::thread encoder([&] {
            while (Batch *batch = queue.full()) {
                encode(*batch, sink);
                queue.recycle(batch);
            }
        });
        std::array<BatchWriter, 2> writers{BatchWriter(queue), BatchWriter(queue)};
        stepParts(parts, count, writers, progress);
        done() ? queue.finish() : queue.stop();
        encoder.join();
    }
    return finishParts(parts, count, error);
}

// The SQLite path: one prepared statement (already translated; the
// source's own tables go in front here), values read as the engine keeps them.
bool readSqlite(db::Connection &connection, const QString &sql, Sink &sink,
                const PivotLoader::Progress &progress, QString *error)
{
    std::array<Part, 2> parts;
    parts[0].handle = connection.sqliteHandle();
    parts[0].stmt = prepareSqlite(parts[0].handle, connection.source().apply(sql), error);
    if (!parts[0].stmt)
        return false;
    for (int c = 0; c < sqlite3_column_count(parts[0].stmt); ++c)
        sink.name(QString::fromUtf8(sqlite3_column_name(parts[0].stmt, c)));
    return readParts(parts, 1, sink, progress, error);
}

using RangeStatement = std::function<QString(qint64 after, qint64 upTo)>;

// The two halves of News as two parts, the second on a connection of its
// own, each running the statement of its range of rowids; none when News
// is to be read whole, and -1 when the load was cancelled meanwhile.
int halves(db::Connection &connection, db::Connection &second, const QString &connectionString,
           const RangeStatement &statementOf, db::StatementInterrupt *interrupt,
           std::array<Part, 2> &parts)
{
    std::optional<std::array<qint64, 3>> bounds;
    if (connection.source().isReader() ||
        !(bounds = db::NewsHalves::bounds(connection.sqliteHandle())) ||
        !second.Open(connectionString, db::Connection::Access::ReadOnly,
                     db::Connection::LongStatementTimeoutSeconds) ||
        !second.sqliteHandle() || second.source().isReader())
        return 0;
    db::Connection *connections[] = {&connection, &second};
    const auto finalize = [&parts] {
        for (Part &part : parts)
            sqlite3_finalize(std::exchange(part.stmt, nullptr));
    };
    QString ignored;
    for (std::size_t i = 0; i < 2; ++i) {
        parts[i].handle = connections[i]->sqliteHandle();
        parts[i].stmt =
            prepareSqlite(parts[i].handle, statementOf((*bounds)[i], (*bounds)[i + 1]), &ignored);
    }
    if (!parts[0].stmt || !parts[1].stmt) {
        finalize();
        return 0;
    }
    if (interrupt && !interrupt->arm([one = connection.interrupter(), two = second.interrupter()] {
            one();
            two();
        })) {
        finalize();
        return -1;
    }
    return 2;
}

// A grouped load's rows, in two halves at once where it can.
bool readSqliteGrouped(db::Connection &connection, const QString &connectionString,
                       const QString &sql, Sink &sink, const PivotLoader::Progress &progress,
                       db::StatementInterrupt *interrupt, QString *error)
{
    db::Connection second;
    std::array<Part, 2> parts;
    const int count = PivotRowRanges::readsNewsRowByRow(sql)
                          ? halves(
                                connection, second, connectionString,
                                [&sql](qint64 after, qint64 upTo) {
                                    return PivotRowRanges::over(sql, after, upTo);
                                },
                                interrupt, parts)
                          : 0;
    if (count < 0) {
        *error = PivotLoader::cancelledText();
        return false;
    }
    if (count == 0)
        return readSqlite(connection, sql, sink, progress, error);
    const bool read = readParts(parts, 2, sink, progress, error);
    if (interrupt)
        interrupt->arm(connection.interrupter());
    return read;
}

// Items of News for the views' own statement, counted by channel and cut
// date where they are read (PivotNewsCells).
class NewsCellWriter
{
public:
    explicit NewsCellWriter(PivotGrain::Time time)
        : cells(time)
    {}
    // False, and refused, for a channel or date that the join or the cut
    // would take by rules of their own: a number or text for a channel, a
    // number for a date. A null channel joins nothing.
    bool take(sqlite3_stmt *stmt, int)
    {
        using Type = PivotGroupTable::Value::Type;
        const int channel = sqlite3_column_type(stmt, 0);
        const int date = sqlite3_column_type(stmt, 1);
        if (channel == SQLITE_NULL)
            return true;
        if (channel != SQLITE_INTEGER || (date != SQLITE_TEXT && date != SQLITE_NULL)) {
            refused = true;
            return false;
        }
        PivotGroupTable::Value value;
        if (date == SQLITE_TEXT) {
            value.type = Type::Text;
            value.text =
                std::string_view(reinterpret_cast<const char *>(sqlite3_column_text(stmt, 1)),
                                 static_cast<std::size_t>(sqlite3_column_bytes(stmt, 1)));
        }
        const int title = sqlite3_column_type(stmt, 2);
        const bool titled = title == SQLITE_TEXT || title == SQLITE_BLOB
                                ? sqlite3_column_bytes(stmt, 2) > 0
                                : title != SQLITE_NULL;
        cells.add(sqlite3_column_int64(stmt, 0), value, 1, titled);
        return true;
    }
    void end(bool) {}

    PivotNewsCells cells;
    bool refused = false;
};

PivotNewsCells::Stored stored(sqlite3_stmt *stmt, int column)
{
    using Type = PivotGroupTable::Value::Type;
    switch (sqlite3_column_type(stmt, column)) {
    case SQLITE_NULL:
        return {};
    case SQLITE_INTEGER:
        return {Type::Number, static_cast<double>(sqlite3_column_int64(stmt, column)), {}};
    case SQLITE_FLOAT:
        return {Type::Number, sqlite3_column_double(stmt, column), {}};
    default:
        return {Type::Text, 0,
                std::string(reinterpret_cast<const char *>(sqlite3_column_text(stmt, column)),
                            static_cast<std::size_t>(sqlite3_column_bytes(stmt, column)))};
    }
}

// The channels' rows; false when an ID is no whole number, which the join
// would compare with the items' channels by rules of its own.
bool readChannelRows(sqlite3 *handle, std::vector<PivotNewsCells::ChannelRow> &rows)
{
    QString ignored;
    sqlite3_stmt *stmt = prepareSqlite(handle, PivotNewsCells::channelStatement(), &ignored);
    if (!stmt)
        return false;
    int rc = SQLITE_OK;
    bool wholeNumbers = true;
    while (wholeNumbers && (rc = sqlite3_step(stmt)) == SQLITE_ROW) {
        const int id = sqlite3_column_type(stmt, 0);
        wholeNumbers = id == SQLITE_INTEGER || id == SQLITE_NULL;
        if (id == SQLITE_INTEGER)
            rows.push_back(
                {sqlite3_column_int64(stmt, 0), stored(stmt, 1), stored(stmt, 2), stored(stmt, 3)});
    }
    sqlite3_finalize(stmt);
    return wholeNumbers && rc == SQLITE_DONE;
}

// The views' own statement grouped from News and the channels' rows:
// true when read, false when cancelled, nothing when it is to be read the
// general way.
std::optional<bool> readNewsCells(db::Connection &connection, const QString &connectionString,
                                  PivotGrain::Time time, Sink &sink,
                                  const PivotLoader::Progress &progress,
                                  db::StatementInterrupt *interrupt, QString *error)
{
    std::vector<PivotNewsCells::ChannelRow> channels;
    if (connection.source().isReader() || !readChannelRows(connection.sqliteHandle(), channels))
        return std::nullopt;
    db::Connection second;
    std::array<Part, 2> parts;
    int count = halves(
        connection, second, connectionString,
        [](qint64 after, qint64 upTo) {
            return PivotNewsCells::newsStatement({{after, upTo}});
        },
        interrupt, parts);
    if (count < 0) {
        *error = PivotLoader::cancelledText();
        return false;
    }
    if (count == 0) {
        parts[0].handle = connection.sqliteHandle();
        parts[0].stmt = prepareSqlite(parts[0].handle, PivotNewsCells::newsStatement(), error);
        if (!parts[0].stmt)
            return std::nullopt;
        count = 1;
    }
    std::array<NewsCellWriter, 2> writers{NewsCellWriter(time), NewsCellWriter(time)};
    stepParts(parts, std::size_t(count), writers, progress);
    const bool read = finishParts(parts, std::size_t(count), error);
    if (interrupt && count == 2)
        interrupt->arm(connection.interrupter());
    if (!read)
        return *error == PivotLoader::cancelledText() ? std::optional(false) : std::nullopt;
    writers[0].cells.absorb(writers[1].cells);
    writers[0].cells.join(channels,
                          [&sink](const auto &row, quint32 rows) { sink.addGroup(row, rows); });
    return true;
}

// A server's value in a channel's row: none, or a text; nothing for any
// other type, which the general load keeps by rules of its own.
std::optional<PivotNewsCells::Stored> storedName(const QVariant &value)
{
    if (value.isNull())
        return PivotNewsCells::Stored{};
    if (value.typeId() != QMetaType::QString)
        return std::nullopt;
    return PivotNewsCells::Stored{PivotGroupTable::Value::Type::Text, 0,
                                  value.toString().toStdString()};
}

// The channels' rows from a server; false where an ID is no whole number
// or a name no text.
bool readServerChannelRows(db::Connection &connection,
                           std::vector<PivotNewsCells::ChannelRow> &rows)
{
    db::Recordset rs;
    if (!rs.Open(PivotNewsCells::channelStatement(), connection))
        return false;
    for (; !rs.IsEOF(); rs.MoveNext()) {
        const QVariant id = rs.Value(0);
        if (id.isNull())
            continue;
        const auto provider = storedName(rs.Value(1));
        const auto channel = storedName(rs.Value(2));
        const auto category = storedName(rs.Value(3));
        if ((id.typeId() != QMetaType::Int && id.typeId() != QMetaType::LongLong) || !provider ||
            !channel || !category)
            return false;
        rows.push_back({id.toLongLong(), *provider, *channel, *category});
    }
    return rs.lastError().isEmpty();
}

// The views' own statement on PostgreSQL: the server counts News by
// channel and cut date, the channels' rows come once (see readNewsCells).
// Only a timestamp without time zone is cut as the general load cuts it,
// and only a whole-number channel compares as the join does.
std::optional<bool> readServerNewsCells(db::Connection &connection, PivotGrain::Time time,
                                        Sink &sink, const PivotLoader::Progress &progress,
                                        QString *error)
{
    std::vector<PivotNewsCells::ChannelRow> channels;
    if (connection.source().isReader() || !readServerChannelRows(connection, channels))
        return std::nullopt;
    db::Recordset rs;
    if (!rs.Open(PivotNewsCells::serverNewsStatement(time), connection))
        return std::nullopt;
    // The types are the columns', the same in every row.
    static const QStringList wholeNumbers = {u"integer"_s, u"bigint"_s, u"smallint"_s};
    if (!rs.IsEOF() &&
        (!wholeNumbers.contains(rs.Text(4)) || rs.Text(5) != u"timestamp without time zone"_s))
        return std::nullopt;
    PivotNewsCells cells(time);
    std::string text;
    qint64 read = 0;
    for (; !rs.IsEOF(); rs.MoveNext()) {
        if (rs.IsNull(0))
            continue; // joins nothing
        PivotGroupTable::Value date;
        if (!rs.IsNull(1)) {
            text = rs.Text(1).toStdString();
            date = {PivotGroupTable::Value::Type::Text, 0, text};
        }
        cells.add(rs.Int(0), date, quint32(rs.Int(2)), quint32(rs.Int(3)));
        if (++read % PivotLoader::ProgressStep == 0 && !reportProgress(progress, read)) {
            *error = PivotLoader::cancelledText();
            return false;
        }
    }
    if (!rs.lastError().isEmpty())
        return std::nullopt;
    cells.join(channels, [&sink](const auto &row, quint32 rows) { sink.addGroup(row, rows); });
    return true;
}

// Every other engine: the record set, a QVariant per value, into the sink's
// name() and variant().
template<typename Target>
bool readRecordset(db::Connection &connection, const QString &commandText, Target &sink,
                   const PivotLoader::Progress &progress, QString *error)
{
    db::Recordset rs;
    if (!rs.Open(commandText, connection)) {
        *error = rs.lastError();
        return false;
    }
    const int columns = rs.FieldCount();
    for (int c = 0; c < columns; ++c)
        sink.name(rs.FieldName(c));
    qint64 rows = 0;
    for (; !rs.IsEOF(); rs.MoveNext()) {
        for (int c = 0; c < columns; ++c)
            sink.variant(static_cast<std::size_t>(c), rs.Value(c));
        if (++rows % PivotLoader::ProgressStep == 0 && !reportProgress(progress, rows)) {
            *error = PivotLoader::cancelledText();
            return false;
        }
    }
    if (!rs.lastError().isEmpty()) {
        *error = rs.lastError();
        return false;
    }
    return true;
}

bool readAllRows(db::Connection &connection, const QString &commandText, Sink &sink,
                 const PivotLoader::Progress &progress, QString *error)
{
    if (connection.engine() != db::Engine::SQLite)
        return readRecordset(connection, commandText, sink, progress, error);
    if (const QString why = db::StatementGuard::refusal(commandText); !why.isEmpty()) {
        *error = u"statement refused: "_s + why;
        return false;
    }
    return readSqlite(connection, db::Dialect::translate(commandText, db::Engine::SQLite), sink,
                      progress, error);
}

// Counts what the first rows hold in each column.
class Sampler
{
public:
    void name(const QString &column)
    {
        m_samples.push_back({column});
        m_seen.emplace_back();
    }
    void variant(std::size_t c, const QVariant &value)
    {
        const bool typedDate =
            value.typeId() == QMetaType::QDateTime || value.typeId() == QMetaType::QDate;
        const QString text = value.toString();
        if (value.isNull() || (!typedDate && text.isEmpty()))
            return;
        PivotGroupedStatement::Sample &s = m_samples[c];
        ++s.nonBlank;
        if (typedDate)
            ++s.dateValues;
        else if (value.typeId() == QMetaType::QString && dates::fromText(text))
            ++s.dateTexts;
        m_seen[c].insert(text);
        s.distinct = static_cast<int>(m_seen[c].size());
    }
    const std::vector<PivotGroupedStatement::Sample> &samples() const { return m_samples; }

private:
    std::vector<PivotGroupedStatement::Sample> m_samples;
    std::vector<QSet<QString>> m_seen;
};

bool sample(db::Connection &connection, const QString &commandText, Sampler &sampler,
            QString *error)
{
    if (connection.engine() != db::Engine::SQLite)
        return readRecordset(connection, PivotGroupedStatement::sampleStatement(commandText),
                             sampler, {}, error);
    sqlite3_stmt *stmt =
        prepareSqlite(connection.sqliteHandle(), connection.statementText(commandText), error);
    if (!stmt)
        return false;
    const int columns = sqlite3_column_count(stmt);
    for (int c = 0; c < columns; ++c)
        sampler.name(QString::fromUtf8(sqlite3_column_name(stmt, c)));
    for (int row = 0; row < PivotGroupedStatement::SampleRows && sqlite3_step(stmt) == SQLITE_ROW;
         ++row) {
        for (int c = 0; c < columns; ++c) {
            QVariant value;
            switch (sqlite3_column_type(stmt, c)) {
            case SQLITE_NULL:
                break;
            case SQLITE_INTEGER:
            case SQLITE_FLOAT:
                value = sqlite3_column_double(stmt, c);
                break;
            default:
                value =
                    QString::fromUtf8(reinterpret_cast<const char *>(sqlite3_column_text(stmt, c)),
                                      sqlite3_column_bytes(stmt, c));
            }
            sampler.variant(static_cast<std::size_t>(c), value);
        }
    }
    sqlite3_finalize(stmt);
    return true;
}

enum class Outcome { Done, Failed, AllRowsInstead };

// The grouped load; AllRowsInstead when the statement cannot be grouped
// (it does not nest, a column the sample took for dates is not all dates,
// nothing is left to group by), so that the rows themselves are read.
Outcome readGrouped(db::Connection &connection, const QString &connectionString,
                    const QString &commandText, const PivotGrain &grain,
                    const PivotLoader::Progress &progress, db::StatementInterrupt *interrupt,
                    std::vector<PivotColumn> &columns, PivotGrain &held,
                    std::vector<std::vector<quint32>> &weights, QString *error)
{
    if (const QString why = db::StatementGuard::refusal(commandText); !why.isEmpty()) {
        *error = u"statement refused: "_s + why;
        return Outcome::Failed;
    }
    Sampler sampler;
    if (!sample(connection, commandText, sampler, error))
        return Outcome::AllRowsInstead;
    const auto &samples = sampler.samples();
    const auto plan = PivotGroupedStatement::plan(samples, grain, connection.engine());
    if (std::none_of(plan.begin(), plan.end(), [](const auto &column) {
            return column.kind != PivotGroupedStatement::Column::Kind::Count;
        }))
        return Outcome::AllRowsInstead;
    const bool sqlite = connection.engine() == db::Engine::SQLite;
    const QString translated = db::Dialect::translate(commandText, connection.engine());
    const QString sql = sqlite ? translated : PivotGroupedStatement::statement(translated, plan);
    Sink sink(samples, plan, sqlite);
    connection.preferHashedGrouping();
    QString reason;
    std::optional<bool> read;
    if (PivotNewsCells::applies(commandText, plan)) {
        const PivotGrain::Time time = plan[PivotNewsCells::Date].time;
        if (sqlite)
            read = readNewsCells(connection, connectionString, time, sink, progress, interrupt,
                                 &reason);
        else if (connection.engine() == db::Engine::PostgreSQL)
            read = readServerNewsCells(connection, time, sink, progress, &reason);
    }
    if (!read) {
        reason.clear();
        read = sqlite ? readSqliteGrouped(connection, connectionString, sql, sink, progress,
                                          interrupt, &reason)
                      : readRecordset(connection, sql, sink, progress, &reason);
    }
    if (!*read) {
        if (reason != PivotLoader::cancelledText())
            return Outcome::AllRowsInstead;
        *error = reason;
        return Outcome::Failed;
    }
    columns = sink.finish();
    for (std::size_t i = 0; i < plan.size(); ++i) {
        if (plan[i].kind != PivotGroupedStatement::Column::Kind::Date)
            continue;
        if (columns[i].kind() != PivotColumn::Kind::Date && columns[i].rowCount() > 0)
            return Outcome::AllRowsInstead;
        columns[i].setTimeStep(plan[i].time == PivotGrain::Time::Hours     ? 3600
                               : plan[i].time == PivotGrain::Time::Minutes ? 60
                                                                           : 86400);
    }
    held = PivotGroupedStatement::heldGrain(samples, plan);
    weights = sink.takeWeights();
    return Outcome::Done;
}

} // namespace

QString PivotLoader::cancelledText()
{
    return u"cancelled"_s;
}

std::shared_ptr<PivotData> PivotLoader::load(const QString &connectionString,
                                             const QString &commandText, const Progress &progress,
                                             QString *error, db::StatementInterrupt *interrupt,
                                             const PivotGrain &grain)
{
    QString reason;
    db::Connection connection;
    std::vector<PivotColumn> columns;
    PivotGrain held = PivotGrain::allRows();
    std::vector<std::vector<quint32>> weights;
    const bool open = connection.Open(connectionString, db::Connection::Access::ReadOnly,
                                      db::Connection::LongStatementTimeoutSeconds);
    const bool armed = open && (!interrupt || interrupt->arm(connection.interrupter()));
    bool ok = false;
    if (!open) {
        reason = connection.lastError();
    } else if (!armed) {
        reason = cancelledText();
    } else {
        Outcome outcome = Outcome::AllRowsInstead;
        if (!grain.isAllRows())
            outcome = readGrouped(connection, connectionString, commandText, grain, progress,
                                  interrupt, columns, held, weights, &reason);
        ok = outcome == Outcome::Done;
        if (outcome == Outcome::AllRowsInstead) {
            Sink sink;
            ok = readAllRows(connection, commandText, sink, progress, &reason);
            columns = sink.finish();
            held = PivotGrain::allRows();
            weights.clear();
        }
    }
    if (interrupt)
        interrupt->disarm();
    connection.Close();
    if (!ok) {
        if (error)
            *error = reason;
        return nullptr;
    }
#ifdef __GLIBC__
    // The builders' maps and sort keys were many small blocks; without this
    // the heap keeps them, and a load of millions of rows would look twice
    // its size for the rest of the session. A small load leaves too little
    // to be worth a walk of the whole heap, which also holds up the other
    // threads' allocations while it runs.
    if (!columns.empty() && columns.front().rowCount() >= kTrimRows)
        malloc_trim(0);
#endif
    if (progress && !columns.empty())
        progress(columns.front().rowCount());
    auto data = std::make_shared<PivotData>(connectionString, commandText, std::move(columns));
    data->setGrain(std::move(held), std::move(weights));
    return data;
}

} // namespace qrt::pivot
