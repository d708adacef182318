#include "workspace/frmCharts.h"

#include "base/Dates.h"
#include "base/ResumeNext.h"
#include "base/RoundedNumber.h"
#include "component/FormFont.h"
#include "component/PageObject.h"
#include "component/ThemeColors.h"
#include "component/modUtils.h"
#include "controls/tools/ButtonTool.h"
#include "controls/tools/ComboTool.h"
#include "controls/tools/DockStudio.h"
#include "controls/tools/IconCache.h"
#include "controls/tools/OleContainer.h"
#include "controls/tools/PopupTool.h"
#include "controls/tools/PopupWindow.h"
#include "controls/tools/ToolIcons.h"
#include "errors/ReportingFrame.h"
#include "filterpanel/frmProvChannels.h"
#include "newschart/ChartControl.h"
#include "newschart/NamedPeriod.h"
#include "newschart/StatisticsStatement.h"
#include "newschart/frmChart.h"
#include "pivotpage/PivotChartLayout.h"
#include "pivotpage/PivotLayoutCapture.h"
#include "pivotpage/PivotMemberParser.h"
#include "pivotpage/PivotPage.h"
#include "pivot/PivotStatement.h"
#include "pivotviews/PivotChartSpace.h"
#include "pivotviews/WebBrowser.h"
#include "settings/CAppSettings.h"
#include "workspace/frmCalendar.h"

#include <QAbstractButton>
#include <QCalendarWidget>
#include <QCloseEvent>
#include <QShortcut>
#include <QTabWidget>
#include <QToolBar>
#include <QVBoxLayout>

#include <optional>

using namespace Qt::StringLiterals;
namespace NamedPeriod = qrt::chart::NamedPeriod;
namespace StatisticsStatement = qrt::chart::StatisticsStatement;
using qrt::pivot::PivotView;
namespace PivotPage = qrt::pivot::PivotPage;
namespace dates = qrt::dates;

const QString frmCharts::TabCaptions =
    u"&Built-In Chart|MS Office &Pivot Chart|MS Office Pivot &Table"_s;

namespace {

// Client area at the design size: 8880 by 5070 twips at 96 dpi.
constexpr QSize kDesignSize(592, 338);
constexpr QSize kMinimumSize(440, 280);
constexpr QSize kCalendarSize(164, 155);
constexpr int kFilterPanelWidth = 245;

const QString kSection = u"STATCHART"_s;

struct ChartTypeItem
{
    QString text;
    int value;
};
const ChartTypeItem kChartTypes[] = {
    {u"Plot"_s, 1}, {u"Bar"_s, 2}, {u"Stacking Bar"_s, 4}, {u"Area"_s, 5}};

// The ORDER BY text of each comes with the series columns of the statement.
struct SeriesItem
{
    QString text;
    int chartSeria;
};
const SeriesItem kSeries[] = {
    {u"Categories"_s, 4},
    {u"Providers"_s, 3},
    {u"Channels"_s, 2},
};

QWidget *pageWithLayout(const QString &name)
{
    auto *page = new QWidget;
    page->setObjectName(name);
    auto *layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    return page;
}

// The short date form: the day alone, also for day 0.
QString shortDate(double date)
{
    return dates::toQDate(date).toString(Qt::ISODate);
}

// Toggles a button tool's value and answers the new one as a flag.
bool toggleValue(ButtonTool *tool)
{
    tool->setValue(tool->Value() == 1 ? 0 : 1);
    return tool->Value() != 0;
}

} // namespace

