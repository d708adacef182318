#include "settings/SettingsFile.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QLockFile>
#include <QLoggingCategory>
#include <QSaveFile>

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcSettings, "qrt.settings", QtWarningMsg)

namespace qrt::settings {

namespace {

// A reader only sets a damaged file aside when no writer is busy with it; it
// waits briefly, since a reader of a good file never needs the lock at all.
constexpr int ReaderLockWaitMs = 2000;

QString lockPath(const QString &path)
{
    return path + u".lock"_s;
}

} // namespace

SettingsFile::SettingsFile(QString path)
    : m_path(std::move(path))
{}

QJsonObject SettingsFile::read() const
{
    QJsonObject top;
    if (load(top) != Load::Damaged)
        return top;
    QLockFile lock(lockPath(m_path));
    if (lock.tryLock(ReaderLockWaitMs) && load(top) == Load::Damaged)
        setAside();
    return load(top) == Load::Ok ? top : QJsonObject();
}

bool SettingsFile::update(const std::function<bool(QJsonObject &)> &change) const
{
    const QString folder = QFileInfo(m_path).absolutePath();
    if (!QDir().mkpath(folder)) {
        qCWarning(lcSettings) << "cannot create the settings folder" << folder;
        return false;
    }
    QLockFile lock(lockPath(m_path));
    if (!lock.tryLock(LockTimeoutMs)) {
        qCWarning(lcSettings) << "cannot lock" << m_path << "error" << lock.error();
        return false;
    }
    QJsonObject top;
    switch (load(top)) {
    case Load::Unreadable:
        // What we cannot read we must not replace: it may hold the user's settings.
        qCWarning(lcSettings) << "cannot read" << m_path;
        return false;
    case Load::Damaged:
        if (!setAside())
            return false;
        top = QJsonObject();
        break;
    case Load::Missing:
    case Load::Ok:
        break;
    }
    return !change(top) || write(top);
}

SettingsFile::Load SettingsFile::load(QJsonObject &top) const
{
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly))
        return file.exists() ? Load::Unreadable : Load::Missing;
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return Load::Unreadable;
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject() ||
        !isNode(document.object()))
        return Load::Damaged;
    top = document.object();
    return Load::Ok;
}

bool SettingsFile::isNode(const QJsonObject &node)
{
    const QJsonValue entries = node.value(EntriesMember);
    if (!entries.isUndefined() && !entries.isObject())
        return false;
    const QJsonValue nodes = node.value(NodesMember);
    if (nodes.isUndefined())
        return true;
    if (!nodes.isObject())
        return false;
    const QJsonObject children = nodes.toObject();
    for (const auto &child : children) {
        if (!child.isObject() || !isNode(child.toObject()))
            return false;
    }
    return true;
}

// The damaged file keeps whatever the user may still want from it; the next
// write starts a fresh file beside it.
bool SettingsFile::setAside() const
{
    const QString stem =
        m_path + u".damaged-"_s + QDateTime::currentDateTime().toString(u"yyyyMMdd-HHmmss"_s);
    QString backup = stem;
    for (int n = 2; QFileInfo::exists(backup); ++n)
        backup = stem + u'-' + QString::number(n);
    if (!QFile::rename(m_path, backup)) {
        qCWarning(lcSettings) << "cannot set the damaged settings file" << m_path << "aside";
        return false;
    }
    qCWarning(lcSettings) << "the settings file" << m_path << "did not parse; set aside as"
                          << backup;
    return true;
}

bool SettingsFile::write(const QJsonObject &top) const
{
    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly)) {
        qCWarning(lcSettings) << "cannot write" << m_path << file.errorString();
        return false;
    }
    file.write(QJsonDocument(top).toJson(QJsonDocument::Indented));
    if (!file.commit()) {
        qCWarning(lcSettings) << "cannot write" << m_path << file.errorString();
        return false;
    }
    return true;
}

} // namespace qrt::settings
