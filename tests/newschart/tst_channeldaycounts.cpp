// The window's counts in memory against the statistics statement, on random
// news in SQLite and in PostgreSQL: for random periods, panel filters and
// groupings a drawing from memory is the very chart the literal statement
// gives, read with one pass over News; what changes the database shows at
// the next drawing; what memory cannot read rightly goes to the statement.

#include "ChartDrawing.h"
#include "NewsFixture.h"
#include "db/Connection.h"
#include "newschart/ChannelDayCounts.h"
#include "newschart/StatisticsStatement.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using qrt::chart::NewsChartQuery;
using qrt::chart::StatisticsMode;
using qrt::chart::StatisticsPath;
using qrt::test::Drawing;
using qrt::test::fingerprint;

namespace {

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

NewsChartQuery queryOf(const qrt::test::Period &period, const QString &filter, int series,
                       StatisticsMode mode)
{
    return {period.from, period.till,
            filter,      qrt::chart::StatisticsStatement::ColumnsFor(series)->order,
            series,      mode};
}

const QString kAllTicked =
    u"Categories.ID  not in (0) AND Providers.ID  not in (0) AND Channels.ID  not in (0) "_s;

} // namespace

class tst_ChannelDayCounts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
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
    QString m_postgresWhy;
    qrt::db::Connection m_connection;
};

QString tst_ChannelDayCounts::database(bool postgres, const QString &name, const QStringList &sql)
{
    const QString target =
        postgres ? qrt::test::createPostgresDatabase(u"tst_daycounts_"_s + name, &m_postgresWhy)
                 : m_dir.filePath(name + u".db"_s);
    return !target.isEmpty() && qrt::test::execAll(target, sql) ? target : QString();
}

QString tst_ChannelDayCounts::compare(qrt::chart::ChannelDayCounts &counts, const QString &database,
                                      NewsChartQuery query, StatisticsPath expectedPath)
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

void tst_ChannelDayCounts::memoryEqualsStatement_data()
{
    QTest::addColumn<bool>("postgres");
    QTest::addColumn<quint32>("seed");
    for (bool postgres : {false, true})
        for (quint32 seed : {11u, 12u})
            QTest::addRow("%s seed %u", postgres ? "PostgreSQL" : "SQLite", seed)
                << postgres << seed;
}

void tst_ChannelDayCounts::memoryEqualsStatement()
{
    QFETCH(bool, postgres);
    QFETCH(quint32, seed);
    const QString news = database(postgres, u"random%1"_s.arg(seed),
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
        const QString why =
            compare(counts, news,
                    queryOf({0.0, qrt::test::kFirstDay + 200},
                            u"Channels.ID = 1 OR Channels.ID = 3"_s, series, {}),
                    postgres ? StatisticsPath::PostgresDaily : StatisticsPath::SqliteJoinedScan);
        if (!why.isEmpty())
            QFAIL(qPrintable(why));
    }
    QVERIFY(drawn > 100);
    QCOMPARE(counts.scans(), 1); // every drawing from the one read
}

void tst_ChannelDayCounts::changesShowAtTheNextDrawing_data()
{
    QTest::addColumn<bool>("postgres");
    QTest::newRow("SQLite") << false;
    QTest::newRow("PostgreSQL") << true;
}

// News another connection adds, and on SQLite a file put in the database's
// place, show at the next drawing; without a change News is not read again.
void tst_ChannelDayCounts::changesShowAtTheNextDrawing()
{
    QFETCH(bool, postgres);
    const QStringList first = qrt::test::randomItems(21, 400);
    const QString news = database(postgres, u"changes"_s,
                                  qrt::test::newsSchema(postgres) + qrt::test::newsInserts(first));
    if (postgres && news.isEmpty())
        QRT_SKIP_WITHOUT_POSTGRES(m_postgresWhy);
    QVERIFY(!news.isEmpty());
    qrt::chart::ChannelDayCounts counts;
    const auto query = queryOf({0.0, qrt::test::kFirstDay + 200}, kAllTicked, 2, {});
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

void tst_ChannelDayCounts::unreadableDataGoesToTheStatement_data()
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

void tst_ChannelDayCounts::unreadableDataGoesToTheStatement()
{
    QFETCH(QString, row);
    QFETCH(StatisticsPath, path);
    static int made = 0;
    const QString news = database(false, u"unreadable%1"_s.arg(++made),
                                  qrt::test::newsSchema(false) +
                                      qrt::test::newsInserts(qrt::test::randomItems(31, 200), 10) +
                                      QStringList{u"INSERT INTO News VALUES "_s + row});
    QVERIFY(!news.isEmpty());
    qrt::chart::ChannelDayCounts counts;
    for (const auto &period : {qrt::test::Period{0.0, qrt::test::kFirstDay + 200},
                               qrt::test::Period{qrt::test::kFirstDay, qrt::test::kFirstDay + 3}})
        QCOMPARE(compare(counts, news, queryOf(period, kAllTicked, 3, {}), path), QString());
    QCOMPARE(counts.scans(), 1); // the same data are not read again
}

QTEST_GUILESS_MAIN(tst_ChannelDayCounts)
#include "tst_channeldaycounts.moc"
