// CAppSettings and the node store below it on real settings files in a
// private home: refusals and their errors, the typing of stored values,
// entry forms in the JSON file, hand-edited and damaged files. Then the file
// shared by real processes: concurrent and killed writers, a read-only
// folder and a full disk; and zorvane-stats settings as a script sees it.

#include "Raised.h"
#include "SettingsTestHome.h"
#include "base/ComponentError.h"
#include "settings/CAppSettings.h"
#include "settings/SettingsStore.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRandomGenerator>
#include <QScopeGuard>
#include <QTest>
#include <QThread>

#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>
#include <unistd.h>

using namespace Qt::StringLiterals;
using qrt::settings::SettingsStore;
using qrt::settings::StoreEntry;
using qrt::test::raisedBy;

using Action = std::function<void(CAppSettings &)>;
Q_DECLARE_METATYPE(Action)
Q_DECLARE_METATYPE(StoreEntry)

namespace {

const QString Section = u"STATCHART"_s;
const QString SectionPath = u"Software\\Koltrin\\Zorvane\\STATCHART"_s;

// The entry of a node, or a marker of none that no test expects.
StoreEntry entryOf(const QString &file, const QString &path, const QString &key)
{
    return SettingsStore(file).entry(path, key).value_or(StoreEntry{0xDEAD, "missing"});
}

// The entries member of the node at path, read straight from the JSON.
QJsonObject entriesInFile(const QString &file, const QString &path)
{
    QJsonObject node = QJsonDocument::fromJson(SettingsTestHome::contents(file)).object();
    for (const QString &name : path.split(u'\\'))
        node = node.value(u"nodes"_s).toObject().value(name).toObject();
    return node.value(u"entries"_s).toObject();
}

QStringList backupsOf(const QString &file)
{
    const QFileInfo info(file);
    return QDir(info.absolutePath())
        .entryList({info.fileName() + u".damaged-*"_s}, QDir::Files, QDir::Name);
}

QStringList filesBeside(const QString &file)
{
    return QDir(QFileInfo(file).absolutePath()).entryList(QDir::Files, QDir::Name);
}

} // namespace

class tst_CAppSettings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void errorTable_data();
    void errorTable();
    void roundTrip_data();
    void roundTrip();
    void numbersRoundHalfToEven();
    void getSettingGivesDefault_data();
    void getSettingGivesDefault();
    void sectionPaths();
    void keysAndDeletes();
    void storeForms();
    void damagedFilesAreSetAside();
    void concurrentWritersLoseNothing();
    void killedWriterLeavesAWholeFile();
    void refusedSaveLeavesTheFile_data();
    void refusedSaveLeavesTheFile();
    void commands_data();
    void commands();

private:
    SettingsTestHome m_home;
    QString m_file;                     // the user's settings file
    QVariant m_setting, m_settingAfter; // a caller's variable, and what it should hold after
};

void tst_CAppSettings::initTestCase()
{
    QVERIFY(m_home.isValid());
    QVERIFY2(QFileInfo(qEnvironmentVariable("ZORVANE_STATS")).isExecutable(),
             "ZORVANE_STATS names no program");
}

void tst_CAppSettings::init()
{
    m_home.clear();
    m_file = m_home.userFile();
    m_setting.clear();
    m_settingAfter.clear();
}

