// The filter panel inside a real chart window on SQLite files: the lists as
// the database fills them, ticks changed by mouse clicks and the space key,
// the one-way "All" row, the tool tips, the redraw button, and the stored
// filter brought back to ticks at load, also after IDs came and went.

#include "TestDatabases.h"
#include "component/modUtils.h"
#include "db/DemoDatabase.h"
#include "filterpanel/TickList.h"
#include "filterpanel/TickListModel.h"
#include "filterpanel/frmProvChannels.h"
#include "newschart/frmChart.h"
#include "settings/CAppSettings.h"
#include "workspace/ButtonTool.h"
#include "workspace/DockStudio.h"
#include "workspace/frmCharts.h"

#include <qrt/statCharts.h>

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QDockWidget>
#include <QFontDatabase>
#include <QHelpEvent>
#include <QPointer>
#include <QRegularExpression>
#include <QScrollBar>
#include <QStyle>
#include <QStyleOptionViewItem>
#include <QTemporaryDir>
#include <QTest>
#include <QToolTip>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

const QString kAllTicked =
    u"Categories.ID  not in (0) AND Providers.ID  not in (0) AND Channels.ID  not in (0) "_s;
const QString kWorkedExample = u"Categories.ID  not in (0) AND Providers.ID  in ( 1, 2) AND "
                               "Channels.ID  not in ( 4, 5) "_s;

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

QList<int> ids(std::initializer_list<int> list)
{
    return QList<int>(list);
}

} // namespace

class tst_frmProvChannels : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void designLayout();
    void fillOrder_data();
    void fillOrder();
    void emptyOrUnreadable_data();
    void emptyOrUnreadable();
    void tickOneItem_data();
    void tickOneItem();
    void doubleClick();
    void allRowIsOneWay();
    void redrawButtonFollowsEmptyLists();
    void toolTipFollowsMouse();
    void restore_data();
    void restore();
    void inclusionOfDeletedIds();
    void storedFilterIsTheLastDrawing();
    void panelWithoutWindow();
    void readableAtDockWidth();

private:
    frmCharts *open(const QString &database, const QVariant &stored = {});
    TickList *grid(const QString &name) const;
    ButtonTool *redraw() const;
    void clickTick(TickList *list, int row);
    void pressSpace(TickList *list, int row);
    static QList<int> tickedIds(const TickList *list);
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
    QVERIFY(qrt::test::execAll(m_dir.filePath(u"empty.db"_s), catalogue().mid(0, 4)));
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

// A click on the row's tick box, where the style draws it.
void tst_frmProvChannels::clickTick(TickList *list, int row)
{
    QStyleOptionViewItem option;
    option.initFrom(list->viewport());
    option.rect = list->visualRect(list->model()->index(row));
    option.features = QStyleOptionViewItem::HasCheckIndicator | QStyleOptionViewItem::HasDisplay;
    const QRect box =
        list->style()->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &option, list);
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, box.center());
}

// Walks to the row with the arrow keys, then the space key.
void tst_frmProvChannels::pressSpace(TickList *list, int row)
{
    list->setFocus();
    QTest::keyClick(list, Qt::Key_Home);
    for (int i = 0; i < row; ++i)
        QTest::keyClick(list, Qt::Key_Down);
    QTest::keyClick(list, Qt::Key_Space);
}

QList<int> tst_frmProvChannels::tickedIds(const TickList *list)
{
    QList<int> ticked;
    const TickListModel *m = list->model();
    for (int row = 1; row < m->Rows(); ++row)
        if (m->cellChecked(row) == TickListModel::Ticked)
            ticked << m->RowKey(row).mid(3).toInt();
    return ticked;
}

QStringList tst_frmProvChannels::column(const TickList *list, int role)
{
    QStringList values;
    for (int row = 0; row < list->model()->Rows(); ++row)
        values << list->model()->index(row).data(role).toString();
    return values;
}

