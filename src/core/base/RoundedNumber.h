#pragma once
// A stored number, or a number written as text, as an integer of type T:
// rounded to the nearest with halves to even ("4.5" is 4, "5.5" is 6), the
// way stored values have always been converted. Nothing for a text that is
// no number or a number T cannot hold.

#include <QVariant>

#include <cmath>
#include <limits>
#include <optional>

template<typename T>
std::optional<T> roundedNumber(const QVariant &value)
{
    bool ok = false;
    const double number = std::nearbyint(value.toString().trimmed().toDouble(&ok));
    // Written so that NaN fails too.
    if (!ok ||
        !(number >= std::numeric_limits<T>::min() && number <= std::numeric_limits<T>::max()))
        return std::nullopt;
    return static_cast<T>(number);
}
