#pragma once
// The strip a pivot view shows while its data loads: "Loading... 12,345
// rows", a running bar and Cancel. It starts (or joins) the shared load of a
// connection string and command text and says when the load has ended,
// with the data or with the reason there is none; Cancel ends it at once,
// giving up this view's claim on the load.

#include "pivot/PivotLoad.h"

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
    void start(const QString &connectionString, const QString &commandText);
    void cancel();
    bool isLoading() const { return m_load != nullptr; }

    // Once ended: the data, or null and the reason.
    std::shared_ptr<const qrt::pivot::PivotData> data() const { return m_data; }
    const QString &error() const { return m_error; }

Q_SIGNALS:
    void ended();

private:
    void finish();
    void end(std::shared_ptr<const qrt::pivot::PivotData> data, const QString &error);

    QPointer<qrt::pivot::PivotLoad> m_load;
    std::shared_ptr<const qrt::pivot::PivotData> m_data;
    QString m_error;
    QLabel *m_label;
};
