#include "errors/CErrorHandler.h"

#include "base/AppInfo.h"
#include "component/modUtils.h"
#include "errors/ErrorTexts.h"
#include "errors/LogFile.h"
#include "errors/SystemLog.h"
#include "errors/frmErrorMessage.h"

#include <QApplication>
#include <QFile>
#include <QMessageBox>

#include <new>

// Declared with the other globals; defined here, where the handler is a
// complete type, so the globals need not include the error forms.
thread_local std::unique_ptr<CErrorHandler> gErrorHandler;

using namespace Qt::StringLiterals;

namespace {

// The stack is walked with a 16-bit counter where it is cleared or listed;
// a deeper stack cannot be walked and fails those two.
constexpr qsizetype WalkLimit = 32767;

// Number given to a failure that is no error record of ours.
constexpr qint32 UnspecifiedError = static_cast<qint32>(0x80004005u);

QString Source()
{
    return AppInfo::EXEName() + u".CErrorHandler"_s;
}

QString Description(qint32 number)
{
    switch (number) {
    case CErrorHandler::ErrInvalidFileName:
        return u"Invalid file name"_s;
    case CErrorHandler::ErrInvalidActions:
        return u"Invalid error handler actions"_s;
    case CErrorHandler::ErrInvalidTracingFlags:
        return u"Invalid tracing flags"_s;
    default:
        return u"CErrorHandler component failure"_s;
    }
}

} // namespace

void CErrorHandler::Raise(qint32 number) const
{
    throw ComponentError(number, Source(), Description(number));
}

// Runs one operation of the class: its own numbered errors pass, anything
// else becomes the component failure.
template<typename Operation>
void CErrorHandler::Guarded(Operation &&operation) const
{
    RunGuarded(Source(), operation, [this] { Raise(ErrComponentFailure); });
}

CErrorHandler::CErrorHandler()
    : m_isWindowsNT(qrt::errors::SystemLog::IsReachable())
{}

std::unique_ptr<CErrorHandler> CErrorHandler::ForComponent()
{
    auto handler = std::make_unique<CErrorHandler>();
    handler->Init(ActionErrorForm, u"Error Log.txt"_s, true, false, TraceLogFile,
                  u"Tracing Log.txt"_s);
    handler->SupportMail(DefaultSupportMail.toString());
    return handler;
}

void CErrorHandler::Init(qint32 ErrorHandlerActions, const QString &ErrorLogFile,
                         bool CallStackEnabled, bool TracingEnabled, qint32 TracingFlags,
                         const QString &TracingLogFile)
{
    Guarded([&] {
        this->ErrorHandlerActions(ErrorHandlerActions);
        this->ErrorLogFile(ErrorLogFile);
        m_callStackEnabled = CallStackEnabled;
        m_tracingEnabled = TracingEnabled;
        this->TracingFlags(TracingFlags);
        this->TracingLogFile(TracingLogFile);
    });
}

void CErrorHandler::ErrorHandlerActions(qint32 value)
{
    if (value < 1 || value > 15)
        Raise(ErrInvalidActions);
    m_errorHandlerActions = value;
}

void CErrorHandler::ErrorLogFile(const QString &value)
{
    if (value.isEmpty())
        Raise(ErrInvalidFileName);
    m_errorLogFile = value;
}

void CErrorHandler::TracingFlags(qint32 value)
{
    if (value < 1 || value > 3)
        Raise(ErrInvalidTracingFlags);
    m_tracingFlags = value;
}

void CErrorHandler::TracingLogFile(const QString &value)
{
    if (value.isEmpty())
        Raise(ErrInvalidFileName);
    m_tracingLogFile = value;
}

void CErrorHandler::Trace(bool entered, const QString &label) const
{
    if (!m_tracingEnabled || !(m_tracingFlags & TraceLogFile))
        return;
    if (!qrt::errors::LogFile::AppendLine(m_tracingLogFile, qrt::errors::TraceLine(entered, label)))
        Raise(ErrComponentFailure);
}

void CErrorHandler::CallStackPush(const QString &Procedure, const QString &Data)
{
    Guarded([&] {
        // The element is on the stack even when its trace line fails.
        m_callStack.append(Procedure);
        m_callStackData.append(Data);
        Trace(true, Procedure);
    });
}

