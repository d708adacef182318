// The filter panel inside a real chart window on SQLite files: the lists as
// the database fills them, ticks changed by clicks and keys, the one-way
// "All" row, the redraw button, and the stored filter brought back to ticks,
// also when malformed or after IDs came and went; and the statement that
// fills the lists against the literal one.

#include "TestDatabases.h"
#include "TickClicks.h"
#include "component/modUtils.h"
#include "controls/tools/ButtonTool.h"
#include "controls/tools/DockStudio.h"
#include "controls/tools/TickList.h"
#include "db/Connection.h"
#include "db/Recordset.h"
#include "filterpanel/TickListModel.h"
#include "filterpanel/frmProvChannels.h"
#include "newschart/frmChart.h"
#include "settings/CAppSettings.h"
#include "workspace/frmCharts.h"

#include <qrt/statCharts.h>

#include <QPointer>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;
using qrt::db::Connection;
using qrt::db::Engine;
using qrt::db::Recordset;
using qrt::test::clickTick;

namespace {

const QString kAllTicked =
    u"Categories.ID  not in (0) AND Providers.ID  not in (0) AND Channels.ID  not in (0) "_s;

// Categories, providers and channels whose first appearance, walking the
// channels by ID, is neither the order of their IDs nor of their names.
// Channel 8 has no news, so neither it nor its provider 7 and category 9
// show; channels 2 and 7 share a name.
QStringList catalogue()
{
    QStringList sql = qrt::test::newsTables(false);
    sql << QStringList{
        u"INSERT INTO Categories VALUES (1, 'World'), (2, 'Sports'), (3, 'Business'), "
        "(9, 'Unused')"_s,
        u"INSERT INTO Providers VALUES (1, 'Alpha Wire'), (2, 'Beta News'), (3, 'Gamma Post'), "
        "(4, 'Delta Daily'), (5, 'Epsilon'), (6, 'Zeta'), (7, 'Quiet')"_s,
        u"INSERT INTO Channels VALUES (1, 'Zeta Business', 6, 3), (2, 'Alpha World', 1, 1), "
        "(3, 'Epsilon Sports', 5, 2), (4, 'Beta World', 2, 1), (5, 'Gamma Sports', 3, 2), "
        "(6, 'Delta World', 4, 1), (7, 'Alpha World', 1, 3), (8, 'Quiet Channel', 7, 9)"_s,
    };
    // A few items per channel, so the statement's rows repeat before distinct.
    int id = 0;
    for (int channel = 1; channel <= 7; ++channel)
        for (int day = 1; day <= 3; ++day)
            sql << u"INSERT INTO News VALUES (%1, '2024-03-0%2 10:00:00', %3, 'item')"_s.arg(++id)
                       .arg(day)
                       .arg(channel);
    return sql;
}

// The same news a while later: channel 4 and with it provider 2 are gone,
// and channel 9 came with a new provider and a new category.
QStringList changedCatalogue()
{
    return catalogue() + QStringList{
                             u"DELETE FROM News WHERE Channel = 4"_s,
                             u"DELETE FROM Channels WHERE ID = 4"_s,
                             u"DELETE FROM Providers WHERE ID = 2"_s,
                             u"INSERT INTO Categories VALUES (4, 'Science')"_s,
                             u"INSERT INTO Providers VALUES (8, 'Eta')"_s,
                             u"INSERT INTO Channels VALUES (9, 'Eta Science', 8, 4)"_s,
                             u"INSERT INTO News VALUES (99, '2024-03-04 10:00:00', 9, 'item')"_s,
                         };
}

// The ticked IDs as "3,1,2".
QString tickedIds(const TickListModel &grid)
{
    QStringList ticked;
    for (int row = 1; row < grid.Rows(); ++row)
        if (grid.cellChecked(row) == TickListModel::Ticked)
            ticked << grid.RowKey(row).mid(3);
    return ticked.join(u',');
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

class tst_frmProvChannels : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void fillOrder_data();
    void fillOrder();
    void ticks_data();
    void ticks();
    void panelWithoutWindow();
    void gridsStatementSameRowsAsTheLiteral_data();
    void gridsStatementSameRowsAsTheLiteral();

private:
    frmCharts *open(const QString &database, const QVariant &stored = {});
    TickList *grid(const QString &name) const;
    ButtonTool *redraw() const;
    static QStringList column(const TickList *list, int role);

    QTemporaryDir m_dir;
    QString m_same;
    QString m_changed;
    std::unique_ptr<statCharts> m_charts;
    QPointer<frmCharts> m_window;
};

void tst_frmProvChannels::initTestCase()
{
    QVERIFY(m_dir.isValid());
    m_same = m_dir.filePath(u"same.db"_s);
    m_changed = m_dir.filePath(u"changed.db"_s);
    QVERIFY(qrt::test::execAll(m_same, catalogue()));
    QVERIFY(qrt::test::execAll(m_changed, changedCatalogue()));
    m_charts = std::make_unique<statCharts>();
}

void tst_frmProvChannels::init()
{
    // An empty text is what a first run finds; every window stores its own.
    gSettings->SaveSetting(u"STATCHART"_s, u"FILTERS"_s, QString());
}

void tst_frmProvChannels::cleanup()
{
    delete m_window.data();
}

// A chart window on the database with the stored filter, shown and loaded.
frmCharts *tst_frmProvChannels::open(const QString &database, const QVariant &stored)
{
    if (stored.isValid())
        gSettings->SaveSetting(u"STATCHART"_s, u"FILTERS"_s, stored);
    m_charts->ConnectionString(database);
    m_window = qobject_cast<frmCharts *>(m_charts->ShowChartForm());
    if (!m_window)
        return nullptr;
    m_window->show();
    if (!QTest::qWaitForWindowExposed(m_window))
        return nullptr;
    return m_window;
}

TickList *tst_frmProvChannels::grid(const QString &name) const
{
    auto *panel = m_window->findChild<frmProvChannels *>();
    return panel ? panel->findChild<TickList *>(name) : nullptr;
}

ButtonTool *tst_frmProvChannels::redraw() const
{
    return m_window->dsChart->Commands().GetToolButton(u"tbRedraw"_s);
}

QStringList tst_frmProvChannels::column(const TickList *list, int role)
{
    QStringList values;
    for (int row = 0; row < list->model()->Rows(); ++row)
        values << list->model()->index(row).data(role).toString();
    return values;
}

void tst_frmProvChannels::fillOrder_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("ids");   // after "All"
    QTest::addColumn<QString>("texts"); // after "All"
    QTest::newRow("providers") << u"fgProviders"_s << u"6,1,5,2,3,4"_s
                               << u"Zeta|Alpha Wire|Epsilon|Beta News|Gamma Post|Delta Daily"_s;
    QTest::newRow("channels, a name twice")
        << u"fgChannels"_s << u"1,2,3,4,5,6,7"_s
        << u"Zeta Business|Alpha World|Epsilon Sports|Beta World|Gamma Sports|Delta World|"
           u"Alpha World"_s;
}

