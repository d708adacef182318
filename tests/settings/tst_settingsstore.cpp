// The node store behind CAppSettings and its file: nodes by path, entry
// forms in the JSON file, what a hand-edited or damaged file does, and a
// folder that can't be written.

#include "SettingsTestHome.h"
#include "settings/SettingsStore.h"

#include <QDirIterator>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace Qt::StringLiterals;
using qrt::settings::SettingsStore;
using qrt::settings::StoreEntry;

Q_DECLARE_METATYPE(StoreEntry)

namespace {

const QString Path = u"Software\\Koltrin\\Zorvane\\STATCHART"_s;

QJsonObject jsonOf(const QString &file)
{
    return QJsonDocument::fromJson(SettingsTestHome::contents(file)).object();
}

// The entries member of the node at path, read straight from the JSON.
QJsonObject entriesInFile(const QString &file, const QString &path)
{
    QJsonObject node = jsonOf(file);
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

} // namespace

class tst_SettingsStore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void nodesByPath();
    void invalidPaths_data();
    void invalidPaths();
    void entryForms_data();
    void entryForms();
    void handEditedValuesAreKept();
    void damagedFileIsSetAside_data();
    void damagedFileIsSetAside();
    void eachDamagedFileGetsItsOwnBackup();
    void leftoversOfDeadWritersGo();

private:
    SettingsTestHome m_home;
    QString m_file;
};

void tst_SettingsStore::init()
{
    QVERIFY(m_home.isValid());
    m_home.clear();
    m_file = m_home.userFile();
}

void tst_SettingsStore::nodesByPath()
{
    const SettingsStore store(m_file);
    QVERIFY(!store.entryNames(u"A"_s));
    QVERIFY(store.createNode(u"A\\B\\C"_s));
    QCOMPARE(store.nodeNames(u"A"_s), QStringList{u"B"_s});
    QCOMPARE(store.entryNames(u"A\\B\\C"_s), QStringList());

    QVERIFY(store.setEntry(u"A\\X\\Y"_s, u"k"_s, StoreEntry::text(u"v"_s)));
    QCOMPARE(store.nodeNames(u"A"_s), (QStringList{u"B"_s, u"X"_s}));
    QCOMPARE(store.entry(u"A\\X\\Y"_s, u"k"_s), StoreEntry::text(u"v"_s));
    QVERIFY(!store.entry(u"A\\X\\Y"_s, u"K"_s));

    // Creating a node that exists keeps what it holds.
    QVERIFY(store.createNode(u"A\\X\\Y"_s));
    QCOMPARE(store.entryNames(u"A\\X\\Y"_s), QStringList{u"k"_s});

    QVERIFY(store.deleteEntry(u"A\\X\\Y"_s, u"k"_s));
    QVERIFY(!store.deleteEntry(u"A\\X\\Y"_s, u"k"_s));
    QCOMPARE(store.entryNames(u"A\\X\\Y"_s), QStringList());
}

void tst_SettingsStore::invalidPaths_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("empty") << QString();
    QTest::newRow("leading backslash") << u"\\A"_s;
    QTest::newRow("doubled backslash") << u"A\\\\B"_s;
}

void tst_SettingsStore::invalidPaths()
{
    QFETCH(QString, path);
    const SettingsStore store(m_file);
    QVERIFY(!store.setEntry(path, u"k"_s, StoreEntry::dword(1)));
    QVERIFY(!store.createNode(path));
    QVERIFY(!store.entry(path, u"k"_s));
    QVERIFY(!store.deleteNode(path));
    QVERIFY(!QFileInfo::exists(m_file));
}

void tst_SettingsStore::entryForms_data()
{
    QTest::addColumn<StoreEntry>("entry");
    QTest::addColumn<int>("jsonType");

    QTest::newRow("text") << StoreEntry::text(u"Plot"_s) << int(QJsonValue::String);
    QTest::newRow("text with a zero inside")
        << StoreEntry::text(u"a\0b"_s) << int(QJsonValue::String);
    QTest::newRow("integer") << StoreEntry::dword(-2147483647 - 1) << int(QJsonValue::Double);
    QTest::newRow("text without terminator") << StoreEntry{1, "ab"} << int(QJsonValue::Object);
    QTest::newRow("text not UTF-8")
        << StoreEntry{1, QByteArray("\xff\xfe\0", 3)} << int(QJsonValue::Object);
    QTest::newRow("binary") << StoreEntry{3, QByteArray("\0\1\2", 3)} << int(QJsonValue::Object);
}

void tst_SettingsStore::entryForms()
{
    QFETCH(StoreEntry, entry);
    QFETCH(int, jsonType);
    const SettingsStore store(m_file);
    QVERIFY(store.setEntry(Path, u"KEY"_s, entry));
    QCOMPARE(store.entry(Path, u"KEY"_s), entry);
    QCOMPARE(int(entriesInFile(m_file, Path).value(u"KEY"_s).type()), jsonType);
}

