// The pivot table on screen: it loads without making the window wait, a
// field set dragged off the areas leaves the grid, ticks in the member
// filter become the member choices, the CSV export is the grid. The pivot
// chart draws, on random data, the values an independent computation
// expects; a screen tip names what is under the mouse; every type number
// draws as one of the drawn types; no data draws nothing.

#include "PivotTestData.h"
#include "TreeClicks.h"
#include "controls/pivot/PivotChartView.h"
#include "controls/pivot/PivotDropZone.h"
#include "controls/pivot/PivotGrid.h"
#include "controls/pivot/PivotMemberFilter.h"
#include "pivot/PivotGridModel.h"
#include "pivot/PivotLayoutText.h"
#include "pivot/PivotView.h"
#include "pivotviews/PivotTable.h"
#include "script/ScriptObject.h"
#include "script/ScriptPending.h"
#include "script/ScriptValue.h"

#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>
#include <QTreeWidget>

#include <cmath>

using namespace Qt::StringLiterals;
using namespace qrt::pivot;

namespace {

// Categories with one- or two-level paths, 1-6 series, some holes.
PivotChartData randomData(quint32 seed)
{
    QRandomGenerator random(seed);
    PivotChartData data;
    const bool nested = random.bounded(2) == 1;
    const int outer = nested ? 2 + random.bounded(3) : 1;
    const int inner = 3 + random.bounded(nested ? 6 : 28);
    for (int o = 0; o < outer; ++o) {
        for (int i = 0; i < inner; ++i) {
            data.categories.push_back(nested ? QStringList{u"Y%1"_s.arg(o), u"M%1"_s.arg(i)}
                                             : QStringList{u"M%1"_s.arg(i)});
            data.categoryTips.push_back(u"Y%1 \u203A M%2"_s.arg(o).arg(i));
        }
    }
    const int series = 1 + random.bounded(6);
    for (int s = 0; s < series; ++s) {
        PivotChartData::Series one;
        one.name = u"Series %1"_s.arg(s);
        one.tip = u"All \u203A Series %1"_s.arg(s);
        for (size_t c = 0; c < data.categories.size(); ++c) {
            if (random.bounded(6) == 0)
                one.values.push_back(std::nullopt);
            else
                one.values.push_back(random.bounded(1, 1000) + random.bounded(4) * 0.25);
        }
        data.series.push_back(one);
    }
    data.categoryTitle = u"Year / Month"_s;
    return data;
}

// What a series at a category should plot: its value, or its share of the
// category's total, summed over the series up to it where the type stacks.
std::optional<double> expected(const PivotChartData &data, int s, int c, bool running, bool percent)
{
    if (!data.series[size_t(s)].values[size_t(c)])
        return std::nullopt;
    double total = 0.0;
    for (const auto &series : data.series)
        total += std::abs(series.values[size_t(c)].value_or(0.0));
    double sum = 0.0;
    for (int i = running ? 0 : s; i <= s; ++i) {
        const double v = data.series[size_t(i)].values[size_t(c)].value_or(0.0);
        sum += percent ? v / total * 100.0 : v;
    }
    return sum;
}

} // namespace

using qrt::test::captions;

class tst_PivotTable : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();
    void loadsWithoutWaiting();
    void dragFieldSetOffTheAreas();
    void memberFilterTicks();
    void exportEqualsGrid();
    void drawnValues_data();
    void drawnValues();
    void screenTips_data();
    void screenTips();
    void typeNumbers();

private:
    void load(PivotTable &table, const QString &path);
    void showTable();

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

// A shown table with its data and the page's layout.
void tst_PivotTable::showTable()
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
    // load() checks a good load, tst_pivotwindow a failed one.
    PivotTable table;
    QSignalSpy loaded(&table, &PivotTable::loaded);
    table.setCommandText(qrt::test::pivotStatement());
    // Cancel ends the wait at once, with no data.
    table.setConnectionString(m_path);
    QVERIFY(table.isLoading());
    QTest::mouseClick(table.findChild<QWidget *>(u"cancelLoadButton"_s), Qt::LeftButton);
    QVERIFY(!table.isLoading());
    QVERIFY(!table.findChild<QWidget *>(u"loadPanel"_s)->isVisibleTo(&table));
    QTest::qWait(100);
    QCOMPARE(loaded.count(), 1);
    QVERIFY(!table.ActiveView());
    QVERIFY(table.loadError().contains(u"cancelled"_s));
}

// Dragged onto an area is tst_pivotwindow's; dragged off every area, a
// field set's button takes it off the layout.
void tst_PivotTable::dragFieldSetOffTheAreas()
{
    showTable();
    if (QTest::currentTestFailed())
        return;
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
    showTable();
    if (QTest::currentTestFailed())
        return;
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
        qrt::test::clickTick(tree, item);
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
}

void tst_PivotTable::exportEqualsGrid()
{
    showTable();
    if (QTest::currentTestFailed())
        return;
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

void tst_PivotTable::drawnValues_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<bool>("running");
    QTest::addColumn<bool>("percent");
    QTest::addColumn<int>("rings"); // the series a pie or doughnut draws; -1 all
    // Bars (3) and smooth lines (13) plot the values of columns and lines.
    QTest::newRow("clustered column") << 0 << false << false << -1;
    // Bars hold their own values and stack on the ones below (checked apart).
    QTest::newRow("stacked column") << 1 << false << false << -1;
    QTest::newRow("100% column") << 2 << false << true << -1;
    QTest::newRow("line with markers") << 7 << false << false << -1;
    QTest::newRow("stacked line with markers") << 9 << true << false << -1;
    QTest::newRow("100% line") << 10 << true << true << -1;
    QTest::newRow("pie") << 18 << false << false << 1;
    QTest::newRow("area") << 29 << false << false << -1;
    QTest::newRow("stacked area") << 30 << true << false << -1;
    QTest::newRow("doughnut") << 32 << false << false << -1;
}

