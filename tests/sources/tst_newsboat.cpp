// Newsboat for real: random RSS and Atom feeds over several days and tags,
// one feed renamed with "~Title", items without a date, fetched from
// file:// URLs by newsboat itself into its cache.db. What the chart table,
// the pivot grid and the filter lists show must equal the counts computed
// from the feed files' own facts, and a second window keeps the ticks.

#include "RandomFeeds.h"
#include "ReaderRuns.h"
#include "TickClicks.h"
#include "component/modUtils.h"
#include "controls/tools/ButtonTool.h"
#include "controls/tools/DockStudio.h"
#include "controls/tools/TickList.h"
#include "filterpanel/TickListModel.h"
#include "filterpanel/frmProvChannels.h"
#include "settings/CAppSettings.h"
#include "workspace/frmCharts.h"

#include <qrt/statCharts.h>

#include <QPointer>
#include <QStandardPaths>
#include <QTest>
#include <QTimeZone>

#include <memory>

using namespace Qt::StringLiterals;
using namespace qrt::test;

namespace {

const QString kRenamed = u"Renamed By Hand"_s;
const QString kUntagged = u"Uncategorized"_s;

} // namespace

class tst_Newsboat : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void chartTable();
    void filterListsAndSecondOpening();
    void sameAsImported();

private:
    QString seriesOf(const QString &series, int feed) const;
    DayCounts expected(const QString &series, const QTimeZone &zone) const;

    QTemporaryDir m_dir;
    QList<RandomFeed> m_feeds;
    QString m_cache;
    QDateTime m_fetchedFrom;
    QDateTime m_fetchedTill;
};

// Feed 0 renamed, feed 2 untagged, feed 3 tagged twice (the first counts),
// the rest by their category; the urls file lies beside the cache, and a
// copy elsewhere for Urls=.
void tst_Newsboat::initTestCase()
{
    if (QStandardPaths::findExecutable(u"newsboat"_s).isEmpty())
        QFAIL("newsboat is not installed (scripts/install-deps installs it)");
    QVERIFY(m_dir.isValid());
    RandomFeedOptions options;
    options.feeds = 7;
    options.days = 12;
    options.undatedPercent = 15;
    m_feeds = randomFeeds(2323, options);
    // Newsboat 2.21 reads a time with fractions of a second as UTC whatever
    // its zone, and shows an Atom title of type "html" with a bare "&" without
    // it: neither is the mapping's to mend, so the feeds here avoid both.
    for (RandomFeed &feed : m_feeds) {
        for (RandomFeedItem &item : feed.items)
            item.dateText.remove(u".000"_s);
        if (feed.format == RandomFeed::Format::Atom)
            feed.title = feed.titleXml = feed.title.remove(u" & Co"_s);
    }
    QVERIFY(writeFeeds(m_dir.filePath(u"feeds"_s), m_feeds));
    QByteArray urls = "# feeds of the test\n";
    for (int f = 0; f < m_feeds.size(); ++f) {
        urls += QUrl::fromLocalFile(m_dir.filePath(u"feeds/"_s + m_feeds[f].fileName)).toEncoded();
        if (f == 0)
            urls += " \"~" + kRenamed.toUtf8() + '"';
        if (f == 3)
            urls += " \"" + m_feeds[f].category.toUtf8() + "\" second-tag";
        else if (f != 2)
            urls += " \"" + m_feeds[f].category.toUtf8() + '"';
        urls += '\n';
    }
    QDir(m_dir.path()).mkpath(u"home"_s);
    QDir(m_dir.path()).mkpath(u"elsewhere"_s);
    for (const QString &path : {m_dir.filePath(u"urls"_s), m_dir.filePath(u"elsewhere/urls"_s)})
        QVERIFY(writeFile(path, urls));
    m_cache = m_dir.filePath(u"cache.db"_s);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"HOME"_s, m_dir.filePath(u"home"_s));
    m_fetchedFrom = QDateTime::currentDateTimeUtc();
    const ProgramRun newsboat = runProgram(
        u"newsboat"_s, {u"-u"_s, m_dir.filePath(u"urls"_s), u"-c"_s, m_cache, u"-x"_s, u"reload"_s},
        environment);
    m_fetchedTill = QDateTime::currentDateTimeUtc();
    QCOMPARE(newsboat.exitCode, 0);
    // Only the copy elsewhere is left until the filter lists put one back.
    QVERIFY(QFile::remove(m_dir.filePath(u"urls"_s)));
}

// The name a feed has in a series: feed 0 renamed, feed 2 untagged.
QString tst_Newsboat::seriesOf(const QString &series, int feed) const
{
    if (series == u"channels"_s)
        return feed == 0 ? kRenamed : m_feeds[feed].title;
    if (series == u"providers"_s)
        return m_feeds[feed].siteHost;
    return feed == 2 ? kUntagged : m_feeds[feed].category;
}

// Newsboat dates an item without a date with the time it fetched it.
DayCounts tst_Newsboat::expected(const QString &series, const QTimeZone &zone) const
{
    DayCounts counts;
    const QDate fetchedOn = m_fetchedFrom.toTimeZone(zone).date();
    for (int f = 0; f < m_feeds.size(); ++f)
        for (const RandomFeedItem &item : m_feeds[f].items)
            ++counts[seriesOf(series, f)]
                    [item.date ? item.date->toTimeZone(zone).date() : fetchedOn];
    return counts;
}