void CErrorHandler::CallStackPop()
{
    Guarded([&] {
        if (m_callStack.isEmpty())
            return;
        // Traced before the removal: a failing trace leaves the element.
        Trace(false, m_callStack.constLast());
        m_callStack.removeLast();
        m_callStackData.removeLast();
    });
}

void CErrorHandler::CallStackClear()
{
    Guarded([&] {
        if (!m_callStackEnabled)
            return;
        if (m_callStack.size() > WalkLimit)
            Raise(ErrComponentFailure);
        m_callStack.clear();
        m_callStackData.clear();
    });
}

void CErrorHandler::Clear(bool ClearLogFile, bool ClearTracingLogFile)
{
    Guarded([&] {
        // A missing file or a refused deletion is no concern of the caller's.
        if (ClearLogFile)
            QFile::remove(m_errorLogFile);
        if (ClearTracingLogFile)
            QFile::remove(m_tracingLogFile);
    });
}

QString CErrorHandler::GetCallStack(qint16 Indent, bool IncludeData) const
{
    if (m_callStack.size() > WalkLimit)
        Raise(ErrComponentFailure);
    return qrt::errors::CallStackListing(m_callStack, m_callStackData, Indent, IncludeData);
}

void CErrorHandler::RecordCurrentError(const std::exception_ptr &error)
{
    m_errorNumber = 0;
    m_errorLine = 0;
    m_errorDescription.clear();
    if (!error)
        return;
    try {
        std::rethrow_exception(error);
    } catch (const ComponentError &record) {
        m_errorNumber = record.number;
        m_errorDescription = record.description;
        m_errorLine = record.line;
    } catch (const std::bad_alloc &) {
        m_errorNumber = 7;
        m_errorDescription = u"Out of memory"_s;
    } catch (const std::exception &other) {
        m_errorNumber = UnspecifiedError;
        m_errorDescription = QString::fromLocal8Bit(other.what());
    } catch (...) {
        m_errorNumber = UnspecifiedError;
        m_errorDescription = u"Unspecified error"_s;
    }
}

qint32 CErrorHandler::HandleError(const QString &Procedure)
{
    // First, while the exception being handled is still the current one.
    RecordCurrentError(std::current_exception());
    try {
        qint32 result = ResultAbort;
        QString name = Procedure;
        if (name.isEmpty())
            name = m_callStackEnabled && !m_callStack.isEmpty() ? m_callStack.constLast()
                                                                : u"Unknown"_s;
        const QString text = qrt::errors::ErrorReport(m_errorNumber, m_errorDescription, name,
                                                      m_errorLine, GetCallStack(20, true));
        if ((m_errorHandlerActions & ActionLogFile) &&
            !qrt::errors::LogFile::AppendLine(m_errorLogFile, text))
            Raise(ErrComponentFailure);
        if ((m_errorHandlerActions & ActionEventLog) && m_isWindowsNT &&
            !qrt::errors::SystemLog::LogEvent(text))
            Raise(ErrComponentFailure);
        if (m_errorHandlerActions & ActionMessageBox)
            result = AskMessageBox(text);
        if (m_errorHandlerActions & ActionErrorForm)
            ShowErrorForm(text, result);
        return result;
    } catch (...) {
        Raise(ErrComponentFailure);
    }
}

qint32 CErrorHandler::AskMessageBox(const QString &message) const
{
    // No icon and no caption of our own: the box carries the application's title.
    QMessageBox box(QMessageBox::NoIcon, AppInfo::Title(), message,
                    QMessageBox::Abort | QMessageBox::Retry | QMessageBox::Ignore,
                    QApplication::activeWindow());
    switch (box.exec()) {
    case QMessageBox::Abort:
        return ResultAbort;
    case QMessageBox::Retry:
        return ResultRetry;
    default:
        return ResultIgnore;
    }
}

void CErrorHandler::ShowErrorForm(const QString &Message, qint32 &Result) const
{
    frmErrorMessage form(QApplication::activeWindow());
    form.ErrorMessage(Message);
    form.SupportMail(m_supportMail);
    form.raise();
    form.exec();
    if (form.Tag == u"ABORT"_s)
        Result = ResultAbort;
    else if (form.Tag == u"RETRY"_s)
        Result = ResultRetry;
    else
        Result = ResultIgnore;
}
