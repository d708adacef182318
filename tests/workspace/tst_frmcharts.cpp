// The chart window as a user meets it on a demo news database: the tools of
// the bar clicked and keyed, the named periods and the calendar, the filter
// panel and the redraw, the stored choices across windows, and the layout.
// And the window while its database goes away in the middle of a read (a
// SQLite file renamed over, a PostgreSQL server of the test's own
// stopped): it goes on working and draws again once the database is back.

#include "PrivatePostgres.h"
#include "TestDatabases.h"
#include "TickClicks.h"
#include "base/Dates.h"
#include "base/ResumeNext.h"
#include "component/modUtils.h"
#include "controls/chart/ChartView.h"
#include "controls/tools/ButtonTool.h"
#include "controls/tools/ComboTool.h"
#include "controls/tools/DockStudio.h"
#include "controls/tools/PopupTool.h"
#include "controls/tools/PopupWindow.h"
#include "controls/tools/TickList.h"
#include "demodata/DemoDatabase.h"
#include "filterpanel/frmProvChannels.h"
#include "newschart/ChartControl.h"
#include "newschart/frmChart.h"
#include "pivot/PivotData.h"
#include "pivot/PivotView.h"
#include "pivotviews/PivotChartSpace.h"
#include "settings/CAppSettings.h"
#include "settings/SettingsStore.h"
#include "workspace/frmCharts.h"

#include <qrt/statCharts.h>

#include <QAction>
#include <QCalendarWidget>
#include <QComboBox>
#include <QDeadlineTimer>
#include <QDockWidget>
#include <QLabel>
#include <QPointer>
#include <QSqlQuery>
#include <QTabWidget>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <QToolBar>

#include <sqlite3.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

using namespace Qt::StringLiterals;
namespace dates = qrt::dates;
using qrt::test::clickTick;
using qrt::test::PrivatePostgres;

