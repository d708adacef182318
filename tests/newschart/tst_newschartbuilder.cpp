// The news chart over real SQLite files and PostgreSQL: a period's rows
// become one value per calendar day with holes, counts add up across
// channels, the title follows the span of the dates, and a period without
// news takes the empty look. The fast readings and the window's counts in
// memory must draw the very chart the literal statement draws, on random
// news leaning on the edges of a day; changes to the database show at the
// next drawing, and what memory cannot read rightly goes to the statement.
// Below that, the chart control's model without a screen, the named periods
// and the dates the chart counts by.

#include "NewsFixture.h"
#include "base/Dates.h"
#include "db/Connection.h"
#include "newschart/ChannelDayCounts.h"
#include "newschart/ChartControl.h"
#include "newschart/NamedPeriod.h"
#include "newschart/NewsChartBuilder.h"
#include "newschart/StatisticsStatement.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <optional>

using namespace Qt::StringLiterals;
using qrt::chart::NewsChartQuery;
using qrt::chart::StatisticsMode;
using qrt::chart::StatisticsPath;
namespace dates = qrt::dates;
namespace NamedPeriod = qrt::chart::NamedPeriod;
using qrt::dates::fromYmd;

namespace {

using qrt::test::cellTexts;
using qrt::test::Drawing;
using qrt::test::fingerprint;
using qrt::test::kAllTicked;
using qrt::test::kFirstDay;
using qrt::test::Period;
constexpr int kByChannel = 2;
constexpr int kByProvider = 3;

NewsChartQuery queryOf(const Period &period, const QString &filter, int series, StatisticsMode mode)
{
    return {period.from, period.till,
            filter,      qrt::chart::StatisticsStatement::ColumnsFor(series)->order,
            series,      mode};
}

NewsChartQuery query(const QString &from, const QString &till, int series,
                     const QString &filter = kAllTicked,
                     StatisticsMode mode = StatisticsMode::Fastest)
{
    return queryOf({dates::fromText(from).value_or(-1), dates::fromText(till).value_or(-1)}, filter,
                   series, mode);
}

struct Filter
{
    const char *name;
    QString text;
    StatisticsPath sqlitePath; // the way SQLite is expected to take
    bool periodApplies = true; // false: news outside the period pass too
};

const QList<Filter> &filters()
{
    static const QList<Filter> list = {
        {"all ticked", kAllTicked, StatisticsPath::SqliteNewsScan},
        {"some ticked",
         u"Categories.ID  not in (0) AND Providers.ID  in ( 1, 2) AND Channels.ID  not in ( 2) "_s,
         StatisticsPath::SqliteNewsScan},
        // OR binds looser than the period's AND: only a pass over the
        // joined rows keeps that meaning.
        {"with OR", u"Channels.ID = 1 OR Channels.ID = 3"_s, StatisticsPath::SqliteJoinedScan,
         false},
        {"on the news itself", u"News.Channel <> 4 AND News.Title = 'item'"_s,
         StatisticsPath::SqliteJoinedScan},
    };
    return list;
}

// Items at the edges of the period 2005-01-01 to 2005-01-03, written with
// the given separator and suffix: the first day's start, two times a zone
// would move to another day, midnight after the last day (counted) and a
// second later (not counted).
QStringList edgeItems(const QString &separator, const QString &suffix)
{
    QStringList items;
    for (const char *time : {"2005-01-01 00:00:00", "2005-01-02 23:30:00", "2005-01-03 00:30:00",
                             "2005-01-04 00:00:00", "2005-01-04 00:00:01"})
        items << QString::fromLatin1(time).replace(u' ', separator) + suffix + u"|1"_s;
    return items;
}

// A filter as the panel writes it: per list all, some ticked or some not
// (IDs 5 and 7 have no row).
QString randomPanelFilter(QRandomGenerator &random)
{
    const auto clause = [&](const QList<int> &ids) -> QString {
        const int kind = random.bounded(3);
        if (kind == 0)
            return u" not in (0) "_s;
        QStringList some;
        for (int id : ids)
            if (random.bounded(2))
                some << QString::number(id);
        return (kind == 1 ? u" in ("_s : u" not in ("_s) + u" "_s +
               (some.isEmpty() ? u"0"_s : some.join(u", "_s)) + u") "_s;
    };
    return u"Categories.ID "_s + clause({1, 2, 5}) + u"AND Providers.ID "_s + clause({1, 2, 7}) +
           u"AND Channels.ID "_s + clause({1, 2, 3, 4});
}

} // namespace

