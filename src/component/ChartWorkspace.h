#pragma once
// What a child form asks of its workspace window. A child holds only its
// window's number and finds the window in gChartForms under its key; this
// is all of the window it sees, so the forms never include the window's
// header. frmCharts implements it.

#include <QString>
#include <QWidget>

class ChartWorkspace : public QWidget
{
    Q_OBJECT

public:
    using QWidget::QWidget;

    // Writes fChart.sFilter: the condition the next drawing uses.
    virtual void setChartFilter(const QString &filter) = 0;
    // Enables or disables the tool tbRedraw.
    virtual void setRedrawEnabled(bool enabled) = 0;
    // Closes the calendar pop-up pwfCal, as a pick of a day does.
    virtual void hideCalendarPopup() = 0;
};
