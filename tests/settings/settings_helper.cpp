// Helper of the settings process tests, run as a separate program:
//   settings_helper write SECTION PREFIX COUNT   saves PREFIX0..PREFIX<COUNT-1> = 0..COUNT-1
//   settings_helper loop SECTION KEY             saves KEY = 1, 2, 3, ... until killed,
//                                                printing each number once it is stored
//   settings_helper unprivileged PROGRAM ARGS... runs PROGRAM without root's power to
//                                                write into folders it has no write right to
// The settings go to Software\Koltrin\Zorvane of the current user's store.

#include "base/ComponentError.h"
#include "settings/CAppSettings.h"

#include <QCoreApplication>

#include <cstdio>
#include <cstring>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <unistd.h>
#include <vector>

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

// Root passes every permission check on files; without these capabilities
// in its bounding set, the program it starts is held to the mode bits.
int unprivileged(char **argv)
{
    if (geteuid() == 0) {
        for (const int capability : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH, CAP_FOWNER}) {
            if (prctl(PR_CAPBSET_DROP, capability, 0, 0, 0) != 0) {
                std::perror("settings_helper: prctl");
                return 125;
            }
        }
    }
    execv(argv[0], argv);
    std::perror("settings_helper: execv");
    return 127;
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc > 2 && std::strcmp(argv[1], "unprivileged") == 0)
        return unprivileged(argv + 2);
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
    std::fputs("usage: settings_helper write SECTION PREFIX COUNT | loop SECTION KEY |"
               " unprivileged PROGRAM ARGS...\n",
               stderr);
    return 2;
}
