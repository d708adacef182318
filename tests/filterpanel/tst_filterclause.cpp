// The filter text of the three lists, and a malformed stored text brought
// back to ticks, on the list models alone. Well-formed stored texts, also
// after IDs came and went, go back to ticks in tst_frmprovchannels, in the
// real window.

#include "filterpanel/FilterClause.h"
#include "filterpanel/TickListModel.h"

#include <QTest>

using namespace Qt::StringLiterals;

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

} // namespace

class tst_FilterClause : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void gridClause_data();
    void gridClause();
    void malformedStoredText_data();
    void malformedStoredText();
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

QTEST_APPLESS_MAIN(tst_FilterClause)
#include "tst_filterclause.moc"
