#pragma once
// Where the host program keeps its own files.

#include <QString>

namespace HostPaths {

// The demo database that the program opens when given no connection.
QString demoDatabase();
// Where a headless run puts its picture of the window.
QString defaultScreenshot();

} // namespace HostPaths
