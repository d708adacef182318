#pragma once
// Writing a QCustomPlot to a picture file, shared by the chart views: the
// format follows the suffix (.png, .svg, .pdf), and a failure says why.

#include <QSize>
#include <QString>

class QCustomPlot;

namespace PlotExport {

// Writes the plot at the given size; an SVG carries the title. False, with
// the reason in error, for an unknown suffix or a file that cannot be written.
bool write(QCustomPlot &plot, const QString &path, QSize size, const QString &title,
           QString *error = nullptr);

} // namespace PlotExport
