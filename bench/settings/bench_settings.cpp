// Saving a section of 60 keys one SaveSetting at a time, as a window's close
// does with a full pivot layout; every call is a whole locked, atomic
// rewrite of the settings file. Target: well under 100 ms for the section.

#include "settings/CAppSettings.h"

#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

using namespace Qt::StringLiterals;

namespace {

void SaveSection60Keys(benchmark::State &state)
{
    // The user's settings folder points into a scratch folder that the
    // run leaves behind it; the section is rewritten in place on every pass.
    QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.path()));
    CAppSettings settings;
    settings.Init(u"Koltrin"_s, u"Zorvane"_s);
    // The other sections are there too, as after a few runs of the window.
    for (const QString &section : {u"STATCHART"_s, u"STATMSCHART"_s}) {
        for (int i = 0; i < 60; ++i)
            settings.SaveSetting(section, u"KEY"_s + QString::number(i), i);
    }
    int pass = 0;
    for (auto _ : state) {
        ++pass;
        for (int i = 0; i < 60; ++i) {
            const QString key = u"ROWFIELDSETNAME"_s + QString::number(i);
            if (i % 2)
                settings.SaveSetting(u"STATMSTABLE"_s, key, pass + i);
            else
                settings.SaveSetting(u"STATMSTABLE"_s, key, u"News;Channel %1"_s.arg(pass + i));
        }
    }
    state.SetItemsProcessed(state.iterations() * 60);
}

} // namespace

BENCHMARK(SaveSection60Keys)->Unit(benchmark::kMillisecond)->MinTime(2.0);

BENCHMARK_MAIN();
