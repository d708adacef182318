#pragma once
// Named settings per user: a setting is addressed by a section and a key and
// holds a text or a 32-bit integer. A section is the node
// MainBranch\CompanyName\AppName\section of the chosen root of the settings
// store; a backslash in a section reaches deeper nodes. The object keeps no
// node open and caches nothing, so every call sees what other windows and
// processes wrote last.
//
// Bad input and refused operations raise ComponentError with the class's own
// numbers; anything else that goes wrong inside becomes its component
// failure.

#include "base/ComponentError.h"

#include <QString>
#include <QStringList>
#include <QVariant>

class CAppSettings
{
public:
    // Values of RootKey: the current user's root and the machine's.
    static constexpr qint32 CurrentUserRoot = static_cast<qint32>(0x80000001u);
    static constexpr qint32 MachineRoot = static_cast<qint32>(0x80000002u);

    static constexpr qint32 ErrInvalidAppName = ComponentError::ObjectErrorBase + 0x427D;
    static constexpr qint32 ErrInvalidCompanyName = ComponentError::ObjectErrorBase + 0x427E;
    static constexpr qint32 ErrInvalidMainBranch = ComponentError::ObjectErrorBase + 0x427F;
    static constexpr qint32 ErrInvalidRootKey = ComponentError::ObjectErrorBase + 0x4280;
    static constexpr qint32 ErrSaveSetting = ComponentError::ObjectErrorBase + 0x4281;
    static constexpr qint32 ErrGetAllKeys = ComponentError::ObjectErrorBase + 0x4283;
    static constexpr qint32 ErrComponentFailure = ComponentError::ObjectErrorBase + 0x4284;

    // Sets both names, the company first: an empty AppName leaves the new
    // CompanyName in place and raises.
    void Init(const QString &CompanyName, const QString &AppName);

    // The names of the path; none of them may be empty. A refused value
    // changes nothing.
    QString AppName() const;
    void AppName(const QString &value);
    QString CompanyName() const;
    void CompanyName(const QString &value);
    QString MainBranch() const;
    void MainBranch(const QString &value);
    // CurrentUserRoot or MachineRoot; nothing else is taken.
    qint32 RootKey() const;
    void RootKey(qint32 value);

    // Deletes the section's node, or with a Key the node Section\Key below
    // it, with the entries it holds; a node that still has nodes below it
    // is not deleted. A deletion that fails reports nothing.
    void DeleteSetting(const QString &Section, const QString &Key = QString()) const;

    // The names of the section's entries. The array these names were first
    // kept in counted from 1: Keys(1) there is Keys[0] here, and its upper
    // bound, the count of names, is Keys.size(). An existing section without
    // entries gives an empty list; a missing one raises.
    void GetAllKeys(const QString &Section, QStringList &Keys) const;

    // The stored text (QString) or 32-bit integer (int), or Default when the
    // section, the key or a readable value is missing. Without a Default the
    // missing value is an invalid QVariant.
    QVariant GetSetting(const QString &Section, const QString &Key,
                        const QVariant &Default = QVariant()) const;

    // Stores a text, a date or a boolean as text, and any number as a 32-bit
    // integer, rounded to the nearest (halves to even); Setting then holds
    // that integer, also when the write then fails. A value that is no number or does not fit
    // raises the component failure.
    void SaveSetting(const QString &Section, const QString &Key, QVariant &Setting) const;
    // For a value the caller does not keep.
    void SaveSetting(const QString &Section, const QString &Key, const QVariant &Setting) const;

private:
    QString sectionPath(const QString &Section) const;

    qint32 m_rootKey = CurrentUserRoot;
    QString m_mainBranch = QStringLiteral("Software");
    QString m_companyName = QStringLiteral("MyCompany");
    QString m_appName = QStringLiteral("MyApplication");
};
