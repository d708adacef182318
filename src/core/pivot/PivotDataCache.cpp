#include "pivot/PivotDataCache.h"

#include "base/ThreadPriority.h"
#include "db/StatementInterrupt.h"
#include "pivot/PivotData.h"
#include "pivot/PivotLoader.h"

#include <QCoreApplication>
#include <QPromise>
#include <QtConcurrent/QtConcurrentRun>

#include <limits>

using namespace Qt::StringLiterals;

namespace qrt::pivot {

PivotDataCache &PivotDataCache::instance()
{
    static PivotDataCache cache;
    return cache;
}

PivotDataCache::PivotDataCache()
{
    m_pool.setMaxThreadCount(2);
    if (QCoreApplication::instance())
        qAddPostRoutine(&PivotDataCache::drain);
}

PivotDataCache::~PivotDataCache()
{
    m_pool.waitForDone();
}

void PivotDataCache::drain()
{
    instance().m_pool.waitForDone();
}

QString PivotDataCache::keyOf(const QString &connectionString, const QString &commandText,
                              const PivotGrain &grain)
{
    return connectionString + QChar(0) + commandText + QChar(0) + grain.key();
}

std::shared_ptr<const PivotData> PivotDataCache::held(const QString &connectionString,
                                                      const QString &commandText,
                                                      const PivotGrain &grain)
{
    // The one of the wanted grain first, else any finer one, the smallest.
    if (auto data = m_loaded.value(keyOf(connectionString, commandText, grain)).lock())
        return data;
    std::shared_ptr<const PivotData> best;
    for (const auto &weak : std::as_const(m_loaded)) {
        auto data = weak.lock();
        if (data && data->connectionString() == connectionString &&
            data->commandText() == commandText && data->covers(grain) &&
            (!best || data->rowCount() < best->rowCount()))
            best = std::move(data);
    }
    return best;
}

std::shared_ptr<PivotDataCache::Entry> PivotDataCache::acquire(const QString &connectionString,
                                                               const QString &commandText,
                                                               const PivotGrain &grain)
{
    const QString key = keyOf(connectionString, commandText, grain);
    QMutexLocker lock(&m_mutex);
    m_loaded.removeIf([](const auto &item) { return item.value().expired(); });
    std::shared_ptr<Entry> entry = m_running.value(key).lock();
    if (entry && !entry->m_future.isCanceled()) {
        ++entry->m_holders;
        return entry;
    }
    if (std::shared_ptr<const PivotData> data = held(connectionString, commandText, grain)) {
        entry = std::make_shared<Entry>();
        entry->m_connectionString = connectionString;
        entry->m_commandText = commandText;
        entry->m_grain = grain;
        entry->m_future = QtFuture::makeReadyFuture(Result{std::move(data), {}});
    } else {
        entry = start(connectionString, commandText, grain);
    }
    ++entry->m_holders;
    m_running.insert(key, entry);
    return entry;
}

std::shared_ptr<PivotDataCache::Entry> PivotDataCache::start(const QString &connectionString,
                                                             const QString &commandText,
                                                             const PivotGrain &grain)
{
    auto entry = std::make_shared<Entry>();
    entry->m_connectionString = connectionString;
    entry->m_commandText = commandText;
    entry->m_grain = grain;
    m_started.ref();
    const QString key = keyOf(connectionString, commandText, grain);
    auto interrupt = std::make_shared<db::StatementInterrupt>();
    entry->m_interrupt = interrupt;
    entry->m_future = QtConcurrent::run(&m_pool, [this, connectionString, commandText, grain, key,
                                                  interrupt](QPromise<Result> &promise) {
        // The pool's threads do nothing but these loads.
        lowerThreadPriority();
        promise.setProgressRange(0, 0); // the number of rows is not known ahead
        const auto progress = [&promise](qint64 rows) {
            promise.setProgressValue(
                static_cast<int>(std::min<qint64>(rows, std::numeric_limits<int>::max())));
            return !promise.isCanceled();
        };
        Result result;
        result.data = PivotLoader::load(connectionString, commandText, progress, &result.error,
                                        interrupt.get(), grain);
        if (result.data) {
            QMutexLocker lock(&m_mutex);
            m_loaded.insert(key, result.data);
        }
        promise.addResult(std::move(result));
    });
    return entry;
}

void PivotDataCache::release(const std::shared_ptr<Entry> &entry)
{
    if (!entry)
        return;
    QMutexLocker lock(&m_mutex);
    if (--entry->m_holders > 0)
        return;
    const QString key = keyOf(entry->m_connectionString, entry->m_commandText, entry->m_grain);
    if (m_running.value(key).lock() == entry)
        m_running.remove(key);
    if (!entry->m_future.isFinished()) {
        entry->m_future.cancel();
        if (entry->m_interrupt)
            entry->m_interrupt->interrupt();
    }
}

} // namespace qrt::pivot