// One row per ID at its first appearance, "All" first and bold, everything
// ticked, the count of items in row 0's data value, and the filter that the
// load wrote into the chart.
void tst_frmProvChannels::fillOrder()
{
    QFETCH(QString, name);
    QFETCH(QString, ids);
    QFETCH(QString, texts);
    QVERIFY(open(m_same));
    TickList *list = grid(name);
    QVERIFY(list);
    const QStringList keys = column(list, TickListModel::KeyRole);
    QCOMPARE(keys.join(u','), u"ALL,KEY"_s + QString(ids).replace(u","_s, u",KEY"_s));
    QCOMPARE(column(list, Qt::DisplayRole).join(u'|'),
             u"  All|  "_s + QString(texts).replace(u"|"_s, u"|  "_s));
    const TickListModel *m = list->model();
    for (int row = 0; row < m->Rows(); ++row) {
        QCOMPARE(m->cellChecked(row), int(TickListModel::Ticked));
        QCOMPARE(m->Cell(TickListModel::CellFontBold, row).toBool(), row == 0);
    }
    QCOMPARE(m->RowData(0), keys.size() - 1);
    QCOMPARE(m_window->fChart->sFilter, kAllTicked);
    QVERIFY(redraw()->Enabled());
}

void tst_frmProvChannels::ticks_data()
{
    QTest::addColumn<QString>("database");
    QTest::addColumn<QVariant>("stored");
    // Steps: list (k categories, p providers, c channels), how (c a click on
    // the tick box, s the space key, d a double click) and row.
    QTest::addColumn<QString>("steps");
    QTest::addColumn<QString>("ticked");  // IDs per list, "*" for every item
    QTest::addColumn<QString>("allRows"); // "All" ticked per list: 1 or 0
    QTest::addColumn<bool>("redrawOn");
    QTest::addColumn<QString>("filter"); // after the load, or after a redraw click
    const QString same = u"same.db"_s, changed = u"changed.db"_s;
    const auto row = [](const char *name) -> QTestData & { return QTest::newRow(name); };

    // The stored text back to ticks, and the text the load composes from them.
    row("a stored text, IDs deleted and added")
        << changed
        << QVariant(u"Categories.ID  not in (0) AND Providers.ID  in ( 1, 2) AND "
                    "Channels.ID  not in ( 4, 5) "_s)
        << QString() << u"*|1|1,2,3,6,7,9"_s << u"101"_s << true
        << u"Categories.ID  not in (0) AND Providers.ID  in ( 1) AND Channels.ID  not in ( 5) "_s;
    // Whatever the stored text holds, the clauses are applied as far as it
    // goes: a word in a list is no ID, a missing clause includes nothing
    // (that the composed text is well formed again is fuzz_filters').
    row("a word in a list")
        << same
        << QVariant(u"Categories.ID  not in (0) AND Providers.ID  in ( 1, x) AND Channels.ID  "
                    "not in (0) "_s)
        << QString() << u"*|1|*"_s << u"101"_s << true
        << u"Categories.ID  not in (0) AND Providers.ID  in ( 1) AND Channels.ID  not in (0) "_s;
    row("missing clauses") << same << QVariant(u"Categories.ID  not in ( 1) "_s) << QString()
                           << u"3,2||"_s << u"100"_s << true
                           << u"Categories.ID  not in ( 1) AND Providers.ID  in (0) AND "
                              "Channels.ID  in (0) "_s;
    // Without a database the lists keep their "All" rows, count 0.
    row("no database") << u"missing.db"_s << QVariant() << QString() << u"||"_s << u"111"_s << true
                       << kAllTicked;
    // All IDs of an inclusion gone: the chart gets nothing, yet the redraw
    // tool stays on until a tick changes.
    const QVariant deleted(u"Categories.ID  not in (0) AND Providers.ID  in ( 2) AND Channels.ID "
                           " not in (0) "_s);
    const QString nothing =
        u"Categories.ID  not in (0) AND Providers.ID  in (0) AND Channels.ID  not in (0) "_s;
    row("inclusion of deleted IDs")
        << changed << deleted << QString() << u"*||*"_s << u"101"_s << true << nothing;
    row("inclusion of deleted IDs, a tick changed")
        << changed << deleted << u"cc1"_s << u"*||2,3,5,6,7,9"_s << u"101"_s << false << nothing;

    // Ticks changed by hand: the count follows, the filter only at a redraw.
    const QString withoutThree =
        u"Categories.ID  not in (0) AND Providers.ID  not in (0) AND Channels.ID  not in ( 3) "_s;
    row("the space key unticks an item, All stays")
        << same << QVariant() << u"cs3"_s << u"*|*|1,2,4,5,6,7"_s << u"111"_s << true
        << withoutThree;
    // As many ticked as unticked: the clause lists the unticked ones.
    row("half the providers unticked")
        << same << QVariant() << u"pc1 pc2 pc3"_s << u"*|2,3,4|*"_s << u"111"_s << true
        << u"Categories.ID  not in (0) AND Providers.ID  not in ( 6, 1, 5) AND Channels.ID  not "
           u"in (0) "_s;
    row("both clicks of a double click count")
        << same << QVariant() << u"cd4"_s << u"*|*|*"_s << u"111"_s << true << kAllTicked;
    row("All unticks every row") << same << QVariant() << u"pc0"_s << u"*||*"_s << u"101"_s << false
                                 << kAllTicked;
    row("All ticks every row again, not items ticked by hand")
        << same << QVariant() << u"pc0 ps1 ps2 ps3 ps4 ps5 ps6 pc2 pc0"_s << u"*|*|*"_s << u"111"_s
        << true << kAllTicked;
    row("every list ticked again")
        << same << QVariant() << u"kc1 kc2 kc3 cc0 ks2 cc5"_s << u"1|*|5"_s << u"110"_s << true
        << u"Categories.ID  in ( 1) AND Providers.ID  not in (0) AND Channels.ID  in ( 5) "_s;
}

