#include "workspace/frmCharts.h"

#include "component/ThemeColors.h"
#include "component/modUtils.h"
#include "workspace/ButtonTool.h"
#include "workspace/ComboTool.h"
#include "workspace/DockStudio.h"
#include "workspace/PopupWindow.h"
#include "workspace/ToolIcons.h"
#include "workspace/frmCalendar.h"

#include <QCloseEvent>
#include <QTabWidget>
#include <QToolBar>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

const QString frmCharts::TabCaptions =
    u"&Built-In Chart|MS Office &Pivot Chart|MS Office Pivot &Table"_s;

namespace {

// Client area at the design size: 8880 by 5070 twips at 96 dpi.
constexpr QSize kDesignSize(592, 338);
constexpr QSize kCalendarSize(164, 155);
constexpr int kFilterPanelWidth = 245;

QWidget *pageWithLayout(const QString &name)
{
    auto *page = new QWidget;
    page->setObjectName(name);
    auto *layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    return page;
}

} // namespace

frmCharts::frmCharts(QWidget *parent)
    : QWidget(parent, Qt::Window)
{
    setObjectName(u"frmCharts"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(u"Statistic Charts"_s);
    buildPages();
    resize(kDesignSize);
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
    QFont font(u"Tahoma"_s);
    font.setPointSizeF(8.25);
    tabCharts->setFont(font);
    const QStringList pageNames = {u"elsBorder"_s, u"elstMSchart"_s, u"WebBrowser1"_s};
    const QStringList captions = TabCaptions.split(u'|');
    for (qsizetype i = 0; i < pageNames.size(); ++i)
        tabCharts->addTab(pageWithLayout(pageNames[i]), captions.value(i));
    buildDockStudio(tabCharts->widget(0));
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
    dsChart->AddComboBox(
        bar, u"cbFilter"_s, u"Period:"_s,
        {u"Today"_s, u"Yesterday"_s, u"Last Week"_s, u"Last Month"_s, u"Last Year"_s, u"All"_s},
        u"Select Period"_s);
    dsChart->AddPopupTool(bar, u"cpFrom"_s, u"From:"_s, u"pwfCal"_s,
                          u"Select start date for news"_s);
    dsChart->AddPopupTool(bar, u"cpTill"_s, u"To:"_s, u"pwfCal"_s, u"Select end date for news"_s);
    dsChart->AddComboBox(bar, u"cbChartType"_s, u"Chart Type:"_s,
                         {u"Plot"_s, u"Bar"_s, u"Stacking Bar"_s, u"Area"_s},
                         u"Select Chart Type"_s);
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

void frmCharts::Form_Load()
{
    LoadThemeColors();
    QPalette palette = tabCharts->palette();
    palette.setColor(QPalette::Window, ThemeColors::toQColor(gThemeFillColor));
    palette.setColor(QPalette::Button, ThemeColors::toQColor(gThemeFillColor));
    tabCharts->setPalette(palette);
    fCalendar = new frmCalendar;
    fCalendar->Form_Load();
    fCalendar->fIndex = fIndex;
    pwCalendar = dsChart->PopupWindows(u"pwfCal"_s);
    pwCalendar->setContent(fCalendar);
}

void frmCharts::Form_Unload()
{
    if (m_unloaded)
        return;
    m_unloaded = true;
    gChartForms.Remove(ChartFormKey(fIndex));
}
