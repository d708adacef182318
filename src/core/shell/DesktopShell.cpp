#include "shell/DesktopShell.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStringList>
#include <QTimer>
#include <QUrl>

#include <cerrno>
#include <csignal>
#include <glob.h>
#include <optional>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace qrt::shell {
namespace {

std::chrono::milliseconds openerTimeLimit = 10s;

struct Spawned
{
    int error = 0;
    pid_t pid = -1;
};

// Starts a program with posix_spawn: no shell, the child's signal mask and
// dispositions reset, the environment inherited. With searchPath the
// program is looked up like a command; without, the path is taken as it is.
Spawned Spawn(const QString &program, const QStringList &arguments, const QString &directory,
              bool searchPath)
{
    std::vector<QByteArray> bytes{QFile::encodeName(program)};
    for (const QString &argument : arguments)
        bytes.push_back(argument.toLocal8Bit());
    std::vector<char *> argv;
    argv.reserve(bytes.size() + 1);
    for (QByteArray &argument : bytes)
        argv.push_back(argument.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    const QByteArray folder = QFile::encodeName(directory);
    if (!directory.isEmpty())
        posix_spawn_file_actions_addchdir_np(&actions, folder.constData());
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes, &signals);
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);

    Spawned spawned;
    spawned.error =
        searchPath
            ? posix_spawnp(&spawned.pid, argv[0], &actions, &attributes, argv.data(), environ)
            : posix_spawn(&spawned.pid, argv[0], &actions, &attributes, argv.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return spawned;
}

// Waits until the child has ended and collects it.
void Reap(pid_t pid)
{
    int status;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
}

// A child we no longer wait for is still collected when it ends.
void ReapLater(pid_t pid)
{
    std::thread(Reap, pid).detach();
}

enum class Ending { Exited, Signalled, StillRunning };

struct Ended
{
    Ending how;
    int code = 0;
};

// The child's end, if it has come; nothing while it runs.
std::optional<Ended> Poll(pid_t pid)
{
    int status = 0;
    const pid_t done = ::waitpid(pid, &status, WNOHANG);
    if (done == pid) {
        if (WIFSIGNALED(status))
            return Ended{Ending::Signalled, WTERMSIG(status)};
        return Ended{Ending::Exited, WEXITSTATUS(status)};
    }
    // Collected elsewhere (SIGCHLD ignored by the host): nothing to report.
    if (done < 0 && errno != EINTR)
        return Ended{Ending::Exited, 0};
    return std::nullopt;
}

// Waits for the child at most `limit`. Where an event loop runs, the wait
// turns it, so a window goes on painting and its timers fire; user input
// waits, so no handler runs again in the middle of the one that asked.
Ended WaitFor(pid_t pid, std::chrono::milliseconds limit)
{
    const auto deadline = std::chrono::steady_clock::now() + limit;
    for (;;) {
        if (const auto ended = Poll(pid))
            return *ended;
        if (std::chrono::steady_clock::now() >= deadline) {
            ReapLater(pid);
            return {Ending::StillRunning};
        }
        if (QCoreApplication::instance()) {
            QEventLoop loop;
            QTimer::singleShot(5, &loop, &QEventLoop::quit);
            loop.exec(QEventLoop::ExcludeUserInputEvents);
        } else {
            ::usleep(5000);
        }
    }
}

// The program by its full path, as the caller's current directory names it
// (the child changes into its own directory before the program is looked
// at), and its parameters split as a command line.
Spawned SpawnProgram(const QString &program, const QString &parameters, const QString &directory)
{
    return Spawn(QFileInfo(program).absoluteFilePath(), QProcess::splitCommand(parameters),
                 directory, false);
}

// The shell value of a start we do not wait for; the child is collected
// when it ends.
int Started(const Spawned &child)
{
    if (child.error != 0)
        return ShellValueOfSpawnError(child.error);
    ReapLater(child.pid);
    return ShellValue::Success;
}

} // namespace

std::chrono::milliseconds OpenerTimeLimit()
{
    return openerTimeLimit;
}

void SetOpenerTimeLimit(std::chrono::milliseconds limit)
{
    openerTimeLimit = limit;
}