frmCharts::frmCharts(QWidget *parent)
    : ChartWorkspace(parent, Qt::Window)
{
    setObjectName(u"frmCharts"_s);
    setWindowTitle(u"Statistic Charts"_s);
    setFont(qrt::component::formFont());
    buildPages();
    resize(kDesignSize);
    // Room for the first tools of the bar and a chart beside the open filter
    // panel; the rest of the bar waits behind its extension button.
    setMinimumSize(kMinimumSize);
    // Another workspace on the same database, sharing the stored choices.
    auto *another = new QShortcut(QKeySequence::New, this);
    connect(another, &QShortcut::activated, this, [] {
        // No host holds a window the user opens from another: it goes when closed.
        if (QWidget *window = ShowNewChartForm()) {
            window->setAttribute(Qt::WA_DeleteOnClose);
            window->show();
        }
    });
    // The redraw tool is the last of the bar, the first to go behind its
    // extension button when the window is narrow: F5 reaches it at any width,
    // and, like a click, not while it is disabled.
    auto *redraw = new QShortcut(QKeySequence::Refresh, this);
    connect(redraw, &QShortcut::activated, this, [this] {
        if (ButtonTool *tool = dsChart->Commands().GetToolButton(u"tbRedraw"_s))
            if (auto *redrawButton = qobject_cast<QAbstractButton *>(tool->widget()))
                redrawButton->click();
    });
}

frmCharts::~frmCharts()
{
    // A host may delete a loaded window without closing it; it still leaves.
    if (m_loaded)
        Form_Unload();
}

void frmCharts::buildPages()
{
    tabCharts = new QTabWidget(this);
    tabCharts->setObjectName(u"tabCharts"_s);
    const QStringList pageNames = {u"elsBorder"_s, u"elstMSchart"_s};
    const QStringList captions = TabCaptions.split(u'|');
    for (qsizetype i = 0; i < pageNames.size(); ++i)
        tabCharts->addTab(pageWithLayout(pageNames[i]), captions.value(i));
    WebBrowser1 = new WebBrowser;
    WebBrowser1->setObjectName(u"WebBrowser1"_s);
    tabCharts->addTab(WebBrowser1, captions.value(2));
    buildDockStudio(tabCharts->widget(0));
    OLE1 = new OleContainer(tabCharts->widget(1));
    OLE1->setObjectName(u"OLE1"_s);
    tabCharts->widget(1)->layout()->addWidget(OLE1);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(tabCharts);
}

void frmCharts::buildDockStudio(QWidget *page)
{
    dsChart = new DockStudio(page);
    dsChart->setObjectName(u"dsChart"_s);
    page->layout()->addWidget(dsChart);
    dsChart->AddPopupWindow(u"pwfCal"_s, kCalendarSize);
    QToolBar *bar = dsChart->AddCommandBar(u"tbFilter"_s, u"Filter"_s);
    QStringList periods;
    for (int code = NamedPeriod::Today; code <= NamedPeriod::All; ++code)
        periods << NamedPeriod::Text(code);
    dsChart->AddComboBox(bar, u"cbFilter"_s, u"Period:"_s, periods, u"Select Period"_s);
    dsChart->AddPopupTool(bar, u"cpFrom"_s, u"From:"_s, u"pwfCal"_s,
                          u"Select start date for news"_s);
    dsChart->AddPopupTool(bar, u"cpTill"_s, u"To:"_s, u"pwfCal"_s, u"Select end date for news"_s);
    QStringList types;
    for (const auto &item : kChartTypes)
        types << item.text;
    dsChart->AddComboBox(bar, u"cbChartType"_s, u"Chart Type:"_s, types, u"Select Chart Type"_s);
    dsChart->AddButton(bar, u"tbStacked"_s, u"Stacked"_s, ToolIcons::stacked(), QString());
    dsChart->AddButton(bar, u"tbLegend"_s, u"Legend"_s, ToolIcons::legend(),
                       u"Show or Hide Legend"_s);
    dsChart->AddComboBox(bar, u"cbSeries"_s, u"Series by:"_s,
                         {u"Channels"_s, u"Providers"_s, u"Categories"_s}, u"Select Series"_s);
    dsChart->AddButton(bar, u"tbRedraw"_s, u"Redraw Chart"_s, ToolIcons::statisticchart(),
                       QString());
    dsChart->AddDockWindow(u"dwfProvChannels"_s, u"Statistic Filters"_s,
                           u"Filter by Providers, Categories and Channels"_s,
                           Qt::LeftDockWidgetArea, kFilterPanelWidth);
    connect(dsChart, &DockStudio::ToolClick, this, &frmCharts::dsChart_ToolClick);
    connect(dsChart, &DockStudio::ToolPopup, this, &frmCharts::dsChart_ToolPopup);
}

void frmCharts::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (!m_loaded) {
        m_loaded = true;
        Form_Load();
    }
}

