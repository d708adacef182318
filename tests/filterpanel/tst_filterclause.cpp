// The filter text of the three lists, a malformed stored text brought back
// to ticks, on the list models alone, and the statement that fills the
// lists against the literal one. Well-formed stored texts, also
// after IDs came and went, go back to ticks in tst_frmprovchannels, in the
// real window.

#include "TestDatabases.h"
#include "db/Connection.h"
#include "db/Recordset.h"
#include "filterpanel/FilterClause.h"
#include "filterpanel/TickListModel.h"
#include "filterpanel/frmProvChannels.h"

#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using qrt::db::Connection;
using qrt::db::Engine;
using qrt::db::Recordset;

namespace {

// A list as the panel fills it: "All" then one row per ID, all ticked, the
// count of ticked items in row 0's data value.
void fill(TickListModel &grid, const QList<int> &ids)
{
    grid.setRows(0);
    grid.setRows(1 + static_cast<int>(ids.size()));
    grid.setRowKey(0, u"ALL"_s);
    grid.setCell(TickListModel::CellText, 0, u"  All"_s);
    for (int i = 0; i < ids.size(); ++i) {
        grid.setRowKey(i + 1, u"KEY"_s + QString::number(ids[i]));
        grid.setCell(TickListModel::CellText, i + 1, u"  item %1"_s.arg(ids[i]));
    }
    FilterClause::SetAllChecks(grid, true);
    grid.setRowData(0, ids.size());
}

void untick(TickListModel &grid, const QList<int> &ids)
{
    for (int id : ids) {
        grid.setCell(TickListModel::CellChecked, grid.FindRow(u"KEY"_s + QString::number(id)),
                     TickListModel::Unticked);
        grid.setRowData(0, grid.RowData(0) - 1);
    }
}

QList<int> range(int from, int to)
{
    QList<int> ids;
    for (int id = from; id <= to; ++id)
        ids << id;
    return ids;
}

QList<int> ticked(const TickListModel &grid)
{
    QList<int> ids;
    for (int row = 1; row < grid.Rows(); ++row)
        if (grid.cellChecked(row) == TickListModel::Ticked)
            ids << grid.RowKey(row).mid(3).toInt();
    return ids;
}

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

class tst_FilterClause : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void gridClause_data();
    void gridClause();
    void malformedStoredText_data();
    void malformedStoredText();
    void gridsStatementSameRowsAsTheLiteral_data();
    void gridsStatementSameRowsAsTheLiteral();
    void otherEnginesKeepTheLiteral();

private:
    QTemporaryDir m_dir;
};

void tst_FilterClause::gridClause_data()
{
    QTest::addColumn<int>("items");
    QTest::addColumn<QList<int>>("unticked");
    QTest::addColumn<QString>("clause");
    QTest::newRow("5 items, all ticked") << 5 << QList<int>{} << u" not in (0) "_s;
    QTest::newRow("5 items, 3 ticked") << 5 << QList<int>{2, 4} << u" not in ( 2, 4) "_s;
    QTest::newRow("5 items, 2 ticked") << 5 << QList<int>{1, 3, 5} << u" in ( 2, 4) "_s;
    QTest::newRow("5 items, none ticked") << 5 << range(1, 5) << u" in (0) "_s;
    QTest::newRow("4 items, 2 ticked: the tie excludes")
        << 4 << QList<int>{1, 2} << u" not in ( 1, 2) "_s;
    QTest::newRow("only All") << 0 << QList<int>{} << u" not in (0) "_s;
}

void tst_FilterClause::gridClause()
{
    QFETCH(int, items);
    QFETCH(QList<int>, unticked);
    TickListModel grid;
    fill(grid, range(1, items));
    untick(grid, unticked);
    QTEST(FilterClause::GetGridClause(grid), "clause");
}

void tst_FilterClause::malformedStoredText_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QList<int>>("categoriesTicked");
    QTest::addColumn<QList<int>>("providersTicked");
    QTest::addColumn<QList<int>>("channelsTicked");
    QTest::addColumn<qint64>("categoriesCount");
    const QString rest = u"AND Providers.ID  not in (0) AND Channels.ID  not in (0) "_s;
    // No ")": each list takes one character as its clause, an inclusion of
    // no ID, and ends unticked.
    QTest::newRow("garbage") << u"DROP TABLE News"_s << QList<int>{} << QList<int>{} << QList<int>{}
                             << qint64(0);
    QTest::newRow("words in the list")
        << u"Categories.ID  not in (0) AND Providers.ID  in ( 1, x) AND Channels.ID  not in (0) "_s
        << range(1, 3) << QList<int>{1} << range(1, 6) << qint64(3);
    QTest::newRow("an unclosed list includes nothing")
        << u"Categories.ID  not in (0) AND Providers.ID  in ( 2) AND Channels.ID  in (( "_s
        << range(1, 3) << QList<int>{2} << QList<int>{} << qint64(3);
    QTest::newRow("missing clauses include nothing")
        << u"Categories.ID  not in ( 1) "_s << QList<int>{2, 3} << QList<int>{} << QList<int>{}
        << qint64(2);
    // The count moves once per listed ID, also for an ID listed twice.
    QTest::newRow("an ID listed twice")
        << u"Categories.ID  not in ( 2, 2) "_s + rest << QList<int>{1, 3} << range(1, 4)
        << range(1, 6) << qint64(1);
}

// Whatever the stored text holds, the three clauses are applied as far as
// the text goes, and the composed text is well formed again.
void tst_FilterClause::malformedStoredText()
{
    QFETCH(QString, stored);
    TickListModel categories, providers, channels;
    fill(categories, range(1, 3));
    fill(providers, range(1, 4));
    fill(channels, range(1, 6));
    FilterClause::restore(stored, categories, providers, channels);
    QTEST(ticked(categories), "categoriesTicked");
    QTEST(ticked(providers), "providersTicked");
    QTEST(ticked(channels), "channelsTicked");
    QTEST(categories.RowData(0), "categoriesCount");
    const QString rebuilt = FilterClause::compose(categories, providers, channels);
    QCOMPARE(rebuilt.count(u')'), 3);
    QVERIFY(rebuilt.startsWith(u"Categories.ID  "_s));
}

// The statement that fills the filter lists on SQLite and PostgreSQL against
// the literal one, on random databases: both must give the same rows in the
// same order. The data leans on what a join and a membership test could
// treat differently: channels without news, news of a channel that does not
// exist or of none, channels whose provider or category is missing, many
// items of one channel, and names shared by several IDs.
void tst_FilterClause::gridsStatementSameRowsAsTheLiteral_data()
{
    QTest::addColumn<bool>("postgres");
    QTest::addColumn<quint32>("seed");
    for (quint32 seed = 1; seed <= 12; ++seed) {
        QTest::addRow("SQLite, seed %u", seed) << false << seed;
        QTest::addRow("PostgreSQL, seed %u", seed) << true << seed;
    }
}

void tst_FilterClause::gridsStatementSameRowsAsTheLiteral()
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

void tst_FilterClause::otherEnginesKeepTheLiteral()
{
    for (const Engine engine : {Engine::ODBC, Engine::None})
        QCOMPARE(frmProvChannels::GridsStatementFor(engine), frmProvChannels::GridsStatement);
}

QTEST_GUILESS_MAIN(tst_FilterClause)
#include "tst_filterclause.moc"
