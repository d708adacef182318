// The stored FILTERS text, which a user or an older version may have left
// in any shape. Restoring it always leaves lists the panel can compose
// into a well-formed condition (three clauses, each closed once), and that
// condition restores to exactly the same ticks.

#include "FuzzSupport.h"
#include "filterpanel/FilterClause.h"
#include "filterpanel/TickListModel.h"

#include <QList>

#include <array>

using namespace Qt::StringLiterals;

namespace {

// Lists as the panel fills them: row 0 "All", then the rows of IDs 1..n,
// all ticked, with the ticked count in row 0.
struct Lists
{
    std::array<TickListModel, 3> grids;

    Lists()
    {
        const int sizes[] = {5, 8, 13};
        for (int g = 0; g < 3; ++g) {
            TickListModel &grid = grids[g];
            grid.setRows(sizes[g] + 1);
            grid.setRowKey(0, u"KEY0"_s);
            for (int row = 1; row <= sizes[g]; ++row)
                grid.setRowKey(row, u"KEY"_s + QString::number(row));
            FilterClause::SetAllChecks(grid, true);
            grid.setRowData(0, sizes[g]);
        }
    }

    void restore(const QString &stored)
    {
        FilterClause::restore(stored, grids[0], grids[1], grids[2]);
    }
    QString compose() const { return FilterClause::compose(grids[0], grids[1], grids[2]); }

    QList<int> ticks() const
    {
        QList<int> all;
        for (const TickListModel &grid : grids)
            for (int row = 1; row < grid.Rows(); ++row)
                all << grid.cellChecked(row);
        return all;
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Lists restored;
    restored.restore(qrt::fuzz::text(data, size));
    const QString condition = restored.compose();
    qrt::fuzz::check(condition.count(u')') == 3 && condition.count(u'(') == 3,
                     "three clauses, each closed once");
    qrt::fuzz::check(condition.startsWith(u"Categories.ID "_s) &&
                         condition.contains(u"AND Providers.ID "_s) &&
                         condition.contains(u"AND Channels.ID "_s),
                     "the three lists in their order");

    Lists again;
    again.restore(condition);
    qrt::fuzz::check(again.ticks() == restored.ticks(), "the condition restores the same ticks");
    return 0;
}