namespace {

const QString kSection = u"STATCHART"_s;
// Twice the design size: every tool of the bar has room.
constexpr QSize kRoomy(1184, 676);
constexpr QSize kDesignSize(592, 338);

ComboTool *combo(frmCharts *w, const QString &id)
{
    return w->dsChart->Commands().GetComboBox(id);
}

ButtonTool *button(frmCharts *w, const QString &id)
{
    return w->dsChart->Commands().GetToolButton(id);
}

PopupTool *dateTool(frmCharts *w, const QString &id)
{
    return w->dsChart->Commands().GetPopupTool(id);
}

ChartControl &chart(frmCharts *w)
{
    return w->fChart->chart();
}

PopupWindow *calendarPopup(frmCharts *w)
{
    return w->dsChart->PopupWindows(u"pwfCal"_s);
}

QCalendarWidget *calendarOf(frmCharts *w)
{
    return w->findChild<QCalendarWidget *>(u"Cal"_s);
}

// The chart's type, stacking and legend as the bar shows them and as the
// chart has them: "Plot 1, stacked 1 1, legend 1 1".
QString looks(frmCharts *w)
{
    return u"%1 %2, stacked %3 %4, legend %5 %6"_s.arg(combo(w, u"cbChartType"_s)->Text())
        .arg(chart(w).ChartType())
        .arg(button(w, u"tbStacked"_s)->Value())
        .arg(int(chart(w).IsStacked()))
        .arg(button(w, u"tbLegend"_s)->Value())
        .arg(int(chart(w).LegendIsShowing()));
}

QString isoDay(double date)
{
    return dates::toQDate(date).toString(Qt::ISODate);
}

// Opens the combo's list with a click and picks the item with the keys, as
// a user does; false when the list did not open or close.
bool choose(frmCharts *w, const QString &id, const QString &text)
{
    QComboBox *box = combo(w, id)->comboBox();
    const int row = box->findText(text);
    if (row < 0)
        return false;
    QTest::mouseClick(box, Qt::LeftButton);
    if (!QTest::qWaitFor([box] { return box->view()->isVisible(); }))
        return false;
    QTest::keyClick(box->view(), Qt::Key_Home);
    for (int i = 0; i < row; ++i)
        QTest::keyClick(box->view(), Qt::Key_Down);
    QTest::keyClick(box->view(), Qt::Key_Return);
    return QTest::qWaitFor([box] { return !box->view()->isVisible(); });
}

void click(Tool *tool)
{
    QTest::mouseClick(tool->widget(), Qt::LeftButton);
}

bool openCalendar(frmCharts *w, const QString &id)
{
    click(dateTool(w, id));
    return QTest::qWaitFor([w] { return calendarPopup(w)->isVisible(); });
}

// A click on the chart while the pop-up is open: the pop-up takes the click
// and closes, as at any click outside it.
bool clickElsewhere(frmCharts *w)
{
    const QPoint onChart = w->fChart->mapTo(w, w->fChart->rect().center());
    QTest::mouseClick(w->windowHandle(), Qt::LeftButton, {}, onChart);
    return QTest::qWaitFor([w] { return !calendarPopup(w)->isVisible(); });
}

// Clicks the 15th of the month the calendar shows, which stands once in its
// grid; answers that day.
QDate clickFifteenth(frmCharts *w)
{
    QCalendarWidget *cal = calendarOf(w);
    auto *view = cal->findChild<QTableView *>(u"qt_calendar_calendarview"_s);
    if (!view)
        return {};
    const QAbstractItemModel *model = view->model();
    for (int r = 0; r < model->rowCount(); ++r) {
        for (int c = 0; c < model->columnCount(); ++c) {
            const QModelIndex cell = model->index(r, c);
            if (cell.data().toString() != u"15"_s)
                continue;
            QTest::mouseClick(view->viewport(), Qt::LeftButton, {},
                              view->visualRect(cell).center());
            return QDate(cal->yearShown(), cal->monthShown(), 15);
        }
    }
    return {};
}

// A rectangle of a widget in the coordinates of its window.
QRect inWindow(const QWidget *widget)
{
    return QRect(widget->mapTo(widget->window(), QPoint(0, 0)), widget->size());
}

const QString kEmptyLook = u"0 series, 0 news, empty"_s;

// What the chart shows: its series, the news its cells add up to, and
// whether it has the look of a chart without news.
QString drawing(frmCharts *w)
{
    const ChartControl &c = w->fChart->chart();
    qint64 news = 0;
    for (int series = 1; series <= c.NumSeries(); ++series) {
        for (int point = 1; point <= c.NumPoints(series); ++point) {
            double cell = 0;
            if (c.Y(series, point, cell) && !c.IsHole(cell))
                news += qint64(cell);
        }
    }
    const bool empty = c.BackColor() == DesignBackColor && c.LabelCount() == 0;
    return u"%1 series, %2 news%3"_s.arg(c.NumSeries())
        .arg(news)
        .arg(empty ? u", empty"_s : QString());
}

// The same counts read straight from the tables: the providers with news and
// the news items, all of which lie in the window's period.
QString storedCounts(const QString &connection)
{
    return qrt::test::firstColumn(
               connection,
               u"SELECT count(DISTINCT Providers.ID) || ' series, ' || count(*) || ' news' FROM "
               "News JOIN Channels ON Channels.ID = News.Channel JOIN Providers ON Providers.ID "
               "= Channels.Provider JOIN Categories ON Categories.ID = Channels.Category"_s)
        .value(0, u"unreadable"_s);
}

bool makeNews(const QString &target, qint64 items, quint64 seed)
{
    QString error;
    if (!qrt::db::DemoDatabase::create(target,
                                       {.items = items,
                                        .seed = seed,
                                        .until = QDate::currentDate().addDays(-2),
                                        .days = 20,
                                        .replace = true},
                                       &error))
        qWarning() << error;
    return error.isEmpty();
}

// Sessions that wait for a lock, seen from a connection of the calling thread.
int lockWaiters(const QString &url)
{
    return qrt::test::firstColumn(
               url, u"SELECT count(*) FROM pg_stat_activity WHERE wait_event_type = 'Lock'"_s)
        .value(0)
        .toInt();
}

// A session that holds the news table until it goes, so that a reader of it
// waits in the middle of its statement.
class NewsLock
{
public:
    explicit NewsLock(const QString &url)
    {
        m_db.Open(url, qrt::db::Connection::Access::ReadWrite);
        m_held = m_db.database().transaction() &&
                 QSqlQuery(m_db.database()).exec(u"LOCK TABLE News IN ACCESS EXCLUSIVE MODE"_s);
    }
    bool isHeld() const { return m_held; }

private:
    qrt::db::Connection m_db;
    bool m_held = false;
};

// Runs once, while a drawing reads News between its rows (on the window's
// thread, or the window's count of News on its own): the test's way into the
// middle of a redraw. The pivot views' loads read on threads of their own.
std::function<void()> s_midRead;
std::mutex s_midReadLock;

int whileReading(void *handle)
{
    auto *db = static_cast<sqlite3 *>(handle);
    const bool window = QThread::currentThread() == qApp->thread();
    for (sqlite3_stmt *stmt = sqlite3_next_stmt(db, nullptr); stmt;
         stmt = sqlite3_next_stmt(db, stmt)) {
        const QByteArray sql(sqlite3_sql(stmt));
        if (sqlite3_stmt_busy(stmt) && sql.contains("News") &&
            (window || sql.startsWith("SELECT Channel, pubDate"))) {
            std::function<void()> act;
            {
                const std::lock_guard lock(s_midReadLock);
                act = std::exchange(s_midRead, {});
            }
            if (act)
                act();
            break;
        }
    }
    return 0;
}

int watchReads(sqlite3 *db, char **, const sqlite3_api_routines *)
{
    sqlite3_progress_handler(db, 100, whileReading, db);
    return SQLITE_OK;
}

} // namespace

