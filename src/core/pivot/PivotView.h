#pragma once
// The layout over one loaded result: the field sets the columns offer, the
// four axes they stand on, and the totals. This is what the pivot table and
// the pivot chart show and what their layouts are saved from and restored
// to; PivotAggregator turns it into the grid of numbers.
//
// Each column gives a field set of its own name with one field of that
// name; a date column gives two more, "<name> By Week" and "<name> By Month".

#include "pivot/PivotDataAxis.h"
#include "pivot/PivotFieldSet.h"
#include "pivot/PivotTotal.h"

#include <memory>

namespace qrt::pivot {

class PivotData;

class PivotView
{
public:
    enum Expand { ExpandAutomatic = 0, ExpandAlways = 1, ExpandNever = 2 };

    explicit PivotView(std::shared_ptr<const PivotData> data);
    ~PivotView();
    PivotView(const PivotView &) = delete;
    PivotView &operator=(const PivotView &) = delete;

    const std::shared_ptr<const PivotData> &data() const { return m_data; }
    // Moves the view, its layout whole, onto a load of the same statement at
    // another grain: same columns, each a date column or not as before.
    // False, and nothing changed, for data of another shape.
    bool setData(std::shared_ptr<const PivotData> data);

    PivotAxis &FilterAxis() { return m_filterAxis; }
    PivotAxis &RowAxis() { return m_rowAxis; }
    PivotAxis &ColumnAxis() { return m_columnAxis; }
    PivotDataAxis &DataAxis() { return m_dataAxis; }
    const PivotAxis &FilterAxis() const { return m_filterAxis; }
    const PivotAxis &RowAxis() const { return m_rowAxis; }
    const PivotAxis &ColumnAxis() const { return m_columnAxis; }
    const PivotDataAxis &DataAxis() const { return m_dataAxis; }

    const PivotList<PivotFieldSet> &FieldSets() const { return m_fieldSetList; }
    // Raises a PivotError when no field set has the name.
    PivotFieldSet &FieldSets(const QString &name) const;

    // A new total, not yet on the data axis. Raises a PivotError for a name
    // a total already has or a function outside 1..5.
    PivotTotal &AddTotal(const QString &name, PivotField &field, int function);
    void DeleteTotal(PivotTotal &total);
    const PivotList<PivotTotal> &Totals() const { return m_totalList; }

    int ExpandDetails() const { return m_expandDetails; }
    void setExpandDetails(int value);
    int ExpandMembers() const { return m_expandMembers; }
    void setExpandMembers(int value);

    // The layout of `other`, a view of older rows, put on this fresh one: the
    // field sets on their axes, the fields shown, the member choices, the
    // totals with their captions and formats, and how members expand. A
    // field set, field or member the new rows lack is left out; members are
    // found again by their captions from the top, as the stored layouts are.
    void takeLayout(const PivotView &other);

    // Goes up with every change of the layout, so a view knows when to
    // aggregate again.
    quint64 layoutVersion() const { return m_version; }
    void touch() { ++m_version; }

private:
    void addFieldSet(const QString &name, const PivotColumn &column, PivotHierarchy::Shape shape);

    std::shared_ptr<const PivotData> m_data;
    PivotAxis m_filterAxis;
    PivotAxis m_rowAxis;
    PivotAxis m_columnAxis;
    PivotDataAxis m_dataAxis;
    std::vector<std::unique_ptr<PivotFieldSet>> m_fieldSets;
    PivotList<PivotFieldSet> m_fieldSetList;
    std::vector<std::unique_ptr<PivotTotal>> m_totals;
    PivotList<PivotTotal> m_totalList;
    int m_expandDetails = ExpandAutomatic;
    int m_expandMembers = ExpandAutomatic;
    quint64 m_version = 0;
};

} // namespace qrt::pivot
