#pragma once
// The forms' font: Tahoma at 8.25 points where the desktop has it;
// otherwise the desktop's own font, not whatever stand-in the font matcher
// would pick for the name. The window sets it once and its children inherit
// it; a form that is a window of its own (a dialog, a pop-up) sets it too.

class QFont;

namespace qrt::component {

QFont formFont();

} // namespace qrt::component
