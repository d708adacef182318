#include "workspace/frmCalendar.h"

#include "component/FormFont.h"
#include "component/modUtils.h"

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
    // The pop-up is a window of its own and inherits no font.
    Cal->setFont(qrt::component::formFont());
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
    if (ChartWorkspace *workspace = gChartForms.Item(ChartFormKey(fIndex)))
        workspace->hideCalendarPopup();
}
