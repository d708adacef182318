#pragma once
// The grid of a PivotResult as text: CSV with one line per row line of the
// grid (member captions by level, then a value per column line and total),
// or JSON with the row and column lines and the values. Subtotal lines end
// in "<member> Total", the last line is "Grand Total".

#include <QString>

namespace qrt::pivot {

class PivotResult;

namespace PivotResultWriter {

QString csv(const PivotResult &result);
QString json(const PivotResult &result);
// Whole numbers without a fraction, others with 15 significant digits.
QString number(double value);

} // namespace PivotResultWriter

} // namespace qrt::pivot
