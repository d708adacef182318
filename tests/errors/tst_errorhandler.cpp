// The error handler's state, its validation, the call stack, the trace and
// error logs read back byte for byte, the system log, Clear, and HandleError
// on the paths that ask nobody.

#include "DialogAnswerer.h"
#include "Raised.h"
#include "component/modUtils.h"
#include "errors/CErrorHandler.h"
#include "errors/ErrorTexts.h"
#include "errors/SystemLog.h"

#include <qrt/statCharts.h>

#include <QDate>
#include <QDir>
#include <QFile>
#include <QHash>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <functional>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr qint32 InvalidFileName = -2147204103;
constexpr qint32 InvalidActions = -2147204102;
constexpr qint32 InvalidTracingFlags = -2147204101;
constexpr qint32 ComponentFailure = -2147204100;

const QString Source = u"QRT_StatCharts.CErrorHandler"_s;

const QHash<qint32, QString> Descriptions{{InvalidFileName, u"Invalid file name"_s},
                                          {InvalidActions, u"Invalid error handler actions"_s},
                                          {InvalidTracingFlags, u"Invalid tracing flags"_s},
                                          {ComponentFailure, u"CErrorHandler component failure"_s}};

#define VERIFY_RAISES(call, expected)                                                              \
    do {                                                                                           \
        const auto raised = qrt::test::raisedBy([&] { call; });                                    \
        QVERIFY2(raised, "nothing raised");                                                        \
        QCOMPARE(raised->number, expected);                                                        \
        QCOMPARE(raised->source, Source);                                                          \
        QCOMPARE(raised->description, Descriptions.value(expected));                               \
    } while (false)

QByteArray ReadAll(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

// Date and time change from run to run; every stamp must have the ISO forms,
// lie between the test's start and now, and is replaced by "D - T".
QByteArray Unstamped(const QByteArray &text, QDate from)
{
    static const QRegularExpression stamp(u"(\\d{4}-\\d{2}-\\d{2}) - (\\d{2}):(\\d{2}):(\\d{2})"_s);
    QString result = QString::fromLatin1(text);
    for (auto match = stamp.globalMatch(result); match.hasNext();) {
        const auto m = match.next();
        const QDate date = QDate::fromString(m.captured(1), Qt::ISODate);
        if (!date.isValid() || date < from || date > QDate::currentDate() ||
            m.captured(2).toInt() > 23 || m.captured(3).toInt() > 59 || m.captured(4).toInt() > 59)
            return "bad stamp: " + m.captured(0).toLatin1();
    }
    result.replace(stamp, u"D - T"_s);
    return result.toLatin1();
}

// A datagram socket standing in for the log daemon.
class LogDaemon
{
public:
    explicit LogDaemon(const QString &path)
        : m_path(path.toLocal8Bit())
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, m_path.constData(), size_t(m_path.size()));
        m_fd = ::socket(AF_UNIX, SOCK_DGRAM, 0);
        ::bind(m_fd, reinterpret_cast<sockaddr *>(&address), sizeof address);
    }
    ~LogDaemon() { Stop(); }
    void Stop()
    {
        if (m_fd >= 0) {
            ::close(m_fd);
            ::unlink(m_path.constData());
        }
        m_fd = -1;
    }
    QByteArray Receive() const
    {
        QByteArray buffer(65536, '\0');
        const ssize_t size = ::recv(m_fd, buffer.data(), size_t(buffer.size()), MSG_DONTWAIT);
        return size < 0 ? QByteArray() : buffer.left(size);
    }

private:
    QByteArray m_path;
    int m_fd = -1;
};

// An error log entry as written, its stamp replaced: the call stack is
// listed from the top, each frame with its arguments.
QByteArray Entry(qint32 number, const QString &description, const QString &procedure, int line,
                 const QStringList &frames = {})
{
    QByteArray entry = "D - T\r\n\tError: " + QByteArray::number(number) + ", (" +
                       description.toLatin1() + ")\r\n\tin " + procedure.toLatin1() + " at line " +
                       QByteArray::number(line) + "\r\n\r\nThe call stack is:\r\n";
    for (const QString &frame : frames)
        entry += QByteArray(20, ' ') + frame.toLatin1() + "\r\n";
    return frames.isEmpty() ? entry + "\r\n" : entry;
}

