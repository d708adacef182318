// The pivot table object on screen: it loads without making the window
// wait, a field set dragged with the mouse off the areas leaves the grid,
// ticks clicked in the member filter become the member choices the layout
// stores, and the CSV export is the grid.

#include "PivotTestData.h"
#include "TreeClicks.h"
#include "component/EmbeddableClasses.h"
#include "controls/pivot/PivotDropZone.h"
#include "controls/pivot/PivotFieldList.h"
#include "controls/pivot/PivotGrid.h"
#include "controls/pivot/PivotMemberFilter.h"
#include "pivot/PivotGridModel.h"
#include "pivot/PivotLayoutText.h"
#include "pivot/PivotView.h"
#include "pivotviews/PivotTable.h"
#include "script/ScriptObject.h"
#include "script/ScriptPending.h"
#include "script/ScriptValue.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QSignalSpy>
#include <QStyle>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>
#include <QTreeWidget>

using namespace Qt::StringLiterals;
using namespace qrt::pivot;

namespace {

void clickTick(QTreeWidget *tree, QTreeWidgetItem *item)
{
    const Qt::CheckState before = item->checkState(0);
    qrt::test::clickTick(tree, item);
    QVERIFY2(item->checkState(0) != before, qPrintable(item->text(0)));
}

} // namespace

using qrt::test::captions;

class tst_PivotTable : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void loadsWithoutWaiting();
    void dragFieldSetOffTheAreas();
    void memberFilterTicks();
    void exportEqualsGrid();
    void registration();

private:
    void load(PivotTable &table, const QString &path);

    QTemporaryDir m_dir;
    QString m_path;
    std::unique_ptr<PivotTable> m_table;
};

void tst_PivotTable::initTestCase()
{
    m_path = m_dir.filePath(u"news.db"_s);
    QVERIFY(qrt::test::makeRandomNewsDb(m_path, 3000, qrt::test::testSeed()));
}

void tst_PivotTable::load(PivotTable &table, const QString &path)
{
    // As the page's script does it.
    QSignalSpy loaded(&table, &PivotTable::loaded);
    const std::shared_ptr<qrt::script::ScriptObject> pt = table.scriptObject();
    pt->setProperty(u"ConnectionString"_s, qrt::script::ScriptValue(path));
    pt->setProperty(u"CommandText"_s, qrt::script::ScriptValue(qrt::test::pivotStatement()));
    pt->setProperty(u"DisplayFieldList"_s, qrt::script::ScriptValue(true));
    // The load runs on a worker: the object is back at once, without a view.
    QVERIFY(table.isLoading());
    QVERIFY(!table.ActiveView());
    QVERIFY_THROWS_EXCEPTION(qrt::script::ScriptPending, pt->getProperty(u"ActiveView"_s));
    QVERIFY(table.findChild<QWidget *>(u"loadPanel"_s)->isVisibleTo(&table));
    QVERIFY(loaded.wait(30000));
    QVERIFY(table.ActiveView());
    QVERIFY(!table.findChild<QWidget *>(u"loadPanel"_s)->isVisibleTo(&table));
    // What the page's script does next.
    PivotView &view = *table.ActiveView();
    PivotLayoutText::applyFieldSets(view, view.RowAxis(), u"NewsDate By Month[Months];Provider"_s);
    PivotLayoutText::applyTotals(view, u"Count of News=Count(News)"_s);
    view.setExpandMembers(PivotView::ExpandNever);
    table.ActiveData().HideDetails();
}

void tst_PivotTable::init()
{
    m_table = std::make_unique<PivotTable>();
    m_table->resize(900, 600);
    m_table->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_table.get()));
    load(*m_table, m_path);
    // The layout made by the script shows without anyone telling the table.
    PivotGridModel *model = m_table->grid()->gridModel();
    QTRY_VERIFY(model->rowCount() > 2);
}

void tst_PivotTable::cleanup()
{
    m_table.reset();
}

