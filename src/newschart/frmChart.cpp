#include "newschart/frmChart.h"

#include "component/modUtils.h"
#include "controls/chart/ChartView.h"
#include "db/Connection.h"
#include "newschart/ChartControl.h"

#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

// 6450 by 4230 twips at 96 dpi; the chart keeps 15 twips from each side.
constexpr QSize kDesignSize(430, 282);
constexpr int kChartMargin = 1;

constexpr int kHourglass = 11;
constexpr int kDefaultPointer = 0;

} // namespace

frmChart::frmChart(QWidget *parent)
    : QWidget(parent)
    , m_chart(new ChartControl(this))
    , m_builder(*m_chart)
{
    m_builder.setCounts(&m_counts);
    setObjectName(u"frmChart"_s);
    elstMain = new QWidget(this);
    elstMain->setObjectName(u"elstMain"_s);
    auto *formLayout = new QVBoxLayout(this);
    formLayout->setContentsMargins(0, 0, 0, 0);
    formLayout->addWidget(elstMain);

    chrtNews = new ChartView(m_chart, elstMain);
    chrtNews->setObjectName(u"chrtNews"_s);
    auto *panelLayout = new QVBoxLayout(elstMain);
    panelLayout->setContentsMargins(kChartMargin, kChartMargin, kChartMargin, kChartMargin);
    panelLayout->addWidget(chrtNews);
    resize(kDesignSize);
}

frmChart::~frmChart() = default;

void frmChart::setMousePointer(int pointer)
{
    m_mousePointer = pointer;
    if (pointer == kHourglass)
        setCursor(Qt::WaitCursor);
    else
        unsetCursor();
}

void frmChart::DrawChart()
{
    const qrt::chart::NewsChartQuery query{FromDate, TillDate,   sFilter,
                                           sOrder,   chartSeria, statisticsMode};
    m_builder.ClearChart(query);
    if (sFilter.isEmpty() || !gConnection)
        return;
    setMousePointer(kHourglass);
    m_builder.Build(*gConnection, gConnectionString, query);
    setMousePointer(kDefaultPointer);
}