// The panel alone at its design size: three lists of 201 by 72 pixels, 17
// pixels apart, the tool tips of the design.
void tst_frmProvChannels::designLayout()
{
    frmProvChannels panel;
    panel.show();
    QVERIFY(QTest::qWaitForWindowExposed(&panel));
    QCOMPARE(panel.size(), QSize(201, 267));
    QCOMPARE(panel.findChild<QWidget *>(u"elstFilter1"_s)->geometry(), QRect(0, 0, 201, 267));
    const QList<std::pair<QString, int>> lists = {
        {u"Categories"_s, 17}, {u"Providers"_s, 106}, {u"Channels"_s, 195}};
    for (const auto &[name, top] : lists) {
        auto *list = panel.findChild<TickList *>(u"fg"_s + name);
        QVERIFY(list);
        QCOMPARE(QRect(list->mapTo(&panel, QPoint()), list->size()), QRect(0, top, 201, 72));
        QCOMPARE(list->toolTip(), u"  "_s + name);
        QCOMPARE(list->model()->Rows(), 0);
        QCOMPARE(list->font().family() == u"Tahoma"_s, QFontDatabase::hasFamily(u"Tahoma"_s));
    }
}

void tst_frmProvChannels::fillOrder_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("keys");
    QTest::addColumn<QStringList>("texts");
    QTest::newRow("categories") << u"fgCategories"_s
                                << QStringList{u"ALL"_s, u"KEY3"_s, u"KEY1"_s, u"KEY2"_s}
                                << QStringList{u"  All"_s, u"  Business"_s, u"  World"_s,
                                               u"  Sports"_s};
    QTest::newRow("providers") << u"fgProviders"_s
                               << QStringList{u"ALL"_s,  u"KEY6"_s, u"KEY1"_s, u"KEY5"_s,
                                              u"KEY2"_s, u"KEY3"_s, u"KEY4"_s}
                               << QStringList{u"  All"_s,        u"  Zeta"_s,
                                              u"  Alpha Wire"_s, u"  Epsilon"_s,
                                              u"  Beta News"_s,  u"  Gamma Post"_s,
                                              u"  Delta Daily"_s};
    QTest::newRow("channels, a name twice")
        << u"fgChannels"_s << QStringList{u"ALL"_s,  u"KEY1"_s, u"KEY2"_s, u"KEY3"_s,
                                          u"KEY4"_s, u"KEY5"_s, u"KEY6"_s, u"KEY7"_s}
        << QStringList{
               u"  All"_s,        u"  Zeta Business"_s, u"  Alpha World"_s, u"  Epsilon Sports"_s,
               u"  Beta World"_s, u"  Gamma Sports"_s,  u"  Delta World"_s, u"  Alpha World"_s};
}

// One row per ID at its first appearance, "All" first and bold, everything
// ticked, the count of items in row 0's data value, and the filter that the
// load wrote into the chart.
void tst_frmProvChannels::fillOrder()
{
    QFETCH(QString, name);
    QFETCH(QStringList, keys);
    QVERIFY(open(m_same));
    TickList *list = grid(name);
    QVERIFY(list);
    QCOMPARE(column(list, TickListModel::KeyRole), keys);
    QTEST(column(list, Qt::DisplayRole), "texts");
    const TickListModel *m = list->model();
    for (int row = 0; row < m->Rows(); ++row) {
        QCOMPARE(m->cellChecked(row), int(TickListModel::Ticked));
        QCOMPARE(m->Cell(TickListModel::CellFontBold, row).toBool(), row == 0);
    }
    QCOMPARE(m->RowData(0), keys.size() - 1);
    QCOMPARE(m->Editable(), 2);
    QVERIFY(m->Redraw());
    QCOMPARE(m_window->fChart->sFilter, kAllTicked);
    QVERIFY(redraw()->Enabled());
}

void tst_frmProvChannels::emptyOrUnreadable_data()
{
    QTest::addColumn<QString>("database");
    QTest::newRow("no news") << u"empty.db"_s;
    QTest::newRow("no such file") << u"missing.db"_s;
    QTest::newRow("not a database") << u"same.db-is-a-folder"_s;
}

// Without rows the lists keep their "All" rows, count 0, paint again, and
// the filter matches everything.
void tst_frmProvChannels::emptyOrUnreadable()
{
    QFETCH(QString, database);
    const QString path = m_dir.filePath(database);
    if (database.endsWith(u"folder"_s))
        QVERIFY(QDir().mkpath(path));
    QVERIFY(open(path));
    for (const QString &name : {u"fgCategories"_s, u"fgProviders"_s, u"fgChannels"_s}) {
        const TickListModel *m = grid(name)->model();
        QCOMPARE(m->Rows(), 1);
        QCOMPARE(m->cellText(0), u"  All"_s);
        QCOMPARE(m->RowData(0), 0);
        QVERIFY(m->Redraw());
    }
    QCOMPARE(m_window->fChart->sFilter, kAllTicked);
}

