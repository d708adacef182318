// The error handler's validation, the trace and error logs read back byte
// for byte, the system log, Clear; the reporting frame on a small procedure
// answered through the real message box and dialog, and a failure of
// HandleError itself; last, the dialog on its own.

#include "DialogAnswerer.h"
#include "ProgramRun.h"
#include "Raised.h"
#include "errors/CErrorHandler.h"
#include "errors/ReportingFrame.h"
#include "errors/SystemLog.h"

#include <QDate>
#include <QDir>
#include <QFile>
#include <QHash>
#include <QLabel>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

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

const QString Label = u"QRT_StatCharts.frmProvChannels.fgCategories_AfterEdit"_s;

// Three guarded statements; the second fails as often as it is told to.
struct Procedure
{
    int failures = 0;
    int first = 0, second = 0, third = 0;
    bool left = false;

    void Run(CErrorHandler *handler)
    {
        ReportingFrame frame(Label, handler);
        if (!frame.Run([&] { ++first; }))
            return;
        if (!frame.Run([&] {
                ++second;
                if (failures > 0) {
                    --failures;
                    throw ComponentError(-2147203463, u"QRT_StatCharts.CShell"_s,
                                         u"File not found"_s, 17);
                }
            }))
            return;
        if (!frame.Run([&] { ++third; }))
            return;
        frame.Leave();
        left = true;
    }
};

const QString Report =
    u"2024-05-06 - 14:03:09\r\n\tError: 5, (Cannot open /srv/news/a.db?mode=ro&x=1 at 100%)\r\n"
    "\tin P at line 0\r\n\r\nThe call stack is:\r\n                    P()"_s;

QPushButton *Button(const QWidget &form, const QString &name)
{
    return form.findChild<QPushButton *>(name);
}

} // namespace

class tst_CErrorHandler : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void initStopsAtTheFirstRefusal_data();
    void initStopsAtTheFirstRefusal();
    void tracing_data();
    void tracing();
    void errorLogEntries_data();
    void errorLogEntries();
    void eventLog();
    void answers_data();
    void answers();
    void failuresOfTheHandlerItself();
    void dialogShown();
    void dialogSends_data();
    void dialogSends();

private:
    // A log file as written, its stamps checked and replaced.
    QByteArray Log(const QString &fileName) const
    {
        return Unstamped(qrt::test::readFile(fileName), m_startDate);
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_startDir;
    QDate m_startDate;
    QTemporaryDir m_tools; // a stand-in for the desktop's opener
    QString m_mailLog;
};