void frmCharts::closeEvent(QCloseEvent *event)
{
    // The window cannot refuse to close.
    Form_Unload();
    event->accept();
}

ChartControl *frmCharts::chrtNews() const
{
    return fChart ? &fChart->chart() : nullptr;
}

void frmCharts::Form_Load()
{
    LoadThemeColors();
    QPalette palette = tabCharts->palette();
    palette.setColor(QPalette::Window, ThemeColors::toQColor(gThemeFillColor));
    palette.setColor(QPalette::Button, ThemeColors::toQColor(gThemeFillColor));
    tabCharts->setPalette(palette);

    fChart = new frmChart;
    fChart->fIndex = fIndex;
    dsChart->AddClientWindow(u"Chart"_s, u"Chart"_s, fChart);

    // The panel's load writes the filter into fChart through gChartForms, so
    // the window stands there and fChart exists before it loads.
    fProvChannels = new frmProvChannels;
    fProvChannels->fIndex = fIndex;
    fProvChannels->Form_Load();
    dsChart->SetDockContent(u"dwfProvChannels"_s, fProvChannels);

    fCalendar = new frmCalendar;
    fCalendar->Form_Load();
    fCalendar->fIndex = fIndex;
    pwCalendar = dsChart->PopupWindows(u"pwfCal"_s);
    pwCalendar->setContent(fCalendar);
    connect(pwCalendar, &PopupWindow::Hide, this, &frmCharts::pwCalendar_Hide);

    LoadSettings();
    fChart->DrawChart();
    if (IsPivotTableAvailable())
        ShowPivotTable();
    if (CreateChartSpace())
        InitPivotChart();
    IconCache::shareStyleIcons(this);
}

void frmCharts::Form_Unload()
{
    // A window never shown has no children, stays in the collection and
    // saves nothing, closed or not.
    if (m_unloaded || !m_loaded)
        return;
    m_unloaded = true;
    // The panel and the calendar go first; the chart stays with the window
    // until its object goes, so that SaveSettings still reads it.
    if (fProvChannels) {
        fProvChannels->hide();
        fProvChannels->deleteLater();
    }
    if (fCalendar) {
        fCalendar->hide();
        fCalendar->deleteLater();
    }
    if (pwCalendar)
        disconnect(pwCalendar, nullptr, this, nullptr);
    pwCalendar = nullptr;
    fCalendar = nullptr;
    fProvChannels = nullptr;
    gChartForms.Remove(ChartFormKey(fIndex));
    if (!m_loaded)
        return;
    SaveSettings();
    SavePivotChartLayout();
    ChartSpace = nullptr;
    resumeNext([&] {
        // Until the page's script has laid the table out (it waits for the
        // data, or runs again in the next turn), the table shows no layout
        // of the user's: the stored one stays.
        if (WebBrowser1 && !WebBrowser1->isBusy() && !WebBrowser1->isAwaitingData())
            PivotTableObject = WebBrowser1->Document().getElementById(u"PT"_s).object();
    });
    SavePivotTableLayout();
    PivotTableObject = nullptr;
}

void frmCharts::dsChart_ToolClick(Tool *tool)
{
    const QString &id = tool->ID();
    ToolCommands commands = dsChart->Commands();
    if (id == u"cbFilter"_s) {
        if (const auto code = NamedPeriod::FromText(commands.GetComboBox(id)->Text());
            code && NamedPeriod::Text(*code) == commands.GetComboBox(id)->Text())
            SetPeriod(*code);
    } else if (id == u"cbChartType"_s) {
        const QString text = commands.GetComboBox(id)->Text();
        for (const auto &item : kChartTypes)
            if (item.text == text && chrtNews())
                chrtNews()->setChartType(item.value);
    } else if (id == u"tbStacked"_s) {
        const bool on = toggleValue(commands.GetToolButton(id));
        if (chrtNews())
            chrtNews()->setIsStacked(on);
    } else if (id == u"tbLegend"_s) {
        const bool on = toggleValue(commands.GetToolButton(id));
        if (chrtNews())
            chrtNews()->setLegendIsShowing(on);
    } else if (id == u"cbSeries"_s) {
        const QString text = commands.GetComboBox(id)->Text();
        for (const auto &item : kSeries) {
            if (item.text == text) {
                fChart->sOrder = StatisticsStatement::ColumnsFor(item.chartSeria)->order;
                fChart->chartSeria = item.chartSeria;
                break;
            }
        }
    } else if (id == u"tbRedraw"_s) {
        if (fProvChannels)
            fProvChannels->BuildFilter();
        fChart->DrawChart();
    }
}

