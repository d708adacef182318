// The pivot engine's numbers against SQL: for each layout every cell of the
// result and of the grid model (leaves, subtotals, grand totals) equals what
// GROUP BY gives on random data. The object model the views and the layout
// restore work through, and the typed errors a stale name raises. Layouts
// written as text, and the grid the pivot command prints.

#include "PivotTestData.h"
#include "ProgramRun.h"
#include "Raised.h"
#include "TestDatabases.h"
#include "base/Dates.h"
#include "db/Recordset.h"
#include "pivot/PivotAggregator.h"
#include "pivot/PivotChartData.h"
#include "pivot/PivotData.h"
#include "pivot/PivotGridModel.h"
#include "pivot/PivotLayoutText.h"
#include "pivot/PivotResult.h"
#include "pivot/PivotView.h"
#include "settings/CAppSettings.h"

#include <QSet>
#include <QTemporaryDir>
#include <QTest>

#include <functional>

using namespace Qt::StringLiterals;
using namespace qrt::pivot;

using Action = std::function<void(PivotView &)>;
Q_DECLARE_METATYPE(Action)
Q_DECLARE_METATYPE(PivotError::Code)

namespace {

const QString kJoin =
    u" FROM Categories INNER JOIN (Providers INNER JOIN (Channels INNER JOIN News ON Channels.ID = "
    u"News.Channel) "
    u"ON Providers.ID = Channels.Provider) ON Categories.ID = Channels.Category"_s;

// SQL giving the full member path of a date member ("2024/Qtr1/Mar/5/10"),
// as deep as `levels` of Years, Quarters, Months, Days, Hours, Minutes, Seconds.
QString datePath(int levels)
{
    const QString d = u"News.pubDate"_s;
    const QString month = u"CAST(strftime('%m', %1) AS INTEGER)"_s.arg(d);
    QStringList monthNames;
    const QStringList names = {u"Jan"_s, u"Feb"_s, u"Mar"_s, u"Apr"_s, u"May"_s, u"Jun"_s,
                               u"Jul"_s, u"Aug"_s, u"Sep"_s, u"Oct"_s, u"Nov"_s, u"Dec"_s};
    for (int m = 0; m < 12; ++m)
        monthNames << u"WHEN %1 THEN '%2'"_s.arg(m + 1).arg(names[m]);
    const QStringList parts = {
        u"strftime('%Y', %1)"_s.arg(d),
        u"'Qtr' || ((%1 + 2) / 3)"_s.arg(month),
        u"(CASE %1 %2 END)"_s.arg(month, monthNames.join(u' ')),
        u"CAST(strftime('%d', %1) AS INTEGER)"_s.arg(d),
        u"strftime('%H', %1)"_s.arg(d),
        u"strftime('%M', %1)"_s.arg(d),
        u"strftime('%S', %1)"_s.arg(d),
    };
    QStringList blanks;
    for (int i = 0; i < levels; ++i)
        blanks << u"(blank)"_s;
    return u"(CASE WHEN %1 IS NULL THEN '%2' ELSE %3 END)"_s.arg(
        d, blanks.join(u'/'), parts.mid(0, levels).join(u" || '/' || "_s));
}

struct Level
{
    QString fieldSet;
    QString field;
    QString sql; // the member's full path
};

struct Case
{
    QString name;
    QList<Level> rows;
    QList<Level> columns;
    std::function<void(PivotView &)> choose; // member choices, filter axis
    QString where;
    QString totalFieldSet = u"News"_s;
    int function = PivotTotal::Count;
    QString aggregate = u"COUNT(NULLIF(News.Title, ''))"_s;
    bool needsWords = false;
};

const Level kProvider{u"Provider"_s, u"Provider"_s, u"Providers.Provider"_s};
const Level kCategory{u"Category"_s, u"Category"_s, u"Categories.Name"_s};
const Level kChannel{u"Channel"_s, u"Channel"_s, u"Channels.Channel"_s};
const Level kYears{u"NewsDate By Month"_s, u"Years"_s, datePath(1)};
const Level kMonths{u"NewsDate By Month"_s, u"Months"_s, datePath(3)};
const Level kSeconds{u"NewsDate By Month"_s, u"Seconds"_s, datePath(7)};
const Level kTitle{u"News"_s, u"News"_s, u"News.Title"_s};
const Level kTimestamp{
    u"NewsDate"_s, u"NewsDate"_s,
    u"(CASE WHEN News.pubDate IS NULL THEN '(blank)' WHEN substr(News.pubDate, 12) = '00:00:00' "
    u"THEN substr(News.pubDate, 1, 10) ELSE News.pubDate END)"_s};

void choose(PivotView &view, const QString &fieldSet, const QStringList &captions, int mode)
{
    PivotFieldSet &set = view.FieldSets(fieldSet);
    std::vector<PivotMember> members;
    for (const QString &caption : captions)
        members.push_back(set.Members().Item(caption));
    if (mode == PivotFieldSet::ExcludeAllButIncluded)
        set.Fields(0).setIncludedMembers(members);
    else
        set.Fields(0).setExcludedMembers(members);
    set.setAllIncludeExclude(mode);
}

// A total other than the count of titles.
Case total(const QString &name, const QString &fieldSet, int function, const QString &aggregate,
           const QList<Level> &rows, const QList<Level> &columns)
{
    return {name, rows, columns, {}, {}, fieldSet, function, aggregate, fieldSet == u"Words"_s};
}

QList<Case> cases()
{
    QList<Case> list;
    list.append({u"two row levels"_s, {kYears, kMonths, kProvider}, {}, {}, {}});
    list.append({u"column field"_s, {kCategory}, {kProvider}, {}, {}});
    list.append({u"include filter"_s,
                 {kProvider},
                 {kYears},
                 [](PivotView &v) {
                     choose(v, u"Provider"_s, {u"Provider A"_s, u"Provider C"_s}, 2);
                 },
                 u"Providers.Provider IN ('Provider A', 'Provider C')"_s});
    list.append({u"exclude filter"_s,
                 {kCategory},
                 {kProvider},
                 [](PivotView &v) { choose(v, u"Category"_s, {u"sports"_s}, 1); },
                 u"Categories.Name <> 'sports'"_s});
    list.append({u"date member on the filter axis"_s,
                 {kChannel},
                 {},
                 [](PivotView &v) {
                     PivotFieldSet &dates = v.FieldSets(u"NewsDate By Month"_s);
                     v.FilterAxis().InsertFieldSet(dates);
                     dates.Fields(u"Years"_s).setIncludedMembers({dates.Members().Item(u"2024"_s)});
                     dates.setAllIncludeExclude(2);
                 },
                 u"strftime('%Y', News.pubDate) = '2024'"_s});
    list.append({u"hour excluded"_s,
                 {kYears},
                 {kCategory},
                 [](PivotView &v) {
                     PivotFieldSet &dates = v.FieldSets(u"NewsDate By Month"_s);
                     // The first hour with news: year to hour, each the first
                     // child of the one before.
                     PivotMember hour = dates.Member();
                     for (int level = 0; level < 5; ++level) {
                         const PivotMembers children = hour.ChildMembers();
                         hour = children.Item(children.Item(0).Caption() == u"(blank)"_s ? 1 : 0);
                     }
                     dates.Fields(u"Hours"_s).setExcludedMembers({hour});
                     dates.setAllIncludeExclude(1);
                 },
                 u"NOT (News.pubDate IS NOT NULL AND substr(News.pubDate, 1, 13) = "
                 u"(SELECT min(substr(pubDate, 1, 13)) FROM News WHERE pubDate IS NOT NULL))"_s});
    // More member pairs than the arrays take: cells kept by key instead.
    list.append({u"timestamps against titles"_s, {kTimestamp}, {kTitle}, {}, {}});
    list.append({u"seconds"_s, {kSeconds}, {kProvider}, {}, {}});
    const QString words = u"Words"_s;
    list << total(u"count of dates"_s, u"NewsDate"_s, PivotTotal::Count, u"COUNT(News.pubDate)"_s,
                  {kProvider}, {})
         << total(u"sum"_s, words, PivotTotal::Sum, u"SUM(News.Words)"_s, {kProvider}, {kCategory})
         << total(u"min"_s, words, PivotTotal::Min, u"MIN(News.Words)"_s, {kProvider}, {kCategory})
         << total(u"max"_s, words, PivotTotal::Max, u"MAX(News.Words)"_s, {kProvider}, {kCategory})
         << total(u"average"_s, words, PivotTotal::Average, u"AVG(News.Words)"_s, {kChannel},
                  {kYears});
    return list;
}

// The member paths from the outermost member down to a node, so that
// members shown without their parents (months without years) stay apart.
QStringList nodeKeys(const std::vector<PivotResult::Node> &nodes, int node)
{
    QStringList keys;
    for (; node > 0; node = nodes[static_cast<std::size_t>(node)].parent) {
        QStringList captions;
        for (PivotMember m = nodes[static_cast<std::size_t>(node)].member();
             !m.isNull() && !m.isRoot(); m = m.ParentMember())
            captions.prepend(m.Caption());
        keys.prepend(captions.join(u'/'));
    }
    return keys;
}

// The cell of a result as groupBy() keys it: row keys, then column keys.
QString cellKey(const PivotResult &result, int row, int column)
{
    return nodeKeys(result.rowNodes(), row).join(u'|') + u'\x1f' +
           nodeKeys(result.columnNodes(), column).join(u'|');
}

// The SQL side: for every depth of the row and of the column levels, the
// aggregate of each group of news, keyed as cellKey() keys the cells.
void groupBy(const QString &database, const Case &c, QHash<QString, double> &expected)
{
    qrt::db::Connection connection;
    QVERIFY(connection.Open(database));
    for (int d = 0; d <= c.rows.size(); ++d) {
        for (int e = 0; e <= c.columns.size(); ++e) {
            QStringList exprs;
            for (const Level &level : c.rows.mid(0, d) + c.columns.mid(0, e))
                exprs << u"COALESCE(NULLIF(%1, ''), '(blank)')"_s.arg(level.sql);
            QStringList groups;
            for (int i = 1; i <= exprs.size(); ++i)
                groups << QString::number(i);
            const QString sql = u"SELECT %1%2 AS v %3 %4 %5"_s.arg(
                exprs.isEmpty() ? QString() : exprs.join(u", "_s) + u", "_s, c.aggregate, kJoin,
                c.where.isEmpty() ? QString() : u"WHERE "_s + c.where,
                groups.isEmpty() ? QString() : u"GROUP BY "_s + groups.join(u", "_s));
            qrt::db::Recordset rs;
            QVERIFY2(rs.Open(sql, connection) || rs.lastError().isEmpty(),
                     qPrintable(rs.lastError() + sql));
            for (; !rs.IsEOF(); rs.MoveNext()) {
                if (rs.IsNull(d + e))
                    continue; // an empty group, or SUM of nothing
                QStringList row, column;
                for (int i = 0; i < d; ++i)
                    row << rs.Text(i);
                for (int i = 0; i < e; ++i)
                    column << rs.Text(d + i);
                expected.insert(row.join(u'|') + u'\x1f' + column.join(u'|'), rs.Double(d + e));
            }
        }
    }
    QVERIFY2(!expected.isEmpty(), "the SQL side found nothing");
}

// The levels of a layout text, each field set with one field.
QList<Level> levelsOf(const QString &layout)
{
    const QHash<QString, Level> levels = {{u"Provider"_s, kProvider},
                                          {u"Category"_s, kCategory},
                                          {u"Channel"_s, kChannel},
                                          {u"NewsDate By Month[Years]"_s, kYears},
                                          {u"NewsDate By Month[Months]"_s, kMonths}};
    QList<Level> list;
    for (const QString &name : layout.split(u';', Qt::SkipEmptyParts))
        list << levels.value(name);
    return list;
}

QStringList captions(const PivotMembers &members)
{
    QStringList list;
    for (qsizetype i = 0; i < members.Count(); ++i)
        list << members.Item(i).Caption();
    return list;
}

// The member a path of captions leads to from the top, e.g. "2005/Qtr1/Jan".
PivotMember memberAt(const PivotFieldSet &set, const QString &path)
{
    PivotMember member = set.Member();
    for (const QString &step : path.split(u'/', Qt::SkipEmptyParts))
        member = member.ChildMembers().Item(step);
    return member;
}

// zorvane-stats pivot as a script runs it.
qrt::test::ProgramRun runPivot(const QStringList &arguments)
{
    return qrt::test::runStats(QStringList{u"pivot"_s} + arguments);
}

} // namespace

