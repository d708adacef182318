// The settings file as a user's disk may hold it, damaged in any way. The
// settings class reads it or raises one of its errors; a save always
// succeeds; and nothing the file held is lost: a damaged file is set aside
// byte for byte, and a good one keeps every entry it had.

#include "FuzzSupport.h"
#include "settings/CAppSettings.h"
#include "settings/SettingsFile.h"
#include "settings/SettingsStore.h"

#include <QDir>
#include <QFile>
#include <QJsonObject>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using qrt::settings::EntriesMember;
using qrt::settings::NodesMember;

namespace {

QString settingsPath()
{
    static QTemporaryDir home(QFileInfo::exists(u"/dev/shm"_s)
                                  ? u"/dev/shm/qrt-fuzz-XXXXXX"_s
                                  : QDir::tempPath() + u"/qrt-fuzz-XXXXXX"_s);
    static const bool set = qputenv("XDG_CONFIG_HOME", home.path().toLocal8Bit());
    Q_UNUSED(set);
    return qrt::settings::SettingsStore::filePathOf(qrt::settings::StoreRoot::CurrentUser);
}

// Every entry and node of `old` is in `now` with the same value.
bool keeps(const QJsonObject &now, const QJsonObject &old)
{
    const QJsonObject oldEntries = old.value(EntriesMember).toObject();
    const QJsonObject nowEntries = now.value(EntriesMember).toObject();
    for (auto it = oldEntries.begin(); it != oldEntries.end(); ++it)
        if (nowEntries.value(it.key()) != it.value())
            return false;
    const QJsonObject oldNodes = old.value(NodesMember).toObject();
    const QJsonObject nowNodes = now.value(NodesMember).toObject();
    for (auto it = oldNodes.begin(); it != oldNodes.end(); ++it)
        if (!keeps(nowNodes.value(it.key()).toObject(), it.value().toObject()))
            return false;
    return true;
}

// The node tree without the one entry at the node path.
QJsonObject withoutEntry(QJsonObject node, QStringList path, const QString &name)
{
    if (path.isEmpty()) {
        QJsonObject entries = node.value(EntriesMember).toObject();
        entries.remove(name);
        node.insert(EntriesMember, entries);
        return node;
    }
    QJsonObject nodes = node.value(NodesMember).toObject();
    const QString step = path.takeFirst();
    if (nodes.contains(step))
        nodes.insert(step, withoutEntry(nodes.value(step).toObject(), path, name));
    node.insert(NodesMember, nodes);
    return node;
}

bool setAsideWhole(const QString &path, const QByteArray &bytes)
{
    const QFileInfo info(path);
    const QStringList aside =
        info.dir().entryList({info.fileName() + u".damaged-*"_s}, QDir::Files);
    for (const QString &name : aside) {
        QFile file(info.dir().filePath(name));
        if (file.open(QIODevice::ReadOnly) && file.readAll() == bytes)
            return true;
    }
    return false;
}

void readAll(const CAppSettings &settings)
{
    try {
        QStringList keys;
        settings.GetAllKeys(u"STATCHART"_s, keys);
        for (const QString &key : std::as_const(keys))
            settings.GetSetting(u"STATCHART"_s, key, 0);
    } catch (const ComponentError &) {
        // An entry the class can't take raises its error; that is an answer.
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    qrt::fuzz::startApplication(argc, argv);
    settingsPath();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString path = settingsPath();
    QDir folder = QFileInfo(path).dir();
    folder.removeRecursively();
    QDir().mkpath(folder.path());
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    {
        QFile file(path);
        qrt::fuzz::check(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size(),
                         "the scratch file is written");
    }
    const qrt::settings::SettingsFile settingsFile(path);
    const QJsonObject before = settingsFile.read();
    if (!QFile::exists(path))
        qrt::fuzz::check(setAsideWhole(path, bytes), "a damaged file is set aside whole");

    CAppSettings settings;
    settings.Init(u"Koltrin"_s, u"Zorvane"_s);
    readAll(settings);
    try {
        settings.SaveSetting(u"STATCHART"_s, u"ORDER"_s, u"ORDER BY 1"_s);
    } catch (const ComponentError &) {
        qrt::fuzz::check(false, "a save succeeds");
    }
    qrt::fuzz::check(settings.GetSetting(u"STATCHART"_s, u"ORDER"_s).toString() == u"ORDER BY 1"_s,
                     "the saved value reads back");
    // The save may only have replaced the one entry it wrote.
    const QStringList section =
        settings.MainBranch().split(u'\\') +
        QStringList{settings.CompanyName(), settings.AppName(), u"STATCHART"_s};
    qrt::fuzz::check(keeps(settingsFile.read(), withoutEntry(before, section, u"ORDER"_s)),
                     "a good file keeps its entries");
    return 0;
}
