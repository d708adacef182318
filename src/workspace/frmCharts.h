#pragma once
// The component's main window: three views of the stored news on the tabs of
// tabCharts — the built-in chart, the pivot chart and the pivot table. The
// first page holds the dock studio dsChart with the tool bar, the filter
// panel and the calendar pop-up. The window loads the first time it is shown
// and unloads when it closes; a window never shown holds only its number.
//
// The commands of the tool bar either change how the drawn chart looks (type,
// stacking, legend), at once, or what the next drawing asks for (period,
// series, filter), which shows at the next "Redraw Chart".

#include "component/ChartWorkspace.h"
#include "pivot/PivotMember.h"

#include <QPointer>

#include <vector>

namespace qrt::pivot {
class PivotMembers;
}

class QTabWidget;
class ChartControl;
class DockStudio;
class OleContainer;
class PageObject;
class PivotChartSpace;
class PopupWindow;
class Tool;
class WebBrowser;
class frmCalendar;
class frmChart;
class frmProvChannels;

class frmCharts : public ChartWorkspace
{
    Q_OBJECT

public:
    explicit frmCharts(QWidget *parent = nullptr);
    ~frmCharts() override;

    // Running number, set by ShowChartForm before the window loads.
    qint16 fIndex = 0;
    frmChart *fChart = nullptr;
    DockStudio *dsChart = nullptr;
    QTabWidget *tabCharts = nullptr;
    QPointer<OleContainer> OLE1;
    // Page 2: the generated pivot page with the pivot table `PT`.
    QPointer<WebBrowser> WebBrowser1;
    // The chart space of page 1, from its setup until the window unloads.
    QPointer<PivotChartSpace> ChartSpace;

    bool isLoaded() const { return m_loaded; }
    frmProvChannels *filterPanel() const { return fProvChannels; }
    bool calendarEditsFirstDate() const { return bCalendarFrom; }

    // Sets the period of a code (1 "Today" to 6 "All") from today's date.
    void SetPeriod(int Period);

    void setChartFilter(const QString &filter) override;
    void setRedrawEnabled(bool enabled) override;
    void hideCalendarPopup() override;

    // "&Built-In Chart|MS Office &Pivot Chart|MS Office Pivot &Table"
    static const QString TabCaptions;

protected:
    void showEvent(QShowEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    void Form_Load();
    void Form_Unload();
    void buildPages();
    void buildDockStudio(QWidget *page);

    void dsChart_ToolClick(Tool *tool);
    void dsChart_ToolPopup(Tool *tool);
    void pwCalendar_Hide(int Reason);
    void LoadSettings();
    void SaveSettings();
    bool IsPivotTableAvailable();
    void ShowPivotTable();
    void BuildPivotPage();
    QString GetAdditionalScriptFunctions();
    void SavePivotChartLayout();
    void SavePivotTableLayout();
    bool CreateChartSpace();
    void InitPivotChart();
    void RestorePivotChartLayout();
    std::vector<qrt::pivot::PivotMember> ParseMembers(const qrt::pivot::PivotMembers &root,
                                                      const QString &memberspath,
                                                      const QString &Members);
    ChartControl *chrtNews() const;

    frmProvChannels *fProvChannels = nullptr;
    frmCalendar *fCalendar = nullptr;
    PopupWindow *pwCalendar = nullptr;
    bool bCalendarFrom = false;
    // Held during the capture at close only.
    QPointer<PageObject> PivotTableObject;
    bool m_loaded = false;
    bool m_unloaded = false;
};
