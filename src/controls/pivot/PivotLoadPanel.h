#pragma once
// The strip a pivot view shows while its data loads: "Loading... 12,345
// rows", a running bar and Cancel. It starts (or joins) the shared load of a
// connection string and command text, grouped in the database, and says
// when the load has ended, with the data or with the reason there is none;
// Cancel ends it at once, giving up this view's claim on the load.
//
// A layout that shows more than its data holds (days split into hours, the
// news titles on an axis) has refine() load the finer grain the same way,
// while the view keeps what it shows.

#include "pivot/PivotLoad.h"

namespace qrt::pivot {
class PivotView;
}

#include <QFrame>
#include <QPointer>

#include <memory>

class QLabel;

class PivotLoadPanel : public QFrame
{
    Q_OBJECT

public:
    explicit PivotLoadPanel(QWidget *parent = nullptr);
    ~PivotLoadPanel() override;

    // Drops a load still running for this view and starts this one.
    void start(const QString &connectionString, const QString &commandText,
               const qrt::pivot::PivotGrain &grain = {});
    // True when the view's layout needs a finer grain than its data holds:
    // that load runs (started once per grain), and the view should keep
    // what it shows until ended(). A grain whose load failed or was
    // cancelled is not asked for again until the next start().
    bool refine(const qrt::pivot::PivotView &view);
    void cancel();
    bool isLoading() const { return m_load != nullptr; }
    // Whether the load under way or last ended is one refine() started:
    // its data replace the view's own rather than make a new view.
    bool isRefining() const { return m_refining; }

    // Once ended: the data, or null and the reason.
    std::shared_ptr<const qrt::pivot::PivotData> data() const { return m_data; }
    const QString &error() const { return m_error; }

Q_SIGNALS:
    void ended();

private:
    void finish();
    void end(std::shared_ptr<const qrt::pivot::PivotData> data, const QString &error);

    QPointer<qrt::pivot::PivotLoad> m_load;
    QString m_grain;   // the key of the grain loading or last loaded
    QString m_refused; // the key of a finer grain that gave no data
    std::shared_ptr<const qrt::pivot::PivotData> m_data;
    QString m_error;
    bool m_refining = false;
    QLabel *m_label;
};
