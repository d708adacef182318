// The pivot layouts kept in the settings (STATMSTABLE for the table,
// STATMSCHART for the chart), as an older version, a crash or a user may
// have left them. The table's page is generated from them and run against
// the data, and the chart's restore puts them on a view: neither may crash
// or run unbounded, and a failed run says where and why. Whatever is
// stored, the page is single-byte text whose script parses.
//
// The input is lines "T KEY=VALUE" (table) or "C KEY=VALUE" (chart); a
// value of digits is stored as a number, anything else as text.

#include "FuzzPivotData.h"
#include "FuzzSupport.h"
#include "pivot/PivotAggregator.h"
#include "pivot/PivotResult.h"
#include "pivot/PivotView.h"
#include "pivotpage/PivotChartLayout.h"
#include "pivotpage/PivotMemberParser.h"
#include "pivotpage/PivotPage.h"
#include "pivotpage/PivotPageRun.h"
#include "script/ScriptInterpreter.h"
#include "script/ScriptPage.h"
#include "settings/CAppSettings.h"
#include "settings/SettingsStore.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using namespace qrt::pivot;
using qrt::settings::EntriesMember;
using qrt::settings::NodesMember;

namespace {

const CAppSettings &settings()
{
    static QTemporaryDir home;
    static const bool set = qputenv("XDG_CONFIG_HOME", home.path().toLocal8Bit());
    static CAppSettings s = [] {
        Q_UNUSED(set);
        CAppSettings made;
        made.Init(u"Koltrin"_s, u"Zorvane"_s);
        return made;
    }();
    return s;
}

QJsonValue storedValue(const QString &text)
{
    bool number = false;
    const int value = text.toInt(&number);
    return number ? QJsonValue(value) : QJsonValue(text);
}

// The settings document holding the input's two sections.
QJsonObject document(const QString &input)
{
    QJsonObject table, chart;
    for (const QString &line : input.split(u'\n')) {
        const qsizetype equals = line.indexOf(u'=');
        if (line.size() < 3 || equals < 0 || line[1] != u' ')
            continue;
        QJsonObject &section = line[0] == u'T' ? table : chart;
        section.insert(line.mid(2, equals - 2), storedValue(line.mid(equals + 1)));
    }
    QJsonObject node{
        {NodesMember, QJsonObject{{u"STATMSTABLE"_s, QJsonObject{{EntriesMember, table}}},
                                  {u"STATMSCHART"_s, QJsonObject{{EntriesMember, chart}}}}}};
    QStringList path = settings().MainBranch().split(u'\\')
                       << settings().CompanyName() << settings().AppName();
    while (!path.isEmpty())
        node = QJsonObject{{NodesMember, QJsonObject{{path.takeLast(), node}}}};
    return node;
}

void store(const QString &input)
{
    const QString path =
        qrt::settings::SettingsStore::filePathOf(qrt::settings::StoreRoot::CurrentUser);
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    const QByteArray bytes = QJsonDocument(document(input)).toJson(QJsonDocument::Compact);
    qrt::fuzz::check(file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
                         file.write(bytes) == bytes.size(),
                     "the settings are written");
}

void runTablePage()
{
    PivotView view(qrt::fuzz::smallPivotData());
    const QString page = PivotPage::BuildPivotPage(settings(), u"news.db"_s,
                                                   PivotPage::GetAdditionalScriptFunctions());
    qrt::fuzz::check(
        std::all_of(page.begin(), page.end(), [](QChar c) { return c.unicode() <= 0xFF; }),
        "the page is single-byte text");
    qrt::script::ScriptInterpreter parser;
    qrt::fuzz::check(parser.load(qrt::script::ScriptPage::fromHtml(page)).isCompleted(),
                     "no stored value breaks the page's script");
    const auto outcome = runPivotPage(page, view);
    qrt::fuzz::check(!outcome.isPending(), "the page runs against loaded data");
    if (outcome.isFailed())
        qrt::fuzz::check(outcome.line() > 0 && !outcome.message().isEmpty(),
                         "a failure says where and why");
    PivotAggregator::run(view);
}

void restoreChart()
{
    PivotView view(qrt::fuzz::smallPivotData());
    PivotChartLayout::readOptions(settings());
    PivotChartLayout::RestoreChartAxes(
        settings(), view,
        [](const PivotMembers &root, const QString &path, const QString &members) {
            return PivotMemberParser().ParseMembers(root, path, members);
        });
    PivotAggregator::run(view);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    qrt::fuzz::startApplication(argc, argv);
    settings();
    qrt::fuzz::smallPivotData();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    store(qrt::fuzz::text(data, size));
    runTablePage();
    restoreChart();
    return 0;
}
