#pragma once
// What the component says of itself: its file name without extension (the
// first part of every error source), its title and its version.

#include <QString>

namespace AppInfo {

inline QString EXEName()
{
    return QStringLiteral("QRT_StatCharts");
}

inline QString Title()
{
    return QStringLiteral("Statistic Charts");
}

constexpr int Major = QRT_VERSION_MAJOR;
constexpr int Minor = QRT_VERSION_MINOR;
constexpr int Revision = QRT_VERSION_PATCH;

} // namespace AppInfo