class tst_frmCharts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void calendar();
    void choicesComeBack();
    void storedOddities_data();
    void storedOddities();
    void layout();
    void sqliteFileGoesMidRead();
    void serverStops();

private:
    frmCharts *open(QSize size = kRoomy, const QString &connection = {});
    // A shown window whose pivot views have their first loads behind them.
    frmCharts *openLoaded(const QString &connection);
    void close(frmCharts *w);
    QVariant stored(const QString &key) const;
    QString newsUrl() const { return m_server->url(u"news"_s); }

    QTemporaryDir m_dir;
    QString m_database;
    std::unique_ptr<statCharts> m_charts;
    std::unique_ptr<PrivatePostgres> m_server; // null without PostgreSQL
    QList<QPointer<frmCharts>> m_windows;
};

void tst_frmCharts::initTestCase()
{
    QVERIFY(m_dir.isValid());
    qputenv("XDG_CACHE_HOME", QFile::encodeName(m_dir.filePath(u"cache"_s)));
    sqlite3_auto_extension(reinterpret_cast<void (*)()>(&watchReads));
    m_database = m_dir.filePath(u"demo.db"_s);
    QString error;
    QVERIFY2(qrt::db::DemoDatabase::create(m_database, {.items = 30000, .seed = 11, .days = 800},
                                           &error),
             qPrintable(error));
    m_charts = std::make_unique<statCharts>();
    if (PrivatePostgres::binDir().isEmpty())
        return;
    m_server = std::make_unique<PrivatePostgres>();
    QString why;
    QVERIFY2(m_server->create(&why), qPrintable(why));
    QVERIFY(qrt::test::execAll(m_server->url(), {u"CREATE DATABASE news"_s}));
    QVERIFY(makeNews(newsUrl(), 3000, 5));
}

void tst_frmCharts::init()
{
    // Every test starts as a first run.
    resumeNext([] { gSettings->DeleteSetting(kSection); });
    QVERIFY(!stored(u"CHARTTYPE"_s).isValid());
}

void tst_frmCharts::cleanup()
{
    {
        const std::lock_guard lock(s_midReadLock);
        s_midRead = {};
    }
    for (const auto &w : std::as_const(m_windows))
        delete w.data();
    m_windows.clear();
}

frmCharts *tst_frmCharts::open(QSize size, const QString &connection)
{
    m_charts->ConnectionString(connection.isEmpty() ? m_database : connection);
    auto *w = qobject_cast<frmCharts *>(m_charts->ShowChartForm());
    if (!w)
        return nullptr;
    m_windows << w;
    w->setAttribute(Qt::WA_DeleteOnClose); // as the host program does
    w->resize(size);
    w->show();
    if (!QTest::qWaitForWindowExposed(w))
        return nullptr;
    // The dock takes its width once the window is laid out.
    QDockWidget *dock = w->dsChart->DockWindows(u"dwfProvChannels"_s);
    if (!QTest::qWaitFor([dock] { return dock->width() == 245; }, 2000))
        qWarning() << "the filter dock is" << dock->width() << "wide";
    return w;
}

