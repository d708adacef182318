#include "settings/CAppSettings.h"

#include "base/AppInfo.h"
#include "base/Dates.h"
#include "settings/SettingsStore.h"

#include <QtEndian>

#include <cmath>
#include <limits>
#include <optional>

using namespace Qt::StringLiterals;
using qrt::settings::SettingsStore;
using qrt::settings::StoreEntry;
using qrt::settings::StoreRoot;

namespace {

// The store's own failures carry a source one letter shorter than the class.
[[noreturn]] void raise(qint32 number)
{
    const QString classSource = AppInfo::EXEName() + u".CAppSettings"_s;
    const QString storeSource = AppInfo::EXEName() + u".CAppSetting"_s;
    switch (number) {
    case CAppSettings::ErrInvalidAppName:
        throw ComponentError(number, classSource, u"Invalid AppName value"_s);
    case CAppSettings::ErrInvalidCompanyName:
        throw ComponentError(number, classSource, u"Invalid CompanyName value"_s);
    case CAppSettings::ErrInvalidMainBranch:
        throw ComponentError(number, classSource, u"Invalid MainBranch value"_s);
    case CAppSettings::ErrInvalidRootKey:
        throw ComponentError(number, classSource, u"Invalid root key value"_s);
    case CAppSettings::ErrSaveSetting:
        throw ComponentError(number, storeSource, u"Failed saving the application setting"_s);
    case CAppSettings::ErrGetAllKeys:
        throw ComponentError(number, storeSource, u"Failed getting all the application keys"_s);
    default:
        throw ComponentError(CAppSettings::ErrComponentFailure, classSource,
                             u"CAppSettings component failure"_s);
    }
}

// Runs an operation so that only the class's own errors leave it: whatever
// else fails inside becomes the component failure.
template<typename Operation>
auto guarded(Operation &&operation) -> decltype(operation())
{
    try {
        return operation();
    } catch (const ComponentError &) {
        throw;
    } catch (...) {
        raise(CAppSettings::ErrComponentFailure);
    }
}

SettingsStore storeOf(qint32 rootKey)
{
    return SettingsStore(rootKey == CAppSettings::MachineRoot ? StoreRoot::Machine
                                                              : StoreRoot::CurrentUser);
}

// Texts, dates and booleans are kept as their text; nothing when the value
// is of another kind.
std::optional<QString> storedText(const QVariant &value)
{
    namespace dates = qrt::dates;
    switch (value.typeId()) {
    case QMetaType::QString:
        return value.toString();
    case QMetaType::QChar:
        return QString(value.toChar());
    case QMetaType::Bool:
        return value.toBool() ? u"True"_s : u"False"_s;
    case QMetaType::QDate:
        if (!value.toDate().isValid())
            raise(CAppSettings::ErrComponentFailure);
        return dates::toText(dates::fromQDate(value.toDate()));
    case QMetaType::QDateTime:
        if (!value.toDateTime().isValid())
            raise(CAppSettings::ErrComponentFailure);
        return dates::toText(dates::fromQDateTime(value.toDateTime()));
    case QMetaType::QTime: {
        const QTime time = value.toTime();
        if (!time.isValid())
            raise(CAppSettings::ErrComponentFailure);
        return dates::toText(dates::fromFields(
            {1899, 12, 30, time.hour(), time.minute(), time.second(), time.msec()}));
    }
    default:
        return std::nullopt;
    }
}

// Any number, as the nearest 32-bit integer with halves going to the even
// neighbour. Nothing for a value that is no number or does not fit.
std::optional<qint32> storedNumber(const QVariant &value)
{
    constexpr qint32 low = std::numeric_limits<qint32>::min();
    constexpr qint32 high = std::numeric_limits<qint32>::max();
    switch (value.typeId()) {
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::UChar:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::LongLong: {
        const qlonglong number = value.toLongLong();
        if (number < low || number > high)
            return std::nullopt;
        return static_cast<qint32>(number);
    }
    case QMetaType::ULong:
    case QMetaType::ULongLong: {
        const qulonglong number = value.toULongLong();
        if (number > static_cast<qulonglong>(high))
            return std::nullopt;
        return static_cast<qint32>(number);
    }
    case QMetaType::Float:
    case QMetaType::Double: {
        // nearbyint rounds in the default mode, to the nearest and halves to even.
        const double number = std::nearbyint(value.toDouble());
        if (!std::isfinite(number) || number < low || number > high)
            return std::nullopt;
        return static_cast<qint32>(number);
    }
    default:
        return std::nullopt;
    }
}

} // namespace

