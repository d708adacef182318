#include "pivot/PivotLoader.h"

#include "db/Connection.h"
#include "db/Recordset.h"
#include "db/StatementGuard.h"
#include "db/StatementInterrupt.h"
#include "pivot/PivotColumnBuilder.h"
#include "pivot/PivotData.h"

#include <sqlite3.h>

#ifdef __GLIBC__
#include <malloc.h>
#endif
#include <array>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
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
    std::array<Batch, 4> m_batches;
    std::deque<Batch *> m_empty;
    std::deque<Batch *> m_full;
    bool m_finished = false;
    bool m_stopped = false;
};

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
            const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(stmt, c));
            value.type = SQLITE_TEXT;
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

void encode(const Batch &batch, Builders &builders)
{
    const std::size_t columns = builders.size();
    const std::string_view bytes(batch.bytes);
    for (std::size_t i = 0; i < batch.values.size(); ++i) {
        const Batch::Value &value = batch.values[i];
        PivotColumnBuilder &builder = builders[i % columns];
        switch (value.type) {
        case SQLITE_INTEGER:
        case SQLITE_FLOAT:
            builder.addNumber(value.number);
            break;
        case SQLITE_TEXT:
            builder.addText(bytes.substr(value.offset, value.length));
            break;
        default:
            builder.addNull();
        }
    }
}

// The SQLite path: one prepared statement, values read as the engine keeps them.
bool readSqlite(db::Connection &connection, const QString &commandText, Builders &builders,
                const PivotLoader::Progress &progress, QString *error)
{
    if (const QString why = db::StatementGuard::refusal(commandText); !why.isEmpty()) {
        *error = u"statement refused: "_s + why;
        return false;
    }
    const QByteArray sql = connection.statementText(commandText).toUtf8();
    sqlite3 *handle = connection.sqliteHandle();
    sqlite3_stmt *stmt = nullptr;
    const char *tail = nullptr;
    const int prepared =
        sqlite3_prepare_v2(handle, sql.constData(), static_cast<int>(sql.size()), &stmt, &tail);
    if (prepared != SQLITE_OK || !stmt) {
        // A file that is no database fails here, before any statement is read.
        *error = u"statement refused: "_s + (prepared != SQLITE_OK
                                                 ? QString::fromUtf8(sqlite3_errmsg(handle))
                                                 : u"the statement is empty"_s);
        sqlite3_finalize(stmt);
        return false;
    }
    if (tail && !QByteArray(tail).trimmed().isEmpty()) {
        *error = u"statement refused: more than one statement"_s;
        sqlite3_finalize(stmt);
        return false;
    }
    const int columns = sqlite3_column_count(stmt);
    for (int c = 0; c < columns; ++c)
        builders.emplace_back(QString::fromUtf8(sqlite3_column_name(stmt, c)));

    BatchQueue queue;
    std::thread encoder([&] {
        while (Batch *batch = queue.full()) {
            encode(*batch, builders);
            queue.recycle(batch);
        }
    });
    qint64 rows = 0;
    int rc = SQLITE_ROW;
    Batch *batch = nullptr;
    bool cancelled = false;
    while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
        if (!batch && !(batch = queue.empty()))
            break;
        readRow(stmt, columns, *batch);
        if (batch->rows == Batch::Rows) {
            queue.push(batch);
            batch = nullptr;
        }
        if (++rows % PivotLoader::ProgressStep == 0 && !reportProgress(progress, rows)) {
            cancelled = true;
            break;
        }
    }
    if (batch && !cancelled)
        queue.push(batch);
    if (cancelled || (rc != SQLITE_ROW && rc != SQLITE_DONE))
        queue.stop();
    else
        queue.finish();
    encoder.join();
    if (cancelled)
        *error = PivotLoader::cancelledText();
    else if (rc != SQLITE_DONE)
        *error = u"reading rows failed: "_s + QString::fromUtf8(sqlite3_errmsg(handle));
    sqlite3_finalize(stmt);
    return !cancelled && rc == SQLITE_DONE;
}

// Every other engine: the record set, a QVariant per value.
bool readRecordset(db::Connection &connection, const QString &commandText, Builders &builders,
                   const PivotLoader::Progress &progress, QString *error)
{
    db::Recordset rs;
    if (!rs.Open(commandText, connection)) {
        *error = rs.lastError();
        return false;
    }
    const int columns = rs.FieldCount();
    for (int c = 0; c < columns; ++c)
        builders.emplace_back(rs.FieldName(c));
    qint64 rows = 0;
    for (; !rs.IsEOF(); rs.MoveNext()) {
        for (int c = 0; c < columns; ++c)
            builders[static_cast<std::size_t>(c)].addVariant(rs.Value(c));
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

} // namespace

QString PivotLoader::cancelledText()
{
    return u"cancelled"_s;
}

std::shared_ptr<PivotData> PivotLoader::load(const QString &connectionString,
                                             const QString &commandText, const Progress &progress,
                                             QString *error, db::StatementInterrupt *interrupt)
{
    QString reason;
    db::Connection connection;
    Builders builders;
    const bool open = connection.Open(connectionString, db::Connection::Access::ReadOnly,
                                      db::Connection::LongStatementTimeoutSeconds);
    const bool armed = open && (!interrupt || interrupt->arm(connection.interrupter()));
    bool ok = false;
    if (!open)
        reason = connection.lastError();
    else if (!armed)
        reason = cancelledText();
    else if (connection.engine() == db::Engine::SQLite)
        ok = readSqlite(connection, commandText, builders, progress, &reason);
    else
        ok = readRecordset(connection, commandText, builders, progress, &reason);
    if (interrupt)
        interrupt->disarm();
    connection.Close();
    if (!ok) {
        if (error)
            *error = reason;
        return nullptr;
    }
    std::vector<PivotColumn> columns;
    columns.reserve(builders.size());
    for (PivotColumnBuilder &builder : builders)
        columns.push_back(builder.finish());
    builders.clear();
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
    return std::make_shared<PivotData>(connectionString, commandText, std::move(columns));
}

} // namespace qrt::pivot
