#pragma once
// The desktop under CShell: opening files, folders and URLs with the
// desktop's default application (xdg-open), starting programs without a
// shell (posix_spawn, waitpid), telling whether a path names anything
// (lstat, glob), and the file manager's property sheet over D-Bus. Each
// outcome comes back as the value the Windows shell would have given, so
// CShell's two failure tables apply unchanged; shell/CShell.h has the
// mapping.

#include <QString>
#include <QStringList>

#include <chrono>

namespace qrt::shell {

// Values the shell gives back: above 32 is success, the rest name a failure.
namespace ShellValue {
constexpr int Success = 42;
constexpr int FileNotFound = 2;
constexpr int PathNotFound = 3;
constexpr int AccessDenied = 5;
constexpr int OutOfMemory = 8;
constexpr int BadFormat = 11;
constexpr int Share = 26;
constexpr int AssocIncomplete = 27;
constexpr int DdeTimeout = 28;
constexpr int DdeFail = 29;
constexpr int DdeBusy = 30;
constexpr int NoAssoc = 31;
constexpr int DllNotFound = 32;
} // namespace ShellValue

// Opens a file, folder or URL with the desktop's default application:
// runs xdg-open from the search path and waits for its verdict, at most
// OpenerTimeLimit(), turning the event loop meanwhile; an opener still
// running then has started the handler, which is success. DllNotFound when
// there is no xdg-open.
int OpenWithDesktop(const QString &target);

// How long the desktop gets to answer an open; 10 seconds unless set.
std::chrono::milliseconds OpenerTimeLimit();
void SetOpenerTimeLimit(std::chrono::milliseconds limit);

// Starts a program by its path with the arguments of a command-line text
// (blanks separate, double quotes group; no shell sees it), in directory
// when one is given, and does not wait for it. The shell value of the start.
int StartProgram(const QString &program, const QString &parameters, const QString &directory);

// Starts a command, program first, without a shell, in directory, and does
// not wait for it. A program named without a slash is looked up on the
// search path, as a desktop entry's command line names it. The shell value
// of the start; an empty command is an association without one,
// AssocIncomplete.
int StartCommand(const QStringList &command, const QString &directory);

// Starts a program as above and waits until it has ended, however long
// that takes. False when it could not be started.
bool RunProgram(const QString &program, const QString &parameters, const QString &directory);

// True when the path names a file, folder or link, or when a path with
// wildcards (* ? [) matches at least one.
bool PathExists(const QString &path);

// Asks the file manager (org.freedesktop.FileManager1 on the session bus)
// to show the item's property sheet. False when no file manager answers or
// it refuses.
bool ShowItemProperties(const QString &path);

// The shell values of the outcomes, for the mapping table.
int ShellValueOfSpawnError(int error);
int ShellValueOfOpenerExit(int exitCode, const QString &target);

} // namespace qrt::shell