void frmCharts::setChartFilter(const QString &filter)
{
    if (fChart)
        fChart->sFilter = filter;
}

void frmCharts::setRedrawEnabled(bool enabled)
{
    if (ButtonTool *redraw = dsChart->Commands().GetToolButton(u"tbRedraw"_s))
        redraw->setEnabled(enabled);
}

void frmCharts::hideCalendarPopup()
{
    if (PopupWindow *popup = dsChart->PopupWindows(u"pwfCal"_s))
        popup->setVisible(false);
}

void frmCharts::dsChart_ToolPopup(Tool *tool)
{
    const bool from = tool->ID() == u"cpFrom"_s;
    if (!from && tool->ID() != u"cpTill"_s)
        return;
    bCalendarFrom = from;
    // The caption is "From:" or "To:" and the date: the calendar starts there.
    const auto date = dates::fromText(tool->Caption().mid(from ? 5 : 3));
    if (date && fCalendar)
        fCalendar->Cal->setSelectedDate(dates::toQDate(*date));
}

void frmCharts::pwCalendar_Hide(int)
{
    if (!fCalendar || !fChart)
        return;
    const double picked = dates::fromQDate(fCalendar->Cal->selectedDate());
    double &date = bCalendarFrom ? fChart->FromDate : fChart->TillDate;
    date = picked;
    const QString id = bCalendarFrom ? u"cpFrom"_s : u"cpTill"_s;
    if (PopupTool *tool = dsChart->Commands().GetPopupTool(id))
        tool->setCaption((bCalendarFrom ? u"From:"_s : u"To:"_s) + dates::toText(date));
}

void frmCharts::SetPeriod(int Period)
{
    ComboTool *period = dsChart->Commands().GetComboBox(u"cbFilter"_s);
    const double today = dates::today();
    fChart->TillDate = today;
    const double first = NamedPeriod::FirstDate(Period, today);
    if (period && !NamedPeriod::Text(Period).isEmpty())
        period->setText(NamedPeriod::Text(Period));
    fChart->FromDate = first;
    if (PopupTool *from = dsChart->Commands().GetPopupTool(u"cpFrom"_s))
        from->setCaption(u"From:"_s + shortDate(first));
    if (PopupTool *till = dsChart->Commands().GetPopupTool(u"cpTill"_s))
        till->setCaption(u"To:"_s + shortDate(today));
}

namespace {

// A stored value, the default when none is stored, or nothing when the read
// fails: the step is then left out and its tool or member keeps its value.
std::optional<QVariant> storedSetting(const QString &key, const QVariant &fallback)
{
    std::optional<QVariant> value;
    resumeNext([&] { value = gSettings->GetSetting(kSection, key, fallback); });
    return value;
}

// A stored number as a 32-bit integer, a number in a text included, with a
// fraction rounded to the nearest and halves to even ("4.5" is 4, "5.5" is
// 6); nothing for a text that is no number or a number out of range.
std::optional<int> storedNumber(const QString &key, int fallback)
{
    const auto value = storedSetting(key, fallback);
    if (!value)
        return std::nullopt;
    return roundedNumber<qint32>(*value);
}

// A stored "1" or "0" flag.
std::optional<bool> storedFlag(const QString &key)
{
    const auto value = storedSetting(key, u"1"_s);
    return value ? std::optional<bool>(value->toString() == u"1"_s) : std::nullopt;
}

} // namespace