class tst_NewsChartBuilder : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cells_data();
    void cells();
    void titles_data();
    void titles();
    void textForms_data();
    void textForms();
    void everyDayReadsBack();
    void fastEqualsLiteral_data();
    void fastEqualsLiteral();
    void isoForms_data();
    void isoForms();
    void memoryEqualsStatement_data();
    void memoryEqualsStatement();
    void unreadableDataGoesToTheStatement_data();
    void unreadableDataGoesToTheStatement();
    void newTableIsHoles();
    void batchFlagsHoldRepaints();
    void format();
    void namedPeriodsOnMarch15_data();
    void namedPeriodsOnMarch15();

private:
    QString engineDatabase(bool postgres, const QString &name, const QStringList &sql);
    QString compare(qrt::chart::ChannelDayCounts *counts, const QString &database,
                    NewsChartQuery query, std::optional<StatisticsPath> expectedPath,
                    bool *drawn = nullptr);

    QTemporaryDir m_dir;
    int m_files = 0;
    qrt::db::Connection m_connection;
    QMap<quint32, QString> m_sqlite;
    QMap<quint32, QString> m_postgres;
    QString m_postgresWhy;
};

// Holes between days, and series in the order of their IDs rather than
// their names, are in tst_chartcommand's tables.
void tst_NewsChartBuilder::cells_data()
{
    QTest::addColumn<QStringList>("items");
    QTest::addColumn<QString>("from");
    QTest::addColumn<int>("series");
    QTest::addColumn<QString>("filter");
    QTest::addColumn<QStringList>("labels");
    QTest::addColumn<QStringList>("cells");
    QTest::addColumn<QString>("minDate");
    QTest::addColumn<QString>("maxDate");
    const QString jan1 = u"2005-01-01"_s;
    const QStringList alpha{u"Alpha World"_s};

    QTest::newRow("two rows of one day add up, past what 16 bits hold")
        << QStringList(40000, u"2005-01-03 08:00:00|1"_s) +
               QStringList(7, u"2005-01-03 15:30:00|1"_s) + QStringList{u"2005-01-04 08:00:00|1"_s}
        << jan1 << kByChannel << kAllTicked << alpha << QStringList{u"40007,1"_s}
        << u"2005-01-03 08:00:00"_s << u"2005-01-04 08:00:00"_s;
    QTest::newRow("midnight after the last day is in, a second later out")
        << QStringList{u"2005-02-01 00:00:00|1"_s, u"2005-02-01 00:00:01|1"_s,
                       u"2004-12-31 23:59:59|1"_s}
        << jan1 << kByChannel << kAllTicked << alpha << QStringList{u"_,1"_s}
        << u"2005-01-31 00:00:00"_s << u"2005-02-01 00:00:00"_s;
    QTest::newRow("a count of 0 fills a hole with 0")
        << QStringList{u"2005-01-01 07:00:00|1"_s, u"2005-01-02 07:00:00|1|null"_s} << jan1
        << kByChannel << kAllTicked << alpha << QStringList{u"1,0"_s} << u"2005-01-01 07:00:00"_s
        << u"2005-01-02 07:00:00"_s;
    QTest::newRow("a first row with ID 0 starts no series but widens the dates")
        << QStringList{u"2005-01-01 07:00:00|9"_s, u"2005-01-03 07:00:00|1"_s} << jan1
        << kByProvider
        << u"Categories.ID  not in (99) AND Providers.ID  not in (99) AND Channels.ID  not in (99) "_s
        << QStringList{u"Alpha Wire"_s} << QStringList{u"_,_,1"_s} << u"2005-01-01 07:00:00"_s
        << u"2005-01-03 07:00:00"_s;
}

