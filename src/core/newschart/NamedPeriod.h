#pragma once
// The named periods of the chart: each ends today and reaches a plain count
// of days back (31 for a month, 365 for a year, leap years included). The
// workspace's period combo and the command line both take their dates here.

#include <QString>

#include <optional>

namespace qrt::chart {

struct PeriodRange
{
    double FromDate = 0.0;
    double TillDate = 0.0;
};

namespace NamedPeriod {

enum Code { Today = 1, Yesterday = 2, LastWeek = 3, LastMonth = 4, LastYear = 5, All = 6 };

// The first day for a code, counted back from today; day 0 for "All" and
// for a code outside 1 to 6.
double FirstDate(int code, double today);
PeriodRange Range(int code, double today);
// "Today", "Yesterday", "Last Week", "Last Month", "Last Year", "All";
// empty for any other code.
QString Text(int code);
// The code of a text of the period list, compared without regard to case.
std::optional<int> FromText(const QString &text);

} // namespace NamedPeriod

} // namespace qrt::chart
