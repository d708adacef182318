#include "controls/chart/DayAxisTicker.h"

#include "base/Dates.h"

#include <array>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr double kDaysPerMonth = 30.4375;

} // namespace

double DayAxisTicker::getTickStep(const QCPRange &range)
{
    const double wanted = range.size() / std::max(1, tickCount());
    static constexpr std::array<double, 4> daySteps = {1, 2, 7, 14};
    for (double step : daySteps) {
        if (wanted <= step * 1.3) {
            m_monthStep = 0;
            return step;
        }
    }
    static constexpr std::array<int, 6> monthSteps = {1, 2, 3, 6, 12, 24};
    m_monthStep = monthSteps.back();
    for (int step : monthSteps) {
        if (wanted <= step * kDaysPerMonth * 1.3) {
            m_monthStep = step;
            break;
        }
    }
    return m_monthStep * kDaysPerMonth;
}

int DayAxisTicker::getSubTickCount(double)
{
    return 0;
}

QVector<double> DayAxisTicker::createTickVector(double tickStep, const QCPRange &range)
{
    QVector<double> ticks;
    if (m_monthStep == 0) {
        for (double tick = std::ceil(range.lower / tickStep) * tickStep; tick <= range.upper;
             tick += tickStep)
            ticks << tick;
        return ticks;
    }
    // First of a month whose number is a multiple of the step.
    QDate month = qrt::dates::toQDate(m_base + std::floor(range.lower));
    month = QDate(month.year(), month.month(), 1);
    const int offset = (month.month() - 1) % m_monthStep;
    if (offset)
        month = month.addMonths(m_monthStep - offset);
    for (;; month = month.addMonths(m_monthStep)) {
        const double tick = qrt::dates::fromQDate(month) - m_base;
        if (tick > range.upper)
            break;
        if (tick >= range.lower)
            ticks << tick;
    }
    return ticks;
}

QString DayAxisTicker::getTickLabel(double tick, const QLocale &locale, QChar, int)
{
    const QDate date = qrt::dates::toQDate(m_base + std::round(tick));
    if (m_monthStep >= 12)
        return locale.toString(date, u"yyyy"_s);
    if (m_monthStep > 0)
        return locale.toString(date, u"MMM yyyy"_s);
    return locale.toString(date, u"d MMM"_s);
}