void frmCharts::LoadSettings()
{
    if (!gSettings || !fChart)
        return;
    const ToolCommands commands = dsChart->Commands();
    if (const auto type = storedSetting(u"CHARTTYPE"_s, u"Plot"_s))
        commands.GetComboBox(u"cbChartType"_s)->setText(type->toString());
    if (const auto type = storedNumber(u"CHARTTYPEVALUE"_s, 1))
        chrtNews()->setChartType(*type);
    if (const auto stacked = storedFlag(u"STACKED"_s)) {
        commands.GetToolButton(u"tbStacked"_s)->setValue(*stacked ? 1 : 0);
        chrtNews()->setIsStacked(*stacked);
    }
    if (const auto legend = storedFlag(u"LEGEND"_s)) {
        commands.GetToolButton(u"tbLegend"_s)->setValue(*legend ? 1 : 0);
        chrtNews()->setLegendIsShowing(*legend);
    }
    if (const auto series = storedSetting(u"SERIES"_s, u"Provider"_s))
        commands.GetComboBox(u"cbSeries"_s)->setText(series->toString());
    if (const auto seria = storedNumber(u"SERIESVALUE"_s, 3))
        fChart->chartSeria = *seria;
    if (const auto order = storedSetting(u"ORDER"_s, StatisticsStatement::ColumnsFor(3)->order))
        fChart->sOrder = order->toString();
    if (const auto period = storedNumber(u"PERIOD"_s, NamedPeriod::LastMonth))
        SetPeriod(*period);
}

void frmCharts::SaveSettings()
{
    if (!gSettings || !fChart)
        return;
    const ToolCommands commands = dsChart->Commands();
    auto save = [](const QString &key, const QVariant &value) {
        resumeNext([&] { gSettings->SaveSetting(kSection, key, value); });
    };
    save(u"CHARTTYPE"_s, commands.GetComboBox(u"cbChartType"_s)->Text());
    save(u"CHARTTYPEVALUE"_s, chrtNews()->ChartType());
    save(u"STACKED"_s, chrtNews()->IsStacked() ? u"1"_s : u"0"_s);
    save(u"LEGEND"_s, chrtNews()->LegendIsShowing() ? u"1"_s : u"0"_s);
    save(u"SERIES"_s, commands.GetComboBox(u"cbSeries"_s)->Text());
    save(u"SERIESVALUE"_s, fChart->chartSeria);
    save(u"ORDER"_s, fChart->sOrder);
    if (const auto code = NamedPeriod::FromText(commands.GetComboBox(u"cbFilter"_s)->Text()))
        save(u"PERIOD"_s, *code);
    save(u"FILTERS"_s, fChart->sFilter);
}

bool frmCharts::IsPivotTableAvailable()
{
    if (OLE1 && (OLE1->CreateEmbed(QString(), u"OWC11.PivotTable"_s) ||
                 OLE1->CreateEmbed(QString(), u"OWC10.PivotTable"_s)))
        return true;
    delete tabCharts->widget(2); // the page goes with its tab
    return false;
}

bool frmCharts::CreateChartSpace()
{
    if (!OLE1)
        return false;
    OLE1->Delete();
    if (OLE1->CreateEmbed(QString(), u"OWC11.Chartspace"_s) ||
        OLE1->CreateEmbed(QString(), u"OWC10.Chartspace"_s))
        return true;
    delete tabCharts->widget(1); // OLE1 goes with its page
    return false;
}

void frmCharts::ShowPivotTable()
{
    BuildPivotPage();
    // A page that could not be written leaves the last one, which is shown.
    if (WebBrowser1)
        resumeNext([&] { WebBrowser1->Navigate2(PivotPage::pivotPagePath()); });
}

void frmCharts::BuildPivotPage()
{
    if (!gSettings)
        return;
    const QString functions = GetAdditionalScriptFunctions();
    QString text;
    resumeNext([&] { text = PivotPage::BuildPivotPage(*gSettings, gConnectionString, functions); });
    resumeNext([&] { PivotPage::WriteTextFile(PivotPage::pivotPagePath(), text); });
}

QString frmCharts::GetAdditionalScriptFunctions()
{
    QString functions;
    ReportingFrame frame(u"QRT_StatCharts.frmCharts.GetAdditionalScriptFunctions"_s,
                         gErrorHandler.get());
    if (frame.Run([&] { functions = PivotPage::GetAdditionalScriptFunctions(); }))
        frame.Leave();
    return functions;
}