void tst_frmProvChannels::ticks()
{
    QFETCH(QString, database);
    QFETCH(QVariant, stored);
    QFETCH(QString, steps);
    QFETCH(QString, ticked);
    QFETCH(QString, allRows);
    QFETCH(bool, redrawOn);
    QVERIFY(open(m_dir.filePath(database), stored));
    const QString loaded = m_window->fChart->sFilter;
    const QList<TickList *> lists = {grid(u"fgCategories"_s), grid(u"fgProviders"_s),
                                     grid(u"fgChannels"_s)};
    for (const QString &step : steps.split(u' ', Qt::SkipEmptyParts)) {
        TickList *list = lists[qsizetype(u"kpc"_s.indexOf(step[0]))];
        const int row = step.mid(2).toInt();
        const QPoint at = list->visualRect(list->model()->index(row)).center();
        if (step[1] == u's') { // to the row with the arrow keys
            list->setFocus();
            QTest::keyClick(list, Qt::Key_Home);
            for (int i = 0; i < row; ++i)
                QTest::keyClick(list, Qt::Key_Down);
            QTest::keyClick(list, Qt::Key_Space);
        } else if (step[1] == u'c') {
            clickTick(list, row);
        } else { // what a double click delivers: press, release, double click, release
            QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, at);
            QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, at);
            QTest::mouseRelease(list->viewport(), Qt::LeftButton, {}, at);
        }
    }
    QCOMPARE(m_window->fChart->sFilter, loaded);
    const QStringList expected = ticked.split(u'|');
    for (int i = 0; i < 3; ++i) {
        const TickListModel *m = lists[i]->model();
        const QString now = tickedIds(*m);
        const qsizetype count = now.isEmpty() ? 0 : now.count(u',') + 1;
        if (expected[i] == u"*"_s)
            QCOMPARE(count, m->Rows() - 1);
        else
            QCOMPARE(now, expected[i]);
        QCOMPARE(m->RowData(0), count);
        QVERIFY(m->Redraw());
        QCOMPARE(m->cellChecked(0) == TickListModel::Ticked, allRows[i] == u'1');
    }
    QCOMPARE(redraw()->Enabled(), redrawOn);
    if (!steps.isEmpty())
        QTest::mouseClick(redraw()->widget(), Qt::LeftButton); // nothing while off
    QTEST(m_window->fChart->sFilter, "filter");
}

