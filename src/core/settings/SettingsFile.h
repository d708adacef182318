#pragma once
// The file behind one root of the settings store: a JSON document read whole
// and written back whole. Readers never lock, since a write replaces the file
// in one rename; writers take a lock shared with other processes, so two
// programs saving at once each see the other's change. A file that does not
// parse is set aside under a dated name and never written over. The folder
// also holds the empty lock file "settings.json.lock".

#include <QJsonObject>
#include <QString>

#include <functional>

namespace qrt::settings {

// The shape of the document: every node, the top one included, is an object
// with an optional "entries" object (name to value) and an optional "nodes"
// object (name to child node).
inline constexpr QLatin1StringView EntriesMember{"entries"};
inline constexpr QLatin1StringView NodesMember{"nodes"};

class SettingsFile
{
public:
    explicit SettingsFile(QString path);

    const QString &path() const { return m_path; }

    // The top node of the file. Empty when the file is missing, can't be read
    // or is damaged; a damaged file is set aside first.
    QJsonObject read() const;

    // Runs change on the current top node under the lock and writes the
    // result back atomically when change returns true. False when the lock,
    // the folder or the write fails, or when a damaged file could not be set
    // aside; the file on disk is the old one then.
    bool update(const std::function<bool(QJsonObject &top)> &change) const;

    // How long a writer waits for another process to finish its write.
    static constexpr int LockTimeoutMs = 10000;

private:
    enum class Load { Missing, Ok, Unreadable, Damaged };
    static bool isNode(const QJsonObject &node);
    Load load(QJsonObject &top) const;
    bool setAside() const;
    void removeLeftovers() const;
    bool write(const QJsonObject &top) const;

    QString m_path;
};

} // namespace qrt::settings