void tst_CAppSettings::errorTable_data()
{
    QTest::addColumn<Action>("action");
    QTest::addColumn<quint32>("number");
    QTest::addColumn<QString>("description");

    const QString cls = u"QRT_StatCharts.CAppSettings"_s;
    const QString failure = u"CAppSettings component failure"_s;
    // Saves value from the caller's variable.
    const auto save = [this](const QVariant &value) {
        return Action([this, value](CAppSettings &s) {
            m_setting = m_settingAfter = value;
            s.SaveSetting(Section, u"LEGEND"_s, m_setting);
        });
    };

    QTest::newRow("Init with an empty AppName")
        << Action([](CAppSettings &s) { s.Init(u"Koltrin"_s, QString()); }) << 0x8004427Du
        << u"Invalid AppName value"_s;
    QTest::newRow("CompanyName set empty")
        << Action([](CAppSettings &s) { s.CompanyName(QString()); }) << 0x8004427Eu
        << u"Invalid CompanyName value"_s;
    QTest::newRow("MainBranch set empty")
        << Action([](CAppSettings &s) { s.MainBranch(QString()); }) << 0x8004427Fu
        << u"Invalid MainBranch value"_s;
    for (const quint32 root : {0x80000000u, 0x80000003u}) { // the valid two's neighbours
        QTest::addRow("RootKey set to 0x%x", root)
            << Action([root](CAppSettings &s) { s.RootKey(static_cast<qint32>(root)); })
            << 0x80044280u << u"Invalid root key value"_s;
    }
    // A value that is no text and no 32-bit number is refused before the
    // write, and the caller's variable keeps it as it was.
    for (const QVariant &value : {QVariant(), QVariant(2147483647.5), QVariant(-5000000000LL),
                                  QVariant(4000000000ULL), QVariant(qQNaN())}) {
        QTest::addRow("SaveSetting of %s", qPrintable(value.toString()))
            << save(value) << 0x80044284u << failure;
    }
}

void tst_CAppSettings::errorTable()
{
    QFETCH(Action, action);
    QFETCH(quint32, number);
    QFETCH(QString, description);

    CAppSettings settings = zorvaneSettings();
    settings.SaveSetting(Section, u"LEGEND"_s, u"1"_s);
    const auto properties = [&] {
        return QStringList{QString::number(settings.RootKey()), settings.MainBranch(),
                           settings.CompanyName(), settings.AppName()};
    };
    const QStringList before = properties();
    const QByteArray fileBefore = SettingsTestHome::contents(m_file);
    const QVariant legendBefore = settings.GetSetting(Section, u"LEGEND"_s);

    const auto error = raisedBy([&] { action(settings); });
    QVERIFY(error);
    QCOMPARE(static_cast<quint32>(error->number), number);
    QCOMPARE(error->source, u"QRT_StatCharts.CAppSettings"_s);
    QCOMPARE(error->description, description);
    // A refused value or a failed operation leaves the object and the file as they were.
    QCOMPARE(properties(), before);
    QCOMPARE(SettingsTestHome::contents(m_file), fileBefore);
    QCOMPARE(settings.GetSetting(Section, u"LEGEND"_s), legendBefore);
    QCOMPARE(m_setting.typeId(), m_settingAfter.typeId());
    QCOMPARE(m_setting.toString(), m_settingAfter.toString()); // as text: NaN is not NaN
}

void tst_CAppSettings::roundTrip_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<QVariant>("variable"); // what the caller's variable holds after

    const auto text = [](const QString &t) { return QVariant(t); };
    const auto same = [](const char *name, const QVariant &value) {
        QTest::newRow(name) << value << value << value;
    };
    same("non-ASCII text", text(u"Zürich – 新闻 \\ \"q\""_s));
    QTest::newRow("largest") << QVariant(Q_INT64_C(2147483647)) << QVariant(2147483647)
                             << QVariant(2147483647);
    QTest::newRow("true") << QVariant(true) << text(u"True"_s) << QVariant(true);
    const QDateTime morning(QDate(2005, 3, 15), QTime(10, 30));
    QTest::newRow("date and time")
        << QVariant(morning) << text(u"2005-03-15 10:30:00"_s) << QVariant(morning);
}

void tst_CAppSettings::roundTrip()
{
    QFETCH(QVariant, value);
    QFETCH(QVariant, stored);
    QFETCH(QVariant, variable);

    const CAppSettings settings = zorvaneSettings();
    QVariant setting = value;
    settings.SaveSetting(Section, u"KEY"_s, setting);
    const QVariant got = settings.GetSetting(Section, u"KEY"_s, u"the default"_s);
    QCOMPARE(got.typeId(), stored.typeId());
    QCOMPARE(got, stored);
    QCOMPARE(setting.typeId(), variable.typeId());
    QCOMPARE(setting, variable);

    // The store holds exactly a text or a 32-bit integer.
    const auto entry = SettingsStore(m_file).entry(SectionPath, u"KEY"_s);
    QVERIFY(entry);
    QCOMPARE(entry->type, stored.typeId() == QMetaType::Int ? 4u : 1u);
    QCOMPARE(entry->data.size(),
             stored.typeId() == QMetaType::Int ? 4 : stored.toString().toUtf8().size() + 1);
}