class tst_PivotAggregation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void fieldsByNameAndIndex();
    void dateMembers_data();
    void dateMembers();
    void timestampMembers();
    void unknownNamesRaise_data();
    void unknownNamesRaise();
    void axesHoldAFieldSetOnce();
    void totals();
    void matchesGroupBy_data();
    void matchesGroupBy();
    void collapsedMembersKeepTheirTotals();
    void gridModelEqualsSql_data();
    void gridModelEqualsSql();
    void gridNumberFormats();
    void fieldSets();
    void badLayoutsRaise_data();
    void badLayoutsRaise();
    void commandPrintsTheGrid_data();
    void commandPrintsTheGrid();
    void storedLayoutAsTheWindowRestoresIt();

private:
    QTemporaryDir m_dir;
    QString m_random;
    QString m_smallPath;
    std::shared_ptr<const PivotData> m_data; // of m_random
    std::shared_ptr<PivotData> m_small;      // of makeSmallNewsDb
    std::unique_ptr<PivotView> m_view;       // on m_small, new for each test
};

void tst_PivotAggregation::initTestCase()
{
    QVERIFY(m_dir.isValid());
    m_random = m_dir.filePath(u"random.db"_s);
    QVERIFY(qrt::test::makeRandomNewsDb(m_random, 6000, qrt::test::testSeed()));
    m_data = qrt::test::loadNews(m_random);
    QVERIFY(m_data);
    m_smallPath = m_dir.filePath(u"members.db"_s);
    QVERIFY(qrt::test::makeSmallNewsDb(m_smallPath));
    m_small = qrt::test::loadNews(m_smallPath);
    QVERIFY(m_small);
}

