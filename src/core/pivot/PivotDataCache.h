#pragma once
// Shares loads between the views of a process: a second request for the same
// connection string, command text and grain, while the first load still
// runs, gets that load; while a view still holds data of that statement
// at this grain or a finer one, the request gets that data instead of
// reading the database again. Loads run on a pool of their own, so a long one never
// holds up the threads the aggregation borrows. Thread-safe.

#include "pivot/PivotGrain.h"

#include <QFuture>
#include <QHash>
#include <QMutex>
#include <QString>
#include <QThreadPool>

#include <atomic>
#include <memory>

namespace qrt::db {
class StatementInterrupt;
}

namespace qrt::pivot {

class PivotData;

class PivotDataCache
{
public:
    struct Result
    {
        std::shared_ptr<const PivotData> data;
        QString error; // empty when data is set
    };

    // One load, shared by everyone who asked for it.
    class Entry
    {
    public:
        QFuture<Result> future() const { return m_future; }
        const QString &connectionString() const { return m_connectionString; }
        const QString &commandText() const { return m_commandText; }
        const PivotGrain &grain() const { return m_grain; }

    private:
        friend class PivotDataCache;
        QString m_connectionString;
        QString m_commandText;
        PivotGrain m_grain;
        QFuture<Result> m_future;
        // Shared with the load's thread, which may outlive the entry.
        std::shared_ptr<db::StatementInterrupt> m_interrupt;
        std::atomic<int> m_holders{0};
    };

    static PivotDataCache &instance();

    // The load for this pair, running, finished or new. Every acquire is
    // matched by one release; the last release of an unfinished load
    // cancels it, and stops the statement it may be waiting on.
    std::shared_ptr<Entry> acquire(const QString &connectionString, const QString &commandText,
                                   const PivotGrain &grain = PivotGrain::allRows());
    void release(const std::shared_ptr<Entry> &entry);

    // Loads started since the process began; lets tests see sharing.
    int loadsStarted() const { return m_started.loadRelaxed(); }

private:
    PivotDataCache();
    // Loads still running at exit write their result into the cache: the
    // cache waits for them before its members go, and the application's
    // end waits for them while the database drivers are still there.
    ~PivotDataCache();
    static void drain();
    static QString keyOf(const QString &connectionString, const QString &commandText,
                         const PivotGrain &grain);
    std::shared_ptr<const PivotData> held(const QString &connectionString,
                                          const QString &commandText, const PivotGrain &grain);
    std::shared_ptr<Entry> start(const QString &connectionString, const QString &commandText,
                                 const PivotGrain &grain);

    QMutex m_mutex;
    QThreadPool m_pool;
    QHash<QString, std::weak_ptr<Entry>> m_running;
    QHash<QString, std::weak_ptr<const PivotData>> m_loaded;
    QAtomicInt m_started;
};

} // namespace qrt::pivot
