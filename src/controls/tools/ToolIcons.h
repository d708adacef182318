#pragma once
// The three 16 by 16 images of the chart tool bar, drawn here so that they
// scale with the screen and need no image files.

#include <QIcon>

namespace ToolIcons {

QIcon stacked();
QIcon legend();
QIcon statisticchart();

} // namespace ToolIcons
