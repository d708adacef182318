#pragma once
// Aggregates a view's data for its current layout into a PivotResult. The
// field sets on the row and column axes with their included fields make the
// member trees; the member choices of the field sets on the filter, row and
// column axes drop rows; the totals on the data axis make the values.
// Field sets on the data axis would list single values, which the grid of
// totals does not show.
//
// Rows are read chunk by chunk in blocks that stay in the cache: each field
// set turns its column's codes into member ordinals through a small table,
// the ordinals combine into one cell key per row, and the cells count and
// sum. Subtotals and the grand totals come from rolling the leaf cells up.

namespace qrt::pivot {

class PivotResult;
class PivotView;

namespace PivotAggregator {

PivotResult run(const PivotView &view);

} // namespace PivotAggregator

} // namespace qrt::pivot
