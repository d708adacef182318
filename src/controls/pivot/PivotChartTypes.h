#pragma once
// The pivot chart's types by the numbers its chart space uses, what each
// draws, its name and a small picture of it for the type gallery.
//
// Twenty-five numbers have a drawing of their own: 0-5 columns and bars
// (clustered, stacked, 100% stacked), 6-11 lines (plain, stacked, 100%, each
// with or without markers), 12-17 the same lines drawn smooth, 18 pie,
// 19 exploded pie, 29-31 areas, 32 doughnut, 33 exploded doughnut. Every
// other number is drawn as its nearest neighbour among them:
//
//   20-28  scatter and bubble forms       -> 7 line with markers
//   34     radar line                     -> 6 line
//   35     radar line with markers        -> 7 line with markers
//   36     filled radar                   -> 29 area
//   37     smooth radar line              -> 12 smooth line
//   38     smooth radar line with markers -> 13 smooth line with markers
//   39-40  stock (high-low-close, open-high-low-close) -> 0 clustered column
//   41-45  polar forms                    -> 0 clustered column
//   anything else, negative or larger     -> 7 line with markers, the default

#include <QIcon>
#include <QList>
#include <QString>

namespace PivotChartTypes {

enum class Family { Columns, Bars, Lines, Areas, Pie, Doughnut };
enum class Stacking { None, Stacked, Percent };

// How a drawn type looks.
struct Form
{
    Family family = Family::Lines;
    Stacking stacking = Stacking::None;
    bool markers = false;
    bool smooth = false;
    bool exploded = false;
};

constexpr int DefaultType = 7;

int drawnType(int type);
QList<int> drawnTypes();
// The form of drawnType(type).
Form form(int type);
QString typeName(int type);
QIcon typeIcon(int type);

} // namespace PivotChartTypes
