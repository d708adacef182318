#include "filterpanel/FilterClause.h"

#include "filterpanel/TickListModel.h"

using namespace Qt::StringLiterals;

namespace {

// The stored text up to its first ")" and the blank after it.
QString firstClause(const QString &text)
{
    return text.left(text.indexOf(u')') + 2);
}

// The count in row 0 moves with every listed ID, also one listed twice.
void setTick(TickListModel &grid, int row, int tick)
{
    grid.setCell(TickListModel::CellChecked, row, tick);
    grid.setRowData(0, grid.RowData(0) + (tick == TickListModel::Ticked ? 1 : -1));
}

} // namespace

QString FilterClause::GetGridClause(const TickListModel &grid)
{
    int count = 0;
    QString ticked;
    QString unticked;
    for (int row = 1; row < grid.Rows(); ++row) {
        const QString id = QString(grid.RowKey(row)).remove(u"KEY"_s);
        if (grid.cellChecked(row) == TickListModel::Ticked) {
            ++count;
            ticked += u", "_s + id;
        } else {
            unticked += u", "_s + id;
        }
    }
    const int half = grid.Rows() / 2;
    const bool exclusion = count >= half;
    QString list = (exclusion ? unticked : ticked).mid(1);
    if (list.isEmpty())
        list = u"0"_s;
    return (exclusion ? u" not in ("_s : u" in ("_s) + list + u") "_s;
}

QString FilterClause::compose(const TickListModel &categories, const TickListModel &providers,
                              const TickListModel &channels)
{
    return u"Categories.ID "_s + GetGridClause(categories) + u"AND Providers.ID "_s +
           GetGridClause(providers) + u"AND Channels.ID "_s + GetGridClause(channels);
}

void FilterClause::SetAllChecks(TickListModel &grid, bool ticked)
{
    grid.setRedraw(false);
    for (int row = 0; row < grid.Rows(); ++row)
        grid.setCell(TickListModel::CellChecked, row,
                     ticked ? TickListModel::Ticked : TickListModel::Unticked);
    grid.setRedraw(true);
}

void FilterClause::ApplyGridClause(TickListModel &grid, const QString &clause)
{
    if (clause.contains(u"not in (0)"_s))
        return;
    const bool exclusion = clause.contains(u"not"_s);
    const qsizetype open = clause.lastIndexOf(u'(');
    const qsizetype close = clause.indexOf(u')', open);
    QString list = clause.mid(open + 1, close < 0 ? -1 : close - open - 1);
    list.remove(u' ');
    if (!exclusion) {
        SetAllChecks(grid, false);
        grid.setRowData(0, 0);
    }
    for (const QString &id : list.split(u',')) {
        const int row = grid.FindRow(u"KEY"_s + id);
        if (row > 0)
            setTick(grid, row, exclusion ? TickListModel::Unticked : TickListModel::Ticked);
    }
}

void FilterClause::restore(const QString &stored, TickListModel &categories,
                           TickListModel &providers, TickListModel &channels)
{
    if (stored.isEmpty())
        return;
    // Nothing checks the shape: each list takes what its step finds, and a
    // clause that is missing is an inclusion of no ID.
    QString rest = stored;
    for (TickListModel *grid : {&categories, &providers}) {
        const QString clause = firstClause(rest);
        rest.remove(clause);
        ApplyGridClause(*grid, clause);
    }
    ApplyGridClause(channels, rest);
}
