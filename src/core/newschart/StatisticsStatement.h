#pragma once
// The one statement behind the news chart and its period clause, composed
// from fixed pieces exactly as the chart form joins them, plus the series
// columns each grouping reads. Dates go in as ISO text, which CDate of every
// engine reads back to the same day.

#include <QString>

namespace qrt::chart {

struct SeriesColumns
{
    QString id;    // e.g. "Providers.ID"
    QString name;  // e.g. "Providers.Provider"
    QString order; // the ORDER BY text that sorts by that id
};

namespace StatisticsStatement {

// The select list and the joins of the statement, as the pieces write them.
extern const QString SelectList;
extern const QString Joins;
// The same joins without News: each channel with its provider and category.
extern const QString ChannelJoins;
extern const QString GroupBy;

// "(News.pubDate >= CDate("from") AND News.pubDate<=CDate("till + 1")) AND "
// followed by the filter: the upper bound is midnight after tillDate.
QString PeriodClause(double fromDate, double tillDate, const QString &filter);
// The statement for a where text and an ORDER BY text.
QString Compose(const QString &where, const QString &order);
// The columns of a series grouping by its column number (2, 3 or 4), or
// nothing for another number.
extern const SeriesColumns *ColumnsFor(int chartSeria);

} // namespace StatisticsStatement

} // namespace qrt::chart
