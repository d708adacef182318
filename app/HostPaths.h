#pragma once
// Where the host program keeps its own files.

#include <QString>

class HostPaths
{
public:
    // The demo database that the program opens when given no connection.
    static QString demoDatabase();
    // Where a headless run puts its picture of the window.
    static QString defaultScreenshot();
};
