// The reporting frame on a small procedure, answered through the real error
// dialog and the real message box: abort, retry and ignore, the stack after
// each, and a failure of HandleError itself.

#include "DialogAnswerer.h"
#include "errors/CErrorHandler.h"
#include "errors/ReportingFrame.h"
#include "errors/SystemLog.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

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

} // namespace

class tst_ReportingFrame : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void answers_data();
    void answers();
    void messageBoxThenDialog();
    void failingHandleErrorLeavesTheFrame();
    void failingPushAndPop();
    void withoutHandler();

private:
    QTemporaryDir m_dir;
};

void tst_ReportingFrame::initTestCase()
{
    QVERIFY(m_dir.isValid());
    QDir::setCurrent(m_dir.path());
    qrt::errors::SystemLog::SetSocketPath(m_dir.filePath(u"no-daemon"_s));
}

void tst_ReportingFrame::answers_data()
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

    QTest::newRow("no failure") << form << 0 << QStringList() << 1 << 1 << true << outer;
    QTest::newRow("dialog: retry, then it works")
        << form << 1 << QStringList({u"btnRetry"_s}) << 2 << 1 << true << outer;
    QTest::newRow("dialog: retry, fails again, abort")
        << form << 5 << QStringList({u"btnRetry"_s, u"btnAbort"_s}) << 2 << 0 << false
        << QStringList();
    QTest::newRow("box: abort") << box << 1 << QStringList({u"Abort"_s}) << 1 << 0 << false
                                << QStringList();
    QTest::newRow("box: retry then ignore")
        << box << 2 << QStringList({u"Retry"_s, u"Ignore"_s}) << 2 << 1 << true << outer;
    QTest::newRow("nobody asked: abort") << qint32(CErrorHandler::ActionLogFile) << 1
                                         << QStringList() << 1 << 0 << false << QStringList();
}

void tst_ReportingFrame::answers()
{
    QFETCH(qint32, actions);
    QFETCH(int, failures);
    QFETCH(QStringList, script);
    QFETCH(int, secondRuns);
    QFETCH(int, thirdRuns);
    QFETCH(bool, left);
    QFETCH(QStringList, stackAfter);

    CErrorHandler handler;
    handler.Init(actions, u"errors.log"_s, true);
    handler.CallStackPush(u"QRT_StatCharts.frmCharts.Outer"_s);
    DialogAnswerer user(script);

    Procedure procedure{failures};
    procedure.Run(&handler);

    QCOMPARE(procedure.first, 1);
    QCOMPARE(procedure.second, secondRuns);
    QCOMPARE(procedure.third, thirdRuns);
    QCOMPARE(procedure.left, left);
    QCOMPARE(handler.CallStack(), stackAfter);
    QCOMPARE(user.seen.size(), script.size());
    QCOMPARE(user.unanswered, 0);

    // After an abort the outer procedure's own pop finds nothing to do.
    handler.CallStackPop();
    QVERIFY(handler.CallStack().isEmpty());
}

void tst_ReportingFrame::messageBoxThenDialog()
{
    CErrorHandler handler;
    handler.Init(CErrorHandler::ActionMessageBox | CErrorHandler::ActionErrorForm, u"e.log"_s,
                 true);
    // The box says retry, the dialog after it says abort: the dialog decides.
    DialogAnswerer user({u"Retry"_s, u"btnAbort"_s});
    Procedure procedure{1};
    procedure.Run(&handler);

    QCOMPARE(user.seen.size(), 2);
    QCOMPARE(user.seen.at(0).kind, u"box"_s);
    QCOMPARE(user.seen.at(1).kind, u"form"_s);
    QCOMPARE(user.seen.at(1).text,
             user.seen.at(0).text + u"\r\nVersion: "_s + QString::fromLatin1(QRT_VERSION_STRING));
    QCOMPARE(procedure.second, 1);
    QVERIFY(!procedure.left);
    QVERIFY(handler.CallStack().isEmpty());
}

void tst_ReportingFrame::failingHandleErrorLeavesTheFrame()
{
    QFile blocker(u"plain-file"_s);
    QVERIFY(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    CErrorHandler handler;
    handler.Init(CErrorHandler::ActionLogFile | CErrorHandler::ActionErrorForm,
                 u"plain-file/errors.log"_s, true);
    DialogAnswerer user({});
    Procedure procedure{1};
    try {
        procedure.Run(&handler);
        QFAIL("the failure of HandleError did not reach the caller");
    } catch (const ComponentError &error) {
        QCOMPARE(error.number, -2147204100);
        QCOMPARE(error.source, u"QRT_StatCharts.CErrorHandler"_s);
        QCOMPARE(error.description, u"CErrorHandler component failure"_s);
    }
    QCOMPARE(user.seen.size(), 0);
    QCOMPARE(procedure.third, 0);
    QCOMPARE(handler.CallStack(), QStringList({Label})); // as it was
}

void tst_ReportingFrame::failingPushAndPop()
{
    QFile blocker(u"plain-file"_s);
    QVERIFY(blocker.open(QIODevice::WriteOnly) || blocker.exists());
    blocker.close();
    CErrorHandler handler;
    handler.Init(CErrorHandler::ActionErrorForm, u"errors.log"_s, true, true,
                 CErrorHandler::TraceLogFile, u"plain-file/trace.log"_s);
    // The push's trace fails, then the pop's: both come to the user.
    DialogAnswerer user({u"btnIgnore"_s, u"btnIgnore"_s});
    Procedure procedure;
    procedure.Run(&handler);

    QCOMPARE(user.seen.size(), 2);
    QVERIFY(user.seen.at(0).text.contains(u"(CErrorHandler component failure)"_s));
    QVERIFY(procedure.left);
    QCOMPARE(procedure.third, 1);
    QCOMPARE(handler.CallStack(), QStringList({Label})); // the failed pop left it
}

void tst_ReportingFrame::withoutHandler()
{
    Procedure procedure{3};
    procedure.Run(nullptr);
    QCOMPARE(procedure.second, 1);
    QCOMPARE(procedure.third, 1);
    QVERIFY(procedure.left);
}

QTEST_MAIN(tst_ReportingFrame)
#include "tst_reportingframe.moc"
