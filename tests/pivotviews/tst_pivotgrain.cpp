// Loads grouped in the database against loads of every row: on random
// databases of both engines (ISO date forms with and without time, 'T',
// fractions and zones, missing dates, titles and names, names with quotes
// and letters beyond Latin-1) and random layouts (date levels, member
// choices to include and to exclude, several totals of every function),
// the grid of the grouped load at the grain the layout needs is the grid of
// all rows, cell by cell. A view moved onto the grouped load keeps its grid.

#include "PivotTestData.h"
#include "pivot/PivotAggregator.h"
#include "pivot/PivotData.h"
#include "pivot/PivotGrain.h"
#include "pivot/PivotNewsCells.h"
#include "pivot/PivotResult.h"
#include "pivot/PivotRowRanges.h"
#include "pivot/PivotView.h"

#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>

using namespace Qt::StringLiterals;
using namespace qrt::pivot;

namespace {

const QStringList kNames = {u"Reuters"_s,    u"O'Brien \"Daily\""_s,
                            u"Zürich Ost"_s, u"Łódź Express"_s,
                            u"Новости"_s,    u"東京"_s,
                            u"Ελλάδα"_s,     u"reuters"_s};

QString sqlText(const QVariant &value)
{
    if (value.isNull())
        return u"NULL"_s;
    if (value.typeId() == QMetaType::Int)
        return QString::number(value.toInt());
    return u'\'' + value.toString().replace(u'\'', u"''"_s) + u'\'';
}

// A pubDate as SQLite may keep it: one of the ISO forms the README lists.
QString isoForm(const QDateTime &t, int form)
{
    static const QString forms[] = {u"yyyy-MM-dd"_s,           u"yyyy-MM-dd HH:mm"_s,
                                    u"yyyy-MM-ddTHH:mm:ss"_s,  u"yyyy-MM-dd HH:mm:ss.zzz"_s,
                                    u"yyyy-MM-ddTHH:mm:ssZ"_s, u"yyyy-MM-dd HH:mm:ss+02:00"_s,
                                    u"yyyy-MM-dd HH:mm:ss"_s};
    return t.toString(forms[std::clamp(form, 0, int(std::size(forms)) - 1)]);
}

// A channel's ID: two of them past the small ones and below zero.
int channelId(int c)
{
    return c == 8 ? 70000 : c == 9 ? -5 : c;
}

// `oddTypes`: now and then a channel that is a text, which the join
// compares by rules of its own (SQLite only).
QStringList randomNews(bool postgres, QRandomGenerator &rng, bool oddTypes = false)
{
    QStringList sql = qrt::test::newsTables(postgres);
    sql << u"ALTER TABLE News ADD COLUMN Words integer"_s;
    auto name = [&](int i) {
        return i % 7 == 6
                   ? QVariant()
                   : QVariant(kNames[rng.bounded(kNames.size())] + u' ' + QString::number(i % 3));
    };
    QStringList rows;
    for (int i = 1; i <= 4; ++i)
        rows << u"(%1, %2)"_s.arg(i).arg(sqlText(name(i)));
    sql << u"INSERT INTO Categories VALUES "_s + rows.join(u',')
        << u"INSERT INTO Providers VALUES "_s + rows.join(u',');
    rows.clear();
    // Channel 10 has the name, provider and category of channel 1.
    const QVariant first = name(1);
    for (int c = 1; c <= 10; ++c) {
        const int like = c == 10 ? 1 : c;
        rows << u"(%1, %2, %3, %4)"_s.arg(channelId(c))
                    .arg(sqlText(like == 1 ? first : name(c)))
                    .arg(1 + like % 4)
                    .arg(1 + like % 3);
    }
    sql << u"INSERT INTO Channels VALUES "_s + rows.join(u',');
    const int items = 400 + rng.bounded(300);
    const QDateTime start(QDate(2023, 12, 30), QTime(22, 0));
    rows.clear();
    for (int i = 1; i <= items; ++i) {
        const QDateTime t = start.addSecs(rng.bounded(75 * 86400));
        const int roll = rng.bounded(40);
        QVariant date = postgres ? QVariant(t.toString(u"yyyy-MM-dd HH:mm:ss"_s))
                                 : QVariant(isoForm(t, rng.bounded(9)));
        if (roll == 0)
            date = QVariant();
        else if (roll == 8 && !postgres)
            date = QString(u""_s);
        QVariant title =
            QString(u"Title "_s + kNames[i % kNames.size()] + QString::number(rng.bounded(items)));
        if (roll == 1)
            title = QVariant();
        else if (roll == 2)
            title = QString();
        const QVariant words = roll == 3 ? QVariant() : QVariant(int(rng.bounded(900)) - 100);
        // No channel, or one there is not: the item joins nothing.
        QString channel = roll == 4   ? u"NULL"_s
                          : roll == 5 ? u"99"_s
                                      : QString::number(channelId(1 + int(rng.bounded(10))));
        if (oddTypes && roll == 6)
            channel = u"'x1'"_s;
        // Sparse and partly negative keys: the halves a load may read News in
        // are ranges of them.
        rows << u"(%1, %2, %3, %4, %5)"_s.arg(i * 3 - 700)
                    .arg(sqlText(date))
                    .arg(channel)
                    .arg(sqlText(title))
                    .arg(sqlText(words));
    }
    sql << u"INSERT INTO News VALUES "_s + rows.join(u',');
    return sql;
}

// Some keys of one level that occur in the data.
std::vector<qint64> someKeys(const PivotHierarchy &h, int level, QRandomGenerator &rng)
{
    std::vector<qint64> all;
    const PivotColumn &column = h.column();
    if (h.level(level) == PivotHierarchy::Level::Value) {
        for (quint32 code = 0; code <= column.valueCount(); ++code)
            all.push_back(code);
    } else {
        for (const qint64 t : column.presentTimes())
            all.push_back(PivotHierarchy::dateKey(h.level(level), static_cast<qint32>(t / 86400),
                                                  static_cast<quint32>(t % 86400)));
        if (column.hasBlank())
            all.push_back(PivotHierarchy::BlankKey);
    }
    std::vector<qint64> chosen;
    for (int i = 0; i < 3 && !all.empty(); ++i)
        chosen.push_back(all[rng.bounded(static_cast<quint32>(all.size()))]);
    return chosen;
}

// A random layout: one to three field sets, some of their levels, member
// choices at a random level, and four totals that between them use every
// function. The titles and the timestamps only now and then, as they make
// the grain fine.
void layOut(QRandomGenerator &rng, PivotView &view, bool withWords)
{
    const QStringList sets = {
        u"Provider"_s,         u"Channel"_s,  u"Category"_s, u"NewsDate By Month"_s,
        u"NewsDate By Week"_s, u"NewsDate"_s, u"News"_s};
    auto put = [&](PivotAxis &axis) {
        PivotFieldSet &set =
            view.FieldSets(sets[rng.bounded(rng.bounded(4) == 0 ? sets.size() : 5)]);
        if (set.Axis())
            return;
        axis.InsertFieldSet(set);
        const int fields = static_cast<int>(set.Fields().Count());
        const int keep = static_cast<int>(rng.bounded(fields));
        for (int f = 0; f < fields; ++f)
            set.Fields(f).setIsIncluded(f == keep || rng.bounded(3) == 0);
        if (rng.bounded(2) == 0)
            return;
        const int level = static_cast<int>(rng.bounded(fields));
        std::vector<PivotMember> members;
        for (qint64 key : someKeys(set.hierarchy(), level, rng))
            members.emplace_back(&set, level, key);
        const bool include = rng.bounded(2) == 0;
        if (include)
            set.Fields(level).setIncludedMembers(members);
        else
            set.Fields(level).setExcludedMembers(members);
        set.setAllIncludeExclude(include ? PivotFieldSet::ExcludeAllButIncluded
                                         : PivotFieldSet::IncludeAllButExcluded);
    };
    put(view.RowAxis());
    if (rng.bounded(2))
        put(view.ColumnAxis());
    if (rng.bounded(2))
        put(view.FilterAxis());
    // Without Words, no total of the dates either: their minimum and
    // maximum need every timestamp, and the load would read every row.
    const QStringList fields =
        withWords ? QStringList{u"News"_s, u"Words"_s, u"Provider"_s, u"NewsDate"_s}
                  : QStringList{u"News"_s, u"Category"_s, u"Provider"_s, u"Channel"_s};
    for (int t = 0; t < 4; ++t) {
        const QString field = fields[rng.bounded(fields.size())];
        PivotTotal &total = view.AddTotal(u"Total %1"_s.arg(t), view.FieldSets(field).Fields(0),
                                          1 + t + static_cast<int>(rng.bounded(2)));
        view.DataAxis().InsertTotal(total);
    }
}

// Months opened to their days by provider, counting the news.
void layOutDays(PivotView &view)
{
    PivotFieldSet &months = view.FieldSets(u"NewsDate By Month"_s);
    for (PivotField *field : months.Fields())
        field->setIsIncluded(field->Name() == u"Years"_s || field->Name() == u"Months"_s ||
                             field->Name() == u"Days"_s);
    view.RowAxis().InsertFieldSet(months);
    view.ColumnAxis().InsertFieldSet(view.FieldSets(u"Provider"_s));
    view.DataAxis().InsertTotal(
        view.AddTotal(u"Count of News"_s, view.FieldSets(u"News"_s).Fields(0), 2));
}

using Cells = QMap<QString, QList<double>>;

// Every cell of the grid by its row and column paths: the rows in it, then
// each total (NaN for none).
Cells cells(const PivotResult &result)
{
    Cells out;
    for (int r = 0; r < static_cast<int>(result.rowNodes().size()); ++r) {
        for (int c = 0; c < static_cast<int>(result.columnNodes().size()); ++c) {
            const QString where = result.path(result.rowNodes(), r).join(u'/') + u" | "_s +
                                  result.path(result.columnNodes(), c).join(u'/');
            QList<double> values{double(result.sourceRows(r, c))};
            for (int t = 0; t < result.totalCount(); ++t)
                values << result.value(r, c, t).value_or(qQNaN());
            out.insert(where, values);
        }
    }
    return out;
}

// The cells that differ; sums of a grouped load add products in another
// order, so they agree to the last few bits only.
QStringList differences(const Cells &expected, const Cells &actual)
{
    QStringList out;
    auto same = [](double a, double b) {
        return (std::isnan(a) && std::isnan(b)) ||
               std::fabs(a - b) <= 1e-9 * std::max({1.0, std::fabs(a), std::fabs(b)});
    };
    for (auto it = expected.begin(); it != expected.end(); ++it) {
        const QList<double> got = actual.value(it.key());
        bool equal = got.size() == it.value().size();
        for (qsizetype i = 0; equal && i < got.size(); ++i)
            equal = same(got[i], it.value()[i]);
        if (!equal)
            out << it.key();
    }
    for (auto it = actual.begin(); it != actual.end(); ++it)
        if (!expected.contains(it.key()))
            out << it.key();
    return out;
}

} // namespace

