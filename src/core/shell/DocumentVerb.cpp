#include "shell/DocumentVerb.h"

#include <QFileInfo>
#include <QMimeDatabase>

#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>
#include <memory>

using namespace Qt::StringLiterals;

namespace qrt::shell {
namespace {

struct GObjectRelease
{
    void operator()(gpointer object) const { g_object_unref(object); }
};
struct GMemoryRelease
{
    void operator()(gpointer memory) const { g_free(memory); }
};
struct KeyFileRelease
{
    void operator()(GKeyFile *keys) const { g_key_file_unref(keys); }
};
struct StringsRelease
{
    void operator()(gchar **strings) const { g_strfreev(strings); }
};

DocumentVerb Open()
{
    return {u"open"_s, {}};
}

// The type the extension names, or none. The extension runs from the last
// dot to the end; when that dot is in a folder name, it is no file name's
// extension and names no type.
QString TypeOfExtension(const QString &path)
{
    if (path.indexOf(u'/', path.lastIndexOf(u'.')) >= 0)
        return {};
    // The name alone, not the contents: the type a document is opened as is
    // the one its name declares, and reading it could block on a pipe.
    const QMimeType type = QMimeDatabase().mimeTypeForFile(path, QMimeDatabase::MatchExtension);
    return type.isValid() && !type.isDefault() ? type.name() : QString();
}

// %f, %F, %u and %U give the document (a local path serves for a URL), %%
// a percent sign, the other field codes nothing; an argument made only of
// codes that give nothing goes. A command line without a file code gets
// the document last, as the desktop's launchers do.
QStringList ExpandFieldCodes(const QStringList &arguments, const QString &document)
{
    QStringList expanded;
    bool documentIn = false;
    for (const QString &argument : arguments) {
        QString text;
        bool dropped = false;
        for (qsizetype at = 0; at < argument.size(); ++at) {
            if (argument.at(at) != u'%' || at + 1 == argument.size()) {
                text += argument.at(at);
                continue;
            }
            const QChar code = argument.at(++at);
            if (code == u'%') {
                text += code;
            } else if (u"fFuU"_s.contains(code)) {
                text += document;
                documentIn = true;
            } else {
                dropped = true;
            }
        }
        if (!dropped || !text.isEmpty())
            expanded += text;
    }
    if (!documentIn)
        expanded += document;
    return expanded;
}

// The command line of the entry's "Desktop Action" group, split as the
// entry's quoting says, with the document in. Empty when there is none.
QStringList ActionCommand(GDesktopAppInfo *application, const QString &action,
                          const QString &document)
{
    const char *file = g_desktop_app_info_get_filename(application);
    const std::unique_ptr<GKeyFile, KeyFileRelease> keys(g_key_file_new());
    if (!file || !g_key_file_load_from_file(keys.get(), file, G_KEY_FILE_NONE, nullptr))
        return {};
    const QByteArray group = "Desktop Action " + action.toUtf8();
    const std::unique_ptr<gchar, GMemoryRelease> exec(
        g_key_file_get_string(keys.get(), group.constData(), "Exec", nullptr));
    gchar **parsed = nullptr;
    if (!exec || !g_shell_parse_argv(exec.get(), nullptr, &parsed, nullptr))
        return {};
    const std::unique_ptr<gchar *, StringsRelease> argv(parsed);
    QStringList arguments;
    for (gchar **argument = argv.get(); *argument; ++argument)
        arguments += QString::fromUtf8(*argument);
    return ExpandFieldCodes(arguments, QFileInfo(document).absoluteFilePath());
}

} // namespace

DocumentVerb VerbForDocument(const QString &path)
{
    if (!path.contains(u'.'))
        return Open();
    const QString type = TypeOfExtension(path);
    if (type.isEmpty())
        return Open();
    const std::unique_ptr<GAppInfo, GObjectRelease> application(
        g_app_info_get_default_for_type(type.toUtf8().constData(), false));
    if (!application || !G_IS_DESKTOP_APP_INFO(application.get()))
        return Open();
    auto *entry = G_DESKTOP_APP_INFO(application.get());
    const gchar *const *actions = g_desktop_app_info_list_actions(entry);
    if (!actions || !actions[0])
        return {};
    for (const gchar *const *action = actions; *action; ++action) {
        const QString name = QString::fromUtf8(*action).toLower();
        if (name == u"open"_s || name == u"&open"_s)
            return Open();
    }
    const QString first = QString::fromUtf8(actions[0]);
    return {first, ActionCommand(entry, first, path)};
}

} // namespace qrt::shell