void tst_frmProvChannels::tickOneItem_data()
{
    QTest::addColumn<bool>("byKey");
    QTest::newRow("mouse") << false;
    QTest::newRow("space key") << true;
}

// An item's tick flips, the count follows by one, "All" stays ticked, and
// the filter changes only at the next redraw.
void tst_frmProvChannels::tickOneItem()
{
    QFETCH(bool, byKey);
    QVERIFY(open(m_same));
    TickList *channels = grid(u"fgChannels"_s);
    const TickListModel *m = channels->model();
    const auto flip = [&](int row) {
        byKey ? pressSpace(channels, row) : clickTick(channels, row);
    };

    flip(3);
    QCOMPARE(m->cellChecked(3), int(TickListModel::Unticked));
    QCOMPARE(m->Row(), 3);
    QCOMPARE(m->RowData(0), 6);
    QCOMPARE(m->cellChecked(0), int(TickListModel::Ticked));
    QCOMPARE(m_window->fChart->sFilter, kAllTicked);
    QTest::mouseClick(redraw()->widget(), Qt::LeftButton);
    QCOMPARE(m_window->fChart->sFilter,
             u"Categories.ID  not in (0) AND Providers.ID  not in (0) AND Channels.ID  not in "
             "( 3) "_s);

    flip(3);
    QCOMPARE(m->cellChecked(3), int(TickListModel::Ticked));
    QCOMPARE(m->RowData(0), 7);
    QCOMPARE(tickedIds(channels), ids({1, 2, 3, 4, 5, 6, 7}));
}

// Both clicks of a double click count: the tick ends where it was.
void tst_frmProvChannels::doubleClick()
{
    QVERIFY(open(m_same));
    TickList *channels = grid(u"fgChannels"_s);
    const QPoint at = channels->visualRect(channels->model()->index(4)).center();
    // What a double click delivers: press, release, double click, release.
    QTest::mouseClick(channels->viewport(), Qt::LeftButton, {}, at);
    QTest::mouseDClick(channels->viewport(), Qt::LeftButton, {}, at);
    QTest::mouseRelease(channels->viewport(), Qt::LeftButton, {}, at);
    QCOMPARE(channels->model()->cellChecked(4), int(TickListModel::Ticked));
    QCOMPARE(channels->model()->RowData(0), 7);
    QTest::mouseClick(channels->viewport(), Qt::LeftButton, {}, at);
    QCOMPARE(channels->model()->cellChecked(4), int(TickListModel::Unticked));
}

// "All" sets every row, itself included, and the count; an item changed by
// hand never changes "All".
void tst_frmProvChannels::allRowIsOneWay()
{
    QVERIFY(open(m_same));
    TickList *providers = grid(u"fgProviders"_s);
    const TickListModel *m = providers->model();

    clickTick(providers, 0);
    for (int row = 0; row < m->Rows(); ++row)
        QCOMPARE(m->cellChecked(row), int(TickListModel::Unticked));
    QCOMPARE(m->RowData(0), 0);

    // Every item ticked again by hand: "All" stays unticked and counts for
    // nothing in the filter.
    for (int row = 1; row < m->Rows(); ++row) {
        pressSpace(providers, row);
        QCOMPARE(m->RowData(0), row);
    }
    QCOMPARE(m->cellChecked(0), int(TickListModel::Unticked));
    QTest::mouseClick(redraw()->widget(), Qt::LeftButton);
    QCOMPARE(m_window->fChart->sFilter, kAllTicked);

    // Ticking "All" after one item was unticked ticks everything again.
    clickTick(providers, 2);
    QCOMPARE(m->RowData(0), 5);
    clickTick(providers, 0);
    QCOMPARE(m->cellChecked(0), int(TickListModel::Ticked));
    QCOMPARE(tickedIds(providers), ids({6, 1, 5, 2, 3, 4}));
    QCOMPARE(m->RowData(0), 6);

    // With "All" ticked, unticking an item leaves "All" ticked.
    clickTick(providers, 1);
    QCOMPARE(m->cellChecked(0), int(TickListModel::Ticked));
    QCOMPARE(m->RowData(0), 5);
}

