// The fast ways of reading the chart's rows against the literal statistics
// statement, on random news in SQLite and in PostgreSQL: for every period,
// grouping and filter both must give the very same chart (series and their
// order, every cell and hole, the first and last time, the title). The data
// leans on the edges: items at midnight, at 23:59:59, several at one instant,
// several channels of one provider on one day, items without an ID, and
// periods with no news at all. The window's counts in memory the same, read
// with one pass over News; what changes the database shows at the next
// drawing; what memory cannot read rightly goes to the statement.

#include "ChartDrawing.h"
#include "NewsFixture.h"
#include "base/Dates.h"
#include "db/Connection.h"
#include "newschart/ChannelDayCounts.h"
#include "newschart/ChartControl.h"
#include "newschart/NewsChartBuilder.h"
#include "newschart/StatisticsStatement.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using qrt::chart::NewsChartBuilder;
using qrt::chart::NewsChartQuery;
using qrt::chart::StatisticsMode;
using qrt::chart::StatisticsPath;
namespace dates = qrt::dates;

namespace {

using qrt::test::Drawing;
using qrt::test::fingerprint;
using qrt::test::kAllTicked;
using qrt::test::kFirstDay;
using qrt::test::Period;

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

NewsChartQuery queryOf(const Period &period, const QString &filter, int series, StatisticsMode mode)
{
    return {period.from, period.till,
            filter,      qrt::chart::StatisticsStatement::ColumnsFor(series)->order,
            series,      mode};
}

} // namespace

class tst_StatisticsEquality : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void fastEqualsLiteral_data();
    void fastEqualsLiteral();
    void isoForms_data();
    void isoForms();
    void memoryEqualsStatement_data();
    void memoryEqualsStatement();
    void changesShowAtTheNextDrawing_data();
    void changesShowAtTheNextDrawing();
    void unreadableDataGoesToTheStatement_data();
    void unreadableDataGoesToTheStatement();

private:
    QString database(bool postgres, const QString &name, const QStringList &sql);
    // Draws the query from memory and literally; fails on a difference.
    QString compare(qrt::chart::ChannelDayCounts &counts, const QString &database,
                    NewsChartQuery query, StatisticsPath expectedPath);

    QTemporaryDir m_dir;
    QMap<quint32, QString> m_sqlite;
    QMap<quint32, QString> m_postgres;
    QString m_postgresWhy;
    int m_files = 0;
    qrt::db::Connection m_connection;
};

static const QList<quint32> kSeeds = {1, 2, 3};

void tst_StatisticsEquality::initTestCase()
{
    for (quint32 seed : kSeeds) {
        const QStringList items = qrt::test::randomItems(seed);
        const QString path = m_dir.filePath(u"news%1.db"_s.arg(seed));
        QVERIFY(qrt::test::makeSqliteNews(path, items));
        m_sqlite[seed] = path;
        const QString url =
            qrt::test::createPostgresDatabase(u"tst_chartequality_s%1"_s.arg(seed), &m_postgresWhy);
        if (url.isEmpty())
            continue;
        QVERIFY(
            qrt::test::execAll(url, qrt::test::newsSchema(true) + qrt::test::newsInserts(items)));
        m_postgres[seed] = url;
    }
}

void tst_StatisticsEquality::fastEqualsLiteral_data()
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

void tst_StatisticsEquality::fastEqualsLiteral()
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
            Drawing fast, literal;
            NewsChartQuery query =
                queryOf(period, filters()[filter].text, series, StatisticsMode::Fastest);
            fast.draw(m_connection, connection, query);
            query.mode = StatisticsMode::Literal;
            literal.draw(m_connection, connection, query);
            QCOMPARE(literal.builder.lastPath(), StatisticsPath::Literal);
            QCOMPARE(fast.builder.lastPath(), fastPath);
            const QString expected = fingerprint(literal);
            const QString actual = fingerprint(fast);
            if (actual != expected)
                QFAIL(qPrintable(u"series %1, %2 to %3:\nliteral:\n%4\nfast:\n%5"_s.arg(series)
                                     .arg(dates::toText(period.from), dates::toText(period.till))
                                     .arg(expected.left(1500), actual.left(1500))));
            ++(literal.chart.NumSeries() ? drawn : empty);
        }
    }
    // The comparison covered drawn charts and empty ones alike.
    QVERIFY(drawn > 0);
    QVERIFY(empty > 0 || !filters()[filter].periodApplies);
}