void CAppSettings::Init(const QString &CompanyName, const QString &AppName)
{
    this->CompanyName(CompanyName);
    this->AppName(AppName);
}

QString CAppSettings::AppName() const
{
    return m_appName;
}

void CAppSettings::AppName(const QString &value)
{
    if (value.isEmpty())
        raise(ErrInvalidAppName);
    m_appName = value;
}

QString CAppSettings::CompanyName() const
{
    return m_companyName;
}

void CAppSettings::CompanyName(const QString &value)
{
    if (value.isEmpty())
        raise(ErrInvalidCompanyName);
    m_companyName = value;
}

QString CAppSettings::MainBranch() const
{
    return m_mainBranch;
}

void CAppSettings::MainBranch(const QString &value)
{
    if (value.isEmpty())
        raise(ErrInvalidMainBranch);
    m_mainBranch = value;
}

qint32 CAppSettings::RootKey() const
{
    return m_rootKey;
}

void CAppSettings::RootKey(qint32 value)
{
    if (value != CurrentUserRoot && value != MachineRoot)
        raise(ErrInvalidRootKey);
    m_rootKey = value;
}

void CAppSettings::DeleteSetting(const QString &Section, const QString &Key) const
{
    guarded([&] {
        QString path = sectionPath(Section);
        if (!Key.isEmpty())
            path += u'\\' + Key;
        // A node with nodes below it stays, as the store's own deletion
        // refuses it; like any failed deletion, that reports nothing.
        const SettingsStore store = storeOf(m_rootKey);
        if (store.nodeNames(path).value_or(QStringList()).isEmpty())
            store.deleteNode(path);
    });
}

void CAppSettings::GetAllKeys(const QString &Section, QStringList &Keys) const
{
    guarded([&] {
        Keys.clear();
        const auto names = storeOf(m_rootKey).entryNames(sectionPath(Section));
        if (!names)
            raise(ErrGetAllKeys);
        // The count of names is a 16-bit signed number: the 32,768th overflows it.
        constexpr qsizetype maxKeys = std::numeric_limits<qint16>::max();
        for (const QString &name : *names) {
            if (Keys.size() == maxKeys)
                raise(ErrComponentFailure);
            Keys.append(name);
        }
    });
}

QVariant CAppSettings::GetSetting(const QString &Section, const QString &Key,
                                  const QVariant &Default) const
{
    return guarded([&]() -> QVariant {
        const auto entry = storeOf(m_rootKey).entry(sectionPath(Section), Key);
        if (!entry)
            return Default;
        if (entry->type == StoreEntry::Text) {
            // The last byte is the terminator; an entry without one has
            // nothing to take away and is broken.
            if (entry->data.isEmpty())
                raise(ErrComponentFailure);
            return QString::fromUtf8(entry->data.chopped(1));
        }
        // A longer integer does not fit the 4-byte buffer, so its read fails.
        if (entry->type == StoreEntry::DWord && entry->data.size() <= 4) {
            QByteArray bytes = entry->data;
            bytes.append(QByteArray(4 - bytes.size(), '\0'));
            return qFromLittleEndian<qint32>(bytes.constData());
        }
        return Default;
    });
}

void CAppSettings::SaveSetting(const QString &Section, const QString &Key, QVariant &Setting) const
{
    guarded([&] {
        const SettingsStore store = storeOf(m_rootKey);
        const QString path = sectionPath(Section);
        const auto text = storedText(Setting);
        const auto number = text ? std::nullopt : storedNumber(Setting);
        if (!text && !number) {
            // The section's node is opened before the value is looked at, so
            // a refused value still leaves the node behind.
            if (!store.createNode(path))
                raise(ErrSaveSetting);
            raise(ErrComponentFailure);
        }
        const StoreEntry entry = text ? StoreEntry::text(*text) : StoreEntry::dword(*number);
        // The caller's variable holds the stored integer even when the write fails.
        if (number)
            Setting = *number;
        if (!store.setEntry(path, Key, entry))
            raise(ErrSaveSetting);
    });
}

void CAppSettings::SaveSetting(const QString &Section, const QString &Key,
                               const QVariant &Setting) const
{
    QVariant copy = Setting;
    SaveSetting(Section, Key, copy);
}

QString CAppSettings::sectionPath(const QString &Section) const
{
    return m_mainBranch + u'\\' + m_companyName + u'\\' + m_appName + u'\\' + Section;
}