class tst_PivotGrain : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void groupedGridIsAllRowsGrid_data();
    void groupedGridIsAllRowsGrid();
    void unreadableDateReadsEveryRow();
    void compareLayouts(const QString &connection, const QString &statement, bool withWords,
                        QRandomGenerator &rng);
    void partsAddUpToTheWhole_data();
    void partsAddUpToTheWhole();
    void newsCellsCountEveryItem();

private:
    QTemporaryDir m_dir;
};

void tst_PivotGrain::groupedGridIsAllRowsGrid_data()
{
    QTest::addColumn<bool>("postgres");
    QTest::newRow("SQLite") << false;
    QTest::newRow("PostgreSQL") << true;
}

void tst_PivotGrain::groupedGridIsAllRowsGrid()
{
    QFETCH(bool, postgres);
    QRandomGenerator rng(qrt::test::testSeed());
    for (int database = 0; database < 3; ++database) {
        QString connection = m_dir.filePath(u"news%1.db"_s.arg(database));
        if (postgres)
            QRT_REQUIRE_POSTGRES(connection, u"pivotgrain%1"_s.arg(database));
        QVERIFY(
            qrt::test::execAll(connection, randomNews(postgres, rng, !postgres && database == 2)));
        for (const bool withWords : {true, false}) {
            compareLayouts(connection,
                           withWords ? qrt::test::statementWithWords()
                                     : qrt::test::pivotStatement(),
                           withWords, rng);
            if (QTest::currentTestFailed())
                return;
        }
    }
}