// Random numbers and halves against rounding worked out by hand: to the
// nearest integer, a half to the even one.
void tst_CAppSettings::numbersRoundHalfToEven()
{
    const CAppSettings settings = zorvaneSettings();
    auto *random = QRandomGenerator::global();
    for (int i = 0; i < 100; ++i) {
        const double whole = std::floor(random->bounded(4294967295.0) - 2147483648.0);
        const double value = i % 2 ? whole + 0.5 : whole + random->generateDouble();
        const double fraction = value - whole;
        const bool up = fraction > 0.5 || (fraction == 0.5 && std::fmod(whole, 2.0) != 0.0);
        QVariant setting = value;
        settings.SaveSetting(Section, u"KEY"_s, setting);
        const auto expected = static_cast<qint32>(up ? whole + 1 : whole);
        QCOMPARE(settings.GetSetting(Section, u"KEY"_s), QVariant(expected));
        QCOMPARE(setting, QVariant(expected));
    }
}

void tst_CAppSettings::getSettingGivesDefault_data()
{
    // A missing section is deleteSetting's.
    QTest::addColumn<StoreEntry>("entry");
    QTest::addColumn<QVariant>("expected"); // with a default of 5

    QTest::newRow("entry of another type") << StoreEntry{3, "\x01\x02"} << QVariant(5);
    QTest::newRow("integer entry too long for 32 bits")
        << StoreEntry{4, QByteArray(8, '\x01')} << QVariant(5);
    QTest::newRow("integer entry of two bytes") << StoreEntry{4, "\x34\x12"} << QVariant(0x1234);
    QTest::newRow("text entry cut at its last byte") << StoreEntry{1, "ab"} << QVariant(u"a"_s);
}

void tst_CAppSettings::getSettingGivesDefault()
{
    QFETCH(StoreEntry, entry);
    QFETCH(QVariant, expected);

    const SettingsStore store(m_file);
    QVERIFY(store.setEntry(SectionPath, u"KEY"_s, entry));
    const CAppSettings settings = zorvaneSettings();
    const QVariant got = settings.GetSetting(Section, u"KEY"_s, 5);
    QCOMPARE(got.typeId(), expected.typeId());
    QCOMPARE(got, expected);
    QCOMPARE(settings.GetSetting(Section, u"MISSING"_s), QVariant()); // no default given
}

void tst_CAppSettings::sectionPaths()
{
    CAppSettings settings;
    settings.SaveSetting(u"SEC"_s, u"K"_s, 1);
    // A refused Init keeps the company it was given.
    QVERIFY(raisedBy([&] { settings.Init(u"Koltrin"_s, QString()); }));
    QCOMPARE(settings.CompanyName(), u"Koltrin"_s);
    QCOMPARE(settings.AppName(), u"MyApplication"_s);
    settings.Init(u"Koltrin"_s, u"Zorvane"_s);
    settings.SaveSetting(u"A\\B"_s, u"K"_s, 2);
    settings.MainBranch(u"Programs"_s);
    settings.SaveSetting(u"SEC"_s, u"K"_s, 3);
    settings.RootKey(CAppSettings::MachineRoot);
    settings.SaveSetting(u"SEC"_s, u"K"_s, 4);

    QCOMPARE(entryOf(m_file, u"Software\\MyCompany\\MyApplication\\SEC"_s, u"K"_s),
             StoreEntry::dword(1));
    QCOMPARE(entryOf(m_file, u"Software\\Koltrin\\Zorvane\\A\\B"_s, u"K"_s), StoreEntry::dword(2));
    QCOMPARE(entryOf(m_file, u"Programs\\Koltrin\\Zorvane\\SEC"_s, u"K"_s), StoreEntry::dword(3));
    QCOMPARE(SettingsStore(m_file).nodeNames(u"Software\\Koltrin\\Zorvane"_s), QStringList{u"A"_s});
    QCOMPARE(entryOf(m_home.machineFile(), u"Programs\\Koltrin\\Zorvane\\SEC"_s, u"K"_s),
             StoreEntry::dword(4));
    QCOMPARE(settings.GetSetting(u"SEC"_s, u"K"_s), QVariant(4));
    settings.RootKey(CAppSettings::CurrentUserRoot);
    QCOMPARE(settings.GetSetting(u"SEC"_s, u"K"_s), QVariant(3));
}

