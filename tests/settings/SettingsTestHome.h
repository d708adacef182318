#pragma once
// A private home for the settings tests: the user's and the machine's
// configuration folders point into a temporary folder, for this process and
// for the programs it starts, so no test touches real settings.

#include "ProgramRun.h"
#include "settings/CAppSettings.h"
#include "settings/SettingsStore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

class SettingsTestHome
{
public:
    SettingsTestHome()
    {
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(userFolder()));
        qputenv("XDG_CONFIG_DIRS",
                QFile::encodeName(machineFolder() + u':' + m_dir.path() + QStringLiteral("/etc2")));
    }

    bool isValid() const { return m_dir.isValid(); }
    QString userFolder() const { return m_dir.path() + QStringLiteral("/config"); }
    QString machineFolder() const { return m_dir.path() + QStringLiteral("/etc1"); }
    QString userFile() const
    {
        return qrt::settings::SettingsStore::filePathOf(qrt::settings::StoreRoot::CurrentUser);
    }
    QString machineFile() const
    {
        return qrt::settings::SettingsStore::filePathOf(qrt::settings::StoreRoot::Machine);
    }

    // Starts every test from empty folders.
    void clear() const
    {
        for (const QString &folder : {userFolder(), machineFolder()}) {
            QDir(folder).removeRecursively();
            QDir().mkpath(folder);
        }
    }

    static QByteArray contents(const QString &path) { return qrt::test::readFile(path); }

    static bool write(const QString &path, const QByteArray &bytes)
    {
        QDir().mkpath(QFileInfo(path).absolutePath());
        QFile file(path);
        return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
    }

private:
    QTemporaryDir m_dir;
};

// The settings of the host program: Software\Koltrin\Zorvane.
inline CAppSettings zorvaneSettings()
{
    CAppSettings settings;
    settings.Init(QStringLiteral("Koltrin"), QStringLiteral("Zorvane"));
    return settings;
}

// A user's file whose section below Software\Koltrin\Zorvane holds count
// text entries, K0 to K<count - 1>.
inline QByteArray fileWithEntries(const QString &section, int count)
{
    QJsonObject entries;
    for (int i = 0; i < count; ++i)
        entries.insert(QStringLiteral("K%1").arg(i), QStringLiteral("value number %1").arg(i));
    QJsonObject node{{QStringLiteral("entries"), entries}};
    for (const QString &name : {section, QStringLiteral("Zorvane"), QStringLiteral("Koltrin"),
                                QStringLiteral("Software")})
        node = QJsonObject{{QStringLiteral("nodes"), QJsonObject{{name, node}}}};
    return QJsonDocument(node).toJson();
}

using qrt::test::ProgramRun;
using qrt::test::runProgram;

// The host program's settings command, as a user runs it.
inline qrt::test::ProgramRun
runSettings(const QStringList &arguments,
            const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment())
{
    return qrt::test::runStats(QStringList{QStringLiteral("settings")} + arguments, environment);
}

namespace qrt::settings {
// Entries as the comparisons of the tests print them.
inline char *toString(const StoreEntry &entry)
{
    using namespace Qt::StringLiterals;
    return QTest::toString(
        u"type %1, bytes %2"_s.arg(entry.type).arg(QString::fromLatin1(entry.data.toHex(' '))));
}
} // namespace qrt::settings