ComponentError SampleError(qint32 number = ComponentError::ObjectErrorBase + 0x4284, int line = 0)
{
    return ComponentError(number, u"QRT_StatCharts.CAppSettings"_s,
                          u"CAppSettings component failure"_s, line);
}

// Calls HandleError as a failing procedure does, from its catch block.
qint32 HandleWhileFailing(CErrorHandler &handler, const ComponentError &error,
                          const QString &procedure = QString())
{
    try {
        throw error;
    } catch (...) {
        return handler.HandleError(procedure);
    }
}

} // namespace

class tst_CErrorHandler : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void configurationOfTheComponent();
    void initStopsAtTheFirstRefusal_data();
    void initStopsAtTheFirstRefusal();
    void tracing_data();
    void tracing();
    void errorLogEntries_data();
    void errorLogEntries();
    void recordsEveryKindOfFailure_data();
    void recordsEveryKindOfFailure();
    void eventLog();
    void eventLogRefused();
    void clear_data();
    void clear();
    void deepStack();

private:
    // A log file as written, its stamps checked and replaced.
    QByteArray Log(const QString &fileName) const
    {
        return Unstamped(ReadAll(fileName), m_startDate);
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_startDir;
    QDate m_startDate;
};

void tst_CErrorHandler::init()
{
    m_startDate = QDate::currentDate();
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_startDir = QDir::currentPath();
    QDir::setCurrent(m_dir->path());
    qrt::errors::SystemLog::SetSocketPath(m_dir->filePath(u"no-daemon"_s));
}

void tst_CErrorHandler::cleanup()
{
    QDir::setCurrent(m_startDir);
    m_dir.reset();
}

void tst_CErrorHandler::configurationOfTheComponent()
{
    statCharts first;
    CErrorHandler *handler = gErrorHandler.get();
    QVERIFY(handler);
    QCOMPARE(handler->ErrorHandlerActions(), CErrorHandler::ActionErrorForm);
    handler->CallStackPush(u"QRT_StatCharts.frmCharts.ParseMembers"_s);
    QCOMPARE(handler->CallStack().size(), 1); // the stack is on
    handler->CallStackPop();
    QVERIFY(QDir().entryList(QDir::Files).isEmpty()); // neither log is written

    handler->Tag(u"first"_s);
    statCharts second;
    QVERIFY(gErrorHandler);
    QVERIFY(gErrorHandler->Tag().isEmpty()); // a new object took its place
}

void tst_CErrorHandler::initStopsAtTheFirstRefusal_data()
{
    QTest::addColumn<qint32>("actions");
    QTest::addColumn<QString>("errorLog");
    QTest::addColumn<qint32>("flags");
    QTest::addColumn<QString>("traceLog");
    QTest::addColumn<qint32>("raises");
    QTest::addColumn<QString>("storedSoFar"); // actions,errorLog,callStack,flags,traceLog

    // The edges of each range; a refusal keeps what came before it.
    QTest::newRow("all good, highest")
        << 15 << u"e.txt"_s << 3 << u"t.txt"_s << 0 << u"15,e.txt,true,3,t.txt"_s;
    QTest::newRow("all good, lowest")
        << 1 << u"e.txt"_s << 1 << u"t.txt"_s << 0 << u"1,e.txt,true,1,t.txt"_s;
    QTest::newRow("actions 0") << 0 << u"e.txt"_s << 3 << u"t.txt"_s << InvalidActions
                               << u"1,Error Log.txt,false,0,Tracing Log.txt"_s;
    QTest::newRow("actions 16 changes nothing")
        << 16 << u"e.txt"_s << 3 << u"t.txt"_s << InvalidActions
        << u"1,Error Log.txt,false,0,Tracing Log.txt"_s;
    QTest::newRow("empty error log keeps the actions")
        << 3 << QString() << 3 << u"t.txt"_s << InvalidFileName
        << u"3,Error Log.txt,false,0,Tracing Log.txt"_s;
    QTest::newRow("flags 4") << 3 << u"e.txt"_s << 4 << u"t.txt"_s << InvalidTracingFlags
                             << u"3,e.txt,true,0,Tracing Log.txt"_s;
    QTest::newRow("flags 0 after the switches")
        << 3 << u"e.txt"_s << 0 << u"t.txt"_s << InvalidTracingFlags
        << u"3,e.txt,true,0,Tracing Log.txt"_s;
    QTest::newRow("empty trace log last") << 3 << u"e.txt"_s << 1 << QString() << InvalidFileName
                                          << u"3,e.txt,true,1,Tracing Log.txt"_s;
}

