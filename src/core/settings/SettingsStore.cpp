#include "settings/SettingsStore.h"

#include <QJsonValue>
#include <QStandardPaths>
#include <QtEndian>

#include <cmath>
#include <functional>
#include <limits>

using namespace Qt::StringLiterals;

namespace qrt::settings {

namespace {

constexpr QLatin1StringView TypeMember{"type"};
constexpr QLatin1StringView DataMember{"data"};

// Folder and file of a root inside its configuration folder.
constexpr QLatin1StringView StoreFile{"QRT_StatCharts/settings.json"};

// The names of a path; nothing for a path with an empty name in it (a
// leading, trailing or doubled backslash), which addresses no node.
std::optional<QStringList> splitPath(const QString &path)
{
    QStringList names = path.split(u'\\');
    if (names.contains(QString()))
        return std::nullopt;
    return names;
}

// Text and 32-bit integers are written as plain JSON strings and numbers, so
// the file reads and edits by hand; anything else keeps its type code and
// bytes in an object.
QJsonValue encode(const StoreEntry &entry)
{
    if (entry.type == StoreEntry::Text && entry.data.endsWith('\0')) {
        const QByteArray body = entry.data.chopped(1);
        const QString text = QString::fromUtf8(body);
        if (text.toUtf8() == body)
            return text;
    }
    if (entry.type == StoreEntry::DWord && entry.data.size() == 4)
        return qFromLittleEndian<qint32>(entry.data.constData());
    return QJsonObject{{TypeMember, static_cast<qint64>(entry.type)},
                       {DataMember, QString::fromLatin1(entry.data.toBase64())}};
}

bool isWhole(double value, double low, double high)
{
    return std::trunc(value) == value && value >= low && value <= high;
}

// A value of a form we don't know is an entry of type 0, which no reader
// takes; it stays in the file as it is.
StoreEntry decode(const QJsonValue &value)
{
    if (value.isString())
        return StoreEntry::text(value.toString());
    if (value.isDouble()) {
        const double number = value.toDouble();
        if (isWhole(number, std::numeric_limits<qint32>::min(), std::numeric_limits<qint32>::max()))
            return StoreEntry::dword(static_cast<qint32>(number));
        return {};
    }
    const QJsonObject raw = value.toObject();
    const double type = raw.value(TypeMember).toDouble(-1);
    const auto data = QByteArray::fromBase64Encoding(raw.value(DataMember).toString().toLatin1(),
                                                     QByteArray::AbortOnBase64DecodingErrors);
    if (!isWhole(type, 0, std::numeric_limits<quint32>::max()) || !data)
        return {};
    return {static_cast<quint32>(type), *data};
}

using NodeChange = std::function<bool(QJsonObject &node)>;

// Runs change on the node names[depth...] below node. Missing nodes are
// created when create is set; otherwise a missing node ends the walk. True
// when anything changed, so that an operation changing nothing writes nothing.
bool changeNode(QJsonObject &node, const QStringList &names, qsizetype depth, bool create,
                const NodeChange &change)
{
    if (depth == names.size())
        return change(node);
    QJsonObject children = node.value(NodesMember).toObject();
    const QString &name = names.at(depth);
    const bool exists = children.contains(name);
    if (!exists && !create)
        return false;
    QJsonObject child = children.value(name).toObject();
    if (!changeNode(child, names, depth + 1, create, change) && exists)
        return false;
    children.insert(name, child);
    node.insert(NodesMember, children);
    return true;
}

// Removes name from the member of node, and the member when it empties.
bool removeFrom(QJsonObject &node, QLatin1StringView member, const QString &name)
{
    QJsonObject items = node.value(member).toObject();
    if (!items.contains(name))
        return false;
    items.remove(name);
    if (items.isEmpty())
        node.remove(member);
    else
        node.insert(member, items);
    return true;
}

} // namespace

StoreEntry StoreEntry::text(const QString &value)
{
    return {Text, value.toUtf8() + '\0'};
}

StoreEntry StoreEntry::dword(qint32 value)
{
    QByteArray data(4, Qt::Uninitialized);
    qToLittleEndian(value, data.data());
    return {DWord, data};
}

SettingsStore::SettingsStore(StoreRoot root)
    : m_file(filePathOf(root))
{}

SettingsStore::SettingsStore(QString filePath)
    : m_file(std::move(filePath))
{}

QString SettingsStore::filePathOf(StoreRoot root)
{
    // The first location is the user's own folder; the machine's folders
    // follow it in the order of $XDG_CONFIG_DIRS.
    const QStringList folders =
        QStandardPaths::standardLocations(QStandardPaths::GenericConfigLocation);
    const QString folder =
        root == StoreRoot::CurrentUser
            ? QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)
            : folders.value(1, u"/etc/xdg"_s);
    return folder + u'/' + StoreFile;
}

