#pragma once
// The one object through which the component traces procedures and reports
// failures. It holds the configuration (what to do on an error, what to
// trace, which files to use), a stack of the procedures running now, and the
// last error handled; HandleError tells the user and returns what the
// failing procedure does next: abort, retry or ignore.
//
// Bad values raise ComponentError with the class's own numbers; any other
// failure inside (an unwritable log, a refused event log) becomes its
// component failure, with the source "QRT_StatCharts.CErrorHandler".
//
// The event log is the system log: IsWindowsNT is true when a log daemon is
// reachable at construction (see errors/SystemLog.h).

#include "base/ComponentError.h"

#include <QString>
#include <QStringList>

#include <exception>
#include <memory>

class CErrorHandler
{
public:
    // Flags of ErrorHandlerActions.
    static constexpr qint32 ActionMessageBox = 1;
    static constexpr qint32 ActionLogFile = 2;
    static constexpr qint32 ActionEventLog = 4;
    static constexpr qint32 ActionErrorForm = 8;
    // Flags of TracingFlags.
    static constexpr qint32 TraceDebug = 1;
    static constexpr qint32 TraceLogFile = 2;
    // Results of HandleError.
    static constexpr qint32 ResultAbort = 0;
    static constexpr qint32 ResultRetry = 1;
    static constexpr qint32 ResultIgnore = 2;

    static constexpr qint32 ErrInvalidFileName = ComponentError::ObjectErrorBase + 17401;
    static constexpr qint32 ErrInvalidActions = ComponentError::ObjectErrorBase + 17402;
    static constexpr qint32 ErrInvalidTracingFlags = ComponentError::ObjectErrorBase + 17403;
    static constexpr qint32 ErrComponentFailure = ComponentError::ObjectErrorBase + 17404;

    // The address the support mail goes to unless the owner sets another.
    static constexpr QStringView DefaultSupportMail = u"statistics-support@zorvane.example";

    // Message box only, no tracing, no call stack, until Init.
    CErrorHandler();

    // The handler of a statCharts object: the error dialog only, call stack
    // on, tracing off, the default support address. Neither log is written.
    static std::unique_ptr<CErrorHandler> ForComponent();

    QString SupportMail() const { return m_supportMail; }
    void SupportMail(const QString &value) { m_supportMail = value; }

    // Checks and stores in the order of the arguments; a refused value stops
    // there with the ones before it already stored.
    void Init(qint32 ErrorHandlerActions,
              const QString &ErrorLogFile = QStringLiteral("Error Log.txt"),
              bool CallStackEnabled = false, bool TracingEnabled = false, qint32 TracingFlags = 2,
              const QString &TracingLogFile = QStringLiteral("Tracing Log.txt"));

    void CallStackEnabled(bool value) { m_callStackEnabled = value; }
    bool CallStackEnabled() const { return m_callStackEnabled; }
    void ErrorDescription(const QString &value) { m_errorDescription = value; }
    QString ErrorDescription() const { return m_errorDescription; }
    // 1 to 15: at least one action, none outside the four flags.
    void ErrorHandlerActions(qint32 value);
    qint32 ErrorHandlerActions() const { return m_errorHandlerActions; }
    void ErrorLine(qint32 value) { m_errorLine = value; }
    qint32 ErrorLine() const { return m_errorLine; }
    // Any non-empty name; the file system is not asked.
    void ErrorLogFile(const QString &value);
    QString ErrorLogFile() const { return m_errorLogFile; }
    void ErrorNumber(qint32 value) { m_errorNumber = value; }
    qint32 ErrorNumber() const { return m_errorNumber; }
    void Tag(const QString &value) { m_tag = value; }
    QString Tag() const { return m_tag; }
    void TracingEnabled(bool value) { m_tracingEnabled = value; }
    bool TracingEnabled() const { return m_tracingEnabled; }
    // 1 to 3.
    void TracingFlags(qint32 value);
    qint32 TracingFlags() const { return m_tracingFlags; }
    void TracingLogFile(const QString &value);
    QString TracingLogFile() const { return m_tracingLogFile; }

    // Drops the whole stack, only while CallStackEnabled is on.
    void CallStackClear();
    // Ends the newest procedure; nothing at all on an empty stack.
    void CallStackPop();
    // A procedure has started. The stack grows whatever CallStackEnabled says.
    void CallStackPush(const QString &Procedure, const QString &Data = QString());

    // Deletes the logs named now; a missing file is no failure.
    void Clear(bool ClearLogFile = true, bool ClearTracingLogFile = true);

    // Called from a catch block: records the exception being handled (number,
    // description, line; none gives 0, "" and 0), reports it as the actions
    // ask and returns ResultAbort, ResultRetry or ResultIgnore. Procedure
    // names the failing procedure; empty lets the call stack name it.
    // Neither pops nor clears the stack. A failure of its own raises the
    // component failure and returns nothing.
    qint32 HandleError(const QString &Procedure = QString());

    // The stack, oldest first, for the owner to look at.
    const QStringList &CallStack() const { return m_callStack; }
    const QStringList &CallStackData() const { return m_callStackData; }
    bool IsWindowsNT() const { return m_isWindowsNT; }

private:
    [[noreturn]] void Raise(qint32 number) const;
    template<typename Operation>
    void Guarded(Operation &&operation) const;
    void RecordCurrentError(const std::exception_ptr &error);
    void Trace(bool entered, const QString &label) const;
    QString GetCallStack(qint16 Indent, bool IncludeData) const;
    qint32 AskMessageBox(const QString &message) const;
    void ShowErrorForm(const QString &Message, qint32 &Result) const;

    bool m_callStackEnabled = false;
    bool m_tracingEnabled = false;
    qint32 m_errorHandlerActions = ActionMessageBox;
    qint32 m_tracingFlags = 0;
    qint32 m_errorNumber = 0;
    qint32 m_errorLine = 0;
    QString m_errorLogFile = QStringLiteral("Error Log.txt");
    QString m_tracingLogFile = QStringLiteral("Tracing Log.txt");
    QString m_tag;
    QString m_errorDescription;
    QString m_supportMail;
    bool m_isWindowsNT = false;
    QStringList m_callStack;
    QStringList m_callStackData;
};