void tst_CAppSettings::keysAndDeletes()
{
    const CAppSettings settings = zorvaneSettings();
    settings.SaveSetting(Section, u"LEGEND"_s, u"1"_s);
    settings.SaveSetting(Section, u"CHARTTYPE"_s, u"Plot"_s);
    settings.SaveSetting(Section + u"\\SUB"_s, u"INNER"_s, 1);
    settings.SaveSetting(Section + u"\\SUB\\DEEP"_s, u"INNER"_s, 2);
    settings.SaveSetting(u"STATMSCHART"_s, u"TYPE"_s, 7);
    QStringList keys{u"left over"_s};
    settings.GetAllKeys(Section, keys);
    QCOMPARE(keys, (QStringList{u"CHARTTYPE"_s, u"LEGEND"_s}));
    settings.GetAllKeys(Section + u"\\SUB"_s, keys);
    QCOMPARE(keys, QStringList{u"INNER"_s});
    // A section that exists without entries gives no keys and no error.
    QVERIFY(SettingsStore(m_file).createNode(SectionPath + u"\\EMPTY"_s));
    settings.GetAllKeys(Section + u"\\EMPTY"_s, keys);
    QVERIFY(keys.isEmpty());

    // With a key, the node of that name below the section goes; an entry of
    // that name is no node and stays.
    settings.DeleteSetting(Section, u"LEGEND"_s);
    QCOMPARE(settings.GetSetting(Section, u"LEGEND"_s), QVariant(u"1"_s));
    // A node with a node below it stays, silently; without it, it goes.
    settings.DeleteSetting(Section, u"SUB"_s);
    QCOMPARE(settings.GetSetting(Section + u"\\SUB"_s, u"INNER"_s), QVariant(1));
    settings.DeleteSetting(Section + u"\\SUB"_s, u"DEEP"_s);
    QCOMPARE(settings.GetSetting(Section + u"\\SUB\\DEEP"_s, u"INNER"_s), QVariant());
    settings.DeleteSetting(Section, u"EMPTY"_s);
    settings.DeleteSetting(Section);
    QCOMPARE(settings.GetSetting(Section, u"LEGEND"_s), QVariant(u"1"_s));
    settings.DeleteSetting(Section, u"SUB"_s);
    QCOMPARE(settings.GetSetting(Section + u"\\SUB"_s, u"INNER"_s), QVariant());

    // A missing section raises, and the list is emptied first.
    settings.DeleteSetting(Section);
    keys = QStringList{u"left over"_s};
    QVERIFY(raisedBy([&] { settings.GetAllKeys(Section, keys); }));
    QVERIFY(keys.isEmpty());
    QCOMPARE(settings.GetSetting(u"STATMSCHART"_s, u"TYPE"_s), QVariant(7));

    // Deleting what is not there reports nothing.
    settings.DeleteSetting(Section);
    settings.DeleteSetting(u"NOSUCHSECTION"_s, u"KEY"_s);
}