void tst_NewsChartBuilder::cells()
{
    QFETCH(QStringList, items);
    QFETCH(QString, from);
    QFETCH(int, series);
    QFETCH(QString, filter);
    QFETCH(QStringList, labels);
    QFETCH(QStringList, cells);
    const QString path = engineDatabase(false, u"cells%1"_s.arg(++m_files),
                                        qrt::test::newsSchema(false, filter.contains(u"(99)"_s)) +
                                            qrt::test::newsInserts(items));
    QVERIFY(!path.isEmpty());
    for (const StatisticsMode mode : {StatisticsMode::Fastest, StatisticsMode::Literal}) {
        Drawing d;
        QVERIFY(d.draw(m_connection, path, query(from, u"2005-01-31"_s, series, filter, mode)));
        QCOMPARE(d.builder.lastPath(), mode == StatisticsMode::Fastest
                                           ? StatisticsPath::SqliteNewsScan
                                           : StatisticsPath::Literal);
        QCOMPARE(d.chart.SeriesLabels(), labels);
        QCOMPARE(cellTexts(d.chart), cells);
        QTEST(dates::toTimestampText(d.builder.MinDate()), "minDate");
        QTEST(dates::toTimestampText(d.builder.MaxDate()), "maxDate");
    }
}

// The title of one day is tst_chartcommand's.
void tst_NewsChartBuilder::titles_data()
{
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("last");
    QTest::addColumn<QString>("title");
    QTest::addColumn<int>("points");

    QTest::newRow("2: the month comes from the first day")
        << u"2005-01-31 10:00:00"_s << u"2005-02-01 10:00:00"_s << u"January 31-01"_s << 2;
    QTest::newRow("3: a first time after noon moves past the last day")
        << u"2005-01-10 13:00:00"_s << u"2005-01-31 08:00:00"_s << u"February 2005"_s << 22;
    QTest::newRow("3: before noon it does not")
        << u"2005-01-10 11:00:00"_s << u"2005-01-31 08:00:00"_s << u"January 2005"_s << 22;
    QTest::newRow("4: exactly six month boundaries")
        << u"2005-01-15 10:00:00"_s << u"2005-07-15 10:00:00"_s << u"January - July"_s << 182;
    QTest::newRow("5: seven month boundaries")
        << u"2005-01-15 10:00:00"_s << u"2005-08-15 10:00:00"_s << u"2005"_s << 213;
}

void tst_NewsChartBuilder::titles()
{
    QFETCH(QString, first);
    QFETCH(QString, last);
    QFETCH(QString, title);
    QFETCH(int, points);
    const QString path = engineDatabase(
        false, u"titles%1"_s.arg(++m_files),
        qrt::test::newsSchema(false) + qrt::test::newsInserts({first + u"|1"_s, last + u"|3"_s}));
    Drawing d;
    QVERIFY(d.draw(m_connection, path, query(first.left(10), last.left(10), kByProvider)));
    QCOMPARE(d.chart.NumPoints(1), points);
    QCOMPARE(d.chart.LabelCount(), 1);
    QCOMPARE(d.chart.Label(0)->Text, u"News Count for "_s + title);
    QVERIFY(d.chart.Label(0)->Bold);
    QCOMPARE(d.chart.Axis(u"X")->TimeBase, d.builder.MinDate() - 1);
}

void tst_NewsChartBuilder::newTableIsHoles()
{
    ChartControl chart;
    chart.setNumSeries(2);
    chart.setNumPoints(1, 4);
    QCOMPARE(chart.NumPoints(2), 4); // written for series 1, valid for all
    QVERIFY(chart.setY(2, 3, 7));
    chart.setNumSeries(3); // a series added later is holes too
    QCOMPARE(cellTexts(chart), (QStringList{u"_,_,_,_"_s, u"_,_,7,_"_s, u"_,_,_,_"_s}));
    chart.setNumPoints(1, 2); // a new size is a new table
    QCOMPARE(cellTexts(chart), QStringList(3, u"_,_"_s));
    // Outside the table nothing is read or written.
    double v = 42;
    for (auto [series, point] : {std::pair{0, 1}, {4, 1}, {1, 0}, {1, 3}, {-1, -1}}) {
        QVERIFY(!chart.Y(series, point, v));
        QVERIFY(!chart.setY(series, point, 5));
    }
    QCOMPARE(v, 42.0);
    chart.setNumSeries(0);
    QCOMPARE(chart.NumPoints(1), 0);
}