void tst_frmCharts::close(frmCharts *w)
{
    QPointer<frmCharts> guard(w);
    w->close();
    if (!QTest::qWaitFor([&guard] { return guard.isNull(); }))
        qWarning() << "a closed window stays";
}

QVariant tst_frmCharts::stored(const QString &key) const
{
    QVariant value;
    resumeNext([&] { value = gSettings->GetSetting(kSection, key, QVariant()); });
    return value;
}

// The day clicked on the calendar, or held when the pop-up is dismissed, becomes that date and its
// caption, which reads back to the same day when the calendar opens again.
void tst_frmCharts::calendar()
{
    frmCharts *w = open();
    QVERIFY(w);
    const double till = w->fChart->TillDate;
    QVERIFY(openCalendar(w, u"cpFrom"_s));
    QVERIFY(w->calendarEditsFirstDate());
    const QDate day = clickFifteenth(w);
    QVERIFY(day.isValid());
    QTRY_VERIFY(!calendarPopup(w)->isVisible());
    const QString caption = u"From:"_s + day.toString(Qt::ISODate);
    QCOMPARE(dateTool(w, u"cpFrom"_s)->Caption(), caption);
    QCOMPARE(w->fChart->FromDate, dates::fromQDate(day));
    QCOMPARE(w->fChart->TillDate, till);
    calendarOf(w)->setSelectedDate(QDate(2005, 3, 15));
    QVERIFY(openCalendar(w, u"cpFrom"_s));
    QCOMPARE(calendarOf(w)->selectedDate(), day);
    QVERIFY(clickElsewhere(w));
    QCOMPARE(dateTool(w, u"cpFrom"_s)->Caption(), caption);

    // Day 0 held on the other tool (other days' captions are the date texts
    // of tst_newschartbuilder).
    QVERIFY(openCalendar(w, u"cpTill"_s));
    QVERIFY(!w->calendarEditsFirstDate());
    calendarOf(w)->setSelectedDate(QDate(1899, 12, 30));
    QVERIFY(clickElsewhere(w));
    QCOMPARE(dateTool(w, u"cpTill"_s)->Caption(), u"To:00:00:00"_s);
    QCOMPARE(w->fChart->TillDate, 0.0);
    QCOMPARE(w->fChart->FromDate, dates::fromQDate(day));

    // The named period stays on show; choosing it again undoes the picks,
    // dates and captions alike.
    QCOMPARE(combo(w, u"cbFilter"_s)->Text(), u"Last Month"_s);
    QVERIFY(choose(w, u"cbFilter"_s, u"Last Month"_s));
    const double today = dates::today();
    QCOMPARE(w->fChart->FromDate, today - 31);
    QCOMPARE(w->fChart->TillDate, today);
    QCOMPARE(dateTool(w, u"cpFrom"_s)->Caption(), u"From:"_s + isoDay(today - 31));
    QCOMPARE(dateTool(w, u"cpTill"_s)->Caption(), u"To:"_s + isoDay(today));
}

