#pragma once
// Captures a live pivot layout into a settings section when a window
// closes: which field sets stand on which axis, which of their fields are
// shown, which members are chosen, and which totals exist. The pivot table
// writes "STATMSTABLE" (read back by the script of PivotPage); the pivot
// chart writes "STATMSCHART" with the same axis and total keys.
//
// Keys, with AXIS one of "FILTER", "ROW", "COLUMN", "DATA" and i counting
// from 1:
//   AXIS FIELDSETSCOUNT (number), AXIS FIELDSETNAME i, AXIS FIELDSETFIELDS i
//   (the included fields joined by "%%|%%"), AXIS FIELDSFILTERS i (one
//   record per field with a member choice, joined by "%%|%%");
//   TOTALSCOUNT (number), TOTALNAME i, TOTALFIELD i (the base name of its
//   field), TOTALFUNCTION i (number).
// A record is  field||AllIncludeExclude||path||(caption,caption,...)  where
// the path leads from below "ALL" to the parent of the first chosen member,
// its steps joined by "**|**": "Months||2||2005**|**Qtr1||(Jan,Feb)",
// "Provider||2||||(A,B)". None of the separators is escaped.
//
// Nothing is deleted first: keys of higher ordinals from an earlier, larger
// layout stay, and readers stop at the stored count. Every step passes over
// failures: a property that can't be read or a key that can't be saved is
// skipped and the walk goes on.

#include <QtGlobal>

class CAppSettings;
class QString;

namespace qrt::pivot {

class PivotAxis;
class PivotMember;
class PivotView;

namespace PivotLayoutCapture {

// The count, then name, fields and filters of each field set of the axis.
void SaveAxisLayout(const CAppSettings &settings, const QString &section, const PivotAxis &axis,
                    const QString &axisName);

// The count of the data axis's totals, then name, field and function of each.
void SaveTotalsLayout(const CAppSettings &settings, const QString &section, const PivotView &view);

// The captions from below the root down to the member, each preceded by
// "**|**"; empty for the root (captioned exactly "ALL"). Raises a PivotError
// for a null member, which no walk up from a real member reaches.
QString GetMemberPath(const PivotMember &member);

// The filter, row, column and data axes, then the totals.
void SaveViewLayout(const CAppSettings &settings, const QString &section, const PivotView &view);

// The pivot table's whole layout into "STATMSTABLE": the filter, row,
// column and data axes, then the totals.
void SavePivotTableLayout(const CAppSettings &settings, const PivotView &view);

} // namespace PivotLayoutCapture

} // namespace qrt::pivot
