#include "newschart/frmChart.h"

#include "component/modUtils.h"
#include "db/Connection.h"
#include "newschart/ChartControl.h"
#include "controls/ChartView.h"
#include "newschart/StatisticsStatement.h"

#include <QVBoxLayout>

using namespace Qt::StringLiterals;
using qrt::dates::dayOf;

namespace {

// 6450 by 4230 twips at 96 dpi; the chart keeps 15 twips from each side.
constexpr QSize kDesignSize(430, 282);
constexpr int kChartMargin = 1;

constexpr int kHourglass = 11;
constexpr int kDefaultPointer = 0;

constexpr quint32 kEmptyBackColor = 14480885; // 245, 245, 220
constexpr quint32 kDrawnBackColor = 0xEDEDED;

} // namespace

frmChart::frmChart(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(u"frmChart"_s);
    QFont font(u"Tahoma"_s);
    font.setPointSizeF(8.25);
    setFont(font);

    elstMain = new QWidget(this);
    elstMain->setObjectName(u"elstMain"_s);
    auto *formLayout = new QVBoxLayout(this);
    formLayout->setContentsMargins(0, 0, 0, 0);
    formLayout->addWidget(elstMain);

    chrtNews = new ChartView(elstMain);
    chrtNews->setObjectName(u"chrtNews"_s);
    auto *panelLayout = new QVBoxLayout(elstMain);
    panelLayout->setContentsMargins(kChartMargin, kChartMargin, kChartMargin, kChartMargin);
    panelLayout->addWidget(chrtNews);
    resize(kDesignSize);
}

frmChart::~frmChart() = default;

ChartControl &frmChart::chart() const
{
    return *chrtNews->control();
}

void frmChart::setMousePointer(int pointer)
{
    m_mousePointer = pointer;
    if (pointer == kHourglass)
        setCursor(Qt::WaitCursor);
    else
        unsetCursor();
}

qint32 frmChart::pointNumber(double date) const
{
    return qint32(1 + (dayOf(date) - dayOf(MinDate)));
}

void frmChart::ClearChart()
{
    ChartControl &c = chart();
    c.setIsBatched(true);
    SeriesData.assign(1, SeriesRecord());
    c.RemoveAllSeriesLabels();
    c.setNumSeries(0);
    c.RemoveAllLabels();
    MinDate = TillDate;
    MaxDate = FromDate;
    c.setBorderStyle(1);
    c.setBorderWidth(0);
    c.setBackColor(kEmptyBackColor);
    c.setIsBatched(false);
}

void frmChart::DrawChart()
{
    ClearChart();
    if (sFilter.isEmpty())
        return;
    setMousePointer(kHourglass);
    if (!LoadSeries(qrt::chart::StatisticsStatement::PeriodClause(FromDate, TillDate, sFilter))) {
        setMousePointer(kDefaultPointer);
        return;
    }
    ChartControl &c = chart();
    c.setIsBatched(true);
    c.setDataIsBatched(true);
    c.setNumSeries(int(SeriesData.size()) - 1);
    c.setNumPoints(1, pointNumber(MaxDate));
    const int numSeries = c.NumSeries();
    for (int i = 1; i <= numSeries; ++i) {
        const auto &points = SeriesData[size_t(i)].Points;
        for (size_t j = 1; j < points.size(); ++j) {
            const qint32 k = pointNumber(points[j].PointDate);
            double cell = 0.0;
            if (!c.Y(i, k, cell))
                continue; // a point outside the table is left out
            const auto count = double(points[j].NewsCount);
            c.setY(i, k, c.IsHole(cell) ? count : cell + count);
        }
    }
    SetupAxes();
    SetupTimeAxis();
    c.setDataIsBatched(false);
    c.setIsBatched(false);
    setMousePointer(kDefaultPointer);
}

bool frmChart::LoadSeries(const QString &where)
{
    if (!gConnection)
        return false;
    bool hasRows = false;
    gConnection->Open(gConnectionString);
    {
        // A connection that did not open gives no rows.
        const auto rows = qrt::chart::StatisticsReader::Open(*gConnection, where, sOrder,
                                                             chartSeria, statisticsMode);
        m_lastPath = rows->path();
        qint32 lastId = 0;
        qrt::chart::StatisticsRow row;
        while (rows->next(row)) {
            if (row.seriesId != lastId) {
                lastId = row.seriesId;
                chart().AddSeriesLabel(rows->seriesName());
                SeriesData.emplace_back();
            }
            SeriesData.back().Points.push_back({row.pointDate, row.newsCount});
            if (row.dated && row.firstDate < MinDate)
                MinDate = row.firstDate;
            if (row.dated && row.lastDate > MaxDate)
                MaxDate = row.lastDate;
            hasRows = true;
        }
    }
    gConnection->Close();
    return hasRows;
}

void frmChart::SetupAxes()
{
    ChartControl &c = chart();
    if (ChartAxis *y = c.Axis(u"Y")) {
        y->AnnotationMethod = 0;
        y->Grid.IsShown = true;
        y->Grid.FollowsTicks = true;
        y->Grid.LinePattern = 4;
        y->Grid.Spacing = 5.0;
        y->Grid.SpacingIsAuto = true;
        y->ZeroLineShown = true;
    }
    if (ChartAxis *x = c.Axis(u"X")) {
        x->AnnotationMethod = 3;
        x->TimeUnit = 4;
        x->Grid.IsShown = true;
        x->Grid.FollowsTicks = true;
        x->Grid.LinePattern = 4;
        x->Grid.Spacing = 1.0;
        x->Grid.SpacingIsAuto = true;
    }
}

void frmChart::SetupTimeAxis()
{
    ChartControl &c = chart();
    // Whole calendar days and month boundaries between the two dates: the
    // time of day plays no part in either.
    const auto d = qint64(dayOf(MaxDate) - dayOf(MinDate));
    const qrt::dates::Fields first = qrt::dates::toFields(MinDate);
    const qrt::dates::Fields last = qrt::dates::toFields(MaxDate);
    const int m = (last.year * 12 + last.month) - (first.year * 12 + first.month);
    const double TitleDate = MinDate + double(d) + 0.5;
    if (ChartAxis *x = c.Axis(u"X"))
        x->TimeBase = MinDate - 1;

    QString title;
    if (d < 1)
        title = ChartControl::Format(MinDate, u"%B %d"_s);
    else if (d == 1)
        title = ChartControl::Format(MinDate, u"%B "_s) + ChartControl::Format(MinDate, u"%d-"_s) +
                ChartControl::Format(MaxDate, u"%d"_s);
    else if (m <= 1)
        title = ChartControl::Format(TitleDate, u"%B %Y"_s);
    else if (m <= 6)
        title = ChartControl::Format(MinDate, u"%B - "_s) + ChartControl::Format(MaxDate, u"%B"_s);
    else
        title = ChartControl::Format(TitleDate, u"%Y"_s);

    const int label = c.AddLabel();
    c.setLabelIsBatched(label, true);
    c.setLabelText(label, u"News Count for "_s + title);
    c.setLabelDataX(label, (c.AxisMin(u"X") + c.AxisMax(u"X")) / 2);
    c.setLabelDataY(label, c.AxisMax(u"Y"));
    c.setLabelIsBatched(label, false);
    c.setLabelBold(label, true);

    c.setBorderStyle(1);
    c.setBorderWidth(4);
    c.setBackColor(kDrawnBackColor);
}