void tst_CErrorHandler::initTestCase()
{
    // The stand-in opener notes every address handed over.
    QVERIFY(m_tools.isValid());
    m_mailLog = m_tools.filePath(u"opened.txt"_s);
    QVERIFY(qrt::test::writeFile(m_tools.filePath(u"xdg-open"_s),
                                 "#!/bin/sh\nprintf '%s\\n' \"$1\" >> '" + m_mailLog.toLocal8Bit() +
                                     "'\n"));
    QFile::setPermissions(m_tools.filePath(u"xdg-open"_s),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    qputenv("PATH", m_tools.path().toLocal8Bit() + ":/usr/bin:/bin");
}

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

void tst_CErrorHandler::initStopsAtTheFirstRefusal_data()
{
    QTest::addColumn<qint32>("actions");
    QTest::addColumn<QString>("errorLog");
    QTest::addColumn<qint32>("flags");
    QTest::addColumn<QString>("traceLog");
    QTest::addColumn<qint32>("raises");
    QTest::addColumn<QString>("storedSoFar"); // actions,errorLog,callStack,flags,traceLog

    // The edges of each range; a refusal keeps what came before it.
    QTest::newRow("all good") << 15 << u"e.txt"_s << 3 << u"t.txt"_s << 0
                              << u"15,e.txt,true,3,t.txt"_s;
    QTest::newRow("actions 0") << 0 << u"e.txt"_s << 3 << u"t.txt"_s << InvalidActions
                               << u"1,Error Log.txt,false,0,Tracing Log.txt"_s;
    QTest::newRow("empty error log keeps the actions")
        << 3 << QString() << 3 << u"t.txt"_s << InvalidFileName
        << u"3,Error Log.txt,false,0,Tracing Log.txt"_s;
    QTest::newRow("flags 4") << 3 << u"e.txt"_s << 4 << u"t.txt"_s << InvalidTracingFlags
                             << u"3,e.txt,true,0,Tracing Log.txt"_s;
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
    QTest::newRow("debug flag only") << true << 1 << QByteArray();
    QTest::newRow("log file flag") << true << 2 << lines;
    QTest::newRow("tracing off") << false << 3 << QByteArray();
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

    // Clear takes each log on its own; one no longer there raises nothing.
    QVERIFY(qrt::test::writeFile(u"Error Log.txt"_s, "kept"));
    handler.Clear(false, true);
    QVERIFY(!QFile::exists(u"trace.log"_s) && QFile::exists(u"Error Log.txt"_s));
    handler.Clear();
    QVERIFY(!QFile::exists(u"Error Log.txt"_s));
}

void tst_CErrorHandler::errorLogEntries_data()
{
    QTest::addColumn<QStringList>("stack");
    QTest::addColumn<bool>("callStackEnabled");
    QTest::addColumn<QString>("procedure");
    QTest::addColumn<int>("kind"); // what fails: 0 nothing, 1 ours, 2 another exception, 3 memory
    QTest::addColumn<qint32>("number");
    QTest::addColumn<int>("line");
    QTest::addColumn<QString>("description");
    QTest::addColumn<QString>("named"); // the procedure the entry names

    const QString parse = u"QRT_StatCharts.frmCharts.ParseMembers"_s;
    const QString ours = u"CAppSettings component failure"_s;
    QTest::newRow("named by the top of the stack")
        << QStringList({u"QRT_StatCharts.frmCharts.Outer"_s, parse}) << true << QString() << 1
        << qint32(5) << 120 << ours << parse;
    QTest::newRow("call stack off names Unknown, listing stays")
        << QStringList({u"A"_s}) << false << QString() << 1 << qint32(-1) << -3 << ours
        << u"Unknown"_s;
    QTest::newRow("a given name wins over the stack")
        << QStringList({u"A"_s}) << true << u"Caller.Given"_s << 1 << qint32(0x7fffffff) << 1
        << ours << u"Caller.Given"_s;
    QTest::newRow("no current error")
        << QStringList() << true << QString() << 0 << 0 << 0 << QString() << u"Unknown"_s;
    QTest::newRow("other exception")
        << QStringList() << true << QString() << 2 << qint32(-2147467259) << 0 << u"disk on fire"_s
        << u"Unknown"_s;
    QTest::newRow("out of memory")
        << QStringList() << true << QString() << 3 << 7 << 0 << u"Out of memory"_s << u"Unknown"_s;
}

void tst_CErrorHandler::errorLogEntries()
{
    QFETCH(QStringList, stack);
    QFETCH(bool, callStackEnabled);
    QFETCH(QString, procedure);
    QFETCH(int, kind);
    QFETCH(qint32, number);
    QFETCH(int, line);
    QFETCH(QString, description);
    QFETCH(QString, named);

    CErrorHandler handler;
    handler.Init(CErrorHandler::ActionLogFile, u"errors.log"_s, callStackEnabled);
    for (qsizetype i = 0; i < stack.size(); ++i)
        handler.CallStackPush(stack.at(i), u"arg "_s + QString::number(i + 1));
    handler.ErrorNumber(99); // an earlier record gives way
    handler.ErrorLine(99);

    DialogAnswerer nobody({});
    qint32 result = -1;
    if (kind == 0)
        result = handler.HandleError(procedure);
    else if (kind == 1)
        result = HandleWhileFailing(handler, SampleError(number, line), procedure);
    else
        try {
            if (kind == 2)
                throw std::runtime_error("disk on fire");
            throw std::bad_alloc();
        } catch (...) {
            result = handler.HandleError(procedure);
        }
    QCOMPARE(result, CErrorHandler::ResultAbort); // nobody asked
    QStringList frames;                           // from the top
    for (qsizetype i = stack.size(); i > 0; --i)
        frames << stack.at(i - 1) + u"(arg %1)"_s.arg(i);
    QCOMPARE(Log(u"errors.log"_s), Entry(number, description, named, line, frames));
    QCOMPARE(handler.ErrorNumber(), number);
    QCOMPARE(handler.ErrorLine(), line);
    QCOMPARE(handler.ErrorDescription(), description);
    QCOMPARE(handler.CallStack(), stack); // neither popped nor cleared
    QCOMPARE(nobody.seen.size(), 0);
    handler.CallStackClear(); // switched off, it leaves the stack alone
    QCOMPARE(handler.CallStack().isEmpty(), callStackEnabled);
}

void tst_CErrorHandler::eventLog()
{
    // A datagram socket standing in for the log daemon.
    const QByteArray socket = m_dir->filePath(u"log"_s).toLocal8Bit();
    qrt::errors::SystemLog::SetSocketPath(QString::fromLocal8Bit(socket));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, socket.constData(), size_t(socket.size()));
    const int daemon = ::socket(AF_UNIX, SOCK_DGRAM, 0);
    QVERIFY(::bind(daemon, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0);
    CErrorHandler handler;
    QVERIFY(handler.IsWindowsNT());
    handler.Init(CErrorHandler::ActionEventLog, u"errors.log"_s, true);
    handler.CallStackPush(u"P"_s);

    QCOMPARE(HandleWhileFailing(handler, SampleError(-5, 3)), CErrorHandler::ResultAbort);
    QByteArray record(65536, '\0');
    record.resize(qMax(::recv(daemon, record.data(), size_t(record.size()), MSG_DONTWAIT), 0L));
    QVERIFY2(record.startsWith("<11>"), record.constData());
    const QByteArray prefix = " QRT_StatCharts[" + QByteArray::number(::getpid()) + "]: ";
    const qsizetype at = record.indexOf(prefix);
    QVERIFY2(at == 4 + 15, record.constData()); // "Mmm dd hh:mm:ss"
    QCOMPARE(Unstamped(record.mid(at + prefix.size()), m_startDate),
             Entry(-5, u"CAppSettings component failure"_s, u"P"_s, 3, {u"P()"_s}).chopped(2));
    QVERIFY(!QFile::exists(u"errors.log"_s));

    // The daemon went away after the handler was made.
    ::close(daemon);
    ::unlink(socket.constData());
    VERIFY_RAISES(HandleWhileFailing(handler, SampleError()), ComponentFailure);
}

void tst_CErrorHandler::answers_data()
{
    QTest::addColumn<qint32>("actions");
    QTest::addColumn<int>("failures");
    QTest::addColumn<QStringList>("script");
    QTest::addColumn<int>("secondRuns");
    QTest::addColumn<int>("thirdRuns");
    QTest::addColumn<bool>("left");
    QTest::addColumn<QStringList>("stackAfter");

    const QStringList outer{u"QRT_StatCharts.frmCharts.Outer"_s};
    const qint32 form = CErrorHandler::ActionErrorForm;
    const qint32 box = CErrorHandler::ActionMessageBox;

    // The dialog's own answers are the real window's (tst_pivotwindow); a
    // box, and a box then the dialog, which decides, are here.
    QTest::newRow("box: abort") << box << 1 << QStringList({u"Abort"_s}) << 1 << 0 << false
                                << QStringList();
    QTest::newRow("box: retry then ignore")
        << box << 2 << QStringList({u"Retry"_s, u"Ignore"_s}) << 2 << 1 << true << outer;
    QTest::newRow("box retry, dialog abort")
        << (box | form) << 1 << QStringList({u"Retry"_s, u"btnAbort"_s}) << 1 << 0 << false
        << QStringList();
    QTest::newRow("no handler: on as if ignored")
        << 0 << 3 << QStringList() << 1 << 1 << true << outer;
}

// Actions 0: the procedure runs without a handler at all.
void tst_CErrorHandler::answers()
{
    QFETCH(qint32, actions);
    QFETCH(int, failures);
    QFETCH(QStringList, script);
    QFETCH(int, secondRuns);
    QFETCH(int, thirdRuns);
    QFETCH(bool, left);
    QFETCH(QStringList, stackAfter);

    CErrorHandler handler;
    handler.Init(actions | CErrorHandler::ActionLogFile, u"errors.log"_s, true);
    handler.CallStackPush(u"QRT_StatCharts.frmCharts.Outer"_s);
    DialogAnswerer user(script);

    Procedure procedure{failures};
    procedure.Run(actions ? &handler : nullptr);

    QCOMPARE(procedure.first, 1);
    QCOMPARE(procedure.second, secondRuns);
    QCOMPARE(procedure.third, thirdRuns);
    QCOMPARE(procedure.left, left);
    QCOMPARE(handler.CallStack(), stackAfter);
    QCOMPARE(user.seen.size(), script.size());
    QCOMPARE(user.unanswered, 0);
    if (user.seen.size() == 2 && user.seen.at(0).kind != user.seen.at(1).kind)
        QCOMPARE(user.seen.at(1).text, user.seen.at(0).text + u"\r\nVersion: "_s +
                                           QString::fromLatin1(QRT_VERSION_STRING));

    // After an abort the outer procedure's own pop finds nothing to do.
    handler.CallStackPop();
    QVERIFY(handler.CallStack().isEmpty());
}

// A HandleError that fails reaches the caller and leaves the stack as it
// was; a push's and a pop's failing trace come to the user.
void tst_CErrorHandler::failuresOfTheHandlerItself()
{
    QVERIFY(qrt::test::writeFile(u"plain-file"_s, {}));
    CErrorHandler handler;
    handler.Init(CErrorHandler::ActionLogFile | CErrorHandler::ActionErrorForm,
                 u"plain-file/errors.log"_s, true);
    DialogAnswerer user({u"btnIgnore"_s, u"btnIgnore"_s});
    Procedure failing{1};
    VERIFY_RAISES(failing.Run(&handler), ComponentFailure);
    QCOMPARE(user.seen.size(), 0);
    QCOMPARE(failing.third, 0);
    QCOMPARE(handler.CallStack(), QStringList({Label}));

    CErrorHandler tracing;
    tracing.Init(CErrorHandler::ActionErrorForm, u"errors.log"_s, true, true,
                 CErrorHandler::TraceLogFile, u"plain-file/trace.log"_s);
    Procedure procedure;
    procedure.Run(&tracing);
    QCOMPARE(user.seen.size(), 2);
    QVERIFY(user.seen.at(0).text.contains(u"(CErrorHandler component failure)"_s));
    QVERIFY(procedure.left);
    QCOMPARE(procedure.third, 1);
    QCOMPARE(tracing.CallStack(), QStringList({Label})); // the failed pop left it
}

void tst_CErrorHandler::dialogShown()
{
    frmErrorMessage form;
    form.ErrorMessage(Report);
    const auto *caption = form.findChild<QLabel *>(u"elaTitleCaption"_s);
    QCOMPARE(caption->text(), u"An Error occured in ..."_s); // until the dialog shows
    form.SupportMail(u"help@example.org"_s);
    form.Tag = u"RETRY"_s;
    // Shown but never activated, as under a window manager that leaves the
    // focus where it was: the steps have run all the same.
    form.setAttribute(Qt::WA_ShowWithoutActivating);
    form.show();
    QCOMPARE(caption->text(), u"An error occurred in Statistic Charts"_s);
    QCOMPARE(form.Tag, u"ABORT"_s);
    QVERIFY(Button(form, u"btnSend"_s)->isEnabled());

    // Each activation presets the word again.
    form.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&form));
    form.Tag = u"RETRY"_s;
    QWidget other;
    other.show();
    other.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&other));
    form.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&form));
    QCOMPARE(form.Tag, u"ABORT"_s);

    const QString folder = qEnvironmentVariable("QRT_SCREENSHOT_DIR");
    if (!folder.isEmpty())
        QVERIFY(form.grab().save(QDir(folder).filePath(u"frmErrorMessage.png"_s)));
    // A larger window gives all its extra height and width to the report.
    auto *report = form.findChild<QWidget *>(u"txtErrorMessage"_s);
    const QSize reportAtDesign = report->size(), formAtDesign = form.size();
    form.resize(900, 520);
    QTRY_COMPARE(form.size(), QSize(900, 520));
    QCOMPARE(report->size(), reportAtDesign + QSize(900, 520) - formAtDesign);
}