bool SettingsStore::createNode(const QString &path) const
{
    const auto names = splitPath(path);
    return names && m_file.update([&](QJsonObject &top) {
        return changeNode(top, *names, 0, true, [](QJsonObject &) { return false; });
    });
}

bool SettingsStore::setEntry(const QString &path, const QString &name,
                             const StoreEntry &entry) const
{
    const auto names = splitPath(path);
    const QJsonValue value = encode(entry);
    return names && m_file.update([&](QJsonObject &top) {
        return changeNode(top, *names, 0, true, [&](QJsonObject &node) {
            QJsonObject entries = node.value(EntriesMember).toObject();
            if (entries.value(name) == value)
                return false;
            entries.insert(name, value);
            node.insert(EntriesMember, entries);
            return true;
        });
    });
}

std::optional<StoreEntry> SettingsStore::entry(const QString &path, const QString &name) const
{
    const auto node = findNode(path);
    if (!node)
        return std::nullopt;
    const QJsonObject entries = node->value(EntriesMember).toObject();
    const auto found = entries.constFind(name);
    if (found == entries.constEnd())
        return std::nullopt;
    return decode(found.value());
}

std::optional<QStringList> SettingsStore::entryNames(const QString &path) const
{
    const auto node = findNode(path);
    if (!node)
        return std::nullopt;
    return node->value(EntriesMember).toObject().keys();
}

std::optional<QStringList> SettingsStore::nodeNames(const QString &path) const
{
    const auto node = findNode(path);
    if (!node)
        return std::nullopt;
    return node->value(NodesMember).toObject().keys();
}

bool SettingsStore::deleteNode(const QString &path) const
{
    auto names = splitPath(path);
    if (!names)
        return false;
    const QString last = names->takeLast();
    bool found = false;
    const bool written = m_file.update([&](QJsonObject &top) {
        found = changeNode(top, *names, 0, false, [&](QJsonObject &parent) {
            return removeFrom(parent, NodesMember, last);
        });
        return found;
    });
    return written && found;
}

bool SettingsStore::deleteEntry(const QString &path, const QString &name) const
{
    const auto names = splitPath(path);
    if (!names)
        return false;
    bool found = false;
    const bool written = m_file.update([&](QJsonObject &top) {
        found = changeNode(top, *names, 0, false, [&](QJsonObject &node) {
            return removeFrom(node, EntriesMember, name);
        });
        return found;
    });
    return written && found;
}

std::optional<QJsonObject> SettingsStore::findNode(const QString &path) const
{
    const auto names = splitPath(path);
    if (!names)
        return std::nullopt;
    QJsonObject node = m_file.read();
    for (const QString &name : *names) {
        const QJsonObject children = node.value(NodesMember).toObject();
        const auto child = children.constFind(name);
        if (child == children.constEnd())
            return std::nullopt;
        node = child.value().toObject();
    }
    return node;
}

} // namespace qrt::settings
