// The pivot table in the real window, laid out by a user with the mouse: a
// field set dragged onto the columns, member choices on two axes, a second
// total. Closing stores the layout under the keys the capture writes, and
// the next window's page rebuilds it: the same grid, cell for cell.

#include "TreeClicks.h"
#include "base/ResumeNext.h"
#include "component/modUtils.h"
#include "controls/pivot/PivotDropZone.h"
#include "controls/pivot/PivotMemberFilter.h"
#include "demodata/DemoDatabase.h"
#include "pivot/PivotView.h"
#include "pivotviews/PivotTable.h"
#include "settings/CAppSettings.h"
#include "workspace/frmCharts.h"

#include <qrt/statCharts.h>

#include <QComboBox>
#include <QFile>
#include <QPointer>
#include <QPushButton>
#include <QStyle>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>
#include <QTreeWidget>

using namespace Qt::StringLiterals;
using namespace qrt::pivot;

namespace {

const QString kSection = u"STATMSTABLE"_s;

using qrt::test::clickTick;

// Unticks the members at the given places of the zone's field set, or with
// `keepOnly` unticks "(All)" and ticks them; answers their captions.
QStringList chooseMembers(PivotDropZone *zone, const QString &fieldSet, QList<int> places,
                          bool keepOnly)
{
    QTest::mouseClick(zone->findChild<QToolButton *>(u"filterArrow:"_s + fieldSet), Qt::LeftButton);
    auto *filter = zone->findChild<PivotMemberFilter *>();
    if (!filter || !QTest::qWaitForWindowExposed(filter))
        return {};
    QTreeWidgetItem *all = filter->tree()->topLevelItem(0);
    if (keepOnly)
        clickTick(filter->tree(), all);
    QStringList chosen;
    for (int place : places) {
        clickTick(filter->tree(), all->child(place));
        chosen << all->child(place)->text(0);
    }
    QTest::mouseClick(filter->findChild<QWidget *>(u"okButton"_s), Qt::LeftButton);
    return chosen;
}

} // namespace

class tst_PivotWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void layoutMadeWithTheMouseComesBack();

private:
    frmCharts *open();
    QByteArray grid(PivotTable *table);

    QTemporaryDir m_dir;
    std::unique_ptr<statCharts> m_charts;
};

void tst_PivotWindow::initTestCase()
{
    QVERIFY(m_dir.isValid());
    qputenv("XDG_CACHE_HOME", QFile::encodeName(m_dir.filePath(u"cache"_s)));
    const QString database = m_dir.filePath(u"news.db"_s);
    qrt::db::DemoDatabase::Options options;
    options.items = 4000;
    options.seed = 11;
    QString error;
    QVERIFY2(qrt::db::DemoDatabase::create(database, options, &error), qPrintable(error));
    m_charts = std::make_unique<statCharts>();
    m_charts->ConnectionString(database);
    resumeNext([] { gSettings->DeleteSetting(kSection); });
}

// A shown window, its table loaded and the page's script done, on the table's tab.
frmCharts *tst_PivotWindow::open()
{
    auto *w = qobject_cast<frmCharts *>(m_charts->ShowChartForm());
    if (!w)
        return nullptr;
    w->setAttribute(Qt::WA_DeleteOnClose);
    w->resize(1184, 676);
    w->show();
    QObject *page = w->findChild<QObject *>(u"WebBrowser1"_s);
    if (!page || !QTest::qWaitFor([page] { return !page->property("busy").toBool(); }, 20000))
        return nullptr;
    w->tabCharts->setCurrentWidget(qobject_cast<QWidget *>(page));
    return QTest::qWaitForWindowExposed(w) ? w : nullptr;
}