void tst_CErrorHandler::dialogSends_data()
{
    QTest::addColumn<QString>("supportMail");
    QTest::addColumn<QByteArray>("opened"); // what the stand-in opener noted

    const QByteArray address =
        "mailto:support@example.org?subject=An%20error%20occurred%20in%20Statistic%20Charts"
        "&body=%0A%0A--------------------%0A"
        "2024-05-06 - 14%3A03%3A09%0A%09Error%3A 5, (Cannot open %2Fsrv%2Fnews%2Fa.db%3Fmode%3Dro"
        "%26x%3D1 at 100%)%0A%09in P at line 0%0A%0AThe call stack is%3A%0A"
        "                    P()%0AVersion%3A " +
        QByteArray(QRT_VERSION_STRING) + "%0A--------------------";
    QTest::newRow("to support") << u"support@example.org"_s << address + '\n';
    QTest::newRow("without an address") << QString() << QByteArray();
}

// Send mails the report and leaves the dialog up; without an address it is
// off and a click does nothing. The close box then leaves Abort, whatever
// word was there before.
void tst_CErrorHandler::dialogSends()
{
    QFETCH(QString, supportMail);
    QFETCH(QByteArray, opened);

    QFile::remove(m_mailLog);
    frmErrorMessage form;
    form.ErrorMessage(Report);
    if (!supportMail.isEmpty())
        form.SupportMail(supportMail);
    // Modal, as ShowErrorForm shows it.
    QTimer::singleShot(0, &form, [&] {
        QVERIFY(QTest::qWaitFor([&] { return form.isActiveWindow(); }));
        QCOMPARE(Button(form, u"btnSend"_s)->isEnabled(), !supportMail.isEmpty());
        QTest::mouseClick(Button(form, u"btnSend"_s), Qt::LeftButton);
        QVERIFY(form.isVisible());
        form.Tag = u"RETRY"_s;
        form.close();
    });
    // A check that failed above must not leave the dialog up for good.
    QTimer::singleShot(5000, &form, [&] { form.setVisible(false); });
    form.exec();
    QVERIFY(form.isHidden());
    QCOMPARE(form.Tag, u"ABORT"_s);
    QFile log(m_mailLog);
    QCOMPARE(log.open(QIODevice::ReadOnly) ? log.readAll() : QByteArray(), opened);
}

QTEST_MAIN(tst_CErrorHandler)
#include "tst_errorhandler.moc"
