// The statement that fills the filter lists on SQLite and PostgreSQL against
// the literal one, on random databases: both must give the same rows in the
// same order. The data leans on what a join and a membership test could
// treat differently: channels without news, news of a channel that does not
// exist or of none, channels whose provider or category is missing, many
// items of one channel, and names shared by several IDs.

#include "../TestDatabases.h"
#include "db/Connection.h"
#include "db/Recordset.h"
#include "filterpanel/frmProvChannels.h"

#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using qrt::db::Connection;
using qrt::db::Engine;
using qrt::db::Recordset;

namespace {

// Random rows for the four tables; IDs 1..n with gaps and dangling links.
QStringList randomRows(quint32 seed)
{
    QRandomGenerator random(seed);
    QStringList rows;
    const int categories = 1 + random.bounded(6);
    const int providers = 1 + random.bounded(8);
    const int channels = random.bounded(40);
    for (int i = 1; i <= categories; ++i)
        rows << u"INSERT INTO Categories VALUES (%1, 'Category %2')"_s.arg(i).arg(i % 3);
    for (int i = 1; i <= providers; ++i)
        rows << u"INSERT INTO Providers VALUES (%1, 'Provider %2')"_s.arg(i).arg(i % 4);
    for (int i = 1; i <= channels; ++i) {
        // One in ten points at a provider or category that is not there.
        const int provider = 1 + random.bounded(providers + providers / 10 + 1);
        const int category = 1 + random.bounded(categories + 1);
        rows << u"INSERT INTO Channels VALUES (%1, 'Channel %2', %3, %4)"_s.arg(i * 3)
                    .arg(i % 7)
                    .arg(provider)
                    .arg(category);
    }
    const int items = random.bounded(400);
    for (int i = 1; i <= items; ++i) {
        // Mostly real channels, some unknown ones, a few without a channel.
        const int pick = random.bounded(20);
        const QString channel =
            pick == 0   ? u"NULL"_s
            : pick == 1 ? QString::number(1000 + random.bounded(5))
                        : QString::number(3 * (1 + random.bounded(qMax(1, channels / 2))));
        rows << u"INSERT INTO News VALUES (%1, '2005-03-%2 10:00:00', %3, 'Item %1')"_s.arg(i)
                    .arg(1 + random.bounded(28), 2, 10, QLatin1Char('0'))
                    .arg(channel);
    }
    return rows;
}

QStringList readAll(const QString &connectionString, const QString &statement)
{
    Connection connection;
    if (!connection.Open(connectionString))
        return {u"cannot open: "_s + connection.lastError()};
    Recordset rs;
    rs.Open(statement, connection);
    QStringList rows;
    for (; !rs.IsEOF(); rs.MoveNext()) {
        QStringList cells;
        for (int c = 0; c < 6; ++c)
            cells << rs.Text(c);
        rows << cells.join(u'|');
    }
    return rows;
}

} // namespace

class tst_GridsStatement : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sameRowsAsTheLiteral_data();
    void sameRowsAsTheLiteral();
    void otherEnginesKeepTheLiteral();

private:
    QTemporaryDir m_dir;
};

void tst_GridsStatement::sameRowsAsTheLiteral_data()
{
    QTest::addColumn<bool>("postgres");
    QTest::addColumn<quint32>("seed");
    for (quint32 seed = 1; seed <= 12; ++seed) {
        QTest::addRow("SQLite, seed %u", seed) << false << seed;
        QTest::addRow("PostgreSQL, seed %u", seed) << true << seed;
    }
}

void tst_GridsStatement::sameRowsAsTheLiteral()
{
    QFETCH(bool, postgres);
    QFETCH(quint32, seed);
    QString connection;
    if (postgres)
        QRT_REQUIRE_POSTGRES(connection, u"grids_%1"_s.arg(seed));
    else
        connection = m_dir.filePath(u"grids-%1.db"_s.arg(seed));
    const Engine engine = postgres ? Engine::PostgreSQL : Engine::SQLite;
    QVERIFY(qrt::test::execAll(connection, qrt::test::newsTables(postgres) + randomRows(seed)));

    const QString fast = frmProvChannels::GridsStatementFor(engine);
    QVERIFY(fast != frmProvChannels::GridsStatement);
    const QStringList expected = readAll(connection, frmProvChannels::GridsStatement);
    QCOMPARE(readAll(connection, fast), expected);
}

void tst_GridsStatement::otherEnginesKeepTheLiteral()
{
    for (const Engine engine : {Engine::ODBC, Engine::None})
        QCOMPARE(frmProvChannels::GridsStatementFor(engine), frmProvChannels::GridsStatement);
}

QTEST_GUILESS_MAIN(tst_GridsStatement)
#include "tst_gridsstatement.moc"