// A database on one engine made by the statements, or an empty string.
QString tst_StatisticsEquality::database(bool postgres, const QString &name, const QStringList &sql)
{
    const QString target =
        postgres ? qrt::test::createPostgresDatabase(u"tst_chartequality_"_s + name, &m_postgresWhy)
                 : m_dir.filePath(name + u".db"_s);
    return !target.isEmpty() && qrt::test::execAll(target, sql) ? target : QString();
}

void tst_StatisticsEquality::isoForms_data()
{
    QTest::addColumn<QString>("separator");
    QTest::addColumn<QString>("suffix");
    // The separator T, each form of a zone (-05:00 would move a day if it
    // were applied) and a fraction of a second.
    QTest::newRow("T and Z") << u"T"_s << u"Z"_s;
    QTest::newRow("-05:00") << u"T"_s << u"-05:00"_s;
    QTest::newRow("fraction and +0200") << u" "_s << u".000+0200"_s;
}

// Every way of reading gives the chart of the same items written as CDate
// writes them: each form counts on the day as written, within the bounds.
void tst_StatisticsEquality::isoForms()
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
            return database(postgres, u"edges%1"_s.arg(++m_files),
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

QString tst_StatisticsEquality::compare(qrt::chart::ChannelDayCounts &counts,
                                        const QString &database, NewsChartQuery query,
                                        StatisticsPath expectedPath)
{
    Drawing memory, literal;
    memory.builder.setCounts(&counts);
    query.mode = StatisticsMode::Fastest;
    memory.draw(m_connection, database, query);
    query.mode = StatisticsMode::Literal;
    literal.draw(m_connection, database, query);
    const QString expected = fingerprint(literal);
    if (memory.builder.lastPath() != expectedPath || fingerprint(memory) != expected)
        return u"%1 to %2, %3, path %4:\nliteral:\n%5\nmemory:\n%6"_s.arg(
            qrt::dates::toText(query.FromDate), qrt::dates::toText(query.TillDate), query.sFilter,
            qrt::chart::pathName(memory.builder.lastPath()), expected.left(1200),
            fingerprint(memory).left(1200));
    return {};
}

void tst_StatisticsEquality::memoryEqualsStatement_data()
{
    QTest::addColumn<bool>("postgres");
    QTest::addColumn<quint32>("seed");
    for (bool postgres : {false, true})
        for (quint32 seed : {11u, 12u})
            QTest::addRow("%s seed %u", postgres ? "PostgreSQL" : "SQLite", seed)
                << postgres << seed;
}

void tst_StatisticsEquality::memoryEqualsStatement()
{
    QFETCH(bool, postgres);
    QFETCH(quint32, seed);
    const QString news = database(postgres, u"daycounts_random%1"_s.arg(seed),
                                  qrt::test::newsSchema(postgres) +
                                      qrt::test::newsInserts(qrt::test::randomItems(seed)));
    if (postgres && news.isEmpty())
        QRT_SKIP_WITHOUT_POSTGRES(m_postgresWhy);
    QVERIFY(!news.isEmpty());
    qrt::chart::ChannelDayCounts counts;
    QRandomGenerator random(seed);
    int drawn = 0;
    for (const int series : {2, 3, 4}) {
        for (const auto &period : qrt::test::randomPeriods(seed)) {
            for (int f = 0; f < 3; ++f) {
                const QString filter = f == 0 ? kAllTicked : randomPanelFilter(random);
                const QString why = compare(counts, news, queryOf(period, filter, series, {}),
                                            StatisticsPath::Memory);
                if (!why.isEmpty())
                    QFAIL(qPrintable(why));
                ++drawn;
            }
        }
        // A filter typed by hand is the database's to read.
        const QString why = compare(
            counts, news,
            queryOf({0.0, kFirstDay + 200}, u"Channels.ID = 1 OR Channels.ID = 3"_s, series, {}),
            postgres ? StatisticsPath::PostgresDaily : StatisticsPath::SqliteJoinedScan);
        if (!why.isEmpty())
            QFAIL(qPrintable(why));
    }
    QVERIFY(drawn > 100);
    QCOMPARE(counts.scans(), 1); // every drawing from the one read
}

void tst_StatisticsEquality::changesShowAtTheNextDrawing_data()
{
    QTest::addColumn<bool>("postgres");
    QTest::newRow("SQLite") << false;
    QTest::newRow("PostgreSQL") << true;
}

// News another connection adds, and on SQLite a file put in the database's
// place, show at the next drawing; without a change News is not read again.
void tst_StatisticsEquality::changesShowAtTheNextDrawing()
{
    QFETCH(bool, postgres);
    const QStringList first = qrt::test::randomItems(21, 400);
    const QString news = database(postgres, u"daycounts_changes"_s,
                                  qrt::test::newsSchema(postgres) + qrt::test::newsInserts(first));
    if (postgres && news.isEmpty())
        QRT_SKIP_WITHOUT_POSTGRES(m_postgresWhy);
    QVERIFY(!news.isEmpty());
    qrt::chart::ChannelDayCounts counts;
    const auto query = queryOf({0.0, kFirstDay + 200}, kAllTicked, 2, {});
    Drawing before;
    before.builder.setCounts(&counts);
    before.draw(m_connection, news, query);
    QCOMPARE(compare(counts, news, query, StatisticsPath::Memory), QString());
    QCOMPARE(counts.scans(), 1);

    QVERIFY(qrt::test::execAll(
        news, qrt::test::newsInserts(qrt::test::randomItems(22, 50), first.size() + 1)));
    QCOMPARE(compare(counts, news, query, StatisticsPath::Memory), QString());
    QCOMPARE(counts.scans(), 2);
    Drawing after;
    after.builder.setCounts(&counts);
    after.draw(m_connection, news, query);
    QVERIFY(fingerprint(after) != fingerprint(before));
    QCOMPARE(counts.scans(), 2);

    if (postgres)
        return;
    const QString other = m_dir.filePath(u"other.db"_s);
    QVERIFY(qrt::test::makeSqliteNews(other, qrt::test::randomItems(23, 300)));
    QFile::remove(news);
    QVERIFY(QFile::rename(other, news));
    QCOMPARE(compare(counts, news, query, StatisticsPath::Memory), QString());
    QCOMPARE(counts.scans(), 3);
}

void tst_StatisticsEquality::unreadableDataGoesToTheStatement_data()
{
    QTest::addColumn<QString>("row");
    QTest::addColumn<StatisticsPath>("path");
    // A date not beginning with its ISO day compares with the bounds as
    // text; a channel stored as a real number joins by the affinity rules.
    QTest::newRow("date in another form")
        << u"(9, '01/02/2005 10:00', 1, 'x')"_s << StatisticsPath::SqliteNewsScan;
    QTest::newRow("time alone") << u"(9, '10:00:00', 1, 'x')"_s << StatisticsPath::SqliteNewsScan;
    QTest::newRow("channel as a real number")
        << u"(9, '2005-01-02 10:00:00', 2.5, 'x')"_s << StatisticsPath::SqliteJoinedScan;
}

void tst_StatisticsEquality::unreadableDataGoesToTheStatement()
{
    QFETCH(QString, row);
    QFETCH(StatisticsPath, path);
    const QString news = database(false, u"unreadable%1"_s.arg(++m_files),
                                  qrt::test::newsSchema(false) +
                                      qrt::test::newsInserts(qrt::test::randomItems(31, 200), 10) +
                                      QStringList{u"INSERT INTO News VALUES "_s + row});
    QVERIFY(!news.isEmpty());
    qrt::chart::ChannelDayCounts counts;
    for (const auto &period : {Period{0.0, kFirstDay + 200}, Period{kFirstDay, kFirstDay + 3}})
        QCOMPARE(compare(counts, news, queryOf(period, kAllTicked, 3, {}), path), QString());
    QCOMPARE(counts.scans(), 1); // the same data are not read again
}

QTEST_GUILESS_MAIN(tst_StatisticsEquality)
#include "tst_statisticsequality.moc"