void frmCharts::InitPivotChart()
{
    ChartSpace = qobject_cast<PivotChartSpace *>(OLE1 ? OLE1->object() : nullptr);
    if (!ChartSpace)
        return;
    PivotChartSpace &chart = *ChartSpace;
    for (const char *flag : {"AllowFiltering", "AllowGrouping", "AllowLayoutEvents",
                             "AllowPropertyToolbox", "AllowRenderEvents", "AllowScreenTipEvents",
                             "AllowUISelection", "DisplayToolbar", "DisplayFieldList"})
        chart.setProperty(flag, true);
    resumeNext([&] { chart.Interior().SetSolid(u"Beige"_s); });
    chart.border().setColor(14480885);
    chart.setConnectionString(gConnectionString);
    chart.setCommandText(qrt::pivot::pivotStatement());
    chart.setPlotAllAggregates(1);
    // The layout goes on the internal pivot table's view, which is there
    // once the data is in (the chart space says so before it first draws):
    // at the first load that brings it, a Refresh after a failed one too.
    // Later loads keep the layout on screen themselves.
    connect(&chart, &PivotChartSpace::loaded, this, &frmCharts::RestorePivotChartLayout);
    if (!chart.isLoading())
        RestorePivotChartLayout();
}

void frmCharts::RestorePivotChartLayout()
{
    namespace Layout = qrt::pivot::PivotChartLayout;
    if (!gSettings || !ChartSpace || m_unloaded)
        return;
    PivotView *view = ChartSpace->InternalPivotTable().ActiveView();
    if (!view)
        return;
    disconnect(ChartSpace, &PivotChartSpace::loaded, this, &frmCharts::RestorePivotChartLayout);
    const Layout::Options options = Layout::readOptions(
        *gSettings, {ChartSpace->HasChartSpaceLegend(), ChartSpace->Charts(0).Type(),
                     ChartSpace->HasSeriesByRows()});
    ChartSpace->setHasChartSpaceLegend(options.legend);
    ChartSpace->Charts(0).setType(options.type);
    ChartSpace->setHasSeriesByRows(options.seriesByRows);
    Layout::RestoreChartAxes(
        *gSettings, *view,
        [this](const qrt::pivot::PivotMembers &root, const QString &memberspath,
               const QString &Members) { return ParseMembers(root, memberspath, Members); });
}

// A member that no longer exists reaches the error dialog: Abort leaves
// with no members, Retry looks again, Ignore goes on with the next caption.
std::vector<qrt::pivot::PivotMember> frmCharts::ParseMembers(const qrt::pivot::PivotMembers &root,
                                                             const QString &memberspath,
                                                             const QString &Members)
{
    ReportingFrame frame(u"QRT_StatCharts.frmCharts.ParseMembers"_s, gErrorHandler.get());
    qrt::pivot::PivotMemberParser parser(
        [&frame](const qrt::pivot::PivotMemberParser::Statement &statement) {
            return frame.Run(statement);
        });
    std::vector<qrt::pivot::PivotMember> members = parser.ParseMembers(root, memberspath, Members);
    frame.Leave();
    return members;
}

// A chart whose data never came in has no layout of the user's: the stored
// one stays as it is, its chart keys too.
void frmCharts::SavePivotChartLayout()
{
    namespace Capture = qrt::pivot::PivotLayoutCapture;
    namespace Layout = qrt::pivot::PivotChartLayout;
    if (!gSettings || !ChartSpace)
        return;
    const PivotView *view = ChartSpace->InternalPivotTable().ActiveView();
    if (!view)
        return;
    Layout::saveOptions(*gSettings, {ChartSpace->HasChartSpaceLegend(),
                                     ChartSpace->Charts(0).Type(), ChartSpace->HasSeriesByRows()});
    Capture::SaveViewLayout(*gSettings, Layout::Section, *view);
}

// A table whose page never loaded has no layout: the stored one stays.
void frmCharts::SavePivotTableLayout()
{
    if (!gSettings || !PivotTableObject)
        return;
    if (const PivotView *view = PivotTableObject->activeView())
        resumeNext(
            [&] { qrt::pivot::PivotLayoutCapture::SavePivotTableLayout(*gSettings, *view); });
}