QByteArray tst_PivotWindow::grid(PivotTable *table)
{
    const QString path = m_dir.filePath(u"grid.csv"_s);
    QFile file(path);
    return table->exportCsv(path) && file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void tst_PivotWindow::layoutMadeWithTheMouseComesBack()
{
    QPointer<frmCharts> w = open();
    QVERIFY(w);
    auto *table = w->findChild<PivotTable *>();
    QVERIFY(table && table->ActiveView());

    // Category from the field list onto the column area, with the mouse.
    auto *tree = table->findChild<QTreeWidget *>(u"fieldTree"_s);
    auto *columns = table->findChild<PivotDropZone *>(u"columnZone"_s);
    QTreeWidgetItem *category = tree->findItems(u"Category"_s, Qt::MatchExactly).value(0);
    QVERIFY(category);
    const QPoint from = tree->visualItemRect(category).center();
    QTest::mousePress(tree->viewport(), Qt::LeftButton, {}, from);
    QTest::mouseMove(tree->viewport(), from + QPoint(12, 4));
    QTest::mouseMove(columns, columns->rect().center());
    QTest::mouseRelease(
        tree->viewport(), Qt::LeftButton, {},
        tree->viewport()->mapFromGlobal(columns->mapToGlobal(columns->rect().center())));
    QCOMPARE(table->ActiveView()->ColumnAxis().FieldSets().Count(), 1);

    // Member choices on two axes: one category left out, two providers kept.
    QTRY_VERIFY(columns->findChild<QToolButton *>(u"filterArrow:Category"_s));
    const QStringList leftOut = chooseMembers(columns, u"Category"_s, {0}, false);
    auto *rows = table->findChild<PivotDropZone *>(u"rowZone"_s);
    const QStringList kept = chooseMembers(rows, u"Provider"_s, {0, 2}, true);
    QCOMPARE(leftOut.size(), 1);
    QCOMPARE(kept.size(), 2);

    // A second total, the channels counted, picked in the list and the combo.
    QTreeWidgetItem *channel = tree->findItems(u"Channel"_s, Qt::MatchExactly).value(0);
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualItemRect(channel).center());
    auto *function = table->findChild<QComboBox *>(u"functionCombo"_s);
    function->setCurrentIndex(function->findText(u"Count"_s));
    QTest::mouseClick(table->findChild<QPushButton *>(u"addTotalButton"_s), Qt::LeftButton);
    QCOMPARE(table->ActiveView()->DataAxis().Totals().Count(), 2);

    const QByteArray before = grid(table);
    const QString heads =
        QString::fromUtf8(before.left(before.indexOf("\n", before.indexOf('\n') + 1)));
    QVERIFY2(heads.contains(u"Count of Channel"_s) && !heads.contains(leftOut[0]),
             qPrintable(heads));
    w->close();
    QTRY_VERIFY(!w);

    // The keys the capture writes for what the mouse did.
    const auto stored = [](const QString &key) {
        return gSettings->GetSetting(kSection, key, QVariant()).toString();
    };
    QCOMPARE(stored(u"COLUMNFIELDSETSCOUNT"_s), u"1"_s);
    QCOMPARE(stored(u"COLUMNFIELDSETNAME1"_s), u"Category"_s);
    QCOMPARE(stored(u"COLUMNFIELDSFILTERS1"_s), u"Category||1||||("_s + leftOut[0] + u')');
    QCOMPARE(stored(u"ROWFIELDSETNAME2"_s), u"Provider"_s);
    QCOMPARE(stored(u"ROWFIELDSFILTERS2"_s), u"Provider||2||||("_s + kept.join(u',') + u')');
    QCOMPARE(stored(u"TOTALSCOUNT"_s), u"2"_s);
    QCOMPARE(stored(u"TOTALFIELD2"_s), u"Channel"_s);
    QCOMPARE(stored(u"TOTALNAME2"_s), u"Count of Channel"_s);
    QCOMPARE(stored(u"TOTALFUNCTION2"_s), u"2"_s);

    // The next window's page puts it all back.
    QPointer<frmCharts> next = open();
    QVERIFY(next);
    auto *again = next->findChild<PivotTable *>();
    QVERIFY(again && again->ActiveView());
    QTRY_COMPARE(grid(again), before); // the table shows what the script laid out within a moment
    next->close();
}

QTEST_MAIN(tst_PivotWindow)
#include "tst_pivotwindow.moc"