// The redraw tool is off while any list has nothing ticked, and comes back
// once every list has a tick again.
void tst_frmProvChannels::redrawButtonFollowsEmptyLists()
{
    QVERIFY(open(m_same));
    TickList *categories = grid(u"fgCategories"_s);
    TickList *channels = grid(u"fgChannels"_s);
    auto *button = qobject_cast<QAbstractButton *>(redraw()->widget());

    // Unticking the items one by one: off with the last one.
    for (int row = 1; row <= 3; ++row) {
        QVERIFY(redraw()->Enabled());
        clickTick(categories, row);
    }
    QCOMPARE(categories->model()->RowData(0), 0);
    QVERIFY(!redraw()->Enabled());
    QVERIFY(!button->isEnabled());

    // A second empty list: one tick in the first is not enough.
    clickTick(channels, 0);
    QVERIFY(!redraw()->Enabled());
    pressSpace(categories, 2);
    QVERIFY(!redraw()->Enabled());
    clickTick(channels, 5);
    QVERIFY(redraw()->Enabled());
    QVERIFY(button->isEnabled());

    // "All" unticked empties a list at once, ticked fills it.
    clickTick(categories, 0);
    QVERIFY(!redraw()->Enabled());
    clickTick(categories, 0);
    QVERIFY(redraw()->Enabled());
}

// Over a cell the list's tool tip is that cell's text, blanks included;
// elsewhere it keeps the last one, at first the design's.
void tst_frmProvChannels::toolTipFollowsMouse()
{
    QVERIFY(open(m_same));
    m_window->resize(592, 700); // room below the last category
    TickList *categories = grid(u"fgCategories"_s);
    QWidget *viewport = categories->viewport();
    const auto shownAt = [&](const QPoint &at) {
        QHelpEvent help(QEvent::ToolTip, at, viewport->mapToGlobal(at));
        QApplication::sendEvent(viewport, &help);
        return QToolTip::isVisible() ? QToolTip::text() : QString();
    };
    const auto over = [&](int row) {
        return categories->visualRect(categories->model()->index(row)).center();
    };
    const QPoint below(5, over(3).y() + 20);
    QTRY_VERIFY(viewport->rect().contains(below));

    QTest::mouseMove(viewport, below);
    QCOMPARE(categories->model()->ToolTipText(), u"  Categories"_s);
    QCOMPARE(shownAt(below), u"  Categories"_s);

    QTest::mouseMove(viewport, over(2));
    QCOMPARE(categories->model()->ToolTipText(), u"  World"_s);
    QCOMPARE(shownAt(over(2)), u"  World"_s);

    QTest::mouseMove(viewport, over(0));
    QCOMPARE(shownAt(over(0)), u"  All"_s);
    QTest::mouseMove(viewport, below);
    QCOMPARE(categories->model()->ToolTipText(), u"  All"_s);
    QCOMPARE(shownAt(below), u"  All"_s);
    QToolTip::hideText();
}

