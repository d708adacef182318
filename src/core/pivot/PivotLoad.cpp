#include "pivot/PivotLoad.h"

#include "pivot/PivotData.h"
#include "pivot/PivotLoader.h"

namespace qrt::pivot {

PivotLoad::PivotLoad(const QString &connectionString, const QString &commandText, QObject *parent)
    : PivotLoad(connectionString, commandText, PivotGrain::allRows(), parent)
{}

PivotLoad::PivotLoad(const QString &connectionString, const QString &commandText,
                     const PivotGrain &grain, QObject *parent)
    : QObject(parent)
    , m_entry(PivotDataCache::instance().acquire(connectionString, commandText, grain))
{
    connect(&m_watcher, &QFutureWatcherBase::progressValueChanged, this,
            [this](int rows) { Q_EMIT progress(rows); });
    connect(&m_watcher, &QFutureWatcherBase::finished, this, [this] {
        if (!m_cancelled)
            Q_EMIT finished();
    });
    m_watcher.setFuture(m_entry->future());
}

PivotLoad::~PivotLoad()
{
    m_watcher.disconnect(this);
    if (!m_cancelled)
        PivotDataCache::instance().release(m_entry);
}

bool PivotLoad::isFinished() const
{
    return m_cancelled || m_entry->future().isFinished();
}

void PivotLoad::waitForFinished()
{
    if (!m_cancelled)
        m_entry->future().waitForFinished();
}

std::shared_ptr<const PivotData> PivotLoad::data() const
{
    const QFuture<PivotDataCache::Result> future = m_entry->future();
    if (m_cancelled || !future.isFinished() || future.isCanceled() || future.resultCount() == 0)
        return nullptr;
    return future.result().data;
}

QString PivotLoad::error() const
{
    const QFuture<PivotDataCache::Result> future = m_entry->future();
    if (m_cancelled || future.isCanceled())
        return PivotLoader::cancelledText();
    if (!future.isFinished() || future.resultCount() == 0)
        return {};
    return future.result().error;
}

void PivotLoad::cancel()
{
    if (m_cancelled)
        return;
    m_cancelled = true;
    m_watcher.disconnect(this);
    PivotDataCache::instance().release(m_entry);
}

} // namespace qrt::pivot