// The urls file beside the cache is gone: found by its tables alone the
// cache knows neither tags nor the renamed title; Urls= brings them, and
// TimeZone= the zone of the days.
void tst_Newsboat::chartTable()
{
    const QTimeZone kathmandu("Asia/Kathmandu");
    for (const QTimeZone &zone : {QTimeZone::systemTimeZone(), kathmandu})
        if (m_fetchedFrom.toTimeZone(zone).date() != m_fetchedTill.toTimeZone(zone).date())
            QSKIP("newsboat fetched across midnight: the undated items' day is not one");
    DayCounts byTitle = expected(u"channels"_s, QTimeZone::systemTimeZone());
    byTitle[m_feeds[0].title] = byTitle.take(kRenamed);
    QCOMPARE(chartCounts(m_cache, u"channels"_s), byTitle);
    const QString keyed = u"Provider=SQLite;Data Source=%1;Urls=%2;TimeZone=Asia/Kathmandu"_s.arg(
        m_cache, m_dir.filePath(u"elsewhere/urls"_s));
    for (const QString &series : {u"channels"_s, u"providers"_s, u"categories"_s})
        QVERIFY2(chartCounts(keyed, series) == expected(series, kathmandu), qPrintable(series));
}

// With the urls file beside the cache, as Newsboat's users keep it, the
// lists hold every channel, host and tag once; a channel unticked in one
// window is unticked in the next, as the stored filter names it by an ID
// that stays the same.
void tst_Newsboat::filterListsAndSecondOpening()
{
    QVERIFY(QFile::copy(m_dir.filePath(u"elsewhere/urls"_s), m_dir.filePath(u"urls"_s)));
    statCharts charts;
    charts.ConnectionString(m_cache);
    gSettings->SaveSetting(u"STATCHART"_s, u"FILTERS"_s, QString());
    const auto names = [this](const QString &series) {
        QStringList out;
        for (int f = 0; f < m_feeds.size(); ++f)
            out << seriesOf(series, f);
        out.sort();
        out.removeDuplicates();
        return out;
    };
    const auto texts = [](const TickList *list) {
        QStringList out;
        for (int row = 1; row < list->model()->Rows(); ++row)
            out << list->model()->cellText(row).trimmed();
        out.sort();
        return out;
    };
    QString unticked;
    for (int opening = 1; opening <= 2; ++opening) {
        QPointer<frmCharts> window = qobject_cast<frmCharts *>(charts.ShowChartForm());
        QVERIFY(window);
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        auto *panel = window->findChild<frmProvChannels *>();
        QVERIFY(panel);
        TickListModel *list = panel->fgChannels->model();
        QCOMPARE(texts(panel->fgChannels), names(u"channels"_s));
        QCOMPARE(texts(panel->fgProviders), names(u"providers"_s));
        QCOMPARE(texts(panel->fgCategories), names(u"categories"_s));
        if (opening == 1) {
            unticked = list->cellText(2).trimmed();
            clickTick(panel->fgChannels, 2);
            QCOMPARE(list->cellChecked(2), int(TickListModel::Unticked));
            QTest::mouseClick(window->dsChart->Commands().GetToolButton(u"tbRedraw"_s)->widget(),
                              Qt::LeftButton);
        } else {
            for (int row = 1; row < list->Rows(); ++row)
                QCOMPARE(list->cellChecked(row) == TickListModel::Unticked,
                         list->cellText(row).trimmed() == unticked);
        }
        QVERIFY(window->close());
        delete window.data();
    }
}

// The same feed files imported into an archive of our own schema show the
// same news per channel, site and day as Newsboat's cache of them: two
// paths from one feed to one statistic, which must not drift apart.
void tst_Newsboat::sameAsImported()
{
    if (m_fetchedFrom.toLocalTime().date() != QDate::currentDate())
        QSKIP("the undated items were first seen on two days");
    QStringList arguments{u"import"_s};
    for (const RandomFeed &feed : m_feeds)
        arguments << m_dir.filePath(u"feeds/"_s + feed.fileName);
    const QString archive = m_dir.filePath(u"imported.db"_s);
    const ProgramRun run = runStats(arguments + QStringList{u"--into"_s, archive});
    QVERIFY2(run.exitCode == 0, qPrintable(run.err));
    const QString cache = u"Provider=SQLite;Data Source=%1;Urls=%2"_s.arg(
        m_cache, m_dir.filePath(u"elsewhere/urls"_s));
    for (const QString &series : {u"channels"_s, u"providers"_s}) {
        DayCounts viaNewsboat = chartCounts(cache, series);
        if (series == u"channels"_s)
            viaNewsboat[m_feeds[0].title] = viaNewsboat.take(kRenamed);
        QVERIFY(!viaNewsboat.isEmpty());
        QCOMPARE(chartCounts(archive, series), viaNewsboat);
    }
}

QTEST_MAIN(tst_Newsboat)
#include "tst_newsboat.moc"
