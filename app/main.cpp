// zorvane-stats: the host program of the statistics component. It opens the
// chart window on a database, and works headless for scripts and tests.

#include "ChartCommand.h"
#include "DemoDbCommand.h"
#include "OpenCommand.h"
#include "PivotCommand.h"
#include "SettingsCommand.h"

#include <QApplication>
#include <QCoreApplication>
#include <QLoggingCategory>

#include <cstring>

using namespace Qt::StringLiterals;

namespace {

void nameApplication()
{
    // Every command says itself, once, why a database cannot be read; the
    // database layer's own warnings would repeat it for every reader.
    if (qEnvironmentVariableIsEmpty("QT_LOGGING_RULES"))
        QLoggingCategory::setFilterRules(u"qrt.db.warning=false"_s);
    QCoreApplication::setOrganizationName(u"Koltrin"_s);
    QCoreApplication::setApplicationName(u"zorvane-stats"_s);
    QCoreApplication::setApplicationVersion(QStringLiteral(QRT_VERSION_STRING));
}

// Without a display the window is drawn offscreen, so the same program runs
// on a server, in CI and in a terminal.
void chooseOffscreenWithoutDisplay()
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY") &&
        qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
}

// The commands that need no window run without a GUI application.
struct Command
{
    const char *name;
    int (*run)(const QStringList &arguments);
};

constexpr Command kWindowlessCommands[] = {
    {"demo-db", &DemoDbCommand::run},
    {"pivot", &PivotCommand::run},
    {"settings", &SettingsCommand::run},
};

} // namespace

int main(int argc, char *argv[])
{
    for (const Command &command : kWindowlessCommands) {
        if (argc > 1 && std::strcmp(argv[1], command.name) == 0) {
            QCoreApplication app(argc, argv);
            nameApplication();
            return command.run(QCoreApplication::arguments());
        }
    }
    chooseOffscreenWithoutDisplay();
    if (argc > 1 && std::strcmp(argv[1], "chart") == 0) {
        QStringList arguments;
        for (int i = 0; i < argc; ++i)
            arguments << QString::fromLocal8Bit(argv[i]);
        if (!ChartCommand::needsWidgets(arguments)) {
            QCoreApplication app(argc, argv);
            nameApplication();
            return ChartCommand::run(QCoreApplication::arguments());
        }
        QApplication app(argc, argv);
        nameApplication();
        return ChartCommand::run(QCoreApplication::arguments());
    }
    QApplication app(argc, argv);
    nameApplication();
    return OpenCommand::run(QCoreApplication::arguments());
}