void tst_PivotTable::loadsWithoutWaiting()
{
    // init() checked the load; here a bad connection tells why it has no data.
    PivotTable table;
    QSignalSpy loaded(&table, &PivotTable::loaded);
    table.setConnectionString(m_dir.filePath(u"missing.db"_s));
    table.setCommandText(qrt::test::pivotStatement());
    QTRY_VERIFY(!table.loadError().isEmpty());
    QVERIFY(!table.isLoading());
    QVERIFY(!table.ActiveView());
    QVERIFY(table.findChild<QWidget *>(u"messageLabel"_s)->isVisibleTo(&table));
    QCOMPARE(loaded.count(), 1); // the wait is over, without data
    // The same value again (as a page's second run sets it) loads nothing.
    table.setCommandText(qrt::test::pivotStatement());
    QVERIFY(!table.isLoading());

    // Cancel ends the wait at once, with no data.
    table.setConnectionString(m_path);
    QVERIFY(table.isLoading());
    QTest::mouseClick(table.findChild<QWidget *>(u"cancelLoadButton"_s), Qt::LeftButton);
    QVERIFY(!table.isLoading());
    QVERIFY(!table.findChild<QWidget *>(u"loadPanel"_s)->isVisibleTo(&table));
    QTest::qWait(100);
    QCOMPARE(loaded.count(), 2);
    QVERIFY(!table.ActiveView());
    QVERIFY(table.loadError().contains(u"cancelled"_s));
}

// Dragged onto an area is tst_pivotwindow's; dragged off every area, a
// field set's button takes it off the layout.
void tst_PivotTable::dragFieldSetOffTheAreas()
{
    PivotView &view = *m_table->ActiveView();
    PivotLayoutText::applyFieldSets(view, view.ColumnAxis(), u"Category"_s);
    auto *columns = m_table->findChild<PivotDropZone *>(u"columnZone"_s);
    QTRY_VERIFY(columns->findChild<QToolButton *>(u"fieldButton:Category"_s) &&
                columns->findChild<QToolButton *>(u"fieldButton:Category"_s)->isVisible());
    auto *button = columns->findChild<QToolButton *>(u"fieldButton:Category"_s);
    PivotGridModel *model = m_table->grid()->gridModel();
    QTRY_VERIFY(model->columnCount() > 1);
    QSignalSpy changed(m_table.get(), &PivotTable::layoutChanged);
    QTest::mousePress(button, Qt::LeftButton, {}, button->rect().center());
    QTest::mouseMove(button, button->rect().center() + QPoint(10, 10));
    QWidget *grid = m_table->grid()->viewport();
    QTest::mouseMove(grid, QPoint(40, 40));
    QVERIFY(m_table->findChild<QWidget *>(u"pivotDragLabel"_s));
    // The press grabbed the mouse: the release goes to the button.
    QTest::mouseRelease(button, Qt::LeftButton, {},
                        button->mapFromGlobal(grid->mapToGlobal(QPoint(40, 40))));
    QCOMPARE(changed.count(), 1);
    QCOMPARE(view.ColumnAxis().FieldSets().Count(), 0);
    QCOMPARE(model->columnCount(), 1);
}