void tst_PivotAggregation::init()
{
    m_view = std::make_unique<PivotView>(m_small);
}

// The demo generator's data would take the same branches as the random
// data, which adds missing dates and titles.
void tst_PivotAggregation::matchesGroupBy_data()
{
    QTest::addColumn<int>("index");
    const QList<Case> all = cases();
    for (int i = 0; i < all.size(); ++i)
        QTest::addRow("%s", qPrintable(all[i].name)) << i;
}

void tst_PivotAggregation::matchesGroupBy()
{
    QFETCH(int, index);
    const Case c = cases().at(index);
    const std::shared_ptr<PivotData> data = qrt::test::loadNews(
        m_random, c.needsWords ? qrt::test::statementWithWords() : qrt::test::pivotStatement());
    QVERIFY(data);
    PivotView view(data);
    auto place = [&](PivotAxis &axis, const QList<Level> &levels) {
        for (const Level &level : levels) {
            PivotFieldSet &set = view.FieldSets(level.fieldSet);
            if (set.Axis() != &axis) {
                axis.InsertFieldSet(set);
                for (PivotField *field : set.Fields())
                    field->setIsIncluded(false);
            }
            set.Fields(level.field).setIsIncluded(true);
        }
    };
    place(view.RowAxis(), c.rows);
    place(view.ColumnAxis(), c.columns);
    if (c.choose)
        c.choose(view);
    PivotTotal &total =
        view.AddTotal(u"Total"_s, view.FieldSets(c.totalFieldSet).Fields(0), c.function);
    view.DataAxis().InsertTotal(total);
    const PivotResult result = PivotAggregator::run(view);

    QHash<QString, double> actual;
    for (int r = 0; r < static_cast<int>(result.rowNodes().size()); ++r)
        for (int col = 0; col < static_cast<int>(result.columnNodes().size()); ++col)
            if (const std::optional<double> v = result.value(r, col, 0))
                actual.insert(cellKey(result, r, col), *v);
    QHash<QString, double> expected;
    groupBy(m_random, c, expected);
    if (QTest::currentTestFailed())
        return;
    if (c.where.isEmpty() && !c.choose)
        QCOMPARE(result.rowsAggregated(), data->rowCount());
    QCOMPARE(actual.size(), expected.size());
    for (auto it = expected.cbegin(); it != expected.cend(); ++it) {
        QVERIFY2(actual.contains(it.key()), qPrintable(u"missing cell "_s + it.key()));
        const double got = actual.value(it.key());
        QVERIFY2(qFuzzyCompare(1.0 + got, 1.0 + it.value()),
                 qPrintable(u"%1: %2 instead of %3"_s.arg(it.key()).arg(got).arg(it.value())));
    }
}