// Random layouts over one statement (the views' own is grouped from News
// and the channels apart, see PivotNewsCells).
void tst_PivotGrain::compareLayouts(const QString &connection, const QString &statement,
                                    bool withWords, QRandomGenerator &rng)
{
    const auto rows = qrt::test::loadNews(connection, statement);
    const auto coarse = qrt::test::loadNews(connection, statement, {});
    QVERIFY(rows && coarse);
    // Grouped by day, with the titles counted: fewer rows, the same items.
    QVERIFY(!coarse->grain().isAllRows());
    QVERIFY(coarse->column(coarse->columnIndex(u"News"_s)).isCountOnly());
    QVERIFY(coarse->rowCount() < rows->rowCount());
    QCOMPARE(coarse->itemCount(), rows->rowCount());
    // First the table's own layout opened to days, then random ones.
    for (int layout = -1; layout < 12; ++layout) {
        PivotView all(rows);
        if (layout < 0)
            layOutDays(all);
        else
            layOut(rng, all, withWords);
        const PivotGrain grain = PivotGrain::of(all);
        const auto grouped = qrt::test::loadNews(connection, statement, grain);
        QVERIFY(grouped && grouped->covers(grain));
        const Cells expected = cells(PivotAggregator::run(all));
        QVERIFY(all.setData(grouped));
        QVERIFY(!grouped->grain().isAllRows());
        const QStringList wrong = differences(expected, cells(PivotAggregator::run(all)));
        QVERIFY2(wrong.isEmpty(),
                 qPrintable(u"layout %1: %2"_s.arg(layout).arg(wrong.join(u", "))));
    }
}

