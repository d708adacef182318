#include "controls/pivot/PivotLoadPanel.h"

#include "pivot/PivotLoad.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

using namespace Qt::StringLiterals;
using qrt::pivot::PivotData;
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

void PivotLoadPanel::start(const QString &connectionString, const QString &commandText)
{
    delete m_load;
    m_data.reset();
    m_error.clear();
    m_load = new PivotLoad(connectionString, commandText, this);
    m_label->setText(tr("Loading..."));
    connect(m_load, &PivotLoad::progress, this,
            [this](qint64 rows) { m_label->setText(tr("Loading... %L1 rows").arg(rows)); });
    connect(m_load, &PivotLoad::finished, this, &PivotLoadPanel::finish);
    show();
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
    hide();
    Q_EMIT ended();
}
