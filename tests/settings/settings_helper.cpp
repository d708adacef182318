// Helper of the settings process tests, run as a separate program:
//   settings_helper write SECTION PREFIX COUNT   saves PREFIX0..PREFIX<COUNT-1> = 0..COUNT-1
//   settings_helper loop SECTION KEY             saves KEY = 1, 2, 3, ... until killed,
//                                                printing each number once it is stored
// The settings go to Software\Koltrin\Zorvane of the current user's store.

#include "base/ComponentError.h"
#include "settings/CAppSettings.h"

#include <QCoreApplication>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

CAppSettings zorvane()
{
    CAppSettings settings;
    settings.Init(u"Koltrin"_s, u"Zorvane"_s);
    return settings;
}

int write(const QString &section, const QString &prefix, int count)
{
    const CAppSettings settings = zorvane();
    for (int i = 0; i < count; ++i)
        settings.SaveSetting(section, prefix + QString::number(i), i);
    return 0;
}

int loop(const QString &section, const QString &key)
{
    const CAppSettings settings = zorvane();
    for (int n = 1;; ++n) {
        settings.SaveSetting(section, key, n);
        std::printf("%d\n", n);
        std::fflush(stdout);
    }
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    try {
        if (args.size() == 5 && args.at(1) == u"write"_s)
            return write(args.at(2), args.at(3), args.at(4).toInt());
        if (args.size() == 4 && args.at(1) == u"loop"_s)
            return loop(args.at(2), args.at(3));
    } catch (const ComponentError &error) {
        std::fprintf(stderr, "settings_helper: %s\n", error.what());
        return 1;
    }
    std::fputs("usage: settings_helper write SECTION PREFIX COUNT | loop SECTION KEY\n", stderr);
    return 2;
}