void tst_PivotAggregation::collapsedMembersKeepTheirTotals()
{
    PivotView view(m_data);
    PivotFieldSet &dates = view.FieldSets(u"NewsDate By Month"_s);
    view.RowAxis().InsertFieldSet(dates);
    for (PivotField *field : dates.Fields())
        field->setIsIncluded(field->Name() == u"Years"_s || field->Name() == u"Months"_s);
    view.RowAxis().InsertFieldSet(view.FieldSets(u"Provider"_s));
    view.DataAxis().InsertTotal(
        view.AddTotal(u"Count of News"_s, view.FieldSets(u"News"_s).Fields(0), 2));

    // Never expanded: the years alone, then the grand total (their values
    // are gridModelEqualsSql's); opening one shows its months, then its
    // subtotal line.
    view.setExpandMembers(PivotView::ExpandNever);
    const PivotResult closed = PivotAggregator::run(view);
    const std::size_t years = closed.rowNodes()[0].children.size();
    QCOMPARE(closed.rowLines().size(), years + 1);
    const PivotResult::Node &year = closed.rowNodes()[closed.rowNodes()[0].children.back()];
    year.member().setExpanded(true);
    const PivotResult reopened = PivotAggregator::run(view);
    const std::vector<PivotResult::Line> more = reopened.rowLines();
    QCOMPARE(more.size(), years + 1 + year.children.size());
    QCOMPARE(more[more.size() - 2].kind, PivotResult::LineKind::Subtotal);
    QCOMPARE(reopened.rowNodes()[more[more.size() - 2].node].caption, year.caption);
    const PivotResult::Node &lastMonth = reopened.rowNodes()[more[more.size() - 3].node];
    QCOMPARE(lastMonth.depth, 2);
    QCOMPARE(reopened.rowNodes()[lastMonth.parent].caption, year.caption);
}

// The grid model's cells against SQL on random data: every value of every
// line (members, collapsed members, subtotals, grand totals) must be the
// GROUP BY count of the rows under its row and column members.
void tst_PivotAggregation::gridModelEqualsSql_data()
{
    QTest::addColumn<QString>("rows");
    QTest::addColumn<QString>("columns");
    QTest::addColumn<int>("expandMembers");
    QTest::addColumn<bool>("subtotals");
    QTest::addColumn<bool>("descending"); // the outer row field
    const QString months = u"NewsDate By Month[Months];Provider"_s;
    QTest::newRow("default layout, collapsed")
        << months << QString() << int(PivotView::ExpandNever) << true << false;
    QTest::newRow("default layout, expanded")
        << months << QString() << int(PivotView::ExpandAlways) << true << true;
    QTest::newRow("category by provider, no subtotals")
        << u"Category;Channel"_s << u"Provider"_s << int(PivotView::ExpandAlways) << false << false;
    QTest::newRow("channels by years") << u"Channel"_s << u"NewsDate By Month[Years]"_s
                                       << int(PivotView::ExpandAutomatic) << true << true;
}

