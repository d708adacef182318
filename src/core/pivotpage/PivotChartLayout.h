#pragma once
// Puts a stored pivot chart layout (section "STATMSCHART") back on a view,
// or the default one where nothing is stored: one field set on every axis,
// "Channel" to filter by, "NewsDate By Month" by "Months" along the rows,
// "Provider" across the columns, "News" as data, and one total, "Count of
// News". The keys and formats are those PivotLayoutCapture writes.
//
// Every step passes over its failure and the next one runs: a field set
// the data no longer has is left out and the rest of the layout comes. The
// member look-ups go through the caller's parser, which decides what a
// member that no longer exists does.

#include "pivot/PivotMember.h"

#include <QString>

#include <functional>
#include <vector>

class CAppSettings;

namespace qrt::pivot {

class PivotMembers;
class PivotView;

namespace PivotChartLayout {

inline const QString Section = QStringLiteral("STATMSCHART");

// The chart's own keys with their defaults: legend shown, line with
// markers, series by columns.
struct Options
{
    bool legend = true;
    int type = 7;
    bool seriesByRows = false;
};
// A stored value that can't be read keeps the one of `current`.
Options readOptions(const CAppSettings &settings, const Options &current = {});
void saveOptions(const CAppSettings &settings, const Options &options);

struct AxisDefault
{
    QString axis;
    QString fieldSet;
    QString field;
};
// In the order they are restored: FILTER, ROW, COLUMN, DATA.
const std::vector<AxisDefault> &axisDefaults();

using MemberParser = std::function<std::vector<PivotMember>(
    const PivotMembers &root, const QString &memberspath, const QString &members)>;

void RestoreChartAxis(const CAppSettings &settings, PivotView &view, const QString &axis,
                      const QString &defaultFieldSet, const QString &defaultField,
                      const MemberParser &parseMembers);
void RestoreChartTotals(const CAppSettings &settings, PivotView &view);

// The four axes in their order, then the totals.
void RestoreChartAxes(const CAppSettings &settings, PivotView &view,
                      const MemberParser &parseMembers);

} // namespace PivotChartLayout

} // namespace qrt::pivot
