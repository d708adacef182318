#pragma once
// The component's main window: three views of the stored news on the tabs of
// tabCharts — the built-in chart, the pivot chart and the pivot table. It
// loads the first time it is shown and unloads when it closes; a window that
// is never shown holds nothing but its number.

#include <QWidget>

class QTabWidget;

class frmCharts : public QWidget
{
    Q_OBJECT

public:
    explicit frmCharts(QWidget *parent = nullptr);
    ~frmCharts() override;

    // Running number, set by ShowChartForm before the window loads.
    qint16 fIndex = 0;

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

    QTabWidget *tabCharts = nullptr;
    bool m_loaded = false;
    bool m_unloaded = false;
};
