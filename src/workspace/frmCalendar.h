#pragma once
// The calendar of the chart page's pop-up window: a month view from which
// the user picks the first or the last day of the period. A click on a day
// closes the pop-up of its own window, which then takes the day.

#include <QWidget>

class QCalendarWidget;

class frmCalendar : public QWidget
{
    Q_OBJECT

public:
    explicit frmCalendar(QWidget *parent = nullptr);

    qint16 fIndex = 0;

    void Form_Load();

    // The day marked in the calendar.
    QCalendarWidget *Cal = nullptr;

private:
    void Cal_DateClick(QDate day);
};
