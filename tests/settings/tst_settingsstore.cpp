// The node store behind CAppSettings and its file: the paths it refuses,
// entry forms in the JSON file, and what a hand-edited or damaged file does.
// Nodes by path are CAppSettings' test, through the class that uses them.

#include "SettingsTestHome.h"
#include "settings/SettingsStore.h"

#include <QDir>
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

    void invalidPaths_data();
    void invalidPaths();
    void entryForms_data();
    void entryForms();
    void handEditedValuesAreKept();
    void damagedFilesAreSetAside();
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

void tst_SettingsStore::invalidPaths_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("empty") << QString();
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

// A damaged file, met by a read or a write, goes aside whole under a dated
// name of its own, also several in one second, and the next write starts a
// fresh file. Other shapes of damage are the fuzz corpus's.
void tst_SettingsStore::damagedFilesAreSetAside()
{
    const SettingsStore store(m_file);
    const QByteArray cutShort = R"({"nodes": {"Software": {"nodes": {)";
    const QByteArray badEntries = R"({"nodes": {"A": {"entries": []}}})";
    QVERIFY(SettingsTestHome::write(m_file, cutShort));
    QVERIFY(!store.entry(u"A"_s, u"k"_s));
    QVERIFY(!QFileInfo::exists(m_file));
    QVERIFY(SettingsTestHome::write(m_file, badEntries));
    QVERIFY(store.setEntry(u"A"_s, u"k"_s, StoreEntry::dword(1)));
    QCOMPARE(jsonOf(m_file),
             QJsonObject(
                 {{u"nodes"_s,
                   QJsonObject{{u"A"_s, QJsonObject{{u"entries"_s, QJsonObject{{u"k"_s, 1}}}}}}}}));
    QVERIFY(SettingsTestHome::write(m_file, cutShort));
    QVERIFY(!store.entry(u"A"_s, u"k"_s));

    QList<QByteArray> found;
    for (const QString &backup : backupsOf(m_file)) {
        const QString stamp = backup.section(u".damaged-"_s, 1).left(15);
        const QDateTime when = QDateTime::fromString(stamp, u"yyyyMMdd-HHmmss"_s);
        QVERIFY2(when.isValid() && qAbs(when.secsTo(QDateTime::currentDateTime())) < 60,
                 qPrintable(backup));
        found << SettingsTestHome::contents(QFileInfo(m_file).absolutePath() + u'/' + backup);
    }
    std::sort(found.begin(), found.end());
    QCOMPARE(found, (QList<QByteArray>{badEntries, cutShort, cutShort}));
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