void tst_PivotAggregation::gridModelEqualsSql()
{
    QFETCH(QString, rows);
    QFETCH(QString, columns);
    QFETCH(int, expandMembers);
    QFETCH(bool, subtotals);
    QFETCH(bool, descending);

    PivotView view(m_data);
    PivotLayoutText::applyFieldSets(view, view.RowAxis(), rows);
    if (!columns.isEmpty())
        PivotLayoutText::applyFieldSets(view, view.ColumnAxis(), columns);
    PivotLayoutText::applyTotals(view, u"Count of News=Count(News)"_s);
    view.setExpandMembers(expandMembers);
    PivotGridModel model;
    model.setView(&view);
    model.setSubtotalsShown(subtotals);
    const PivotFieldSet *outer = &view.RowAxis().FieldSets().Item(0);
    if (descending)
        model.setSortOrder(outer, Qt::DescendingOrder);
    Case c{{}, levelsOf(rows), levelsOf(columns), {}, {}};
    QHash<QString, double> expected;
    groupBy(m_random, c, expected);
    if (QTest::currentTestFailed())
        return;

    const auto &rowNodes = model.result().rowNodes();
    QVERIFY(model.rowCount() > 1);
    int collapsed = 0;
    int subtotalLines = 0;
    for (int r = 0; r < model.rowCount(); ++r) {
        const PivotResult::Line rowLine = model.line(Qt::Vertical, r);
        collapsed += rowLine.kind == PivotResult::LineKind::Member &&
                     nodeKeys(rowNodes, rowLine.node).size() < c.rows.size();
        subtotalLines += rowLine.kind == PivotResult::LineKind::Subtotal;
        for (int col = 0; col < model.columnCount(); ++col) {
            const QString key =
                cellKey(model.result(), rowLine.node, model.line(Qt::Horizontal, col).node);
            const QVariant value = model.data(model.index(r, col), PivotGridModel::ValueRole);
            QVERIFY2(value.isValid() == expected.contains(key), qPrintable(key));
            if (value.isValid())
                QCOMPARE(value.toDouble(), expected.value(key));
        }
    }
    // The first column of the copied text names each outer member whole,
    // as SQL does (a month with its year and quarter), where the grid
    // shows its caption alone; the chart's tips the same.
    const QStringList text = model.toTabText().split(u'\n');
    QSet<QString> outerKeys;
    for (const QString &key : expected.keys())
        outerKeys << key.section(u'\x1f', 0, 0).section(u'|', 0, 0);
    for (int r = 0; r < model.rowCount(); ++r) {
        const PivotResult::Line rowLine = model.line(Qt::Vertical, r);
        const QString first =
            text.value(model.headerLevels(Qt::Horizontal) + r).section(u'\t', 0, 0);
        if (rowLine.kind == PivotResult::LineKind::GrandTotal)
            continue;
        QCOMPARE(QString(first).remove(u" Total"_s).replace(u" \u203A "_s, u"/"_s),
                 nodeKeys(rowNodes, rowLine.node).value(0));
        QVERIFY2(outerKeys.contains(nodeKeys(rowNodes, rowLine.node).value(0)), qPrintable(first));
        QCOMPARE(model.headerCell(Qt::Vertical, r, 0).caption.contains(u'\u203A'), false);
    }
    const PivotChartData chart = PivotChartData::from(model.result(), false, 0);
    for (std::size_t c = 0; c < chart.categories.size(); ++c) {
        const QString outer =
            chart.categoryTips[c].section(u" / "_s, 0, 0).replace(u" \u203A "_s, u"/"_s);
        QVERIFY2(outerKeys.contains(outer) && outer.endsWith(chart.categories[c].value(0)),
                 qPrintable(chart.categoryTips[c]));
    }
    // The outer members in member order, or the other way round.
    std::vector<int> order;
    for (int r = 0; r < model.rowCount(); ++r) {
        int node = model.line(Qt::Vertical, r).node;
        while (node > 0 && rowNodes[static_cast<std::size_t>(node)].depth > 1)
            node = rowNodes[static_cast<std::size_t>(node)].parent;
        if (node > 0 && (order.empty() || order.back() != node))
            order.push_back(node);
    }
    QVERIFY(order.size() > 1);
    QCOMPARE(std::is_sorted(order.begin(), order.end()), !descending);
    QCOMPARE(std::is_sorted(order.rbegin(), order.rend()), descending);
    // The layouts reach what they are there for.
    QCOMPARE(collapsed > 0, expandMembers == PivotView::ExpandNever);
    QCOMPARE(subtotalLines > 0,
             subtotals && c.rows.size() > 1 && expandMembers != PivotView::ExpandNever);
}

void tst_PivotAggregation::gridNumberFormats()
{
    QLocale::setDefault(QLocale::c());
    const std::tuple<QString, double, QString> rows[] = {{u"General"_s, 1234567.0, u"1234567"_s},
                                                         {u"General"_s, 0.1 + 0.2, u"0.3"_s},
                                                         {u"#,##0"_s, 1234567.4, u"1,234,567"_s},
                                                         {u"0.0"_s, 1234.56, u"1234.6"_s},
                                                         {u"0.0%"_s, 0.256, u"25.6%"_s}};
    for (const auto &[format, value, text] : rows)
        QCOMPARE(PivotGridModel::formatNumber(value, format), text);
}

// A date field set's fields in order, by name and by index.
void tst_PivotAggregation::fieldsByNameAndIndex()
{
    const PivotFieldSet &set = m_view->FieldSets(u"NewsDate By Month"_s);
    const QStringList expected = u"Years,Quarters,Months,Days,Hours,Minutes,Seconds"_s.split(u',');
    QStringList enumerated;
    for (const PivotField *field : set.Fields())
        enumerated << field->Name();
    QCOMPARE(enumerated, expected);
    for (int i = 0; i < expected.size(); ++i) {
        QCOMPARE(&set.Fields(expected[i]), &set.Fields(i));
        QCOMPARE(set.Fields(i).BaseName(), u"NewsDate"_s);
        QVERIFY(set.Fields(i).IsIncluded());
    }
}