void tst_NewsChartBuilder::batchFlagsHoldRepaints()
{
    ChartControl chart;
    QSignalSpy repaints(&chart, &ChartControl::repaintNeeded);
    chart.setIsBatched(true);
    chart.setDataIsBatched(true);
    chart.setNumSeries(3);
    chart.setNumPoints(1, 100);
    chart.setY(1, 1, 1);
    chart.AddSeriesLabel(u"A"_s);
    chart.setBackColor(0xEDEDED);
    QCOMPARE(repaints.count(), 0);
    chart.setDataIsBatched(false); // the chart is still batched
    QCOMPARE(repaints.count(), 0);
    chart.setIsBatched(false);
    QCOMPARE(repaints.count(), 1);
    // Outside a batch a cell write repaints at once; under the data batch
    // alone cell writes wait for it to drop.
    chart.setY(1, 1, 5);
    QCOMPARE(repaints.count(), 2);
    chart.setDataIsBatched(true);
    chart.setY(1, 2, 5);
    chart.setY(1, 3, 5);
    QCOMPARE(repaints.count(), 2);
    chart.setDataIsBatched(false);
    QCOMPARE(repaints.count(), 3);
    // A label's bracket holds its changes back the same way.
    const int label = chart.AddLabel();
    chart.setLabelIsBatched(label, true);
    const qsizetype before = repaints.count();
    chart.setLabelText(label, u"News Count for May 2005"_s);
    chart.setLabelDataX(label, 3);
    QCOMPARE(repaints.count(), before);
    chart.setLabelIsBatched(label, false);
    QCOMPARE(repaints.count(), before + 1);
}

// Weeks count from Monday: 2005-01-01, a Saturday, is in week 00. The
// title's forms are titles'.
void tst_NewsChartBuilder::format()
{
    QCOMPARE(ChartControl::Format(fromYmd(2005, 1, 1), u"%W"_s), u"00"_s);
    QCOMPARE(ChartControl::Format(0.0, u"%Y-%m-%d %A"_s), u"1899-12-30 Saturday"_s);
}

// The named periods: each ends today and reaches a plain count of days
// back, with day 0 for "All" and for a code outside the list. Their texts
// read back in any case.
void tst_NewsChartBuilder::namedPeriodsOnMarch15_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("text");
    QTest::addColumn<double>("from");
    QTest::newRow("Yesterday, and today") << 2 << u"Yesterday"_s << fromYmd(2005, 3, 14);
    QTest::newRow("Last Year: 365 days over a leap day")
        << 5 << u"Last Year"_s << fromYmd(2004, 3, 15);
    QTest::newRow("All from day 0") << 6 << u"All"_s << 0.0;
    QTest::newRow("7 is no period") << 7 << QString() << 0.0;
}

void tst_NewsChartBuilder::namedPeriodsOnMarch15()
{
    QFETCH(int, code);
    QFETCH(QString, text);
    QFETCH(double, from);
    const double today = fromYmd(2005, 3, 15);
    const auto range = NamedPeriod::Range(code, today);
    QCOMPARE(range.FromDate, from);
    QCOMPARE(range.TillDate, today);
    QCOMPARE(NamedPeriod::Text(code), text);
    QCOMPARE(NamedPeriod::FromText(text.toUpper()),
             text.isEmpty() ? std::nullopt : std::optional(code));
}

// Texts the component writes read back to their value; a zone only names
// the writer's clock, so the value is the time as written (the other
// forms of a zone are isoForms'); what is no time reads as none. Other
// days are everyDayReadsBack's; that the byte reader agrees is fuzz_dates'.
void tst_NewsChartBuilder::textForms_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<double>("value"); // -1e9: no value
    QTest::addColumn<bool>("written"); // the text toText writes for the value
    QTest::newRow("day 0") << u"00:00:00"_s << 0.0 << true;
    QTest::newRow("day -1 06:00") << u"1899-12-29 06:00:00"_s << -1.25 << true;
    QTest::newRow("one second to midnight")
        << u"2005-03-15 23:59:59"_s << 38426.0 + 86399.0 / 86400 << true;
    QTest::newRow("29 February of a common year") << u"2005-02-29"_s << -1e9 << false;
    QTest::newRow("hour 24") << u"2005-03-15 24:00:00"_s << -1e9 << false;
    QTest::newRow("trailing junk") << u"2005-03-15x"_s << -1e9 << false;
    QTest::newRow("fraction and Z")
        << u"2025-01-01T10:00:00.250Z"_s
        << dates::fromText(u"2025-01-01 10:00:00.250"_s).value_or(0) << false;
    QTest::newRow("hours of an offset, no seconds")
        << u"2025-01-01T10:00+02"_s << dates::fromText(u"2025-01-01 10:00"_s).value_or(0) << false;
}

