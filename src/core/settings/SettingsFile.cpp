#include "settings/SettingsFile.h"

#include <QDateTime>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QLoggingCategory>
#include <QTemporaryFile>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcSettings, "qrt.settings", QtWarningMsg)

namespace qrt::settings {

namespace {

// A reader only sets a damaged file aside when no writer is busy with it; it
// waits briefly, since a reader of a good file never needs the lock at all.
constexpr int ReaderLockWaitMs = 2000;

// Temporary files beside the settings file end so, QTemporaryFile filling in
// the X's.
constexpr QLatin1StringView TemporarySuffix{".tmp-XXXXXX"};

// Readable by all, as a configuration file is; a replaced file keeps its own.
constexpr QFileDevice::Permissions NewFilePermissions =
    QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ReadGroup |
    QFileDevice::ReadOther;

// The lock every process takes around a change of the file: the kernel's
// exclusive lock on a lock file beside it. Taking it writes nothing to disk
// (QLockFile syncs its lock file on every lock, which costs several times the
// whole change it guards), and the kernel drops it when its process ends
// however it ends, so a killed writer never leaves a stale lock. The lock
// file itself stays; it holds nothing.
class ProcessLock
{
public:
    explicit ProcessLock(const QString &path)
        : m_fd(::open(QFile::encodeName(path + u".lock"_s).constData(),
                      O_RDONLY | O_CREAT | O_CLOEXEC, 0644))
    {}
    ~ProcessLock()
    {
        if (m_fd >= 0)
            ::close(m_fd); // releases the lock
    }
    ProcessLock(const ProcessLock &) = delete;
    ProcessLock &operator=(const ProcessLock &) = delete;

    bool tryLock(int timeoutMs) const
    {
        if (m_fd < 0)
            return false;
        const QDeadlineTimer deadline(timeoutMs);
        while (::flock(m_fd, LOCK_EX | LOCK_NB) != 0) {
            if ((errno != EWOULDBLOCK && errno != EINTR) || deadline.hasExpired())
                return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return true;
    }

private:
    int m_fd;
};

} // namespace

SettingsFile::SettingsFile(QString path)
    : m_path(std::move(path))
{}

QJsonObject SettingsFile::read() const
{
    QJsonObject top;
    if (load(top) != Load::Damaged)
        return top;
    const ProcessLock lock(m_path);
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
    const ProcessLock lock(m_path);
    if (!lock.tryLock(LockTimeoutMs)) {
        qCWarning(lcSettings) << "cannot lock" << m_path;
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
    if (!change(top))
        return true;
    removeLeftovers();
    return write(top);
}

// Only the holder of the lock writes a temporary file, so any found while we
// hold it was left by a writer that died.
void SettingsFile::removeLeftovers() const
{
    const QFileInfo info(m_path);
    QDir folder = info.absoluteDir();
    const QString pattern = info.fileName() + QString(TemporarySuffix).replace(u'X', u'?');
    for (const QString &name : folder.entryList({pattern}, QDir::Files))
        folder.remove(name);
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

// The new document goes to a temporary file beside the old one, which then
// replaces it in one rename: a process that dies at any point leaves the old
// file or the new one. There is no sync to disk per write, as QSaveFile would
// do: a window's close saves each key on its own, and a sync per key makes
// that close take up to a second on a busy disk. The rename over the old file
// keeps old-or-new across a power loss on the usual Linux file systems too,
// at the price of the last few seconds of changes.
bool SettingsFile::write(const QJsonObject &top) const
{
    QTemporaryFile file(m_path + TemporarySuffix);
    if (!file.open()) {
        qCWarning(lcSettings) << "cannot write into" << QFileInfo(m_path).absolutePath()
                              << file.errorString();
        return false;
    }
    const QByteArray bytes = QJsonDocument(top).toJson(QJsonDocument::Indented);
    const QFileInfo old(m_path);
    file.setPermissions(old.exists() ? old.permissions() : NewFilePermissions);
    if (file.write(bytes) != bytes.size() || !file.flush()) {
        qCWarning(lcSettings) << "cannot write" << file.fileName() << file.errorString();
        return false;
    }
    if (::rename(QFile::encodeName(file.fileName()).constData(),
                 QFile::encodeName(m_path).constData()) != 0) {
        qCWarning(lcSettings) << "cannot replace" << m_path << qt_error_string(errno);
        return false;
    }
    file.setAutoRemove(false); // it is the settings file now
    return true;
}

} // namespace qrt::settings
