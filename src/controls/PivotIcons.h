#pragma once
// The images of the pivot views' tool bars, drawn here so that they need no
// image files.

#include <QIcon>

class PivotIcons
{
public:
    static QIcon sort(bool ascending);
    static QIcon expand(bool plus);
    static QIcon subtotals();
    static QIcon filter();
    static QIcon fieldList();
    static QIcon copy();
    static QIcon properties();
    // Series taken from the rows, from the columns when `byRows` is false.
    static QIcon seriesBy(bool byRows);
};