void tst_PivotAggregation::dateMembers_data()
{
    QTest::addColumn<QString>("fieldSet");
    QTest::addColumn<QString>("path");     // captions from the top, separated by '/'
    QTest::addColumn<QString>("children"); // separated by '|'
    const QString month = u"NewsDate By Month"_s;
    const QString week = u"NewsDate By Week"_s;
    // Every caption of the month hierarchy, its parents up to the root and
    // its blanks are checked against SQL in matchesGroupBy, the years' order
    // in commandPrintsTheGrid; here the children of a member, in order.
    QTest::newRow("months") << month << u"2005/Qtr1"_s << u"Jan|Mar"_s;
    // 1 January 2005 was a Saturday: week 1 is the weekend, Monday the 3rd
    // opens week 2; 2004 ends in a week 53.
    QTest::newRow("weeks 2005") << week << u"2005"_s << u"Week 2|Week 14"_s;
    QTest::newRow("weeks 2004") << week << u"2004"_s << u"Week 53"_s;
    QTest::newRow("days of a week") << week << u"2005/Week 14"_s << u"31|1"_s;
}

void tst_PivotAggregation::dateMembers()
{
    QFETCH(QString, fieldSet);
    QFETCH(QString, path);
    QFETCH(QString, children);
    const PivotMember member = memberAt(m_view->FieldSets(fieldSet), path);
    const QStringList expected = children.split(u'|', Qt::SkipEmptyParts);
    QCOMPARE(captions(member.ChildMembers()), expected);
    for (const QString &caption : expected)
        QCOMPARE(member.ChildMembers().Item(caption).Caption(), caption);
}

void tst_PivotAggregation::timestampMembers()
{
    const PivotFieldSet &stamps = m_view->FieldSets(u"NewsDate"_s);
    QCOMPARE(captions(stamps.Members()),
             QStringList({u"(blank)"_s, u"2004-12-31 08:00:00"_s, u"2005-01-03 10:15:30"_s,
                          u"2005-03-31 23:59:59"_s, u"2005-04-01"_s, u"2006-12-31 12:00:00"_s}));
    QCOMPARE(stamps.Members()(u"2005-04-01"_s).Caption(), u"2005-04-01"_s);
    QVERIFY_THROWS_EXCEPTION(PivotError, stamps.Members()(u"2005-04-01 00:00:00"_s));
    QVERIFY_THROWS_EXCEPTION(PivotError, stamps.Members()(u"2005-04-02"_s));
}

void tst_PivotAggregation::unknownNamesRaise_data()
{
    QTest::addColumn<Action>("action");
    QTest::addColumn<quint32>("number");
    QTest::addColumn<QString>("text");
    QTest::newRow("field set") << Action([](PivotView &v) { v.FieldSets(u"Title"_s); })
                               << 0x80040601u << u"There is no field set named \"Title\"."_s;
    QTest::newRow("field") << Action([](PivotView &v) {
        v.FieldSets(u"Provider"_s).Fields(u"Months"_s);
    }) << 0x80040602u << u"The field set \"Provider\" has no field named \"Months\"."_s;
    QTest::newRow("field index")
        << Action([](PivotView &v) { v.FieldSets(u"Provider"_s).Fields(1); }) << 0x80040604u
        << u"Index 1 is out of range for the fields of \"Provider\", which holds 1 item(s)."_s;
    QTest::newRow("member") << Action([](PivotView &v) {
        v.FieldSets(u"Provider"_s).Members()(u"Delta"_s);
    }) << 0x80040603u << u"The member \"ALL\" has no child member \"Delta\"."_s;
    QTest::newRow("AllIncludeExclude")
        << Action([](PivotView &v) { v.FieldSets(u"Provider"_s).setAllIncludeExclude(3); })
        << 0x80040605u << u"\"3\" is not a valid value for AllIncludeExclude."_s;
    QTest::newRow("total twice") << Action([](PivotView &v) {
        v.AddTotal(u"Count of News"_s, v.FieldSets(u"News"_s).Fields(0), 2);
        v.AddTotal(u"Count of News"_s, v.FieldSets(u"Channel"_s).Fields(0), 2);
    }) << 0x80040606u << u"There is already a total named \"Count of News\"."_s;
    QTest::newRow("member of another set") << Action([](PivotView &v) {
        v.FieldSets(u"Category"_s)
            .Fields(0)
            .setExcludedMembers({v.FieldSets(u"Provider"_s).Members()(u"Alpha"_s)});
    }) << 0x80040607u << u"The member \"Alpha\" is not a member of the field \"Category\"."_s;
}

void tst_PivotAggregation::unknownNamesRaise()
{
    QFETCH(Action, action);
    QFETCH(quint32, number);
    QFETCH(QString, text);
    const std::optional<ComponentError> error = qrt::test::raisedBy([&] { action(*m_view); });
    QVERIFY(error);
    QCOMPARE(static_cast<quint32>(error->number), number);
    QCOMPARE(error->source, u"QRT_StatCharts.Pivot"_s);
    QCOMPARE(error->description, text);
    // A failed call changes nothing.
    QCOMPARE(m_view->FieldSets(u"Provider"_s).AllIncludeExclude(), 0);
    QVERIFY(m_view->FieldSets(u"Category"_s).Fields(0).ExcludedMembers().empty());
}

