#include "workspace/frmCalendar.h"

#include "component/modUtils.h"
#include "controls/DockStudio.h"
#include "controls/PopupWindow.h"
#include "workspace/frmCharts.h"

#include <QCalendarWidget>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

frmCalendar::frmCalendar(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(u"frmCalendar"_s);
    Cal = new QCalendarWidget(this);
    Cal->setObjectName(u"Cal"_s);
    Cal->setDateRange(QDate(1753, 1, 1), QDate(9999, 12, 31));
    Cal->setVerticalHeaderFormat(QCalendarWidget::NoVerticalHeader);
    Cal->setGridVisible(false);
    // One letter a weekday: the month fits the pop-up's 164 pixels.
    Cal->setHorizontalHeaderFormat(QCalendarWidget::SingleLetterDayNames);
    QFont font(u"Tahoma"_s);
    font.setPointSizeF(8.25);
    Cal->setFont(font);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(Cal);
    connect(Cal, &QCalendarWidget::clicked, this, &frmCalendar::Cal_DateClick);
    connect(Cal, &QCalendarWidget::activated, this, &frmCalendar::Cal_DateClick);
}

void frmCalendar::Form_Load()
{
    LoadThemeColors();
}

void frmCalendar::Cal_DateClick(QDate)
{
    frmCharts *workspace = gChartForms.Item(ChartFormKey(fIndex));
    if (!workspace || !workspace->dsChart)
        return;
    if (PopupWindow *popup = workspace->dsChart->PopupWindows(u"pwfCal"_s))
        popup->setVisible(false);
}
