#pragma once
// Runs a generated pivot page's Window_OnLoad against a view whose data is
// already in, as the page host does once the pivot table has loaded: the
// page's field sets, fields, member choices and totals land on the view.
// The command line uses it to show the layout the window would restore.

#include "script/ScriptOutcome.h"

namespace qrt::pivot {

class PivotView;

// Completed, or Failed at the page line where the script stopped (what ran
// before that line stays on the view).
script::ScriptOutcome runPivotPage(const QString &pageText, PivotView &view);

} // namespace qrt::pivot
