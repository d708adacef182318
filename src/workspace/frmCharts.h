#pragma once
// The component's main window: three views of the stored news on the tabs of
// tabCharts — the built-in chart, the pivot chart and the pivot table. The
// first page holds the dock studio dsChart with the tool bar, the filter
// panel and the calendar pop-up. The window loads the first time it is shown
// and unloads when it closes; a window never shown holds only its number.

#include <QWidget>

class QTabWidget;
class DockStudio;
class frmCalendar;
class PopupWindow;

class frmCharts : public QWidget
{
    Q_OBJECT

public:
    explicit frmCharts(QWidget *parent = nullptr);
    ~frmCharts() override;

    // Running number, set by ShowChartForm before the window loads.
    qint16 fIndex = 0;
    DockStudio *dsChart = nullptr;
    QTabWidget *tabCharts = nullptr;

    bool isLoaded() const { return m_loaded; }

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

    frmCalendar *fCalendar = nullptr;
    PopupWindow *pwCalendar = nullptr;
    bool bCalendarFrom = false;
    bool m_loaded = false;
    bool m_unloaded = false;
};