int ShellValueOfSpawnError(int error)
{
    switch (error) {
    case 0:
        return ShellValue::Success;
    case ENOENT:
        return ShellValue::FileNotFound;
    case ENOTDIR:
        return ShellValue::PathNotFound;
    case EACCES:
    case EPERM:
        return ShellValue::AccessDenied;
    case ENOMEM:
    case E2BIG:
        return ShellValue::OutOfMemory;
    case ENOEXEC:
        return ShellValue::BadFormat;
    case ETXTBSY:
        return ShellValue::Share;
    case EAGAIN:
        return ShellValue::DdeBusy;
    default:
        return 0;
    }
}

int ShellValueOfOpenerExit(int exitCode, const QString &target)
{
    switch (exitCode) {
    case 0:
        return ShellValue::Success;
    case 2: {
        // xdg-open only says "does not exist"; a missing folder on the way
        // makes it the path that is not found.
        const QUrl url(target);
        const bool local = url.scheme().size() <= 1 || url.isLocalFile();
        const QString path = url.isLocalFile() ? url.toLocalFile() : target;
        if (local && !QFileInfo(path).absoluteDir().exists())
            return ShellValue::PathNotFound;
        return ShellValue::FileNotFound;
    }
    case 3:
        return ShellValue::NoAssoc;
    case 4:
        return ShellValue::AssocIncomplete;
    case 75: // EX_TEMPFAIL: try again later
        return ShellValue::DdeBusy;
    default:
        return 0;
    }
}

int OpenWithDesktop(const QString &target)
{
    const Spawned opener = Spawn(u"xdg-open"_s, {target}, QString(), true);
    if (opener.error == ENOENT)
        return ShellValue::DllNotFound;
    if (opener.error != 0)
        return ShellValueOfSpawnError(opener.error);
    const Ended ended = WaitFor(opener.pid, openerTimeLimit);
    switch (ended.how) {
    case Ending::StillRunning:
        // The desktop's open returns once the handler runs: an opener
        // still busy then has started it.
        return ShellValue::Success;
    case Ending::Signalled:
        return ShellValue::DdeFail;
    case Ending::Exited:
        break;
    }
    return ShellValueOfOpenerExit(ended.code, target);
}

int StartProgram(const QString &program, const QString &parameters, const QString &directory)
{
    return Started(SpawnProgram(program, parameters, directory));
}

int StartCommand(const QStringList &command, const QString &directory)
{
    if (command.isEmpty())
        return ShellValue::AssocIncomplete;
    return Started(Spawn(command.first(), command.mid(1), directory, true));
}

bool RunProgram(const QString &program, const QString &parameters, const QString &directory)
{
    const Spawned child = SpawnProgram(program, parameters, directory);
    if (child.error != 0)
        return false;
    Reap(child.pid);
    return true;
}

bool PathExists(const QString &path)
{
    if (path.isEmpty())
        return false;
    const QByteArray name = QFile::encodeName(path);
    struct stat info;
    if (::lstat(name.constData(), &info) == 0)
        return true;
    if (!path.contains(u'*') && !path.contains(u'?') && !path.contains(u'['))
        return false;
    glob_t matches{};
    const bool found =
        ::glob(name.constData(), GLOB_NOSORT, nullptr, &matches) == 0 && matches.gl_pathc > 0;
    ::globfree(&matches);
    return found;
}

bool ShowItemProperties(const QString &path)
{
    // A connection of its own, made for the call, which leaves the
    // application's bus alone.
    const QString name = u"qrt-shell-properties"_s;
    bool shown = false;
    {
        // libdbus reads the session address once per process; reading it here
        // follows a host that set it later.
        const QString address = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
        QDBusConnection bus = address.isEmpty()
                                  ? QDBusConnection::connectToBus(QDBusConnection::SessionBus, name)
                                  : QDBusConnection::connectToBus(address, name);
        if (bus.isConnected()) {
            QDBusMessage call = QDBusMessage::createMethodCall(
                u"org.freedesktop.FileManager1"_s, u"/org/freedesktop/FileManager1"_s,
                u"org.freedesktop.FileManager1"_s, u"ShowItemProperties"_s);
            call << QStringList{QUrl::fromLocalFile(QFileInfo(path).absoluteFilePath()).toString()}
                 << QString();
            shown = bus.call(call, QDBus::Block, 5000).type() == QDBusMessage::ReplyMessage;
        }
    }
    QDBusConnection::disconnectFromBus(name);
    return shown;
}

} // namespace qrt::shell