// The node store's forms: a bad path is refused without a file; text and
// 32-bit integers are plain JSON values, other bytes an object of their own;
// hand-edited values of other kinds read as empty entries (that a write
// keeps them as they were is the fuzz corpus's).
void tst_CAppSettings::storeForms()
{
    const SettingsStore store(m_file);
    for (const QString &path : {QString(), u"A\\\\B"_s}) {
        QVERIFY(!store.setEntry(path, u"k"_s, StoreEntry::dword(1)));
        QVERIFY(!store.createNode(path));
        QVERIFY(!store.entry(path, u"k"_s));
        QVERIFY(!store.deleteNode(path));
    }
    QVERIFY(!QFileInfo::exists(m_file));

    const QList<std::pair<StoreEntry, QJsonValue::Type>> forms{
        {StoreEntry::text(u"Plot"_s), QJsonValue::String},
        {StoreEntry::dword(-2147483647 - 1), QJsonValue::Double},
        {StoreEntry{1, QByteArray("\xff\xfe\0", 3)}, QJsonValue::Object}};
    for (const auto &[entry, jsonType] : forms) {
        QVERIFY(store.setEntry(SectionPath, u"KEY"_s, entry));
        QCOMPARE(store.entry(SectionPath, u"KEY"_s), entry);
        QCOMPARE(entriesInFile(m_file, SectionPath).value(u"KEY"_s).type(), jsonType);
    }

    QVERIFY(SettingsTestHome::write(m_file, R"({"nodes": {"S": {"entries": {
        "TRUE": true, "HALF": 3.5, "HUGE": 1e12, "RAW": {"type": 3, "data": "not base64!"},
        "TEXT": "ok", "NUMBER": 7}}}})"));
    for (const QString &key : {u"TRUE"_s, u"HALF"_s, u"HUGE"_s, u"RAW"_s})
        QCOMPARE(store.entry(u"S"_s, key), StoreEntry());
    QCOMPARE(store.entry(u"S"_s, u"TEXT"_s), StoreEntry::text(u"ok"_s));
    QCOMPARE(store.entry(u"S"_s, u"NUMBER"_s), StoreEntry::dword(7));
}

// A damaged file, met by a read or a write, goes aside under a dated name
// of its own, also twice in one second, and the next write starts a fresh
// file. That it goes whole, whatever the damage, is the fuzz corpus's.
void tst_CAppSettings::damagedFilesAreSetAside()
{
    const SettingsStore store(m_file);
    const QByteArray cutShort = R"({"nodes": {"Software": {"nodes": {)";
    QVERIFY(SettingsTestHome::write(m_file, cutShort));
    QVERIFY(!store.entry(u"A"_s, u"k"_s));
    QVERIFY(SettingsTestHome::write(m_file, cutShort));
    QVERIFY(store.setEntry(u"A"_s, u"k"_s, StoreEntry::dword(1)));
    QCOMPARE(entriesInFile(m_file, u"A"_s), QJsonObject({{u"k"_s, 1}}));
    const QStringList backups = backupsOf(m_file);
    QCOMPARE(backups.size(), 2);
    for (const QString &backup : backups) {
        const QString stamp = backup.section(u".damaged-"_s, 1).left(15);
        const QDateTime when = QDateTime::fromString(stamp, u"yyyyMMdd-HHmmss"_s);
        QVERIFY2(when.isValid() && qAbs(when.secsTo(QDateTime::currentDateTime())) < 60,
                 qPrintable(backup));
    }
}

