// The error dialog as a user meets it: its layout at design size and
// stretched, the word preset at each activation, the close box and Escape,
// and the support mail with the version line down to the last character,
// sent through a stand-in xdg-open.

#include "errors/frmErrorMessage.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace {

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

class tst_frmErrorMessage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void layout();
    void activation();
    void closingWithoutAButtonAborts();
    void send_data();
    void send();

private:
    QTemporaryDir m_dir;
    QString m_mailLog;
};

void tst_frmErrorMessage::initTestCase()
{
    QVERIFY(m_dir.isValid());
    // A stand-in for the desktop's opener: it notes every address handed over.
    m_mailLog = m_dir.filePath(u"opened.txt"_s);
    QFile opener(m_dir.filePath(u"xdg-open"_s));
    QVERIFY(opener.open(QIODevice::WriteOnly));
    opener.write("#!/bin/sh\nprintf '%s\\n' \"$1\" >> '" + m_mailLog.toLocal8Bit() + "'\n");
    opener.close();
    opener.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    qputenv("PATH", m_dir.path().toLocal8Bit() + ":/usr/bin:/bin");
}

// At design size the report and the button band share the dialog; a larger
// window gives all its extra height to the report and shares the band's
// width among the buttons as 7400 : 7400 : 7400 : 12099.
void tst_frmErrorMessage::layout()
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

void tst_frmErrorMessage::activation()
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

// The three buttons answer the handler in tst_reportingframe, clicked on
// the real dialog. The close box and Escape leave Abort, whatever word was
// there before.
void tst_frmErrorMessage::closingWithoutAButtonAborts()
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

void tst_frmErrorMessage::send_data()
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
void tst_frmErrorMessage::send()
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

QTEST_MAIN(tst_frmErrorMessage)
#include "tst_errormessage.moc"