// A first run draws the providers' series (its look and period are
// storedOddities' and calendar's). The look tools change the chart at once
// and alone (what the close stores is the chart's own state) without a new
// drawing; the others, ticks too, wait for the next one (F5 or the redraw
// tool, which is off with a list all unticked). Of two windows, the one
// closed last stores its last drawing's choices: here the second, so
// neither "the first window" nor "the first close" would do.
void tst_frmCharts::choicesComeBack()
{
    frmCharts *first = open();
    frmCharts *w = open();
    QVERIFY(first && w);
    QVERIFY(choose(first, u"cbChartType"_s, u"Area"_s));
    close(first);
    // The window left open still works: its children find it by its key.
    QCOMPARE(gChartForms.Item(ChartFormKey(w->fIndex)), w);
    w->activateWindow(); // for F5
    QVERIFY(QTest::qWaitForWindowActive(w));
    // "Provider" is none of the items, yet the series are the providers'.
    QCOMPARE(combo(w, u"cbSeries"_s)->Text(), u"Provider"_s);
    QCOMPARE(w->fChart->chartSeria, 3);
    const QStringList before = chart(w).SeriesLabels();
    const QStringList names =
        qrt::test::firstColumn(m_database, u"SELECT Provider FROM Providers"_s);
    QVERIFY(before.size() > 1);
    for (const QString &label : before)
        QVERIFY2(names.contains(label), qPrintable(label));

    TickList *providers = w->filterPanel()->fgProviders;
    int row = 1; // a provider with news in the period
    while (row < providers->model()->Rows() &&
           !before.contains(providers->model()->cellText(row).trimmed()))
        ++row;
    QVERIFY(row < providers->model()->Rows());
    providers->scrollTo(providers->model()->index(row, 0));
    clickTick(providers, row);
    QCOMPARE(chart(w).SeriesLabels(), before);
    QTest::keyClick(w, Qt::Key_F5);
    const QStringList after = chart(w).SeriesLabels();
    QCOMPARE(after.size(), before.size() - 1);
    QVERIFY(!after.contains(providers->model()->cellText(row).trimmed()));

    const double drawnFrom = w->fChart->minDate();
    QVERIFY(choose(w, u"cbChartType"_s, u"Bar"_s));
    click(button(w, u"tbStacked"_s));
    click(button(w, u"tbLegend"_s));
    QCOMPARE(looks(w), u"Bar 2, stacked 0 0, legend 0 0"_s);
    QCOMPARE(w->fChart->minDate(), drawnFrom);
    QVERIFY(choose(w, u"cbSeries"_s, u"Channels"_s));
    QCOMPARE(chart(w).SeriesLabels(), after);
    QVERIFY(choose(w, u"cbFilter"_s, u"Last Week"_s));
    QVERIFY(openCalendar(w, u"cpFrom"_s)); // a picked day lasts as long as the window
    QVERIFY(clickFifteenth(w).isValid());
    QTRY_VERIFY(!calendarPopup(w)->isVisible());
    click(button(w, u"tbRedraw"_s));
    const QString filter = w->fChart->sFilter;
    clickTick(providers, 0);
    QVERIFY(!button(w, u"tbRedraw"_s)->Enabled());
    QTest::keyClick(w, Qt::Key_F5);
    QCOMPARE(w->fChart->sFilter, filter);
    close(w);

    QCOMPARE(stored(u"CHARTTYPEVALUE"_s), QVariant(2)); // a number stays a number
    QCOMPARE(stored(u"ORDER"_s), QVariant(u"ORDER BY Channels.ID, News.pubDate"_s));

    w = open();
    QVERIFY(w);
    QCOMPARE(looks(w), u"Bar 2, stacked 0 0, legend 0 0"_s);
    QCOMPARE(combo(w, u"cbSeries"_s)->Text(), u"Channels"_s);
    QCOMPARE(combo(w, u"cbFilter"_s)->Text(), u"Last Week"_s);
    QCOMPARE(w->fChart->FromDate, dates::today() - 7); // the named period, not the pick
    QCOMPARE(w->fChart->sFilter, filter);
    QCOMPARE(w->filterPanel()->fgProviders->model()->cellChecked(row), 2);
    const QStringList channels =
        qrt::test::firstColumn(m_database, u"SELECT Channel FROM Channels"_s);
    QVERIFY(!chart(w).SeriesLabels().isEmpty());
    QVERIFY(channels.contains(chart(w).SeriesLabels().first()));
}

