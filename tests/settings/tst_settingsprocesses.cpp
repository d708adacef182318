// The settings file shared by real processes: writers running at once lose
// nothing, a writer killed mid-write leaves a whole file, a damaged file is
// set aside by whichever program meets it, and a folder that can't be
// written, or a disk that fills up during the write, refuses a save without
// touching the file in it. And zorvane-stats settings as a user and a script
// see it: its output and its exit codes.

#include "SettingsTestHome.h"
#include "base/ComponentError.h"
#include "settings/CAppSettings.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QProcess>
#include <QRandomGenerator>
#include <QScopeGuard>
#include <QTest>
#include <QThread>

using namespace Qt::StringLiterals;

namespace {

QStringList filesBeside(const QString &file)
{
    return QDir(QFileInfo(file).absolutePath()).entryList(QDir::Files, QDir::Name);
}

} // namespace

class tst_SettingsProcesses : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void concurrentWritersLoseNothing();
    void killedWriterLeavesAWholeFile();
    void damagedFileIsSetAsideByTheNextProgram();
    void refusedSaveLeavesTheFile_data();
    void refusedSaveLeavesTheFile();
    void commands_data();
    void commands();
    void machineRootIsSeparate();

private:
    // Makes the store's folder read-only (when on) until the guard ends.
    auto readOnlyFolder(bool on = true)
    {
        const QString folder = QFileInfo(m_home.userFile()).absolutePath();
        if (on)
            QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner | QFile::ReadGroup |
                                              QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther);
        return qScopeGuard([folder, on] {
            if (on)
                QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner |
                                                  QFile::ExeOwner | QFile::ReadGroup |
                                                  QFile::ExeGroup);
        });
    }
    // Root writes into any folder: the helper drops that power before it
    // starts the program, which is then held to the folder's mode bits.
    ProgramRun unprivileged(const QStringList &arguments)
    {
        return runProgram(
            QStringLiteral(SETTINGS_HELPER),
            QStringList{u"unprivileged"_s, qEnvironmentVariable("ZORVANE_STATS"), u"settings"_s} +
                arguments);
    }
    // The program with the store's folder on a disk that has room for
    // spaceLeft more bytes (see fulldisk_shim.c).
    ProgramRun onFullDisk(const QStringList &arguments, qint64 spaceLeft)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"LD_PRELOAD"_s, QStringLiteral(FULL_DISK_SHIM));
        environment.insert(
            u"QRT_FULL_DISK_DIR"_s,
            QFileInfo(QFileInfo(m_home.userFile()).absolutePath()).canonicalFilePath());
        environment.insert(u"QRT_FULL_DISK_AFTER"_s, QString::number(spaceLeft));
        // AddressSanitizer wants its own library first; the shim comes before it.
        const QString asan = environment.value(u"ASAN_OPTIONS"_s);
        environment.insert(u"ASAN_OPTIONS"_s,
                           (asan.isEmpty() ? asan : asan + u':') + u"verify_asan_link_order=0"_s);
        return runSettings(arguments, environment);
    }

    SettingsTestHome m_home;
};

void tst_SettingsProcesses::initTestCase()
{
    QVERIFY(m_home.isValid());
    QVERIFY2(QFileInfo(qEnvironmentVariable("ZORVANE_STATS")).isExecutable(),
             "ZORVANE_STATS names no program");
}

void tst_SettingsProcesses::init()
{
    m_home.clear();
}

void tst_SettingsProcesses::concurrentWritersLoseNothing()
{
    constexpr int writers = 10, keys = 100;
    std::vector<std::unique_ptr<QProcess>> processes;
    for (int w = 0; w < writers; ++w) {
        auto process = std::make_unique<QProcess>();
        process->start(QStringLiteral(SETTINGS_HELPER),
                       {u"write"_s, u"RACE"_s, u"W%1_"_s.arg(w), QString::number(keys)});
        processes.push_back(std::move(process));
    }
    for (auto &process : processes) {
        QVERIFY(process->waitForFinished(120000));
        QCOMPARE(process->exitCode(), 0);
    }

    const CAppSettings settings = zorvaneSettings();
    QStringList names;
    settings.GetAllKeys(u"RACE"_s, names);
    QCOMPARE(names.size(), writers * keys);
    for (int w = 0; w < writers; ++w) {
        for (int i = 0; i < keys; ++i)
            QCOMPARE(settings.GetSetting(u"RACE"_s, u"W%1_%2"_s.arg(w).arg(i)), QVariant(i));
    }
    // No reader ever took the file for damaged while the writers were busy.
    const QFileInfo file(m_home.userFile());
    QCOMPARE(file.dir().entryList({file.fileName() + u".damaged-*"_s}), QStringList());
}

