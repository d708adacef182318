#include "shell/CShell.h"

#include "base/AppInfo.h"
#include "shell/DesktopShell.h"
#include "shell/DocumentVerb.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QUrl>

using namespace Qt::StringLiterals;
namespace ShellValue = qrt::shell::ShellValue;

namespace {

QString Source()
{
    return AppInfo::EXEName() + u".CShell"_s;
}

[[noreturn]] void Raise(qint32 number)
{
    QString description;
    switch (number) {
    case CShell::ErrFileNotFound:
        description = u"File not found"_s;
        break;
    case CShell::ErrPathNotFound:
        description = u"Path not found"_s;
        break;
    case CShell::ErrOutOfMemory:
        description = u"Out of memory"_s;
        break;
    case CShell::ErrDllNotFound:
        description = u"DLL not found"_s;
        break;
    case CShell::ErrSharingViolation:
        description = u"A sharing violation occurred"_s;
        break;
    case CShell::ErrAssocIncomplete:
        description = u"Incomplete or invalid file association"_s;
        break;
    case CShell::ErrDdeTimeout:
        description = u"DDE timeout"_s;
        break;
    case CShell::ErrDdeFail:
        description = u"DDE transaction failed"_s;
        break;
    case CShell::ErrDdeBusy:
        description = u"DDE busy"_s;
        break;
    case CShell::ErrNoAssociation:
        description = u"No association for file extension"_s;
        break;
    case CShell::ErrBadFormat:
        description = u"Invalid EXE file or error in EXE image"_s;
        break;
    case CShell::ErrCannotCreateProcess:
        description = u"Cannot create process"_s;
        break;
    case CShell::ErrCannotShowProperties:
        description = u"Cannot show properties"_s;
        break;
    default:
        number = CShell::ErrComponentFailure;
        description = u"CShell component failure"_s;
        break;
    }
    throw ComponentError(number, Source(), description);
}

// The error a shell value raises under the long table, or 0 for none.
qint32 LongTableError(int value)
{
    switch (value) {
    case ShellValue::FileNotFound:
    case ShellValue::AccessDenied:
        return CShell::ErrFileNotFound;
    case ShellValue::PathNotFound:
        return CShell::ErrPathNotFound;
    case ShellValue::OutOfMemory:
        return CShell::ErrOutOfMemory;
    case ShellValue::BadFormat:
        return CShell::ErrBadFormat;
    case ShellValue::Share:
        return CShell::ErrSharingViolation;
    case ShellValue::AssocIncomplete:
        return CShell::ErrAssocIncomplete;
    case ShellValue::DdeTimeout:
        return CShell::ErrDdeTimeout;
    case ShellValue::DdeFail:
        return CShell::ErrDdeFail;
    case ShellValue::DdeBusy:
        return CShell::ErrDdeBusy;
    case ShellValue::NoAssoc:
        return CShell::ErrNoAssociation;
    case ShellValue::DllNotFound:
        return CShell::ErrDllNotFound;
    default:
        return 0;
    }
}

// The short table keeps only the rows of resources and conversation.
qint32 ShortTableError(int value)
{
    switch (value) {
    case ShellValue::OutOfMemory:
    case ShellValue::Share:
    case ShellValue::DdeTimeout:
    case ShellValue::DdeFail:
    case ShellValue::DdeBusy:
        return LongTableError(value);
    default:
        return 0;
    }
}

void RaiseLong(int value)
{
    if (const qint32 error = LongTableError(value))
        Raise(error);
}

void RaiseShort(int value)
{
    if (const qint32 error = ShortTableError(value))
        Raise(error);
}

// Opens an item with the desktop. Without xdg-open, Qt's desktop services
// (a portal, a URL handler the host registered) get their chance.
int Execute(const QString &item)
{
    const int value = qrt::shell::OpenWithDesktop(item);
    if (value != ShellValue::DllNotFound)
        return value;
    const QUrl url = QUrl(item).scheme().size() > 1
                         ? QUrl(item)
                         : QUrl::fromLocalFile(QFileInfo(item).absoluteFilePath());
    return QDesktopServices::openUrl(url) ? ShellValue::Success : ShellValue::DllNotFound;
}

// Runs one public operation: the class's own errors pass, anything else
// becomes its component failure.
template<typename Operation>
void Guarded(Operation &&operation)
{
    RunGuarded(Source(), operation, [] { Raise(CShell::ErrComponentFailure); });
}

} // namespace

