#pragma once
// The pivot engine as the page script sees it: a view with its four axes,
// field sets, fields, members and totals, under the member names the page's
// script calls (FieldSets, InsertFieldSet, IncludedMembers, AddTotal, ...). Collections take a text
// as a name or caption and a number as a 0-based index, and enumerate for `For Each`. A name the
// view does not have raises the engine's PivotError.
//
// The objects hold references into the view: the view must outlive every
// run of a script that reaches it. Each access makes a small new handle;
// `Is` compares what the handles stand for.

#include <functional>
#include <memory>

namespace qrt::script {
class ScriptObject;
}

namespace qrt::pivot {

class PivotView;

// What the page's PT object answers for ActiveView.
std::shared_ptr<script::ScriptObject> makeViewObject(PivotView &view);

// What it answers for ActiveData: an object whose HideDetails method calls
// `hideDetails`.
std::shared_ptr<script::ScriptObject> makeActiveDataObject(std::function<void()> hideDetails);

} // namespace qrt::pivot