void tst_PivotAggregation::axesHoldAFieldSetOnce()
{
    PivotView &v = *m_view;
    PivotFieldSet &provider = v.FieldSets(u"Provider"_s);
    PivotFieldSet &month = v.FieldSets(u"NewsDate By Month"_s);
    PivotFieldSet &channel = v.FieldSets(u"Channel"_s);
    v.RowAxis().InsertFieldSet(provider);
    v.RowAxis().InsertFieldSet(month, 0);
    QCOMPARE(qrt::test::fieldSetNames(v.RowAxis()),
             QStringList({u"NewsDate By Month"_s, u"Provider"_s}));
    v.RowAxis().InsertFieldSet(channel, 1);
    QCOMPARE(qrt::test::fieldSetNames(v.RowAxis()),
             QStringList({u"NewsDate By Month"_s, u"Channel"_s, u"Provider"_s}));
    v.RowAxis().InsertFieldSet(month); // to the end of its own axis
    QCOMPARE(qrt::test::fieldSetNames(v.RowAxis()),
             QStringList({u"Channel"_s, u"Provider"_s, u"NewsDate By Month"_s}));
    v.ColumnAxis().InsertFieldSet(provider);
    QCOMPARE(qrt::test::fieldSetNames(v.RowAxis()),
             QStringList({u"Channel"_s, u"NewsDate By Month"_s}));
    QCOMPARE(provider.Axis(), &v.ColumnAxis());
    v.ColumnAxis().RemoveFieldSet(provider);
    QCOMPARE(provider.Axis(), nullptr);
    QCOMPARE(v.ColumnAxis().FieldSets().Count(), 0);
    PivotView other(m_small);
    QVERIFY_THROWS_EXCEPTION(PivotError, other.RowAxis().InsertFieldSet(provider));
}

void tst_PivotAggregation::totals()
{
    PivotView &v = *m_view;
    PivotField &news = v.FieldSets(u"News"_s).Fields(0);
    PivotTotal &count = v.AddTotal(u"Count of News"_s, news, PivotTotal::Count);
    QCOMPARE(v.DataAxis().Totals().Count(), 0); // made, not yet shown
    v.DataAxis().InsertTotal(count);
    PivotTotal &latest =
        v.AddTotal(u"Latest"_s, v.FieldSets(u"NewsDate"_s).Fields(0), PivotTotal::Max);
    v.DataAxis().InsertTotal(latest, 0);
    QCOMPARE(v.DataAxis().Totals().Count(), 2);
    QCOMPARE(&v.DataAxis().Totals().Item(0), &latest);
    const PivotResult result = PivotAggregator::run(v);
    QCOMPARE(result.totalCaption(0), u"Latest"_s);
    QCOMPARE(result.value(0, 0, 0),
             std::optional<double>(qrt::dates::fromText("2006-12-31 12:00:00").value()));
    QCOMPARE(result.value(0, 0, 1), std::optional<double>(4));
    v.DeleteTotal(latest);
    QCOMPARE(v.DataAxis().Totals().Count(), 1);
    QCOMPARE(v.Totals().Count(), 1);

    // What a view has when its load failed: no field sets, so every stored
    // name fails, and an empty grid.
    PivotView empty(nullptr);
    QCOMPARE(empty.FieldSets().Count(), 0);
    QVERIFY_THROWS_EXCEPTION(PivotError, empty.FieldSets(u"Provider"_s));
    const PivotResult none = PivotAggregator::run(empty);
    QCOMPARE(none.rowNodes().size(), std::size_t(1));
    QCOMPARE(none.columnNodes().size(), std::size_t(1));
    QCOMPARE(none.rowsAggregated(), 0);
    QCOMPARE(none.value(0, 0, 0), std::nullopt);
}

// Blanks around names; member paths kept in the order given, each once.
// ('!=', two fields' records and an empty text are the capture's and the
// command's: tst_pagescript, commandPrintsTheGrid.)
void tst_PivotAggregation::fieldSets()
{
    PivotView view(m_small);
    PivotLayoutText::applyFieldSets(
        view, view.RowAxis(),
        u" Category ( Category = Sports | World ) ;NewsDate By Month"
        u"[Months](Months=2005/Qtr1/Mar|2005/Qtr1/Jan|2005/Qtr1/Mar)"_s);
    QCOMPARE(qrt::test::fieldSetNames(view.RowAxis()),
             QStringList({u"Category"_s, u"NewsDate By Month"_s}));
    const PivotFieldSet &category = view.FieldSets(u"Category"_s);
    const PivotFieldSet &dates = view.FieldSets(u"NewsDate By Month"_s);
    QCOMPARE(category.AllIncludeExclude(), 2);
    QCOMPARE(dates.AllIncludeExclude(), 2);
    QCOMPARE(qrt::test::captions(category.Fields(0).IncludedMembers()),
             QStringList({u"Sports"_s, u"World"_s}));
    QCOMPARE(qrt::test::captions(dates.Fields(u"Months"_s).IncludedMembers()),
             QStringList({u"Mar"_s, u"Jan"_s}));
    for (const PivotField *field : dates.Fields())
        QCOMPARE(field->IsIncluded(), field->Name() == u"Months"_s);
}

