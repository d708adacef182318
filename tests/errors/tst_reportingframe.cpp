// The reporting frame on a small procedure, answered through the real error
// dialog and the real message box: abort, retry and ignore, the stack after
// each, and a failure of HandleError itself; then the dialog on its own.

#include "DialogAnswerer.h"
#include "ProgramRun.h"
#include "errors/CErrorHandler.h"
#include "errors/ReportingFrame.h"
#include "errors/SystemLog.h"

#include <QDir>
#include <QLabel>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

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

const QString Report =
    u"2024-05-06 - 14:03:09\r\n\tError: 5, (Cannot open /srv/news/a.db?mode=ro&x=1 at 100%)\r\n"
    "\tin P at line 0\r\n\r\nThe call stack is:\r\n                    P()"_s;

QPushButton *Button(const QWidget &form, const QString &name)
{
    return form.findChild<QPushButton *>(name);
}

// Shows the dialog modally, as ShowErrorForm does, and lets `act` work on it
// once it is up.
QString RunModal(frmErrorMessage &form, const std::function<void()> &act)
{
    QTimer::singleShot(0, &form, [&] {
        if (QTest::qWaitFor([&] { return form.isActiveWindow(); }))
            act();
    });
    // A check that failed inside `act` must not leave the dialog up for good.
    QTimer::singleShot(5000, &form, [&] { form.setVisible(false); });
    form.exec();
    return form.Tag;
}

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
    void dialogLayout();
    void dialogActivation();
    void dialogClosedWithoutAButtonAborts();
    void dialogSends_data();
    void dialogSends();

private:
    QTemporaryDir m_dir;
    QString m_mailLog;
};

void tst_ReportingFrame::initTestCase()
{
    QVERIFY(m_dir.isValid());
    QDir::setCurrent(m_dir.path());
    qrt::errors::SystemLog::SetSocketPath(m_dir.filePath(u"no-daemon"_s));
    // A stand-in for the desktop's opener: it notes every address handed over.
    m_mailLog = m_dir.filePath(u"opened.txt"_s);
    QVERIFY(qrt::test::writeFile(m_dir.filePath(u"xdg-open"_s),
                                 "#!/bin/sh\nprintf '%s\\n' \"$1\" >> '" + m_mailLog.toLocal8Bit() +
                                     "'\n"));
    QFile::setPermissions(m_dir.filePath(u"xdg-open"_s),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    qputenv("PATH", m_dir.path().toLocal8Bit() + ":/usr/bin:/bin");
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

// The error dialog as a user meets it: its layout at design size and
// stretched, the word preset at each activation, the close box and Escape,
// and the support mail with the version line down to the last character,
// sent through the stand-in xdg-open.

// At design size the report and the button band share the dialog; a larger
// window gives all its extra height to the report and shares the band's
// width among the buttons as 7400 : 7400 : 7400 : 12099.
void tst_ReportingFrame::dialogLayout()
{
    frmErrorMessage form;
    form.ErrorMessage(Report);
    form.SupportMail(u"statistics-support@zorvane.example"_s);
    form.show();
    QVERIFY(QTest::qWaitForWindowActive(&form));
    QCOMPARE(form.size(), QSize(359, 260)); // 5385 x 3900 twips
    const QString folder = qEnvironmentVariable("QRT_SCREENSHOT_DIR");
    if (!folder.isEmpty())
        QVERIFY(form.grab().save(QDir(folder).filePath(u"frmErrorMessage.png"_s)));
    auto *report = form.findChild<QWidget *>(u"txtErrorMessage"_s);
    QCOMPARE(QRect(report->mapTo(&form, QPoint()), report->size()), QRect(10, 54, 339, 148));
    QCOMPARE(Button(form, u"btnAbort"_s)->mapTo(&form, QPoint()), QPoint(10, 222));

    form.resize(900, 520);
    QTRY_COMPARE(form.size(), QSize(900, 520));
    QCOMPARE(report->size(), QSize(900 - 20, 148 + 520 - 260));
    const double unit = (900 - 20 - 3 * 4) / 34299.0;
    for (const char *name : {"btnAbort", "btnRetry", "btnIgnore"})
        QVERIFY(qAbs(Button(form, QString::fromLatin1(name))->width() - 7400 * unit) <= 1.0);
    QVERIFY(qAbs(Button(form, u"btnSend"_s)->width() - 12099 * unit) <= 1.0);
}

void tst_ReportingFrame::dialogActivation()
{
    frmErrorMessage form;
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
}

// The three buttons answer the handler above, clicked on the real dialog.
// The close box and Escape leave Abort, whatever word was
// there before.
void tst_ReportingFrame::dialogClosedWithoutAButtonAborts()
{
    for (const bool escape : {false, true}) {
        frmErrorMessage form;
        form.ErrorMessage(Report);
        bool hidden = false;
        const QString tag = RunModal(form, [&] {
            form.Tag = u"RETRY"_s;
            if (escape)
                QTest::keyClick(&form, Qt::Key_Escape);
            else
                form.close();
            hidden = form.isHidden();
        });
        QVERIFY(hidden);
        QCOMPARE(tag, u"ABORT"_s);
    }
}

void tst_ReportingFrame::dialogSends_data()
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
    QTest::newRow("to support, twice")
        << u"support@example.org"_s << address + '\n' + address + '\n';
    QTest::newRow("without an address") << QString() << QByteArray();
}

// Send mails the report and leaves the dialog up; without an address it is
// off and a click does nothing.
void tst_ReportingFrame::dialogSends()
{
    QFETCH(QString, supportMail);
    QFETCH(QByteArray, opened);

    QFile::remove(m_mailLog);
    frmErrorMessage form;
    form.ErrorMessage(Report);
    if (!supportMail.isEmpty())
        form.SupportMail(supportMail);
    const QString tag = RunModal(form, [&] {
        QCOMPARE(Button(form, u"btnSend"_s)->isEnabled(), !supportMail.isEmpty());
        QTest::mouseClick(Button(form, u"btnSend"_s), Qt::LeftButton);
        QTest::mouseClick(Button(form, u"btnSend"_s), Qt::LeftButton);
        QVERIFY(form.isVisible());
        QTest::mouseClick(Button(form, u"btnRetry"_s), Qt::LeftButton);
    });
    QCOMPARE(tag, u"RETRY"_s);
    QFile log(m_mailLog);
    QCOMPARE(log.open(QIODevice::ReadOnly) ? log.readAll() : QByteArray(), opened);
}

QTEST_MAIN(tst_ReportingFrame)
#include "tst_reportingframe.moc"