void tst_CErrorHandler::initStopsAtTheFirstRefusal()
{
    QFETCH(qint32, actions);
    QFETCH(QString, errorLog);
    QFETCH(qint32, flags);
    QFETCH(QString, traceLog);
    QFETCH(qint32, raises);
    QFETCH(QString, storedSoFar);

    CErrorHandler handler;
    const auto init = [&] { handler.Init(actions, errorLog, true, true, flags, traceLog); };
    if (raises)
        VERIFY_RAISES(init(), raises);
    else
        init();
    const QString stored =
        QString::number(handler.ErrorHandlerActions()) % u',' % handler.ErrorLogFile() % u',' %
        (handler.CallStackEnabled() ? u"true"_s : u"false"_s) % u',' %
        QString::number(handler.TracingFlags()) % u',' % handler.TracingLogFile();
    QCOMPARE(stored, storedSoFar);
    QCOMPARE(handler.TracingEnabled(), handler.CallStackEnabled());
}

void tst_CErrorHandler::tracing_data()
{
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<qint32>("flags");
    QTest::addColumn<QByteArray>("expected");

    const QByteArray lines = "D - T --- Entered routine: QRT_StatCharts.frmCharts.Outer\r\n"
                             "D - T --- Entered routine: QRT_StatCharts.frmCharts.Inner\r\n"
                             "D - T --- Exited routine: QRT_StatCharts.frmCharts.Inner\r\n"
                             "D - T --- Exited routine: QRT_StatCharts.frmCharts.Outer\r\n";
    QTest::newRow("debug flag only") << true << 1 << QByteArray("<missing>");
    QTest::newRow("log file flag") << true << 2 << lines;
    QTest::newRow("tracing off") << false << 3 << QByteArray("<missing>");
}

void tst_CErrorHandler::tracing()
{
    QFETCH(bool, enabled);
    QFETCH(qint32, flags);
    QFETCH(QByteArray, expected);

    CErrorHandler handler;
    handler.Init(1, u"Error Log.txt"_s, true, enabled, flags, u"trace.log"_s);
    handler.CallStackPush(u"QRT_StatCharts.frmCharts.Outer"_s, u"never traced"_s);
    handler.CallStackPush(u"QRT_StatCharts.frmCharts.Inner"_s);
    handler.CallStackPop();
    handler.CallStackPop();
    handler.CallStackPop(); // empty stack: no exit line
    QCOMPARE(Log(u"trace.log"_s), expected);
}

void tst_CErrorHandler::errorLogEntries_data()
{
    QTest::addColumn<QStringList>("stack");
    QTest::addColumn<bool>("callStackEnabled");
    QTest::addColumn<QString>("procedure");
    QTest::addColumn<qint32>("number");
    QTest::addColumn<int>("line");
    QTest::addColumn<QString>("named"); // the procedure the entry names

    const QString parse = u"QRT_StatCharts.frmCharts.ParseMembers"_s;
    QTest::newRow("named by the top of the stack")
        << QStringList({u"QRT_StatCharts.frmCharts.Outer"_s, parse}) << true << QString()
        << qint32(5) << 120 << parse;
    QTest::newRow("call stack off names Unknown, listing stays")
        << QStringList({u"A"_s}) << false << QString() << qint32(-1) << -3 << u"Unknown"_s;
    QTest::newRow("a given name wins over the stack")
        << QStringList({u"A"_s}) << true << u"Caller.Given"_s << qint32(0x7fffffff) << 1
        << u"Caller.Given"_s;
}

