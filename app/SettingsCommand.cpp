#include "SettingsCommand.h"

#include "base/ComponentError.h"
#include "settings/CAppSettings.h"
#include "settings/SettingsStore.h"

#include <QLocale>

#include <cmath>
#include <cstdio>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

constexpr int Done = 0;
constexpr int Failed = 1;
constexpr int BadUsage = 2;

constexpr const char *Usage =
    "usage: zorvane-stats settings [--machine] COMMAND\n"
    "  list SECTION               the keys of SECTION: KEY, tab, text or int, tab, value\n"
    "  get SECTION KEY            the value of KEY\n"
    "  set SECTION KEY VALUE      store VALUE as text\n"
    "  set SECTION KEY VALUE --int  store VALUE as a 32-bit integer (rounded)\n"
    "  delete SECTION             delete SECTION with everything in it\n"
    "  delete SECTION KEY         delete the key KEY of SECTION, or else the section\n"
    "                             SECTION\\KEY below it\n"
    "Sections live under Software\\Koltrin\\Zorvane of the current user's settings,\n"
    "or of the machine's with --machine.\n";

struct Invocation
{
    bool machine = false;
    bool asInteger = false;
    QStringList words; // the command and its operands
};

// Options may stand anywhere; everything else is an operand, so negative
// numbers need no "--" before them.
std::optional<Invocation> parse(const QStringList &arguments)
{
    Invocation invocation;
    for (const QString &argument : arguments.mid(2)) {
        if (argument == u"--machine"_s)
            invocation.machine = true;
        else if (argument == u"--int"_s)
            invocation.asInteger = true;
        else if (argument == u"--help"_s || argument == u"-h"_s)
            return std::nullopt;
        else
            invocation.words.append(argument);
    }
    return invocation;
}

void print(const QString &line)
{
    std::fputs((line + u'\n').toUtf8().constData(), stdout);
}

void complain(const QString &line)
{
    std::fputs((u"zorvane-stats: "_s + line + u'\n').toUtf8().constData(), stderr);
}

QString typeAndValue(const QVariant &value)
{
    if (value.typeId() == QMetaType::Int)
        return u"int\t"_s + value.toString();
    if (value.typeId() == QMetaType::QString)
        return u"text\t"_s + value.toString();
    return u"other\t"_s;
}

int list(const CAppSettings &settings, const QString &section)
{
    QStringList keys;
    settings.GetAllKeys(section, keys);
    for (const QString &key : std::as_const(keys))
        print(key + u'\t' + typeAndValue(settings.GetSetting(section, key)));
    return Done;
}

int get(const CAppSettings &settings, const QString &section, const QString &key)
{
    const QVariant value = settings.GetSetting(section, key);
    if (!value.isValid()) {
        complain(u"no setting "_s + key + u" in section "_s + section);
        return Failed;
    }
    print(value.toString());
    return Done;
}

int set(const CAppSettings &settings, const QStringList &words, bool asInteger)
{
    QVariant value = words.at(3);
    if (asInteger) {
        bool ok = false;
        const double number = QLocale::c().toDouble(words.at(3), &ok);
        if (!ok || !std::isfinite(number)) {
            complain(u"--int takes a number, not "_s + words.at(3));
            return BadUsage;
        }
        value = number;
    }
    settings.SaveSetting(words.at(1), words.at(2), value);
    return Done;
}

// A key of the section goes first, since that is what a user repairing a
// setting means; the section below it is what the settings class deletes.
int remove(const CAppSettings &settings, const QStringList &words)
{
    if (words.size() == 3) {
        const qrt::settings::SettingsStore store(settings.RootKey() == CAppSettings::MachineRoot
                                                     ? qrt::settings::StoreRoot::Machine
                                                     : qrt::settings::StoreRoot::CurrentUser);
        const QString path = settings.MainBranch() + u'\\' + settings.CompanyName() + u'\\' +
                             settings.AppName() + u'\\' + words.at(1);
        if (store.entry(path, words.at(2))) {
            if (store.deleteEntry(path, words.at(2)))
                return Done;
            complain(u"cannot write "_s + store.filePath());
            return Failed;
        }
    }
    settings.DeleteSetting(words.at(1), words.value(2));
    return Done;
}

int dispatch(const CAppSettings &settings, const Invocation &invocation)
{
    const QStringList &words = invocation.words;
    const QString command = words.value(0);
    if (command == u"list"_s && words.size() == 2)
        return list(settings, words.at(1));
    if (command == u"get"_s && words.size() == 3)
        return get(settings, words.at(1), words.at(2));
    if (command == u"set"_s && words.size() == 4)
        return set(settings, words, invocation.asInteger);
    if (command == u"delete"_s && (words.size() == 2 || words.size() == 3))
        return remove(settings, words);
    std::fputs(Usage, stderr);
    return BadUsage;
}

} // namespace

namespace SettingsCommand {

int run(const QStringList &arguments)
{
    const auto invocation = parse(arguments);
    if (!invocation) {
        std::fputs(Usage, stdout);
        return Done;
    }
    try {
        CAppSettings settings;
        settings.Init(u"Koltrin"_s, u"Zorvane"_s);
        if (invocation->machine)
            settings.RootKey(CAppSettings::MachineRoot);
        return dispatch(settings, *invocation);
    } catch (const ComponentError &error) {
        complain(u"error 0x"_s + QString::number(static_cast<quint32>(error.number), 16).toUpper() +
                 u" ("_s + QString::number(error.number) + u") "_s + error.source + u": "_s +
                 error.description);
        return Failed;
    }
}

} // namespace SettingsCommand