void tst_PivotGrain::unreadableDateReadsEveryRow()
{
    // A day that does not exist, past the rows the load samples, makes the
    // dates text over all rows; the grouped load must not read them as
    // dates cut to their day, and reads every row instead.
    const QString path = m_dir.filePath(u"odd.db"_s);
    QVERIFY(qrt::test::makeSmallNewsDb(path));
    QVERIFY(qrt::test::execAll(
        path, {u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 2500) "
               "INSERT INTO News SELECT 10 + i, '2005-01-0' || (1 + i % 9), 1, 'Title ' || i "
               "FROM n"_s,
               u"INSERT INTO News VALUES (9000, '2005-02-30 10:00:00', 3, 'g')"_s}));
    const auto rows = qrt::test::loadNews(path);
    const auto grouped = qrt::test::loadNews(path, qrt::test::pivotStatement(), {});
    QVERIFY(rows && grouped);
    QVERIFY(grouped->grain().isAllRows());
    const PivotColumn &dates = grouped->column(grouped->columnIndex(u"NewsDate"_s));
    QCOMPARE(dates.kind(), PivotColumn::Kind::Text);
    QCOMPARE(dates.valueCount(), rows->column(rows->columnIndex(u"NewsDate"_s)).valueCount());
}

void tst_PivotGrain::partsAddUpToTheWhole_data()
{
    // A statement that looks across rows of News, read in halves, would
    // give other rows than read whole: each half's own limit, distinct
    // rows, smallest key or pairs of rows.
    QTest::addColumn<QString>("statement");
    const QString select = u"SELECT Channels.Channel, News.pubDate AS NewsDate FROM "_s;
    const QString join = u"Channels INNER JOIN News ON Channels.ID = News.Channel"_s;
    QTest::newRow("row by row") << select + join;
    QTest::newRow("limit") << select + join + u" LIMIT 1500"_s;
    QTest::newRow("distinct")
        << u"SELECT DISTINCT News.Channel, News.pubDate AS NewsDate FROM News"_s;
    QTest::newRow("grouped") << u"SELECT Channel, pubDate AS NewsDate, count(*) AS N FROM News "
                                "GROUP BY Channel, pubDate"_s;
    QTest::newRow("subquery") << select + join + u" WHERE News.ID > (SELECT min(ID) FROM News)"_s;
    QTest::newRow("pairs") << u"SELECT a.Channel, b.pubDate AS NewsDate FROM News a "
                              "INNER JOIN News b ON b.ID = a.ID + 1"_s;
    QTest::newRow("schema") << u"SELECT Channel, pubDate AS NewsDate FROM main.News"_s;
}

