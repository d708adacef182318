#pragma once
// The SQL condition the filter lists stand for, and the way back from a
// stored condition to ticks. Per list it names either the ticked IDs or the
// unticked ones, whichever is shorter, so the text stays small:
//   "Categories.ID  not in (0) AND Providers.ID  in ( 1, 2) AND Channels.ID  not in ( 4, 5) "

#include <QString>

class TickListModel;

namespace FilterClause {

// " in ( 1, 2) " or " not in ( 4, 5) "; row 0 ("All") is not an item.
QString GetGridClause(const TickListModel &grid);
QString compose(const TickListModel &categories, const TickListModel &providers,
                const TickListModel &channels);

// Applies one stored clause to a fully ticked list, keeping the count of
// ticked items in row 0's data value. IDs without a row are passed over.
void ApplyGridClause(TickListModel &grid, const QString &clause);
// Splits a stored filter into its three clauses and applies them.
void restore(const QString &stored, TickListModel &categories, TickListModel &providers,
             TickListModel &channels);

// Ticks or unticks every row, "All" included, repainting once.
void SetAllChecks(TickListModel &grid, bool ticked);

} // namespace FilterClause