void tst_frmCharts::storedOddities_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("looks");
    QTest::addColumn<QString>("period");
    QTest::addColumn<int>("daysBack"); // -1: from day 0
    QTest::addColumn<QVariant>("afterClose");
    const QString plot = u"Plot 1, stacked 1 1, legend 1 1"_s;
    // Day 0 on, and no period named: none is stored at close either.
    QTest::newRow("period out of range")
        << u"PERIOD"_s << QVariant(9) << plot << QString() << -1 << QVariant(9);
    QTest::newRow("stacked other than 1")
        << u"STACKED"_s << QVariant(u"yes"_s) << u"Plot 1, stacked 0 0, legend 1 1"_s
        << u"Last Month"_s << 31 << QVariant(u"0"_s);
    QTest::newRow("type value not a number") << u"CHARTTYPEVALUE"_s << QVariant(u"Bar"_s) << plot
                                             << u"Last Month"_s << 31 << QVariant(1);
    // An entry whose read raises: chartSeria keeps its 0 instead of taking
    // the default 3, and the close stores that.
    QTest::newRow("series value unreadable")
        << u"SERIESVALUE"_s << QVariant() << plot << u"Last Month"_s << 31 << QVariant(0);
}

void tst_frmCharts::storedOddities()
{
    QFETCH(QString, key);
    QFETCH(QVariant, value);
    QFETCH(int, daysBack);
    if (value.isValid())
        gSettings->SaveSetting(kSection, key, value);
    else // a text entry without its terminating byte: its read raises
        QVERIFY(qrt::settings::SettingsStore(qrt::settings::StoreRoot::CurrentUser)
                    .setEntry(u"Software\\Koltrin\\Zorvane\\STATCHART"_s, key,
                              {qrt::settings::StoreEntry::Text, {}}));
    frmCharts *w = open();
    QVERIFY(w);
    QTEST(looks(w), "looks");
    QTEST(combo(w, u"cbFilter"_s)->Text(), "period");
    QCOMPARE(w->fChart->FromDate, daysBack < 0 ? 0.0 : dates::today() - daysBack);
    close(w);
    QTEST(stored(key), "afterClose");
}

// At the design size (the other tests' windows are twice as large, and
// every tool they click has room there).
void tst_frmCharts::layout()
{
    frmCharts *w = open(kDesignSize);
    QVERIFY(w);
    auto *bar = w->findChild<QToolBar *>(u"tbFilter"_s);
    const QRect barRect = inWindow(bar);
    const QRect dockRect = inWindow(w->dsChart->DockWindows(u"dwfProvChannels"_s));
    const QRect clientRect = inWindow(w->dsChart->ClientWindows(u"Chart"_s));
    QVERIFY(!barRect.intersects(dockRect) && !barRect.intersects(clientRect));
    QVERIFY(!dockRect.intersects(clientRect));

    // The legend stands beside the chart, never over it, and leaves it the
    // larger part; series it has no room for are counted.
    auto *view = w->findChild<ChartView *>(u"chrtNews"_s);
    QTRY_VERIFY(view->legend->visible());
    view->replot();
    const QRect plotArea = view->axisRect()->outerRect();
    const QRect legendArea = view->legend->outerRect();
    QVERIFY(!plotArea.intersects(legendArea));
    QVERIFY(plotArea.width() > legendArea.width());
    const int series = chart(w).NumSeries();
    const int lines = view->legend->itemCount();
    const QString last = view->legendText(lines - 1);
    if (lines < series)
        QCOMPARE(last, u"+ %1 more"_s.arg(series - lines + 1));
    else
        QCOMPARE(lines, series);
}

frmCharts *tst_frmCharts::openLoaded(const QString &connection)
{
    frmCharts *w = open(kRoomy, connection);
    QObject *page = w ? w->findChild<QObject *>(u"WebBrowser1"_s) : nullptr;
    const auto settled = [&] {
        return w->ChartSpace && !w->ChartSpace->isLoading() && !page->property("busy").toBool();
    };
    return page && QTest::qWaitFor(settled, 120000) ? w : nullptr;
}