void tst_PivotGrain::partsAddUpToTheWhole()
{
    QFETCH(QString, statement);
    // Only the first is read in halves, the others whole.
    QCOMPARE(PivotRowRanges::readsNewsRowByRow(statement),
             QByteArray(QTest::currentDataTag()) == "row by row");
    const QString path = m_dir.filePath(u"parts.db"_s);
    if (!QFile::exists(path)) {
        QVERIFY(qrt::test::makeSmallNewsDb(path));
        QVERIFY(qrt::test::execAll(
            path,
            {u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 3000) "
             "INSERT INTO News SELECT 10 + i, '2005-01-0' || (1 + i % 9), 1 + i % 4, 't' "
             "FROM n"_s}));
    }
    QString error;
    const auto rows = PivotLoader::load(path, statement, {}, &error);
    QVERIFY2(rows, qPrintable(error));
    const auto grouped = PivotLoader::load(path, statement, {}, &error, nullptr, {});
    QVERIFY2(grouped, qPrintable(error));
    QVERIFY(!grouped->grain().isAllRows());
    QCOMPARE(grouped->itemCount(), rows->rowCount());
    PivotView all(rows);
    PivotView byDay(grouped);
    for (PivotView *view : {&all, &byDay})
        view->RowAxis().InsertFieldSet(view->FieldSets(u"Channel"_s));
    QCOMPARE(cells(PivotAggregator::run(byDay)), cells(PivotAggregator::run(all)));
}

// Items by channel and cut date, counted in two parts in no order of date
// (more than the records kept before they are added up), against a plain
// count of each item for each channel row with its three names.
void tst_PivotGrain::newsCellsCountEveryItem()
{
    using Value = PivotNewsCells::Value;
    const auto text = [](const char *t) { return PivotNewsCells::Stored{Value::Type::Text, 0, t}; };
    // Channels 1 and 2 share their names, 70000 has a row twice, -5 none.
    const std::vector<PivotNewsCells::ChannelRow> rows = {
        {1, text("P"), text("Same"), text("C")},
        {2, text("P"), text("Same"), text("C")},
        {70000, text("P"), text("Far"), {}},
        {70000, text("P"), text("Far"), {}},
    };
    const char *dates[] = {"2024-01-05 10:00:00",
                           "2024-01-05T23:59:59",
                           "2024-01-06",
                           "2024-02-30 10:00:00",
                           "someday",
                           "2024-01-07 00:00",
                           nullptr};
    const qint64 channels[] = {1, 2, 70000, -5};
    using Key = std::tuple<std::string, std::string>; // names, date text ("" for none)
    std::map<Key, std::pair<quint32, quint32>> expected;
    PivotNewsCells parts[2] = {PivotNewsCells(PivotGrain::Time::Days),
                               PivotNewsCells(PivotGrain::Time::Days)};
    QRandomGenerator rng(qrt::test::testSeed());
    std::string scratch;
    for (int i = 0; i < 3000000; ++i) {
        const qint64 channel = channels[rng.bounded(4)];
        const char *date = dates[rng.bounded(int(std::size(dates)))];
        const bool titled = rng.bounded(3) != 0;
        const Value value = date ? Value{Value::Type::Text, 0, date} : Value{};
        parts[i % 2].add(channel, value, 1, titled);
        const std::string cut =
            date
                ? std::string(PivotGroupedStatement::cutDate(date, PivotGrain::Time::Days, scratch))
                : std::string();
        for (const auto &row : rows) {
            if (row.id != channel)
                continue;
            auto &[items, titles] = expected[{row.channel.text, cut}];
            ++items;
            titles += titled;
        }
    }
    parts[0].absorb(parts[1]);
    std::map<Key, std::pair<quint32, quint32>> joined;
    bool once = true;
    parts[0].join(rows, [&](const std::vector<Value> &row, quint32 items) {
        const Key key{std::string(row[PivotNewsCells::Channel].text),
                      std::string(row[PivotNewsCells::Date].text)};
        once = once && !joined.contains(key);
        joined[key] = {items, quint32(row[PivotNewsCells::Title].number)};
    });
    QVERIFY(once);
    QCOMPARE(joined, expected);
}

QTEST_GUILESS_MAIN(tst_PivotGrain)
#include "tst_pivotgrain.moc"
