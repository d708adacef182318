#pragma once
// The desktop's shell for the component: opens documents, folders and URLs,
// starts programs, starts a new mail and shows a file's property sheet, and
// turns the desktop's failures into raised errors with plain messages. It
// keeps no state; callers make one for the call.
//
// The desktop answers in its own terms; each answer is first read as the
// value the Windows shell would have returned, and that value goes through
// the operation's table (the long one, or the short one of OpenUrl and
// CreateNewMailMessage, which only knows 8, 26, 28, 29 and 30). Values a
// table does not list raise nothing.
//
//   Opening with xdg-open (OpenUrl, CreateNewMailMessage, OpenFolder,
//   ExploreFolder, OpenDocument with the verb "open" or the empty one):
//     exits 0                                   > 32  success
//     exits 2, the item's folder exists            2  File not found
//     exits 2, a folder on the way is missing      3  Path not found
//     exits 3, no application for the type        31  No association for file extension
//     exits 4, the action failed                  27  Incomplete or invalid file association
//     exits 75 (EX_TEMPFAIL, try again later)     30  DDE busy
//     exits 1 or any other code                    0  (nothing raised)
//     ends by a signal                            29  DDE transaction failed
//     still running after OpenerTimeLimit (10 s) > 32  success (the handler runs)
//     no xdg-open, and Qt's desktop services
//     cannot open the item either                 32  DLL not found
//   Starting a program (LaunchProgram without waiting; OpenDocument with
//   any other verb; also the start of xdg-open itself), by posix_spawn's
//   error (LaunchProgram on a file that is no program opens it with
//   xdg-open instead, as above):
//     ENOENT                                       2  File not found
//     ENOTDIR                                      3  Path not found
//     EACCES, EPERM (not executable)               5  File not found
//     ENOMEM, E2BIG (arguments too long)           8  Out of memory
//     ENOEXEC (no format the kernel knows)        11  Invalid EXE file or error in EXE image
//     ETXTBSY (the file is open for writing)      26  A sharing violation occurred
//     EAGAIN (process limit)                      30  DDE busy
//     any other error                              0  (nothing raised)
//     (OpenDocument) the action gives no command  27  Incomplete or invalid file association
//
// OpenDocument settles the verb of the document's type first
// (qrt::shell::VerbForDocument): the type's verbs are the actions of its
// default application's desktop entry. "open", and the empty verb that
// leaves the choice to the desktop, go to xdg-open, which opens the item
// with that application; so does "explore", whose application is the file
// manager. Another verb starts its action's command line with the document
// in, in the document's folder. A program is started directly, never
// through a shell: LaunchProgram's parameters are split into arguments
// here (blanks separate, double quotes group), an action's command line as
// its entry quotes it with the entry's field codes filled in, and nothing
// else is expanded.

#include "base/ComponentError.h"

#include <QString>
#include <QVariant>

class CShell
{
public:
    static constexpr qint32 ErrFileNotFound = ComponentError::ObjectErrorBase + 18041;
    static constexpr qint32 ErrPathNotFound = ComponentError::ObjectErrorBase + 18042;
    static constexpr qint32 ErrOutOfMemory = ComponentError::ObjectErrorBase + 18044;
    static constexpr qint32 ErrDllNotFound = ComponentError::ObjectErrorBase + 18045;
    static constexpr qint32 ErrSharingViolation = ComponentError::ObjectErrorBase + 18046;
    static constexpr qint32 ErrAssocIncomplete = ComponentError::ObjectErrorBase + 18047;
    static constexpr qint32 ErrDdeTimeout = ComponentError::ObjectErrorBase + 18048;
    static constexpr qint32 ErrDdeFail = ComponentError::ObjectErrorBase + 18049;
    static constexpr qint32 ErrDdeBusy = ComponentError::ObjectErrorBase + 18050;
    static constexpr qint32 ErrNoAssociation = ComponentError::ObjectErrorBase + 18051;
    static constexpr qint32 ErrBadFormat = ComponentError::ObjectErrorBase + 18052;
    static constexpr qint32 ErrCannotCreateProcess = ComponentError::ObjectErrorBase + 18053;
    static constexpr qint32 ErrCannotShowProperties = ComponentError::ObjectErrorBase + 18054;
    static constexpr qint32 ErrComponentFailure = ComponentError::ObjectErrorBase + 18055;

    // "mailto:" and the recipient, then subject=, cc= and body= where given,
    // the first behind "?", the others behind "&". Nothing is escaped.
    void CreateNewMailMessage(const QString &RecipientAddress,
                              const QString &CCRecipientAddress = QString(),
                              const QString &Subject = QString(), const QString &Body = QString());
    void ExploreFolder(const QString &FolderName);
    // Raises "File not found" for a path that names nothing, before anything
    // else. Without waiting the program starts in the folder of its path and
    // runs on; with WaitToFinish it starts in StartDirectory (the current
    // directory when empty) and this call returns only when it has ended.
    void LaunchProgram(const QString &PathFileName, const QVariant &Parameters = QVariant(),
                       bool WaitToFinish = false, const QString &StartDirectory = QString());
    void OpenDocument(const QString &PathFileName);
    void OpenFolder(const QString &FolderName);
    void OpenUrl(const QString &URL);
    // The file manager's property sheet; there is no owner window on this
    // desktop, so HWndOwner changes nothing.
    void ShowProperties(const QString &PathFileName, qint32 HWndOwner = 0);

private:
    // The file associations come from the desktop, not from a registry, so
    // the registry helpers (GetRegistryString, QueryValueEx, StripNull) have
    // no counterpart here.
    static bool FileExists(const QString &PathFileName);
    static QString GetLastPart(const QString &Text, const QString &Delimiter);
};
