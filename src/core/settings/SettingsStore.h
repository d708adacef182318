#pragma once
// A hierarchical store of typed settings, one per root: nodes addressed by
// paths of names joined with a backslash ("Software\Koltrin\Zorvane"), each
// node holding child nodes and named entries. An entry is a type code and
// bytes, as the settings class reads and writes them; text and 32-bit
// integers are the types in use. Every operation is one transaction on the
// root's file, so nothing stays open between calls and other processes see
// each change at once.

#include "settings/SettingsFile.h"

#include <QByteArray>
#include <QStringList>

#include <optional>

namespace qrt::settings {

struct StoreEntry
{
    // Type codes of the entries the settings class writes; any other code is
    // kept and given back as it is.
    static constexpr quint32 Text = 1;
    static constexpr quint32 DWord = 4;

    quint32 type = 0;
    // Text: UTF-8 with a terminating zero byte. DWord: 4 bytes, little-endian.
    QByteArray data;

    static StoreEntry text(const QString &value);
    static StoreEntry dword(qint32 value);

    friend bool operator==(const StoreEntry &, const StoreEntry &) = default;
};

enum class StoreRoot { CurrentUser, Machine };

class SettingsStore
{
public:
    // The current user's file lives under $XDG_CONFIG_HOME, the machine's
    // under the first folder of $XDG_CONFIG_DIRS.
    explicit SettingsStore(StoreRoot root);
    // A store on a file of the caller's choice.
    explicit SettingsStore(QString filePath);

    static QString filePathOf(StoreRoot root);
    const QString &filePath() const { return m_file.path(); }

    // Opens the node at path, creating it and its missing parents.
    bool createNode(const QString &path) const;
    // Writes the entry under name, creating the node and its parents first.
    bool setEntry(const QString &path, const QString &name, const StoreEntry &entry) const;
    // Nothing when the node or the entry is missing.
    std::optional<StoreEntry> entry(const QString &path, const QString &name) const;
    // The names of the node's entries; nothing when the node is missing.
    std::optional<QStringList> entryNames(const QString &path) const;
    // The names of the node's child nodes; nothing when the node is missing.
    std::optional<QStringList> nodeNames(const QString &path) const;
    // Deletes the node with its entries and all nodes below it. False when it
    // is missing or the file could not be written.
    bool deleteNode(const QString &path) const;
    // False when the entry is missing or the file could not be written.
    bool deleteEntry(const QString &path, const QString &name) const;

private:
    std::optional<QJsonObject> findNode(const QString &path) const;

    SettingsFile m_file;
};

} // namespace qrt::settings