void tst_SettingsStore::handEditedValuesAreKept()
{
    QVERIFY(SettingsTestHome::write(m_file, R"({"nodes": {"S": {"entries": {
        "TRUE": true, "HALF": 3.5, "HUGE": 1e12, "RAW": {"type": 3, "data": "not base64!"},
        "TEXT": "ok", "NUMBER": 7}}}})"));
    const SettingsStore store(m_file);
    for (const QString &key : {u"TRUE"_s, u"HALF"_s, u"HUGE"_s, u"RAW"_s})
        QCOMPARE(store.entry(u"S"_s, key), StoreEntry());
    QCOMPARE(store.entry(u"S"_s, u"TEXT"_s), StoreEntry::text(u"ok"_s));
    QCOMPARE(store.entry(u"S"_s, u"NUMBER"_s), StoreEntry::dword(7));

    QVERIFY(store.setEntry(u"S"_s, u"NEW"_s, StoreEntry::dword(1)));
    const QJsonObject entries = entriesInFile(m_file, u"S"_s);
    QCOMPARE(entries.value(u"TRUE"_s), QJsonValue(true));
    QCOMPARE(entries.value(u"HALF"_s), QJsonValue(3.5));
    QCOMPARE(entries.size(), 7);
    QVERIFY(backupsOf(m_file).isEmpty());
}

void tst_SettingsStore::damagedFileIsSetAside_data()
{
    QTest::addColumn<QByteArray>("contents");
    QTest::newRow("cut short") << QByteArray(R"({"nodes": {"Software": {"nodes": {)");
    QTest::newRow("array") << QByteArray("[1, 2]");
    QTest::newRow("nodes not an object") << QByteArray(R"({"nodes": 5})");
    QTest::newRow("node not an object") << QByteArray(R"({"nodes": {"A": "x"}})");
    QTest::newRow("entries not an object") << QByteArray(R"({"nodes": {"A": {"entries": []}}})");
}

void tst_SettingsStore::damagedFileIsSetAside()
{
    QFETCH(QByteArray, contents);
    QVERIFY(SettingsTestHome::write(m_file, contents));
    const SettingsStore store(m_file);

    // A read gives nothing and moves the file aside under a dated name.
    QVERIFY(!store.entry(u"A"_s, u"k"_s));
    QVERIFY(!QFileInfo::exists(m_file));
    const QStringList backups = backupsOf(m_file);
    QCOMPARE(backups.size(), 1);
    const QString stamp = backups.first().section(u".damaged-"_s, 1);
    const QDateTime when = QDateTime::fromString(stamp, u"yyyyMMdd-HHmmss"_s);
    QVERIFY2(when.isValid(), qPrintable(stamp));
    QVERIFY(qAbs(when.secsTo(QDateTime::currentDateTime())) < 60);
    const QString backup = QFileInfo(m_file).absolutePath() + u'/' + backups.first();
    QCOMPARE(SettingsTestHome::contents(backup), contents);

    // The next write starts a fresh file and leaves the backup alone.
    QVERIFY(store.setEntry(u"A"_s, u"k"_s, StoreEntry::dword(1)));
    QCOMPARE(jsonOf(m_file),
             QJsonObject(
                 {{u"nodes"_s,
                   QJsonObject{{u"A"_s, QJsonObject{{u"entries"_s, QJsonObject{{u"k"_s, 1}}}}}}}}));
    QCOMPARE(SettingsTestHome::contents(backup), contents);
}

void tst_SettingsStore::eachDamagedFileGetsItsOwnBackup()
{
    const SettingsStore store(m_file);
    for (const QByteArray &contents : {QByteArray("{1"), QByteArray("{2")}) {
        QVERIFY(SettingsTestHome::write(m_file, contents));
        // A write sets the damaged file aside just as a read does.
        QVERIFY(store.setEntry(u"A"_s, u"k"_s, StoreEntry::dword(1)));
        QVERIFY(SettingsTestHome::write(m_file, contents));
        QVERIFY(!store.entry(u"A"_s, u"k"_s));
    }
    QStringList found;
    for (const QString &backup : backupsOf(m_file))
        found.append(QString::fromLatin1(
            SettingsTestHome::contents(QFileInfo(m_file).absolutePath() + u'/' + backup)));
    found.sort();
    QCOMPARE(found, (QStringList{u"{1"_s, u"{1"_s, u"{2"_s, u"{2"_s}));
}

void tst_SettingsStore::leftoversOfDeadWritersGo()
{
    const QString folder = QFileInfo(m_file).absolutePath();
    QVERIFY(SettingsTestHome::write(m_file + u".tmp-Ab12Cd"_s, "{\"nodes\": {"));
    QVERIFY(SettingsTestHome::write(m_file + u".backup"_s, "{}"));
    QVERIFY(SettingsTestHome::write(m_file + u".tmp-mine"_s, "{}"));
    QVERIFY(SettingsStore(m_file).setEntry(u"A"_s, u"k"_s, StoreEntry::dword(1)));
    QCOMPARE(QDir(folder).entryList(QDir::Files, QDir::Name),
             (QStringList{u"settings.json"_s, u"settings.json.backup"_s, u"settings.json.lock"_s,
                          u"settings.json.tmp-mine"_s}));
}

QTEST_GUILESS_MAIN(tst_SettingsStore)
#include "tst_settingsstore.moc"