void tst_CErrorHandler::errorLogEntries()
{
    QFETCH(QStringList, stack);
    QFETCH(bool, callStackEnabled);
    QFETCH(QString, procedure);
    QFETCH(qint32, number);
    QFETCH(int, line);
    QFETCH(QString, named);

    CErrorHandler handler;
    handler.Init(CErrorHandler::ActionLogFile, u"errors.log"_s, callStackEnabled);
    for (qsizetype i = 0; i < stack.size(); ++i)
        handler.CallStackPush(stack.at(i), u"arg "_s + QString::number(i + 1));

    DialogAnswerer nobody({});
    const qint32 result = HandleWhileFailing(handler, SampleError(number, line), procedure);
    QCOMPARE(result, CErrorHandler::ResultAbort); // nobody asked
    QStringList frames;                           // from the top
    for (qsizetype i = stack.size(); i > 0; --i)
        frames << stack.at(i - 1) + u"(arg %1)"_s.arg(i);
    QCOMPARE(Log(u"errors.log"_s),
             Entry(number, u"CAppSettings component failure"_s, named, line, frames));
    QCOMPARE(handler.ErrorNumber(), number);
    QCOMPARE(handler.ErrorLine(), line);
    QCOMPARE(handler.ErrorDescription(), u"CAppSettings component failure"_s);
    QCOMPARE(handler.CallStack(), stack); // neither popped nor cleared
    QCOMPARE(nobody.seen.size(), 0);
    handler.CallStackClear(); // switched off, it leaves the stack alone
    QCOMPARE(handler.CallStack().isEmpty(), callStackEnabled);
}

void tst_CErrorHandler::recordsEveryKindOfFailure_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<qint32>("number");
    QTest::addColumn<QString>("description");

    QTest::newRow("no current error") << 0 << 0 << QString();
    QTest::newRow("error record") << 1 << qint32(-2147203463) << u"File not found"_s;
    QTest::newRow("other exception") << 2 << qint32(-2147467259) << u"disk on fire"_s;
    QTest::newRow("out of memory") << 3 << 7 << u"Out of memory"_s;
}

void tst_CErrorHandler::recordsEveryKindOfFailure()
{
    QFETCH(int, kind);
    QFETCH(qint32, number);
    QFETCH(QString, description);

    CErrorHandler handler;
    handler.Init(CErrorHandler::ActionLogFile, u"errors.log"_s);
    handler.ErrorNumber(99);
    handler.ErrorLine(99);
    if (kind == 0) {
        QCOMPARE(handler.HandleError(), CErrorHandler::ResultAbort);
    } else {
        try {
            if (kind == 1)
                throw ComponentError(number, u"QRT_StatCharts.CShell"_s, description, 0);
            if (kind == 2)
                throw std::runtime_error("disk on fire");
            throw std::bad_alloc();
        } catch (...) {
            handler.HandleError();
        }
    }
    QCOMPARE(handler.ErrorNumber(), number);
    QCOMPARE(handler.ErrorDescription(), description);
    QCOMPARE(handler.ErrorLine(), 0);
    QCOMPARE(Log(u"errors.log"_s), Entry(number, description, u"Unknown"_s, 0));
}

