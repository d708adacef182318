// The fast ways of reading the chart's rows against the literal statistics
// statement, on random news in SQLite and in PostgreSQL: for every period,
// grouping and filter both must give the very same chart (series and their
// order, every cell and hole, the first and last time, the title). The data
// leans on the edges: items at midnight, at 23:59:59, several at one instant,
// several channels of one provider on one day, items without an ID, and
// periods with no news at all.

#include "NewsFixture.h"
#include "base/Dates.h"
#include "db/Connection.h"
#include "newschart/ChartControl.h"
#include "newschart/NewsChartBuilder.h"
#include "newschart/StatisticsStatement.h"

#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using qrt::chart::NewsChartBuilder;
using qrt::chart::NewsChartQuery;
using qrt::chart::StatisticsMode;
using qrt::chart::StatisticsPath;
namespace dates = qrt::dates;

namespace {

constexpr int kWindowDays = 120;
const double kFirstDay = dates::fromYmd(2005, 1, 1);

QStringList randomItems(quint32 seed)
{
    QRandomGenerator random(seed);
    QStringList items;
    QString previous;
    for (int i = 0; i < 3000; ++i) {
        if (!previous.isEmpty() && random.bounded(10) == 0) { // same instant, same channel
            items << previous;
            continue;
        }
        const double day = kFirstDay + random.bounded(kWindowDays);
        const int kind = random.bounded(20);
        const int second = kind < 5 ? 0 : kind < 7 ? 86399 : random.bounded(86400);
        const QString pubDate = dates::toTimestampText(day + second / 86400.0);
        QString item = pubDate + u'|' + QString::number(1 + random.bounded(4));
        if (random.bounded(50) == 0)
            item += u"|null"_s;
        items << item;
        previous = item;
    }
    return items;
}

struct Period
{
    double from;
    double till;
};

QList<Period> periods(quint32 seed)
{
    QRandomGenerator random(seed * 7919u + 1);
    QList<Period> out = {
        {0.0, kFirstDay + kWindowDays},           // "All"
        {kFirstDay - 60, kFirstDay - 1},          // before any news
        {kFirstDay + 10, kFirstDay + 10},         // one day, its midnight after counted
        {kFirstDay + kWindowDays + 5, kFirstDay}, // first day after the last
    };
    for (int i = 0; i < 8; ++i) {
        const double from = kFirstDay - 5 + random.bounded(kWindowDays + 5);
        out << Period{from, from + random.bounded(60)};
    }
    return out;
}

// One drawing: a chart and the builder that filled it, as frmChart draws.
struct Drawing
{
    ChartControl chart;
    NewsChartBuilder builder{chart};

    void draw(qrt::db::Connection &connection, const QString &where, const NewsChartQuery &query)
    {
        builder.ClearChart(query);
        builder.Build(connection, where, query);
    }
};

QString fingerprint(const Drawing &drawing)
{
    const ChartControl &chart = drawing.chart;
    QStringList parts = {
        u"%1\nseries=%2 points=%3\nmin=%4 max=%5"_s.arg(chart.SeriesLabels().join(u'|'))
            .arg(chart.NumSeries())
            .arg(chart.NumPoints(1))
            .arg(drawing.builder.MinDate(), 0, 'g', 17)
            .arg(drawing.builder.MaxDate(), 0, 'g', 17)};
    for (int i = 1; i <= chart.NumSeries(); ++i) {
        QString cells;
        for (int k = 1; k <= chart.NumPoints(i); ++k) {
            double v = 0;
            chart.Y(i, k, v);
            cells += (chart.IsHole(v) ? u"_"_s : QString::number(v, 'g', 17)) + u',';
        }
        parts << cells;
    }
    for (int l = 0; l < chart.LabelCount(); ++l) {
        const ChartLabel *label = chart.Label(l);
        parts << label->Text + u" @ %1,%2"_s.arg(label->DataX).arg(label->DataY);
    }
    return parts.join(u'\n');
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
        const QStringList items = randomItems(seed);
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
        for (const Period &period : periods(seed)) {
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
