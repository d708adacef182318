#pragma once
// How fine a load of the pivot statement is: every row as the statement
// gives it, or the rows grouped in the database. Grouped, each column is
// kept by value, a date column by its day (or hour, minute, or exact
// value), and a column of nearly unique texts (the news titles) by the
// count of its non-blank values alone, so a load holds what the layout
// shows and its size follows the distinct combinations, not the items.
//
// of() says what a layout needs: its included levels on the row and column
// axes, the levels its member choices are made at, and the totals (a total
// other than Count needs the exact values of its column).

#include "pivot/PivotHierarchy.h"

#include <QString>

#include <map>
#include <set>

namespace qrt::pivot {

class PivotView;

class PivotGrain
{
public:
    enum class Time { Days, Hours, Minutes, Exact };

    // The aggregate load at its coarsest: dates by day.
    PivotGrain() = default;
    static PivotGrain allRows();
    static PivotGrain of(const PivotView &view);

    bool isAllRows() const { return m_allRows; }
    Time time(const QString &column) const;
    bool needsValues(const QString &column) const { return m_values.count(column) > 0; }
    const std::set<QString> &valueColumns() const { return m_values; }
    const std::map<QString, Time> &times() const { return m_times; }

    void needTime(const QString &column, Time time);
    void needValues(const QString &column);
    // What a layout showing `level` of the column needs.
    void needLevel(const QString &column, PivotHierarchy::Level level);

    // Tells loads apart in the shared cache.
    QString key() const;

private:
    bool m_allRows = false;
    std::map<QString, Time> m_times; // only the columns finer than a day
    std::set<QString> m_values;
};

} // namespace qrt::pivot