void tst_CErrorHandler::eventLog()
{
    const QString socket = m_dir->filePath(u"log"_s);
    qrt::errors::SystemLog::SetSocketPath(socket);
    LogDaemon daemon(socket);
    CErrorHandler handler;
    QVERIFY(handler.IsWindowsNT());
    handler.Init(CErrorHandler::ActionEventLog, u"errors.log"_s, true);
    handler.CallStackPush(u"P"_s);

    QCOMPARE(HandleWhileFailing(handler, SampleError(-5, 3)), CErrorHandler::ResultAbort);
    const QByteArray record = daemon.Receive();
    const QByteArray tag = "<11>";
    QVERIFY2(record.startsWith(tag), record.constData());
    const QByteArray prefix = " QRT_StatCharts[" + QByteArray::number(::getpid()) + "]: ";
    const qsizetype at = record.indexOf(prefix);
    QVERIFY2(at == 4 + 15, record.constData()); // "Mmm dd hh:mm:ss"
    QCOMPARE(Unstamped(record.mid(at + prefix.size()), m_startDate),
             Entry(-5, u"CAppSettings component failure"_s, u"P"_s, 3, {u"P()"_s}).chopped(2));
    QVERIFY(!QFile::exists(u"errors.log"_s));

    // Without a reachable log at construction the event log is not written.
    daemon.Stop();
    LogDaemon later(socket);
    qrt::errors::SystemLog::SetSocketPath(m_dir->filePath(u"none"_s));
    CErrorHandler noLog;
    QVERIFY(!noLog.IsWindowsNT());
    noLog.Init(CErrorHandler::ActionEventLog);
    QCOMPARE(HandleWhileFailing(noLog, SampleError()), CErrorHandler::ResultAbort);
    QVERIFY(later.Receive().isEmpty());
}

void tst_CErrorHandler::eventLogRefused()
{
    const QString socket = m_dir->filePath(u"log"_s);
    qrt::errors::SystemLog::SetSocketPath(socket);
    auto daemon = std::make_unique<LogDaemon>(socket);
    CErrorHandler handler;
    QVERIFY(handler.IsWindowsNT());
    handler.Init(CErrorHandler::ActionEventLog | CErrorHandler::ActionMessageBox);
    daemon.reset(); // the daemon went away after the handler was made
    DialogAnswerer nobody({});
    VERIFY_RAISES(HandleWhileFailing(handler, SampleError()), ComponentFailure);
    QCOMPARE(nobody.seen.size(), 0);
}

void tst_CErrorHandler::clear_data()
{
    QTest::addColumn<bool>("arguments");
    QTest::addColumn<bool>("clearLog");
    QTest::addColumn<bool>("clearTrace");
    QTest::addColumn<bool>("logLeft");
    QTest::addColumn<bool>("traceLeft");

    QTest::newRow("no arguments") << false << true << true << false << false;
    QTest::newRow("error log only") << true << true << false << false << true;
    QTest::newRow("trace log only") << true << false << true << true << false;
}

void tst_CErrorHandler::clear()
{
    QFETCH(bool, arguments);
    QFETCH(bool, clearLog);
    QFETCH(bool, clearTrace);
    QFETCH(bool, logLeft);
    QFETCH(bool, traceLeft);

    CErrorHandler handler;
    handler.Init(CErrorHandler::ActionLogFile, u"e.log"_s, true, true, 2, u"t.log"_s);
    handler.CallStackPush(u"P"_s);
    HandleWhileFailing(handler, SampleError());
    QVERIFY(QFile::exists(u"e.log"_s) && QFile::exists(u"t.log"_s));
    if (arguments)
        handler.Clear(clearLog, clearTrace);
    else
        handler.Clear();
    QCOMPARE(QFile::exists(u"e.log"_s), logLeft);
    QCOMPARE(QFile::exists(u"t.log"_s), traceLeft);
    handler.Clear(); // neither file there any more: nothing raised
    QVERIFY(!QFile::exists(u"e.log"_s) && !QFile::exists(u"t.log"_s));
}

void tst_CErrorHandler::deepStack()
{
    CErrorHandler handler;
    handler.Init(CErrorHandler::ActionLogFile, u"e.log"_s, true);
    for (int i = 0; i < 32767; ++i)
        handler.CallStackPush(u"P"_s);
    HandleWhileFailing(handler, SampleError()); // 32,767 can still be listed
    handler.CallStackPush(u"P"_s);
    VERIFY_RAISES(HandleWhileFailing(handler, SampleError()), ComponentFailure);
    VERIFY_RAISES(handler.CallStackClear(), ComponentFailure);
    QCOMPARE(handler.CallStack().size(), 32768);
    handler.CallStackPop(); // pops need no walk
    handler.CallStackClear();
    QVERIFY(handler.CallStack().isEmpty());
}

QTEST_MAIN(tst_CErrorHandler)
#include "tst_errorhandler.moc"