// "(All)" off, then two of at least three providers on: the field set
// keeps the shorter list, which of the two depends on how many providers
// the random data has.
void tst_PivotTable::memberFilterTicks()
{
    auto *rows = m_table->findChild<PivotDropZone *>(u"rowZone"_s);
    QTRY_VERIFY(rows->findChild<QToolButton *>(u"filterArrow:Provider"_s));
    QTest::mouseClick(rows->findChild<QToolButton *>(u"filterArrow:Provider"_s), Qt::LeftButton);
    auto *filter = rows->findChild<PivotMemberFilter *>();
    QVERIFY(filter);
    QVERIFY(QTest::qWaitForWindowExposed(filter));
    QTreeWidget *tree = filter->tree();
    QTreeWidgetItem *all = tree->topLevelItem(0);
    QCOMPARE(all->text(0), u"(All)"_s);
    const int providers = all->childCount();
    QVERIFY(providers >= 3);
    for (QTreeWidgetItem *item : {all, all->child(0), all->child(2)})
        clickTick(tree, item);
    const QSet<QString> ticked = {all->child(0)->text(0), all->child(2)->text(0)};
    QTest::mouseClick(filter->findChild<QWidget *>(u"okButton"_s), Qt::LeftButton);

    PivotFieldSet &set = m_table->ActiveView()->FieldSets(u"Provider"_s);
    const bool include = 2 <= providers - 2;
    QCOMPARE(set.AllIncludeExclude(), int(include ? PivotFieldSet::ExcludeAllButIncluded
                                                  : PivotFieldSet::IncludeAllButExcluded));
    QStringList chosen;
    for (int i = 0; i < providers; ++i)
        if (ticked.contains(set.Members().Item(i).Caption()) == include)
            chosen << set.Members().Item(i).Caption();
    const PivotField &field = set.Fields(u"Provider"_s);
    QCOMPARE(captions(include ? field.IncludedMembers() : field.ExcludedMembers()), chosen);
    // The grid shows the ticked providers only.
    m_table->ActiveView()->setExpandMembers(PivotView::ExpandAlways);
    PivotGridModel *model = m_table->grid()->gridModel();
    auto shown = [&] {
        QSet<QString> providers;
        for (int r = 0; r < model->rowCount(); ++r) {
            const PivotResult::Line line = model->line(Qt::Vertical, r);
            const auto &node = model->result().rowNodes()[static_cast<std::size_t>(line.node)];
            if (line.kind == PivotResult::LineKind::Member && node.fieldSet == &set)
                providers << node.caption;
        }
        return providers;
    };
    QTRY_COMPARE(shown(), ticked);
}

void tst_PivotTable::exportEqualsGrid()
{
    // Expand All from the keyboard.
    QVERIFY(QTest::qWaitForWindowActive(m_table.get()));
    m_table->grid()->setFocus();
    QTest::keyClick(m_table->grid(), Qt::Key_E, Qt::ControlModifier | Qt::ShiftModifier);
    QCOMPARE(m_table->ActiveView()->ExpandMembers(), int(PivotView::ExpandAlways));
    PivotGridModel *model = m_table->grid()->gridModel();
    QTRY_VERIFY(model->rowCount() > 0 &&
                model->line(Qt::Vertical, 1).kind == PivotResult::LineKind::Member &&
                model->headerCell(Qt::Vertical, 1, 1).level == 1);
    const QString path = m_dir.filePath(u"grid.csv"_s);
    QVERIFY(m_table->exportCsv(path));
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
    const int headerLines = model->headerLevels(Qt::Horizontal);
    QCOMPARE(lines.size(), headerLines + model->rowCount());
    QCOMPARE(lines[0], u"Months,Provider,Count of News"_s);
    for (int r = 0; r < model->rowCount(); ++r) {
        const QStringList fields = lines[headerLines + r].split(u',');
        QCOMPARE(fields.size(), 2 + model->columnCount());
        // The row's captions as the grid shows them (the first column's
        // after the levels above it), then its values.
        for (int level = 0; level < 2; ++level) {
            const auto cell = model->headerCell(Qt::Vertical, r, level);
            QCOMPARE(level == 0 ? fields[0].section(u" \u203A "_s, -1) : fields[level],
                     cell.level == level ? cell.caption : QString());
        }
        for (int c = 0; c < model->columnCount(); ++c) {
            const QVariant value = model->data(model->index(r, c), PivotGridModel::ValueRole);
            QCOMPARE(fields[2 + c],
                     value.isValid() ? QString::number(value.toLongLong()) : QString());
        }
    }
    QCOMPARE(lines.last().section(u',', 0, 0), u"Grand Total"_s);
}

void tst_PivotTable::registration()
{
    // Both class names, and the class id the page names it by.
    for (const QString &name : QStringList{u"OWC11.PivotTable"_s, u"OWC10.PivotTable"_s,
                                           u"CLSID:"_s + PivotTable::classId()}) {
        std::unique_ptr<QWidget> made(EmbeddableClasses::create(name, nullptr));
        QVERIFY(qobject_cast<PivotTable *>(made.get()));
        PivotTable::unregisterClasses();
        QVERIFY(!EmbeddableClasses::create(name, nullptr));
        PivotTable::registerClasses();
    }
}

QTEST_MAIN(tst_PivotTable)
#include "tst_pivottable.moc"