void tst_NewsChartBuilder::textForms()
{
    QFETCH(QString, text);
    QFETCH(double, value);
    QFETCH(bool, written);
    QCOMPARE(dates::fromText(text), value == -1e9 ? std::nullopt : std::optional(value));
    if (written)
        QCOMPARE(dates::toText(value), text);
}

// Every caption of a period must read back to its own day, whatever the day.
void tst_NewsChartBuilder::everyDayReadsBack()
{
    const double first = dates::fromYmd(1753, 1, 1);
    const double last = dates::fromYmd(9999, 12, 31);
    QDate expected(1753, 1, 1);
    for (double day = first; day <= last; day += 1.0, expected = expected.addDays(1)) {
        const QString text = dates::toText(day);
        const auto back = dates::fromText(text);
        if (!back || *back != day || dates::toQDate(day) != expected)
            QFAIL(qPrintable(u"day %1 (%2) does not read back"_s.arg(day).arg(text)));
    }
    QCOMPARE(expected, QDate(10000, 1, 1));
    // A value a hair below midnight is the next day, not 23:59:59.999...
    QCOMPARE(dates::toText(38427.0 - 1e-10), u"2005-03-16"_s);
}

static const QList<quint32> kSeeds = {1, 2, 3};

void tst_NewsChartBuilder::initTestCase()
{
    for (quint32 seed : kSeeds) {
        const QStringList items = qrt::test::randomItems(seed);
        for (const bool postgres : {false, true})
            (postgres ? m_postgres : m_sqlite)[seed] =
                engineDatabase(postgres, u"s%1"_s.arg(seed),
                               qrt::test::newsSchema(postgres) + qrt::test::newsInserts(items));
        QVERIFY(!m_sqlite[seed].isEmpty());
    }
}

void tst_NewsChartBuilder::fastEqualsLiteral_data()
{
    QTest::addColumn<bool>("postgres");
    QTest::addColumn<quint32>("seed");
    QTest::addColumn<int>("filter");
    for (bool postgres : {false, true})
        for (quint32 seed : kSeeds)
            for (int f = 0; f < filters().size(); ++f)
                QTest::addRow("%s seed %u, %s", postgres ? "PostgreSQL" : "SQLite", seed,
                              filters()[f].name)
                    << postgres << seed << f;
}

void tst_NewsChartBuilder::fastEqualsLiteral()
{
    QFETCH(bool, postgres);
    QFETCH(quint32, seed);
    QFETCH(int, filter);
    const QString connection = postgres ? m_postgres.value(seed) : m_sqlite.value(seed);
    if (connection.isEmpty())
        QRT_SKIP_WITHOUT_POSTGRES(m_postgresWhy);
    const StatisticsPath fastPath =
        postgres ? StatisticsPath::PostgresDaily : filters()[filter].sqlitePath;
    int drawn = 0, empty = 0;
    for (const int series : {2, 3, 4}) {
        for (const Period &period : qrt::test::randomPeriods(seed)) {
            bool hasSeries = false;
            QCOMPARE(compare(nullptr, connection,
                             queryOf(period, filters()[filter].text, series, {}), fastPath,
                             &hasSeries),
                     QString());
            ++(hasSeries ? drawn : empty);
        }
    }
    // The comparison covered drawn charts and empty ones alike.
    QVERIFY(drawn > 0);
    QVERIFY(empty > 0 || !filters()[filter].periodApplies);
}

// A database on one engine made by the statements, or an empty string.
QString tst_NewsChartBuilder::engineDatabase(bool postgres, const QString &name,
                                             const QStringList &sql)
{
    const QString target =
        postgres ? qrt::test::createPostgresDatabase(u"tst_chartequality_"_s + name, &m_postgresWhy)
                 : m_dir.filePath(name + u".db"_s);
    return !target.isEmpty() && qrt::test::execAll(target, sql) ? target : QString();
}

