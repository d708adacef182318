#pragma once
// Ticks of the chart's time axis, whose values are point numbers: point k
// is the day base + k. Short spans get a tick per day or week, longer ones a
// tick at the first of every month (or every few months), labelled with the
// date the point stands for.

#include "controls/chart/QCustomPlotInclude.h"

class DayAxisTicker : public QCPAxisTicker
{
public:
    void setBase(double base) { m_base = base; }

protected:
    double getTickStep(const QCPRange &range) override;
    int getSubTickCount(double tickStep) override;
    QString getTickLabel(double tick, const QLocale &locale, QChar formatChar,
                         int precision) override;
    QVector<double> createTickVector(double tickStep, const QCPRange &range) override;

private:
    double m_base = 0.0;
    int m_monthStep = 0; // 0: ticks by days
};
