#pragma once
// Panel colours in the classic colour form the component stores them in:
// 0x00BBGGRR for a plain colour, or 0x80000000 plus a system colour index,
// which follows the current palette.

#include <QColor>

#include <optional>

namespace ThemeColors {

inline constexpr quint32 ButtonFace = 0x8000000F;

enum class Part { Fill, Gradient };

// The current style's colour for the filter panels, or nothing when the
// application does not follow the desktop theme or has no style.
std::optional<quint32> themeColor(Part part);

quint32 fromQColor(const QColor &color);
QColor toQColor(quint32 color);

} // namespace ThemeColors