bool CShell::FileExists(const QString &PathFileName)
{
    return qrt::shell::PathExists(PathFileName);
}

QString CShell::GetLastPart(const QString &Text, const QString &Delimiter)
{
    const qsizetype at = Delimiter.isEmpty() ? -1 : Text.lastIndexOf(Delimiter);
    return at < 0 ? Text : Text.mid(at + Delimiter.size());
}

void CShell::CreateNewMailMessage(const QString &RecipientAddress,
                                  const QString &CCRecipientAddress, const QString &Subject,
                                  const QString &Body)
{
    Guarded([&] {
        QString address = u"mailto:"_s + RecipientAddress;
        QChar separator = u'?';
        const auto add = [&](const QString &key, const QString &value) {
            if (value.isEmpty())
                return;
            address += separator + key + value;
            separator = u'&';
        };
        add(u"subject="_s, Subject);
        add(u"cc="_s, CCRecipientAddress);
        add(u"body="_s, Body);
        RaiseShort(Execute(address));
    });
}

void CShell::ExploreFolder(const QString &FolderName)
{
    Guarded([&] { RaiseLong(Execute(FolderName)); });
}

void CShell::LaunchProgram(const QString &PathFileName, const QVariant &Parameters,
                           bool WaitToFinish, const QString &StartDirectory)
{
    Guarded([&] {
        if (!FileExists(PathFileName))
            Raise(ErrFileNotFound);
        if (Parameters.isValid() && !Parameters.canConvert<QString>())
            Raise(ErrComponentFailure);
        const QString parameters = Parameters.toString();
        if (!WaitToFinish && !QFileInfo(PathFileName).isExecutable()) {
            // A document, not a program: the shell's "open" opens it with
            // the program its type belongs to.
            RaiseLong(qrt::shell::OpenWithDesktop(PathFileName));
            return;
        }
        if (!WaitToFinish) {
            // The program starts in the folder of its path, if the path has one.
            const QString folder =
                PathFileName.contains(u'/')
                    ? PathFileName.chopped(GetLastPart(PathFileName, u"/"_s).size())
                    : QString();
            RaiseLong(qrt::shell::StartProgram(PathFileName, parameters, folder));
            return;
        }
        if (!qrt::shell::RunProgram(PathFileName, parameters, StartDirectory))
            Raise(ErrCannotCreateProcess);
    });
}

void CShell::OpenDocument(const QString &PathFileName)
{
    Guarded([&] {
        if (!FileExists(PathFileName))
            Raise(ErrFileNotFound);
        const qrt::shell::DocumentVerb verb = qrt::shell::VerbForDocument(PathFileName);
        if (verb.verb.isEmpty() || verb.verb == u"open"_s) {
            RaiseLong(Execute(PathFileName));
            return;
        }
        // Another verb is an action of the type's application: its command
        // runs in the document's folder.
        RaiseLong(qrt::shell::StartCommand(verb.command, QFileInfo(PathFileName).absolutePath()));
    });
}

void CShell::OpenFolder(const QString &FolderName)
{
    Guarded([&] { RaiseLong(Execute(FolderName)); });
}

void CShell::OpenUrl(const QString &URL)
{
    Guarded([&] { RaiseShort(Execute(URL)); });
}

void CShell::ShowProperties(const QString &PathFileName, qint32 HWndOwner)
{
    Q_UNUSED(HWndOwner);
    Guarded([&] {
        if (!FileExists(PathFileName))
            Raise(ErrFileNotFound);
        if (!qrt::shell::ShowItemProperties(PathFileName))
            Raise(ErrCannotShowProperties);
    });
}
