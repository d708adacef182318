#include "controls/chart/PlotExport.h"

#include "controls/chart/QCustomPlotInclude.h"

#include <QFileInfo>
#include <QSvgGenerator>

using namespace Qt::StringLiterals;

namespace {

bool writeSvg(QCustomPlot &plot, const QString &path, QSize size, const QString &title)
{
    QSvgGenerator svg;
    svg.setFileName(path);
    svg.setSize(size);
    svg.setViewBox(QRect(QPoint(0, 0), size));
    svg.setTitle(title);
    QCPPainter painter;
    if (!painter.begin(&svg))
        return false;
    plot.toPainter(&painter, size.width(), size.height());
    return painter.end();
}

} // namespace

bool PlotExport::write(QCustomPlot &plot, const QString &path, QSize size, const QString &title,
                       QString *error)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    bool ok = false;
    if (suffix == u"png"_s) {
        ok = plot.savePng(path, size.width(), size.height());
    } else if (suffix == u"pdf"_s) {
        ok = plot.savePdf(path, size.width(), size.height());
    } else if (suffix == u"svg"_s) {
        ok = writeSvg(plot, path, size, title);
    } else {
        if (error)
            *error = u"unknown image format \"%1\": use .png, .svg or .pdf"_s.arg(suffix);
        return false;
    }
    if (!ok && error)
        *error = u"cannot write %1"_s.arg(path);
    return ok;
}