void tst_NewsChartBuilder::isoForms_data()
{
    QTest::addColumn<QString>("separator");
    QTest::addColumn<QString>("suffix");
    // The separator T, a zone (-05:00 would move a day if it were applied;
    // Z reads as textForms' shows) and a fraction of a second.
    QTest::newRow("-05:00") << u"T"_s << u"-05:00"_s;
    QTest::newRow("fraction and +0200") << u" "_s << u".000+0200"_s;
}

// Every way of reading gives the chart of the same items written as CDate
// writes them: each form counts on the day as written, within the bounds.
void tst_NewsChartBuilder::isoForms()
{
    QFETCH(QString, separator);
    QFETCH(QString, suffix);
    // The news scan, the joined scan and the literal statement on SQLite.
    const std::pair<const Filter *, StatisticsMode> readings[] = {
        {&filters()[0], StatisticsMode::Fastest},
        {&filters()[3], StatisticsMode::Fastest},
        {&filters()[0], StatisticsMode::Literal},
    };
    for (const bool postgres : {false, true}) {
        const auto edges = [&](const QString &separator, const QString &suffix) {
            return engineDatabase(postgres, u"edges%1"_s.arg(++m_files),
                                  qrt::test::newsSchema(postgres) +
                                      qrt::test::newsInserts(edgeItems(separator, suffix)));
        };
        const QString plain = edges(u" "_s, QString());
        const QString written = edges(separator, suffix);
        if (postgres && (plain.isEmpty() || written.isEmpty()))
            QRT_SKIP_WITHOUT_POSTGRES(m_postgresWhy);
        QVERIFY(!plain.isEmpty() && !written.isEmpty());
        for (const auto &[filter, mode] : readings) {
            const NewsChartQuery query = queryOf({kFirstDay, kFirstDay + 2}, filter->text, 2, mode);
            Drawing expected, actual;
            expected.draw(m_connection, plain, query);
            actual.draw(m_connection, written, query);
            QCOMPARE(actual.builder.lastPath(), mode == StatisticsMode::Literal
                                                    ? StatisticsPath::Literal
                                                : postgres ? StatisticsPath::PostgresDaily
                                                           : filter->sqlitePath);
            QCOMPARE(fingerprint(actual), fingerprint(expected));
        }
    }
}

// The query drawn the fastest way (from the counts when given) and by the
// literal statement: their difference, or nothing.
QString tst_NewsChartBuilder::compare(qrt::chart::ChannelDayCounts *counts, const QString &database,
                                      NewsChartQuery query,
                                      std::optional<StatisticsPath> expectedPath, bool *drawn)
{
    Drawing fast, literal;
    fast.builder.setCounts(counts);
    query.mode = StatisticsMode::Fastest;
    fast.draw(m_connection, database, query);
    query.mode = StatisticsMode::Literal;
    literal.draw(m_connection, database, query);
    if (drawn)
        *drawn = literal.chart.NumSeries() > 0;
    const QString expected = fingerprint(literal);
    if (literal.builder.lastPath() != StatisticsPath::Literal ||
        fast.builder.lastPath() != expectedPath.value_or(fast.builder.lastPath()) ||
        fingerprint(fast) != expected)
        return u"%1 to %2, %3, path %4:\nliteral:\n%5\nfast:\n%6"_s.arg(
            qrt::dates::toText(query.FromDate), qrt::dates::toText(query.TillDate), query.sFilter,
            qrt::chart::pathName(fast.builder.lastPath()), expected.left(1200),
            fingerprint(fast).left(1200));
    return {};
}

void tst_NewsChartBuilder::memoryEqualsStatement_data()
{
    QTest::addColumn<bool>("postgres");
    QTest::addColumn<quint32>("seed");
    for (bool postgres : {false, true})
        for (quint32 seed : {11u, 12u})
            QTest::addRow("%s seed %u", postgres ? "PostgreSQL" : "SQLite", seed)
                << postgres << seed;
}

