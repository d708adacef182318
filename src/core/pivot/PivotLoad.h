#pragma once
// One view's wait for its data: starts or joins the shared load of a
// connection string and command text at a grain (all rows when not given),
// reports the rows read so far and the end, in the thread the object lives
// in. Cancelling (or destroying the object before the end) gives this
// view's claim up; the load itself stops when no view is waiting for it
// any more.

#include "pivot/PivotDataCache.h"

#include <QFutureWatcher>
#include <QObject>

namespace qrt::pivot {

class PivotLoad : public QObject
{
    Q_OBJECT

public:
    PivotLoad(const QString &connectionString, const QString &commandText,
              QObject *parent = nullptr);
    PivotLoad(const QString &connectionString, const QString &commandText, const PivotGrain &grain,
              QObject *parent = nullptr);
    ~PivotLoad() override;

    bool isFinished() const;
    bool isCancelled() const { return m_cancelled; }
    // Blocks until the load ends; for the command line and tests.
    void waitForFinished();
    // The data once finished; null on failure or cancel, see error().
    std::shared_ptr<const PivotData> data() const;
    QString error() const;

    void cancel();

Q_SIGNALS:
    void progress(qint64 rows);
    void finished();

private:
    std::shared_ptr<PivotDataCache::Entry> m_entry;
    QFutureWatcher<PivotDataCache::Result> m_watcher;
    bool m_cancelled = false;
};

} // namespace qrt::pivot