void tst_frmProvChannels::restore_data()
{
    QTest::addColumn<QString>("database");
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<QList<int>>("categories"); // ticked IDs after the load
    QTest::addColumn<QList<int>>("providers");
    QTest::addColumn<QList<int>>("channels");
    QTest::addColumn<QString>("allRows"); // "All" ticked per list: 1 or 0
    QTest::addColumn<QString>("rebuilt"); // sFilter after the load

    const QList<int> cats = {3, 1, 2}, provs = {6, 1, 5, 2, 3, 4}, chans = {1, 2, 3, 4, 5, 6, 7};
    const QList<int> newCats = {3, 1, 2, 4}, newProvs = {6, 1, 5, 3, 4, 8},
                     newChans = {1, 2, 3, 5, 6, 7, 9};
    const auto row = [](const char *name) -> QTestData & { return QTest::newRow(name); };

    row("nothing stored") << u"same.db"_s << QVariant() << cats << provs << chans << u"111"_s
                          << kAllTicked;
    row("worked example, same IDs")
        << u"same.db"_s << QVariant(kWorkedExample) << cats << ids({1, 2}) << ids({1, 2, 3, 6, 7})
        << u"101"_s << kWorkedExample;
    row("exclusion of one") << u"same.db"_s
                            << QVariant(u"Categories.ID  not in ( 2) AND Providers.ID  not in "
                                        "(0) AND Channels.ID  not in (0) "_s)
                            << ids({3, 1}) << provs << chans << u"111"_s
                            << u"Categories.ID  not in ( 2) AND Providers.ID  not in (0) AND "
                               "Channels.ID  not in (0) "_s;
    row("exclusion of two") << u"same.db"_s
                            << QVariant(u"Categories.ID  not in (0) AND Providers.ID  not in "
                                        "(0) AND Channels.ID  not in ( 2, 6) "_s)
                            << cats << provs << ids({1, 3, 4, 5, 7}) << u"111"_s
                            << u"Categories.ID  not in (0) AND Providers.ID  not in (0) AND "
                               "Channels.ID  not in ( 2, 6) "_s;
    row("worked example, IDs deleted and added")
        << u"changed.db"_s << QVariant(kWorkedExample) << newCats << ids({1})
        << ids({1, 2, 3, 6, 7, 9}) << u"101"_s
        << u"Categories.ID  not in (0) AND Providers.ID  in ( 1) AND Channels.ID  not in "
           "( 5) "_s;
    row("only a deleted ID excluded")
        << u"changed.db"_s
        << QVariant(u"Categories.ID  not in (0) AND Providers.ID  not in ( 2) AND Channels.ID  "
                    "not in ( 4) "_s)
        << newCats << newProvs << newChans << u"111"_s << kAllTicked;
    row("new item in an inclusion stays unticked")
        << u"changed.db"_s
        << QVariant(u"Categories.ID  in ( 1, 3) AND Providers.ID  not in (0) AND Channels.ID  "
                    "not in (0) "_s)
        << ids({3, 1}) << newProvs << newChans << u"011"_s
        << u"Categories.ID  not in ( 2, 4) AND Providers.ID  not in (0) AND Channels.ID  not "
           "in (0) "_s;
    row("garbage") << u"same.db"_s << QVariant(u"DROP TABLE News"_s) << cats << provs << chans
                   << u"111"_s << kAllTicked;
    row("a number") << u"same.db"_s << QVariant(7) << cats << provs << chans << u"111"_s
                    << kAllTicked;
    row("well-formed prefix")
        << u"same.db"_s
        << QVariant(u"Categories.ID  in ( 1) AND Providers.ID  in ( x) AND Channels.ID  not in "
                    "( 4) "_s)
        << ids({1}) << provs << chans << u"011"_s
        << u"Categories.ID  in ( 1) AND Providers.ID  not in (0) AND Channels.ID  not in (0) "_s;
    row("cut short")
        << u"same.db"_s << QVariant(u"Categories.ID  not in ( 3) AND Providers.ID  in ( 1, 2"_s)
        << ids({1, 2}) << provs << chans << u"111"_s
        << u"Categories.ID  not in ( 3) AND Providers.ID  not in (0) AND Channels.ID  not in "
           "(0) "_s;
}

// The stored text back to ticks, and the text the load then composes from
// them: the same one while the IDs are the same; one for the lists as they
// are now once IDs were deleted or added; a well-formed one from any value.
void tst_frmProvChannels::restore()
{
    QFETCH(QString, database);
    QFETCH(QVariant, stored);
    QFETCH(QString, allRows);
    QVERIFY(open(m_dir.filePath(database), stored));
    const QStringList names = {u"fgCategories"_s, u"fgProviders"_s, u"fgChannels"_s};
    for (int i = 0; i < 3; ++i) {
        const TickList *list = grid(names[i]);
        const QList<int> ticked = tickedIds(list);
        QTEST(ticked, qPrintable(names[i].mid(2).toLower()));
        QCOMPARE(list->model()->RowData(0), ticked.size());
        QCOMPARE(list->model()->cellChecked(0) == TickListModel::Ticked, allRows[i] == u'1');
    }
    const QString filter = m_window->fChart->sFilter;
    QTEST(filter, "rebuilt");
    static const QRegularExpression shape(
        u"^Categories\\.ID  (not )?in \\((0|( \\d+)(, \\d+)*)\\) AND Providers\\.ID  (not )?in "
        "\\((0|( \\d+)(, \\d+)*)\\) AND Channels\\.ID  (not )?in \\((0|( \\d+)(, \\d+)*)\\) $"_s);
    QVERIFY2(shape.match(filter).hasMatch(), qPrintable(filter));
}