// A read that is under way when another database is renamed over the file
// reads the old file to its end, as an open file stays; the next redraw
// reads what is there now, and the one after the file is back draws again.
void tst_frmCharts::sqliteFileGoesMidRead()
{
    const QString path = m_dir.filePath(u"news.db"_s);
    const QString other = m_dir.filePath(u"other.db"_s);
    QVERIFY(makeNews(path, 3000, 1));
    QVERIFY(makeNews(other, 1000, 2));
    const QString before = storedCounts(path);
    const QString after = storedCounts(other);
    QVERIFY(before != after);

    frmCharts *w = openLoaded(path);
    QVERIFY(w);
    QCOMPARE(drawing(w), before);
    // A redraw reads News again only after a change; this one leaves the chart.
    QVERIFY(qrt::test::execAll(path, {u"UPDATE News SET Title = 'changed' WHERE ID = 1"_s}));
    std::atomic<bool> replaced = false;
    {
        const std::lock_guard lock(s_midReadLock);
        s_midRead = [&] {
            replaced = ::rename(QFile::encodeName(other).constData(),
                                QFile::encodeName(path).constData()) == 0;
        };
    }
    click(button(w, u"tbRedraw"_s));
    QTRY_VERIFY(replaced); // the count of News reads on, in the window's background
    QCOMPARE(drawing(w), before);
    click(button(w, u"tbRedraw"_s));
    QCOMPARE(drawing(w), after);
    QVERIFY(makeNews(path, 3000, 1));
    click(button(w, u"tbRedraw"_s));
    QCOMPARE(drawing(w), before);
}

// The window opens on a stopped server and draws once it is up. Then the
// server stops in the middle of a redraw (on the window's thread, so from
// another once the redraw's statement waits for the news table) and of a
// pivot chart load; each time the next try once it is up has every row.
void tst_frmCharts::serverStops()
{
    if (!m_server)
        QRT_SKIP_WITHOUT_POSTGRES(u"PostgreSQL is not installed"_s);
    const QString counts = storedCounts(newsUrl());
    QVERIFY(m_server->stop());
    frmCharts *w = openLoaded(newsUrl());
    QVERIFY(w);
    QCOMPARE(drawing(w), kEmptyLook);
    PivotChartSpace *space = w->ChartSpace;
    QVERIFY(space);
    const QString refused = space->loadError();
    QVERIFY(refused.startsWith(u"cannot open the database"_s));
    QVERIFY(m_server->start());
    click(button(w, u"tbRedraw"_s));
    QCOMPARE(drawing(w), counts);

    w->fChart->waitForCounts(); // the window's own reader, not the one waiting below
    bool stopped = false;
    {
        const NewsLock lock(newsUrl());
        QVERIFY(lock.isHeld());
        std::unique_ptr<QThread> stopper(QThread::create([&] {
            // The redraw ends by itself at the latest when the statement
            // times out; the server is stopped then all the same.
            const QDeadlineTimer bound(120000);
            while (lockWaiters(newsUrl()) == 0 && !bound.hasExpired())
                QThread::msleep(20);
            // A fast stop may end the lock holder first and let the redraw read.
            stopped = m_server->stopAbruptly();
        }));
        stopper->start();
        click(button(w, u"tbRedraw"_s));
        stopper->wait();
    }
    QVERIFY(stopped);
    QCOMPARE(drawing(w), kEmptyLook);
    QVERIFY(m_server->start());
    click(button(w, u"tbRedraw"_s));
    QCOMPARE(drawing(w), counts);

    w->tabCharts->setCurrentIndex(1);
    auto *refresh = space->findChild<QAction *>(u"refreshAction"_s);
    QVERIFY(refresh);
    {
        const NewsLock lock(newsUrl());
        QVERIFY(lock.isHeld());
        refresh->trigger();
        QTRY_VERIFY_WITH_TIMEOUT(lockWaiters(newsUrl()) > 0, 120000);
        QVERIFY(space->isLoading());
        QVERIFY(m_server->stop());
    }
    QTRY_VERIFY_WITH_TIMEOUT(!space->isLoading(), 120000);
    const QString reason = space->loadError();
    QVERIFY2(!reason.isEmpty() && reason != refused, qPrintable(reason));
    const auto *message = space->findChild<QLabel *>(u"messageLabel"_s);
    QVERIFY(message->isVisible() && message->text().contains(reason));
    QVERIFY(!space->InternalPivotTable().ActiveView());

    QVERIFY(m_server->start());
    refresh->trigger();
    QTRY_VERIFY_WITH_TIMEOUT(!space->isLoading(), 120000);
    QVERIFY(space->InternalPivotTable().ActiveView());
    QCOMPARE(u"%1 news"_s.arg(space->InternalPivotTable().ActiveView()->data()->itemCount()),
             counts.section(u", "_s, 1));
}

QTEST_MAIN(tst_frmCharts)
#include "tst_frmcharts.moc"
