#pragma once
// What a pivot chart draws, taken from the grid of its layout: the
// categories along the chart's category axis and one series of values per
// member of the other axis. By columns (the default) the row axis members
// are the categories and every column axis member makes a series; by rows
// the two swap. The leaves of a member tree are the categories or series,
// and a collapsed member stands for its leaves. With no field set on an
// axis its grand total is the one category or series.
//
// Only the first total is plotted, unless all of them are asked for: then
// every total makes series of its own, named after the member and the total.

#include "pivot/PivotResult.h"

#include <QStringList>

#include <optional>
#include <vector>

namespace qrt::pivot {

struct PivotChartData
{
    // Which totals make series.
    enum Aggregates { FirstTotal = 0, AllTotals = 1 };

    struct Series
    {
        QStringList path; // the member's captions, outermost first; empty for the grand total
        int total = 0;
        QString name;                              // as the legend shows it
        QString tip;                               // the same, by the whole path
        std::vector<std::optional<double>> values; // one per category; empty: nothing there
    };

    std::vector<QStringList> categories; // captions, outermost first, one list per category
    std::vector<QString> categoryTips;   // PivotResult::wholePath of each category
    QString categoryTitle;               // the field names of the category levels
    QString seriesTitle;                 // the field names of the series levels
    QString valueTitle;                  // the caption of the total, when one is plotted
    std::vector<Series> series;

    static PivotChartData from(const PivotResult &result, bool seriesByRows, int plotAggregates);

    bool isEmpty() const { return categories.empty() || series.empty(); }
};

} // namespace qrt::pivot
