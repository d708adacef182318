// zorvane-stats: the host program of the statistics component. It opens the
// chart window on a database, and works headless for scripts and tests.

#include "ChartCommand.h"
#include "DemoDbCommand.h"
#include "ImportCommand.h"
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

// The commands that need no window run without a GUI application, unless
// their arguments ask for a picture.
struct Command
{
    const char *name;
    int (*run)(const QStringList &arguments);
    bool (*needsWidgets)(const QStringList &arguments);
};

constexpr Command kCommands[] = {
    {"chart", &ChartCommand::run, &ChartCommand::needsWidgets},
    {"demo-db", &DemoDbCommand::run, nullptr},
    {"import", &ImportCommand::run, nullptr},
    {"pivot", &PivotCommand::run, &PivotCommand::needsWidgets},
    {"settings", &SettingsCommand::run, nullptr},
};

const Command *commandOf(int argc, char *argv[])
{
    for (const Command &command : kCommands)
        if (argc > 1 && std::strcmp(argv[1], command.name) == 0)
            return &command;
    return nullptr;
}

QStringList argumentsOf(int argc, char *argv[])
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    return arguments;
}

} // namespace

int main(int argc, char *argv[])
{
    const Command *command = commandOf(argc, argv);
    if (command && (!command->needsWidgets || !command->needsWidgets(argumentsOf(argc, argv)))) {
        QCoreApplication app(argc, argv);
        nameApplication();
        return command->run(QCoreApplication::arguments());
    }
    chooseOffscreenWithoutDisplay();
    QApplication app(argc, argv);
    nameApplication();
    return (command ? command->run : &OpenCommand::run)(QCoreApplication::arguments());
}