void tst_CAppSettings::concurrentWritersLoseNothing()
{
    constexpr int writers = 10, keys = 100;
    std::vector<std::unique_ptr<QProcess>> processes;
    for (int w = 0; w < writers; ++w) {
        auto process = std::make_unique<QProcess>();
        process->start(QCoreApplication::applicationFilePath(),
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
    QCOMPARE(backupsOf(m_file), QStringList());
}

void tst_CAppSettings::killedWriterLeavesAWholeFile()
{
    QVERIFY(SettingsTestHome::write(m_file, fileWithEntries(u"BULK"_s, 3000)));
    // Files of other names beside it are not the writers' to take away.
    QVERIFY(SettingsTestHome::write(m_file + u".backup"_s, "{}"));
    QVERIFY(SettingsTestHome::write(m_file + u".tmp-mine"_s, "{}"));
    for (int round = 0; round < 8; ++round) {
        QProcess writer;
        writer.start(QCoreApplication::applicationFilePath(), {u"loop"_s, u"LOOP"_s, u"COUNTER"_s});
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
        QJsonDocument::fromJson(SettingsTestHome::contents(m_file), &error);
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
    QCOMPARE(filesBeside(m_file),
             (QStringList{u"settings.json"_s, u"settings.json.backup"_s, u"settings.json.lock"_s,
                          u"settings.json.tmp-mine"_s}));
}

void tst_CAppSettings::refusedSaveLeavesTheFile_data()
{
    // The share of the old file's size the disk still takes; -1: a read-only folder.
    QTest::addColumn<double>("fullAfter");
    QTest::newRow("read-only folder") << -1.0;
    QTest::newRow("disk full midway") << 0.5;
}

void tst_CAppSettings::refusedSaveLeavesTheFile()
{
    QFETCH(double, fullAfter);
    QVERIFY(SettingsTestHome::write(m_file, fileWithEntries(u"BULK"_s, 200)));
    zorvaneSettings().SaveSetting(u"STATCHART"_s, u"LEGEND"_s, u"1"_s);
    const QByteArray before = SettingsTestHome::contents(m_file);
    const QDateTime modified = QFileInfo(m_file).lastModified();
    const QStringList files = filesBeside(m_file);
    const QString folder = QFileInfo(m_file).absolutePath();
    const auto restore = qScopeGuard([&] {
        QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    });
    QString script = u"exec \"$0\" settings \"$@\""_s;
    if (fullAfter < 0) {
        QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner);
        // Root writes into any folder: without the capabilities for that,
        // the program is held to the folder's mode bits.
        if (geteuid() == 0)
            script.replace(u"exec"_s, u"exec setpriv --inh-caps=-all "
                                      "--bounding-set=-dac_override,-dac_read_search,-fowner"_s);
    } else {
        // A file size limit, its signal ignored, fails the write midway with
        // an error, as a disk does when it fills up.
        const qint64 blocks = qMax(qint64(fullAfter * double(before.size())) / 512, qint64(1));
        script.prepend(u"trap '' XFSZ; ulimit -f %1; "_s.arg(blocks));
    }
    const auto run = [&](const QStringList &arguments) {
        return runProgram(u"sh"_s,
                          QStringList{u"-c"_s, script, qEnvironmentVariable("ZORVANE_STATS")} +
                              arguments);
    };
    const ProgramRun set = run({u"set"_s, u"STATCHART"_s, u"LEGEND"_s, u"0"_s});
    QCOMPARE(set.exitCode, 1);
    QVERIFY2(set.err.contains(u"zorvane-stats: error 0x80044281 (-2147204479) "
                              "QRT_StatCharts.CAppSetting: Failed saving the application "
                              "setting"_s),
             qPrintable(set.err));
    // Reading needs no write right and no room.
    const ProgramRun get = run({u"get"_s, u"STATCHART"_s, u"LEGEND"_s});
    QCOMPARE(get.exitCode, 0);
    QCOMPARE(get.out, u"1\n"_s);
    QCOMPARE(SettingsTestHome::contents(m_file), before);
    QCOMPARE(QFileInfo(m_file).lastModified(), modified);
    QCOMPARE(filesBeside(m_file), files);
}

// Each row runs a few commands to set the stage, then the one it checks.
void tst_CAppSettings::commands_data()
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
    QTest::newRow("--int with no number")
        << QList<QStringList>{} << QStringList{u"set"_s, u"S"_s, u"K"_s, u"abc"_s, u"--int"_s} << 2
        << QString() << u"zorvane-stats: --int takes a number, not abc\n"_s;
    QTest::newRow("the machine's own file")
        << QList<QStringList>{{u"--machine"_s, u"set"_s, u"S"_s, u"K"_s, u"machine"_s},
                              {u"set"_s, u"S"_s, u"K"_s, u"user"_s}}
        << QStringList{u"get"_s, u"S"_s, u"K"_s, u"--machine"_s} << 0 << u"machine\n"_s
        << QString();
}

void tst_CAppSettings::commands()
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

// Started by the process tests as a writer of its own:
//   write SECTION PREFIX COUNT  saves PREFIX0 .. PREFIX<COUNT-1> = 0 .. COUNT-1
//   loop SECTION KEY            saves KEY = 0, 1, 2, ... until killed
// printing each number once it is stored.
int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    const bool loop = args.size() == 4 && args.at(1) == u"loop"_s;
    if (loop || (args.size() == 5 && args.at(1) == u"write"_s)) {
        const CAppSettings settings = zorvaneSettings();
        const int count = loop ? std::numeric_limits<int>::max() : args.at(4).toInt();
        for (int n = 0; n < count; ++n) {
            settings.SaveSetting(args.at(2), loop ? args.at(3) : args.at(3) + QString::number(n),
                                 n);
            std::printf("%d\n", n);
            std::fflush(stdout);
        }
        return 0;
    }
    tst_CAppSettings test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}
#include "tst_cappsettings.moc"
