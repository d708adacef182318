#pragma once
// The images of the pivot views' tool bars, drawn here so that they need no
// image files.

#include <QIcon>

namespace PivotIcons {

QIcon sort(bool ascending);
QIcon expand(bool plus);
QIcon subtotals();
QIcon filter();
QIcon fieldList();
QIcon copy();
QIcon properties();
// Series taken from the rows, from the columns when `byRows` is false.
QIcon seriesBy(bool byRows);

} // namespace PivotIcons
