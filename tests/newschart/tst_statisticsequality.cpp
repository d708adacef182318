// The fast ways of reading the chart's rows against the literal statistics
// statement, on random news in SQLite and in PostgreSQL: for every period,
// grouping and filter both must give the very same chart (series and their
// order, every cell and hole, the first and last time, the title). The data
// leans on the edges: items at midnight, at 23:59:59, several at one instant,
// several channels of one provider on one day, items without an ID, and
// periods with no news at all.

#include "ChartDrawing.h"
#include "NewsFixture.h"
#include "base/Dates.h"
#include "db/Connection.h"
#include "newschart/ChartControl.h"
#include "newschart/NewsChartBuilder.h"
#include "newschart/StatisticsStatement.h"

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
        {"all ticked",
         u"Categories.ID  not in (0) AND Providers.ID  not in (0) AND Channels.ID  not in (0) "_s,
         StatisticsPath::SqliteNewsScan},
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

private:
    QString edgeDatabase(bool postgres, const QString &separator, const QString &suffix);

    QTemporaryDir m_dir;
    QMap<quint32, QString> m_sqlite;
    QMap<quint32, QString> m_postgres;
    QString m_postgresWhy;
    int m_edgeFiles = 0;
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
            NewsChartQuery query{period.from,
                                 period.till,
                                 filters()[filter].text,
                                 qrt::chart::StatisticsStatement::ColumnsFor(series)->order,
                                 series,
                                 StatisticsMode::Fastest};
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

// A database of edgeItems on one engine, or an empty string.
QString tst_StatisticsEquality::edgeDatabase(bool postgres, const QString &separator,
                                             const QString &suffix)
{
    const QStringList sql =
        qrt::test::newsSchema(postgres) + qrt::test::newsInserts(edgeItems(separator, suffix));
    const QString name = u"edges%1"_s.arg(++m_edgeFiles);
    const QString connection =
        postgres ? qrt::test::createPostgresDatabase(u"tst_chartequality_"_s + name, &m_postgresWhy)
                 : m_dir.filePath(name + u".db"_s);
    return !connection.isEmpty() && qrt::test::execAll(connection, sql) ? connection : QString();
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
        const QString plain = edgeDatabase(postgres, u" "_s, QString());
        const QString written = edgeDatabase(postgres, separator, suffix);
        if (postgres && (plain.isEmpty() || written.isEmpty()))
            QRT_SKIP_WITHOUT_POSTGRES(m_postgresWhy);
        QVERIFY(!plain.isEmpty() && !written.isEmpty());
        for (const auto &[filter, mode] : readings) {
            const NewsChartQuery query{kFirstDay,
                                       kFirstDay + 2,
                                       filter->text,
                                       qrt::chart::StatisticsStatement::ColumnsFor(2)->order,
                                       2,
                                       mode};
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

QTEST_GUILESS_MAIN(tst_StatisticsEquality)
#include "tst_statisticsequality.moc"