void tst_NewsChartBuilder::memoryEqualsStatement()
{
    QFETCH(bool, postgres);
    QFETCH(quint32, seed);
    QStringList sql =
        qrt::test::newsSchema(postgres) + qrt::test::newsInserts(qrt::test::randomItems(seed));
    if (seed == 12) // channel IDs past the ones counted in a table, and below zero
        sql << u"INSERT INTO Channels VALUES (70000, 'Beta World', 2, 1), (-4, 'Beta Sports', 2, 2)"_s
            << u"UPDATE News SET Channel = 70000 WHERE Channel = 3"_s
            << u"UPDATE News SET Channel = -4 WHERE Channel = 4"_s
            << u"DELETE FROM Channels WHERE ID IN (3, 4)"_s;
    const QString news = engineDatabase(postgres, u"daycounts_random%1"_s.arg(seed), sql);
    if (postgres && news.isEmpty())
        QRT_SKIP_WITHOUT_POSTGRES(m_postgresWhy);
    QVERIFY(!news.isEmpty());
    qrt::chart::ChannelDayCounts counts;
    // A short period is drawn at once, from the database while the read it
    // started is under way; once that read is in, from memory.
    const Period days{kFirstDay + 10, kFirstDay + 13};
    QCOMPARE(compare(&counts, news, queryOf(days, kAllTicked, 2, {}), std::nullopt), QString());
    counts.waitForRead();
    QRandomGenerator random(seed);
    int drawn = 0;
    for (const int series : {2, 3, 4}) {
        for (const auto &period : qrt::test::randomPeriods(seed)) {
            for (int f = 0; f < 3; ++f) {
                const QString filter = f == 0 ? kAllTicked : randomPanelFilter(random);
                QCOMPARE(compare(&counts, news, queryOf(period, filter, series, {}),
                                 StatisticsPath::Memory),
                         QString());
                ++drawn;
            }
        }
        // A filter typed by hand is the database's to read.
        QCOMPARE(
            compare(&counts, news,
                    queryOf({0.0, kFirstDay + 200}, u"Channels.ID = 1 OR Channels.ID = 3"_s, series,
                            {}),
                    postgres ? StatisticsPath::PostgresDaily : StatisticsPath::SqliteJoinedScan),
            QString());
    }
    QVERIFY(drawn > 100);
    QCOMPARE(counts.scans(), 1); // every drawing from the one read
    // News another connection adds show at the next drawing (a file put in
    // the database's place is tst_frmcharts').
    QVERIFY(qrt::test::execAll(
        news, qrt::test::newsInserts(qrt::test::randomItems(seed + 10, 50), 3001)));
    const auto all = queryOf({0.0, kFirstDay + 200}, kAllTicked, 2, {});
    QCOMPARE(compare(&counts, news, all, StatisticsPath::Memory), QString());
    QCOMPARE(counts.scans(), 2);
}

void tst_NewsChartBuilder::unreadableDataGoesToTheStatement_data()
{
    QTest::addColumn<QString>("row");
    QTest::addColumn<StatisticsPath>("path");
    // A date not beginning with its ISO day compares with the bounds as
    // text; a channel stored as a real number joins by the affinity rules.
    QTest::newRow("date in another form")
        << u"(9, '01/02/2005 10:00', 1, 'x')"_s << StatisticsPath::SqliteNewsScan;
    QTest::newRow("channel as a real number")
        << u"(9, '2005-01-02 10:00:00', 2.5, 'x')"_s << StatisticsPath::SqliteJoinedScan;
}

void tst_NewsChartBuilder::unreadableDataGoesToTheStatement()
{
    QFETCH(QString, row);
    QFETCH(StatisticsPath, path);
    const QString news = engineDatabase(
        false, u"unreadable%1"_s.arg(++m_files),
        qrt::test::newsSchema(false) + qrt::test::newsInserts(qrt::test::randomItems(31, 200), 10) +
            QStringList{u"INSERT INTO News VALUES "_s + row});
    QVERIFY(!news.isEmpty());
    qrt::chart::ChannelDayCounts counts;
    for (const auto &period : {Period{0.0, kFirstDay + 200}, Period{kFirstDay, kFirstDay + 3}})
        QCOMPARE(compare(&counts, news, queryOf(period, kAllTicked, 3, {}), path), QString());
    QCOMPARE(counts.scans(), 1); // the same data are not read again
}

QTEST_GUILESS_MAIN(tst_NewsChartBuilder)
#include "tst_newschartbuilder.moc"
