#pragma once
// A layout written as text, for scripts and the command line:
//
//   LAYOUT   = fieldset { ";" fieldset }
//   fieldset = NAME [ "[" FIELD { "," FIELD } "]" ] { "(" choice ")" }
//   choice   = FIELD ( "=" | "!=" ) member { "|" member }
//   member   = CAPTION { "/" CAPTION }      the captions from the top, below "ALL"
//
// A field set goes on the axis in the order written; the fields in brackets
// are the included ones (all of them when there are no brackets). "="
// includes only the members named (AllIncludeExclude 2), "!=" excludes them
// (1); one field set takes one kind of choice. Examples:
//
//   NewsDate By Month[Years,Months];Provider
//   Category(Category=World|Sports)
//   NewsDate By Month[Months](Months=2024/Qtr1/Jan|2024/Qtr1/Feb)
//
// Totals: TOTAL { ";" TOTAL }, TOTAL = CAPTION "=" FUNCTION "(" FIELDSET ")",
// FUNCTION one of Sum, Count, Min, Max, Average; the total goes on the first
// field of the field set, as the layout restore puts it: "Count of News=Count(News)".
//
// Names and captions can't hold the separators. Unknown names raise the
// PivotError of the object model; bad syntax raises InvalidValue.

#include <QString>

namespace qrt::pivot {

class PivotAxis;
class PivotView;

namespace PivotLayoutText {

void applyFieldSets(PivotView &view, PivotAxis &axis, const QString &text);
void applyTotals(PivotView &view, const QString &text);

} // namespace PivotLayoutText

} // namespace qrt::pivot