void tst_PivotTable::drawnValues()
{
    QFETCH(int, type);
    QFETCH(bool, running);
    QFETCH(bool, percent);
    QFETCH(int, rings);
    PivotChartView view;
    view.resize(592, 338); // the host's size, where a long legend wraps
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    view.setChartType(type);
    for (quint32 seed = 1; seed <= 8; ++seed) {
        const PivotChartData data = randomData(seed);
        view.setChartData(data);
        for (int s = 0; s < int(data.series.size()); ++s) {
            for (int c = 0; c < int(data.categories.size()); ++c) {
                const auto want = rings >= 0 && s >= rings ? std::nullopt
                                                           : expected(data, s, c, running, percent);
                const auto got = view.drawnValue(s, c);
                const QByteArray where =
                    u"seed %1 series %2 category %3"_s.arg(seed).arg(s).arg(c).toUtf8();
                QVERIFY2(got.has_value() == want.has_value(), where.constData());
                const double w = want.value_or(0.0);
                QVERIFY2(std::abs(got.value_or(0.0) - w) < 1e-9 * std::max(1.0, std::abs(w)),
                         where.constData());
                if (!want || (type != 1 && type != 2))
                    continue;
                // Where the bar ends on the value axis: on top of the ones below.
                auto *bars = qobject_cast<QCPBars *>(view.plottable(s));
                const auto i = bars->data()->findBegin(c + 1, false) - bars->data()->constBegin();
                const double top = bars->valueAxis()->pixelToCoord(bars->dataPixelPosition(i).y());
                QVERIFY2(std::abs(top - *expected(data, s, c, true, percent)) < 1e-6,
                         where.constData());
            }
        }
    }
}

void tst_PivotTable::screenTips_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<bool>("share");
    QTest::newRow("clustered column") << 0 << false;
    QTest::newRow("100% bar") << 5 << true;
}

// The tip at the drawn point of every value names its series, its category
// (each by its whole path) and its value.
void tst_PivotTable::screenTips()
{
    QFETCH(int, type);
    QFETCH(bool, share);
    PivotChartData data = randomData(3);
    data.series.resize(std::min<size_t>(data.series.size(), 3));
    PivotChartView view;
    view.resize(900, 500);
    view.setChartType(type);
    view.setChartData(data);
    view.replot(QCustomPlot::rpImmediateRefresh);
    for (int s = 0; s < int(data.series.size()); ++s) {
        auto *plottable = dynamic_cast<QCPPlottableInterface1D *>(view.plottable(s));
        for (int i = 0; plottable && i < plottable->dataCount(); ++i) {
            // A sliver of a bar has no inside to point at.
            const double upper = view.plottable(s)->valueAxis()->range().upper;
            if (std::isnan(plottable->dataMainValue(i)) || plottable->dataMainValue(i) < upper / 50)
                continue;
            const int c = int(plottable->dataMainKey(i)) - 1;
            QPointF at = plottable->dataPixelPosition(i);
            // Into the bar from its end, for the bar's inside.
            at += type == 5 ? QPointF(-2, 0) : type == 0 ? QPointF(0, 2) : QPointF();
            const QStringList tip = view.toolTipAt(at).split(u'\n');
            // Whole paths, where the axis may show the innermost caption alone.
            QCOMPARE(tip.value(0), data.series[size_t(s)].tip);
            QCOMPARE(tip.value(1), data.categoryTips[size_t(c)]);
            const double value = *data.series[size_t(s)].values[size_t(c)];
            QCOMPARE(tip.value(2).toDouble(), value);
            QCOMPARE(tip.size(), share ? 4 : 3);
        }
    }
}

// Every type number draws as one of the drawn types; no data draws nothing.
void tst_PivotTable::typeNumbers()
{
    const QList<int> drawn = PivotChartView::drawnTypes();
    QCOMPARE(QSet<int>(drawn.begin(), drawn.end()).size(), 25);
    QSet<QString> names;
    for (int type : drawn) {
        QCOMPARE(PivotChartView::drawnType(type), type);
        names << PivotChartView::typeName(type);
        QVERIFY(!PivotChartView::typeIcon(type).isNull());
    }
    QCOMPARE(names.size(), 25);
    PivotChartView view;
    view.setChartData(randomData(5));
    for (int type : {-3, 20, 24, 28, 34, 36, 39, 45, 46, 1000}) {
        QVERIFY2(drawn.contains(PivotChartView::drawnType(type)),
                 qPrintable(QString::number(type)));
        view.setChartType(type);
        QVERIFY(view.drawnValue(0, 1) || !view.chartData().series[0].values[1]);
    }
    PivotChartData noSeries = randomData(4);
    noSeries.series.clear();
    for (const PivotChartData &data : {PivotChartData(), noSeries}) {
        view.setChartData(data);
        for (int type : drawn) {
            view.setChartType(type);
            view.replot(QCustomPlot::rpImmediateRefresh);
            QCOMPARE(view.plottableCount(), 0);
            QVERIFY(!view.drawnValue(0, 0));
            QVERIFY(view.toolTipAt(view.rect().center()).isEmpty());
        }
    }
}

QTEST_MAIN(tst_PivotTable)
#include "tst_pivottable.moc"
