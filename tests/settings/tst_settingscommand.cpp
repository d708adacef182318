// zorvane-stats settings: what a user and a script see, its output and its
// exit codes, on the program itself.

#include "SettingsTestHome.h"

#include <QTest>

using namespace Qt::StringLiterals;

class tst_SettingsCommand : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void commands_data();
    void commands();
    void machineRootIsSeparate();

private:
    SettingsTestHome m_home;
};

void tst_SettingsCommand::initTestCase()
{
    QVERIFY(m_home.isValid());
    QVERIFY2(QFileInfo(qEnvironmentVariable("ZORVANE_STATS")).isExecutable(),
             "ZORVANE_STATS names no program");
}

void tst_SettingsCommand::init()
{
    m_home.clear();
}

// Each row runs a few commands to set the stage, then the one it checks.
void tst_SettingsCommand::commands_data()
{
    QTest::addColumn<QList<QStringList>>("before");
    QTest::addColumn<QStringList>("command");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("out");
    QTest::addColumn<QString>("err"); // a part of standard error

    const QStringList setText{u"set"_s, u"STATCHART"_s, u"CHARTTYPE"_s, u"Plot"_s};
    const QStringList setInt{u"set"_s, u"STATCHART"_s, u"PERIOD"_s, u"3.6"_s, u"--int"_s};
    const QString failedKeys = u"zorvane-stats: error 0x80044283 (-2147204477) "
                               "QRT_StatCharts.CAppSetting: Failed getting all the application "
                               "keys\n"_s;

    QTest::newRow("list") << QList<QStringList>{setText, setInt}
                          << QStringList{u"list"_s, u"STATCHART"_s} << 0
                          << u"CHARTTYPE\ttext\tPlot\nPERIOD\tint\t4\n"_s << QString();
    QTest::newRow("get a missing key")
        << QList<QStringList>{setText} << QStringList{u"get"_s, u"STATCHART"_s, u"LEGEND"_s} << 1
        << QString() << u"zorvane-stats: no setting LEGEND in section STATCHART\n"_s;
    QTest::newRow("list a missing section")
        << QList<QStringList>{} << QStringList{u"list"_s, u"STATCHART"_s} << 1 << QString()
        << failedKeys;
    QTest::newRow("after deleting a key")
        << QList<QStringList>{setText, setInt,
                              QStringList{u"delete"_s, u"STATCHART"_s, u"PERIOD"_s}}
        << QStringList{u"list"_s, u"STATCHART"_s} << 0 << u"CHARTTYPE\ttext\tPlot\n"_s << QString();
    QTest::newRow("delete what is not there")
        << QList<QStringList>{} << QStringList{u"delete"_s, u"NOSUCH"_s, u"KEY"_s} << 0 << QString()
        << QString();
    QTest::newRow("--int with no number")
        << QList<QStringList>{} << QStringList{u"set"_s, u"S"_s, u"K"_s, u"abc"_s, u"--int"_s} << 2
        << QString() << u"zorvane-stats: --int takes a number, not abc\n"_s;
    QTest::newRow("unknown command") << QList<QStringList>{} << QStringList{u"dump"_s, u"S"_s} << 2
                                     << QString() << u"usage: zorvane-stats settings"_s;
}

void tst_SettingsCommand::commands()
{
    QFETCH(QList<QStringList>, before);
    QFETCH(QStringList, command);
    QFETCH(int, exitCode);
    QFETCH(QString, out);
    QFETCH(QString, err);

    for (const QStringList &step : before)
        QCOMPARE(runSettings(step).exitCode, 0);
    const ProgramRun result = runSettings(command);
    QCOMPARE(result.exitCode, exitCode);
    QCOMPARE(result.out, out);
    if (err.isEmpty())
        QCOMPARE(result.err, QString());
    else
        QVERIFY2(result.err.contains(err), qPrintable(result.err));
}

void tst_SettingsCommand::machineRootIsSeparate()
{
    QCOMPARE(runSettings({u"--machine"_s, u"set"_s, u"S"_s, u"K"_s, u"machine"_s}).exitCode, 0);
    QCOMPARE(runSettings({u"set"_s, u"S"_s, u"K"_s, u"user"_s}).exitCode, 0);
    QCOMPARE(runSettings({u"get"_s, u"S"_s, u"K"_s, u"--machine"_s}).out, u"machine\n"_s);
    QCOMPARE(runSettings({u"get"_s, u"S"_s, u"K"_s}).out, u"user\n"_s);
    QVERIFY(QFileInfo::exists(m_home.machineFolder() + u"/QRT_StatCharts/settings.json"_s));
}

QTEST_GUILESS_MAIN(tst_SettingsCommand)
#include "tst_settingscommand.moc"