// A stored inclusion whose IDs are all gone: that list has nothing ticked and
// the chart gets nothing, yet the redraw tool stays on until a tick changes.
void tst_frmProvChannels::inclusionOfDeletedIds()
{
    QVERIFY(open(m_changed, u"Categories.ID  not in (0) AND Providers.ID  in ( 2) AND "
                            "Channels.ID  not in (0) "_s));
    TickList *providers = grid(u"fgProviders"_s);
    TickList *channels = grid(u"fgChannels"_s);
    QCOMPARE(tickedIds(providers), QList<int>());
    QCOMPARE(providers->model()->RowData(0), 0);
    QCOMPARE(m_window->fChart->sFilter, u"Categories.ID  not in (0) AND Providers.ID  in (0) AND "
                                        "Channels.ID  not in (0) "_s);
    QVERIFY(redraw()->Enabled());
    clickTick(channels, 1);
    QVERIFY(!redraw()->Enabled());
    clickTick(channels, 1);
    QVERIFY(!redraw()->Enabled());
    clickTick(providers, 3);
    QVERIFY(redraw()->Enabled());
}

// What the window stores at close is the filter of the last drawing, not
// ticks changed since.
void tst_frmProvChannels::storedFilterIsTheLastDrawing()
{
    QVERIFY(open(m_same));
    TickList *channels = grid(u"fgChannels"_s);
    clickTick(channels, 2);
    QTest::mouseClick(redraw()->widget(), Qt::LeftButton);
    clickTick(channels, 3);
    QVERIFY(m_window->close());
    QTRY_VERIFY(!m_window);
    QCOMPARE(gSettings->GetSetting(u"STATCHART"_s, u"FILTERS"_s).toString(),
             u"Categories.ID  not in (0) AND Providers.ID  not in (0) AND Channels.ID  not in "
             "( 2) "_s);
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

// In the window's dock, 245 pixels wide, the lists are read without sideways
// scrolling: every row as wide as the list, long names cut short.
void tst_frmProvChannels::readableAtDockWidth()
{
    // The demo's names, long ones among them.
    const QString demo = m_dir.filePath(u"demo.db"_s);
    qrt::db::DemoDatabase::Options options;
    options.items = 3000;
    options.until = QDate(2024, 12, 31);
    QString error;
    QVERIFY2(qrt::db::DemoDatabase::create(demo, options, &error), qPrintable(error));
    QVERIFY(open(demo));
    auto *panel = m_window->findChild<frmProvChannels *>();
    auto *dock = qobject_cast<QDockWidget *>(panel->parentWidget());
    QVERIFY(dock);
    QTRY_COMPARE(panel->width(), 245);
    for (const QString &name : {u"fgCategories"_s, u"fgProviders"_s, u"fgChannels"_s}) {
        TickList *list = grid(name);
        QVERIFY(!list->horizontalScrollBar()->isVisible());
        QCOMPARE(list->horizontalScrollBar()->maximum(), 0);
        for (int row = 0; row < list->model()->Rows(); ++row)
            QCOMPARE(list->visualRect(list->model()->index(row)).width(),
                     list->viewport()->width());
    }
    // The longest channel name is wider than the list, and still its row is
    // no wider: it ends in an ellipsis.
    TickList *channels = grid(u"fgChannels"_s);
    int widest = 0;
    for (const QString &text : column(channels, Qt::DisplayRole))
        widest = qMax(widest, channels->fontMetrics().horizontalAdvance(text));
    QVERIFY(widest > channels->viewport()->width());
    const QString folder = qEnvironmentVariable("QRT_SCREENSHOT_DIR");
    if (!folder.isEmpty()) {
        QVERIFY(m_window->grab().save(QDir(folder).filePath(u"frmCharts-filters.png"_s)));
        QVERIFY(panel->grab().save(QDir(folder).filePath(u"frmProvChannels.png"_s)));
    }
}

QTEST_MAIN(tst_frmProvChannels)
#include "tst_frmprovchannels.moc"