void tst_PivotAggregation::badLayoutsRaise_data()
{
    QTest::addColumn<QString>("fieldSets");
    QTest::addColumn<QString>("totals");
    QTest::addColumn<PivotError::Code>("code");
    // Unknown names raise as in unknownNamesRaise; these are the text's own.
    QTest::newRow("member of a level")
        << u"NewsDate By Month(Months=2005)"_s << QString() << PivotError::Code::WrongFieldSet;
    QTest::newRow("both kinds") << u"Provider(Provider=Alpha)(Provider!=beta)"_s << QString()
                                << PivotError::Code::InvalidValue;
    QTest::newRow("function") << QString() << u"x=Median(News)"_s << PivotError::Code::InvalidValue;
    QTest::newRow("total field set")
        << QString() << u"x=Count(Nope)"_s << PivotError::Code::NoSuchFieldSet;
}

void tst_PivotAggregation::badLayoutsRaise()
{
    QFETCH(QString, fieldSets);
    QFETCH(QString, totals);
    QFETCH(PivotError::Code, code);
    PivotView view(m_small);
    try {
        PivotLayoutText::applyFieldSets(view, view.FilterAxis(), fieldSets);
        PivotLayoutText::applyTotals(view, totals);
        QFAIL("no error raised");
    } catch (const PivotError &error) {
        QCOMPARE(error.code(), code);
    }
}

void tst_PivotAggregation::commandPrintsTheGrid_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("output"); // or the last line of a refusal
    QTest::newRow("unknown name") << QStringList{u"--rows"_s, u"Providr"_s}
                                  << u"zorvane-stats: There is no field set named \"Providr\"."_s;
    // Count counts titles that are not empty: beta's 2006 item and Gamma's
    // 2005 item have none, so their cells exist and hold 0.
    QTest::newRow("rows and columns")
        << QStringList{u"--rows"_s, u"Provider"_s, u"--columns"_s, u"NewsDate By Month[Years]"_s}
        << u"Provider,(blank),2004,2005,2006,Grand Total\n"
           u"Alpha,,1,1,,2\n"
           u"beta,,,1,0,1\n"
           u"Gamma,1,,0,,1\n"
           u"Grand Total,1,1,2,0,4\n"_s;
    QTest::newRow("nested with a filter")
        << QStringList{u"--rows"_s,   u"NewsDate By Month[Years,Quarters];Category"_s,
                       u"--filter"_s, u"Provider(Provider!=Gamma)"_s,
                       u"--total"_s,  u"n=Count(Channel);m=Count(News)"_s}
        << u"Years,Quarters,Category,n,m\n"
           u"2004,Qtr4,sports,1,1\n"
           u"2004,Qtr4 Total,,1,1\n"
           u"2004 Total,,,1,1\n"
           u"2005,Qtr1,Sports,1,1\n"
           u"2005,Qtr1,sports,1,1\n"
           u"2005,Qtr1 Total,,2,2\n"
           u"2005 Total,,,2,2\n"
           u"2006,Qtr4,Sports,1,0\n"
           u"2006,Qtr4 Total,,1,0\n"
           u"2006 Total,,,1,0\n"
           u"Grand Total,,,4,3\n"_s;
}

void tst_PivotAggregation::commandPrintsTheGrid()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, output);
    const auto run = runPivot(QStringList{m_smallPath} + arguments);
    const bool refused = output.startsWith(u"zorvane-stats:"_s);
    QCOMPARE(run.exitCode, refused ? 2 : 0);
    QCOMPARE(refused ? run.err.trimmed().split(u'\n').constLast() : run.out, output);
}

// The stored table layout, run through the page the window writes, gives
// the grid of the same layout given as options (a stale name stopping the
// page is tst_pivotwindow's).
void tst_PivotAggregation::storedLayoutAsTheWindowRestoresIt()
{
    CAppSettings settings;
    settings.Init(u"Koltrin"_s, u"Zorvane"_s);
    const QString section = u"STATMSTABLE"_s;
    const std::pair<QString, QVariant> stored[] = {
        {u"ROWFIELDSETSCOUNT"_s, 1},
        {u"ROWFIELDSETNAME1"_s, u"Provider"_s},
        {u"ROWFIELDSETFIELDS1"_s, u"Provider"_s},
        {u"ROWFIELDSFILTERS1"_s, u"Provider||1||||(Gamma)"_s},
        {u"COLUMNFIELDSETSCOUNT"_s, 1},
        {u"COLUMNFIELDSETNAME1"_s, u"NewsDate By Month"_s},
        {u"COLUMNFIELDSETFIELDS1"_s, u"Years"_s},
    };
    for (const auto &[key, value] : stored)
        settings.SaveSetting(section, key, value);
    const QString expected = runPivot({m_smallPath, u"--rows"_s, u"Provider(Provider!=Gamma)"_s,
                                       u"--columns"_s, u"NewsDate By Month[Years]"_s})
                                 .out;
    QVERIFY(expected.startsWith(u"Provider,"_s));
    QCOMPARE(runPivot({m_smallPath, u"--layout-from-settings"_s}).out, expected);
}

QTEST_GUILESS_MAIN(tst_PivotAggregation)
#include "tst_pivotaggregation.moc"
