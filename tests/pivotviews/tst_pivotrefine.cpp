// The pivot table on a grouped load: a layout finer than the load (hours,
// timestamps) has the finer grain loaded, two tables
// with that layout share one load, the grid then is the grid of all rows,
// and a table opened later gets the finer load already held.

#include "PivotTestData.h"
#include "controls/pivot/PivotGrid.h"
#include "pivot/PivotData.h"
#include "pivot/PivotDataCache.h"
#include "pivot/PivotGridModel.h"
#include "pivot/PivotLayoutText.h"
#include "pivot/PivotView.h"
#include "pivotviews/PivotTable.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace qrt::pivot;

namespace {

void layOut(PivotView &view, const QString &rows)
{
    PivotLayoutText::applyFieldSets(view, view.RowAxis(), rows);
    PivotLayoutText::applyFieldSets(view, view.ColumnAxis(), u"Category"_s);
    PivotLayoutText::applyTotals(view, u"Count of News=Count(News);Dated=Count(NewsDate)"_s);
}

} // namespace

class tst_PivotRefine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void finerLayoutLoadsItsGrain_data();
    void finerLayoutLoadsItsGrain();
};

void tst_PivotRefine::finerLayoutLoadsItsGrain_data()
{
    QTest::addColumn<QString>("rows");
    QTest::newRow("hours") << u"NewsDate By Month[Days,Hours]"_s;
    QTest::newRow("timestamps") << u"NewsDate"_s;
}

void tst_PivotRefine::finerLayoutLoadsItsGrain()
{
    QFETCH(QString, rows);
    QTemporaryDir dir;
    const QString path = dir.filePath(u"news.db"_s);
    QVERIFY(qrt::test::makeRandomNewsDb(path, 3000, qrt::test::testSeed()));
    PivotTable tables[2];
    for (PivotTable &table : tables) {
        QSignalSpy loaded(&table, &PivotTable::loaded);
        table.setConnectionString(path);
        table.setCommandText(qrt::test::pivotStatement());
        QVERIFY(loaded.wait(30000));
    }
    const PivotData *coarse = tables[0].ActiveView()->data().get();
    QVERIFY(!coarse->grain().isAllRows());
    QCOMPARE(coarse->itemCount(), 3000);

    const int before = PivotDataCache::instance().loadsStarted();
    for (PivotTable &table : tables)
        layOut(*table.ActiveView(), rows);
    QTRY_VERIFY(tables[0].ActiveView()->data().get() != coarse &&
                tables[1].ActiveView()->data().get() != coarse);
    QCOMPARE(PivotDataCache::instance().loadsStarted(), before + 1);
    QCOMPARE(tables[1].ActiveView()->data(), tables[0].ActiveView()->data());

    PivotView all(qrt::test::loadNews(path));
    layOut(all, rows);
    PivotGridModel expected;
    expected.setView(&all);
    QTRY_COMPARE(tables[0].grid()->gridModel()->toCsv(), expected.toCsv());

    // Another table now gets the finer load already held: nothing is read.
    const std::shared_ptr<const PivotData> finer = tables[0].ActiveView()->data();
    PivotTable third;
    QSignalSpy loaded(&third, &PivotTable::loaded);
    third.setConnectionString(path);
    third.setCommandText(qrt::test::pivotStatement());
    QVERIFY(loaded.count() == 1 || loaded.wait(30000));
    QCOMPARE(third.ActiveView()->data(), finer);
    QCOMPARE(PivotDataCache::instance().loadsStarted(), before + 1);
}

QTEST_MAIN(tst_PivotRefine)
#include "tst_pivotrefine.moc"