void tst_SettingsProcesses::killedWriterLeavesAWholeFile()
{
    const QString file = m_home.userFile();
    QVERIFY(SettingsTestHome::write(file, fileWithEntries(u"BULK"_s, 3000)));
    for (int round = 0; round < 8; ++round) {
        QProcess writer;
        writer.start(QStringLiteral(SETTINGS_HELPER), {u"loop"_s, u"LOOP"_s, u"COUNTER"_s});
        QByteArray printed;
        while (printed.count('\n') < 3) {
            QVERIFY(writer.waitForReadyRead(30000));
            printed += writer.readAllStandardOutput();
        }
        QThread::msleep(QRandomGenerator::global()->bounded(20));
        writer.kill();
        QVERIFY(writer.waitForFinished(30000));
        printed += writer.readAllStandardOutput();
        const QList<QByteArray> lines = printed.trimmed().split('\n');
        const int lastReported = lines.last().toInt();

        QJsonParseError error;
        QJsonDocument::fromJson(SettingsTestHome::contents(file), &error);
        QCOMPARE(error.error, QJsonParseError::NoError);
        // The writer reports a number once stored, so the file holds that one
        // or, when the kill came after the rename, the next.
        const CAppSettings settings = zorvaneSettings();
        const int stored = settings.GetSetting(u"LOOP"_s, u"COUNTER"_s).toInt();
        QVERIFY2(stored == lastReported || stored == lastReported + 1,
                 qPrintable(u"stored %1, reported %2"_s.arg(stored).arg(lastReported)));
        QStringList bulk;
        settings.GetAllKeys(u"BULK"_s, bulk);
        QCOMPARE(bulk.size(), 3000);
        // The lock the killed writer held does not stop the next one.
        settings.SaveSetting(u"LOOP"_s, u"COUNTER"_s, 0);
    }
    // Temporary files of writers killed mid-write go with the next write.
    QCOMPARE(filesBeside(file), (QStringList{u"settings.json"_s, u"settings.json.lock"_s}));
}

void tst_SettingsProcesses::damagedFileIsSetAsideByTheNextProgram()
{
    const QString file = m_home.userFile();
    const QByteArray garbage = "{\"nodes\": {\"Software\": tru";
    QVERIFY(SettingsTestHome::write(file, garbage));

    const ProgramRun get = runSettings({u"get"_s, u"STATCHART"_s, u"LEGEND"_s});
    QCOMPARE(get.exitCode, 1);
    QVERIFY2(get.err.contains(u"no setting LEGEND in section STATCHART"_s), qPrintable(get.err));
    // The backup's name and contents are the store's, tested in tst_cappsettings.
    QCOMPARE(filesBeside(file).filter(u".damaged-"_s).size(), 1);

    const ProgramRun set = runSettings({u"set"_s, u"STATCHART"_s, u"LEGEND"_s, u"0"_s});
    QCOMPARE(set.exitCode, 0);
    QStringList keys;
    zorvaneSettings().GetAllKeys(u"STATCHART"_s, keys);
    QCOMPARE(keys, QStringList{u"LEGEND"_s});
}

void tst_SettingsProcesses::refusedSaveLeavesTheFile_data()
{
    // The share of the old file's size the disk still takes; -1: a read-only folder.
    QTest::addColumn<double>("fullAfter");
    QTest::addColumn<bool>("damaged"); // a file that can be neither read nor set aside
    QTest::newRow("read-only folder") << -1.0 << false;
    QTest::newRow("read-only folder, damaged file") << -1.0 << true;
    QTest::newRow("disk full") << 0.0 << false;
    QTest::newRow("disk full midway") << 0.5 << false;
}

void tst_SettingsProcesses::refusedSaveLeavesTheFile()
{
    QFETCH(double, fullAfter);
    QFETCH(bool, damaged);
    const QString file = m_home.userFile();
    if (damaged) {
        QVERIFY(SettingsTestHome::write(file, "not json at all"));
    } else {
        QVERIFY(SettingsTestHome::write(file, fileWithEntries(u"BULK"_s, 200)));
        zorvaneSettings().SaveSetting(u"STATCHART"_s, u"LEGEND"_s, u"1"_s);
    }
    const QByteArray before = SettingsTestHome::contents(file);
    const QDateTime modified = QFileInfo(file).lastModified();
    const QStringList files = filesBeside(file);
    const auto run = [&](const QStringList &arguments) {
        return fullAfter < 0 ? unprivileged(arguments)
                             : onFullDisk(arguments, qint64(fullAfter * double(before.size())));
    };
    {
        const auto restore = readOnlyFolder(fullAfter < 0);
        const ProgramRun set = run({u"set"_s, u"STATCHART"_s, u"LEGEND"_s, u"0"_s});
        QCOMPARE(set.exitCode, 1);
        QVERIFY2(set.err.contains(u"zorvane-stats: error 0x80044281 (-2147204479) "
                                  "QRT_StatCharts.CAppSetting: Failed saving the application "
                                  "setting"_s),
                 qPrintable(set.err));
        // Reading needs no write right and no room.
        const ProgramRun get = run({u"get"_s, u"STATCHART"_s, u"LEGEND"_s});
        QCOMPARE(get.exitCode, damaged ? 1 : 0);
        QCOMPARE(get.out, damaged ? QString() : u"1\n"_s);
    }
    QCOMPARE(SettingsTestHome::contents(file), before);
    QCOMPARE(QFileInfo(file).lastModified(), modified);
    QCOMPARE(filesBeside(file), files);
}

// Each row runs a few commands to set the stage, then the one it checks.
void tst_SettingsProcesses::commands_data()
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

void tst_SettingsProcesses::commands()
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

void tst_SettingsProcesses::machineRootIsSeparate()
{
    QCOMPARE(runSettings({u"--machine"_s, u"set"_s, u"S"_s, u"K"_s, u"machine"_s}).exitCode, 0);
    QCOMPARE(runSettings({u"set"_s, u"S"_s, u"K"_s, u"user"_s}).exitCode, 0);
    QCOMPARE(runSettings({u"get"_s, u"S"_s, u"K"_s, u"--machine"_s}).out, u"machine\n"_s);
    QCOMPARE(runSettings({u"get"_s, u"S"_s, u"K"_s}).out, u"user\n"_s);
    QVERIFY(QFileInfo::exists(m_home.machineFolder() + u"/QRT_StatCharts/settings.json"_s));
}

QTEST_GUILESS_MAIN(tst_SettingsProcesses)
#include "tst_settingsprocesses.moc"
