#include <qrt/statCharts.h>

#include <QApplication>
#include <QWidget>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    statCharts charts;
    charts.ConnectionString(QStringLiteral("/nonexistent.db"));
    QWidget *window = charts.ShowChartForm();
    if (!window)
        return 1;
    window->show();
    QApplication::processEvents();
    const bool ok = window->windowTitle() == QStringLiteral("Statistic Charts");
    window->close();
    delete window;
    return ok ? 0 : 1;
}
