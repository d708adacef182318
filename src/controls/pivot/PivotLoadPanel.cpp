#include "controls/pivot/PivotLoadPanel.h"

#include "pivot/PivotData.h"
#include "pivot/PivotLoad.h"
#include "pivot/PivotView.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

using namespace Qt::StringLiterals;
using qrt::pivot::PivotData;
using qrt::pivot::PivotGrain;
using qrt::pivot::PivotLoad;

PivotLoadPanel::PivotLoadPanel(QWidget *parent)
    : QFrame(parent)
    , m_label(new QLabel(tr("Loading..."), this))
{
    setObjectName(u"loadPanel"_s);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(6, 2, 6, 2);
    auto *progress = new QProgressBar(this);
    progress->setObjectName(u"loadProgress"_s);
    progress->setRange(0, 0);
    progress->setTextVisible(false);
    auto *cancelButton = new QPushButton(tr("&Cancel"), this);
    cancelButton->setObjectName(u"cancelLoadButton"_s);
    cancelButton->setToolTip(tr("Stop reading the data"));
    connect(cancelButton, &QPushButton::clicked, this, &PivotLoadPanel::cancel);
    layout->addWidget(m_label);
    layout->addWidget(progress, 1);
    layout->addWidget(cancelButton);
    hide();
}

PivotLoadPanel::~PivotLoadPanel()
{
    delete m_load; // gives up the claim on a load still running
}

void PivotLoadPanel::start(const QString &connectionString, const QString &commandText,
                           const PivotGrain &grain)
{
    delete m_load;
    m_data.reset();
    m_error.clear();
    m_refused.clear();
    m_refining = false;
    m_grain = grain.key();
    m_load = new PivotLoad(connectionString, commandText, grain, this);
    m_label->setText(tr("Loading..."));
    connect(m_load, &PivotLoad::progress, this,
            [this](qint64 rows) { m_label->setText(tr("Loading... %L1 rows").arg(rows)); });
    connect(m_load, &PivotLoad::finished, this, &PivotLoadPanel::finish);
    show();
}

bool PivotLoadPanel::refine(const qrt::pivot::PivotView &view)
{
    const std::shared_ptr<const PivotData> &data = view.data();
    if (!data)
        return false;
    const PivotGrain needed = PivotGrain::of(view);
    if (data->covers(needed))
        return false;
    const QString key = needed.key();
    if ((m_load && m_grain == key) || m_refused == key)
        return true;
    const QString refused = m_refused;
    start(data->connectionString(), data->commandText(), needed);
    m_refused = refused;
    m_refining = true;
    return true;
}

void PivotLoadPanel::cancel()
{
    if (!m_load)
        return;
    m_load->cancel();
    end(nullptr, tr("Loading was cancelled."));
}

void PivotLoadPanel::finish()
{
    if (m_load)
        end(m_load->data(), m_load->error());
}

void PivotLoadPanel::end(std::shared_ptr<const PivotData> data, const QString &error)
{
    m_load->deleteLater();
    m_load = nullptr;
    m_data = std::move(data);
    m_error = m_data ? QString() : error;
    if (!m_data)
        m_refused = m_grain;
    hide();
    Q_EMIT ended();
}
