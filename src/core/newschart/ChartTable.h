#pragma once
// The drawn chart as a table for reports and scripts: per series its name
// and the value of each day (a hole stays empty in CSV and null in JSON),
// with the chart's title and the first and last time of its rows.

#include <QByteArray>

class ChartControl;

namespace qrt::chart {

namespace ChartTable {

// "Title,<title>", "MinDate,<time>", "MaxDate,<time>", then a header
// "Date,<series names...>" and one line per day.
QByteArray Csv(const ChartControl &chart, double minDate, double maxDate);
// {"title", "minDate", "maxDate", "days": [...],
//  "series": [{"name", "values": [count or null, ...]}]}
QByteArray Json(const ChartControl &chart, double minDate, double maxDate);

} // namespace ChartTable

} // namespace qrt::chart