// A panel whose window is not in gChartForms fills and ticks as usual; its
// filter and its redraw tool have nowhere to go, and nothing breaks.
void tst_frmProvChannels::panelWithoutWindow()
{
    m_charts->ConnectionString(m_same);
    frmProvChannels panel;
    panel.fIndex = 32000;
    panel.Form_Load();
    panel.show();
    QVERIFY(QTest::qWaitForWindowExposed(&panel));
    TickList *channels = panel.findChild<TickList *>(u"fgChannels"_s);
    QCOMPARE(channels->model()->RowData(0), 7);
    clickTick(channels, 0);
    QCOMPARE(channels->model()->RowData(0), 0);
    panel.BuildFilter();
}

// The statement that fills the filter lists on SQLite and PostgreSQL against
// the literal one, on random databases: both must give the same rows in the
// same order. The data leans on what a join and a membership test could
// treat differently: channels without news, news of a channel that does not
// exist or of none, channels whose provider or category is missing, many
// items of one channel, and names shared by several IDs.
void tst_frmProvChannels::gridsStatementSameRowsAsTheLiteral_data()
{
    QTest::addColumn<bool>("postgres");
    QTest::addColumn<quint32>("seed");
    for (quint32 seed = 1; seed <= 8; ++seed) {
        QTest::addRow("SQLite, seed %u", seed) << false << seed;
        QTest::addRow("PostgreSQL, seed %u", seed) << true << seed;
    }
}

void tst_frmProvChannels::gridsStatementSameRowsAsTheLiteral()
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

QTEST_MAIN(tst_frmProvChannels)
#include "tst_frmprovchannels.moc"
