// The pivot engine's numbers against SQL: for each layout, every cell of the
// grid (leaves, subtotals and grand totals alike) must equal what GROUP BY
// gives on the same database, with nothing missing and nothing extra. Runs
// on random data and on the demo generator's data. The grid model's lines
// and cells are held against SQL too.

#include "PivotTestData.h"
#include "db/Recordset.h"
#include "demodata/DemoDatabase.h"
#include "pivot/PivotAggregator.h"
#include "pivot/PivotChartData.h"
#include "pivot/PivotData.h"
#include "pivot/PivotGridModel.h"
#include "pivot/PivotLayoutText.h"
#include "pivot/PivotLoader.h"
#include "pivot/PivotResult.h"
#include "pivot/PivotView.h"

#include <QSet>
#include <QSqlDatabase>
#include <QTemporaryDir>
#include <QTest>

#include <functional>

using namespace Qt::StringLiterals;
using namespace qrt::pivot;

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

QString blankable(const QString &expr)
{
    return u"COALESCE(NULLIF(%1, ''), '(blank)')"_s.arg(expr);
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

// The first hour that has news: year, quarter, month, day and hour, each the
// first child of the one before.
PivotMember firstHour(PivotView &view)
{
    PivotMember member = view.FieldSets(u"NewsDate By Month"_s).Member();
    for (int level = 0; level < 5; ++level) {
        const PivotMembers children = member.ChildMembers();
        member = children.Item(
            children.Count() > 1 && children.Item(0).Caption() == u"(blank)"_s ? 1 : 0);
    }
    return member;
}

// A total other than the count of titles; only the random data has Words.
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
                     const PivotMember hour = firstHour(v);
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

QString statement(bool withWords)
{
    QString sql = qrt::test::pivotStatement();
    if (withWords)
        sql.replace(u"Categories.Name AS Category"_s,
                    u"Categories.Name AS Category, News.Words AS Words"_s);
    return sql;
}

QString memberPath(const PivotResult::Node &node)
{
    QStringList captions;
    for (PivotMember m = node.member(); !m.isNull() && !m.isRoot(); m = m.ParentMember())
        captions.prepend(m.Caption());
    return captions.join(u'/');
}

// The member paths from the outermost member down to a node, so that
// members shown without their parents (months without years) stay apart.
QStringList nodeKeys(const std::vector<PivotResult::Node> &nodes, int node)
{
    QStringList keys;
    for (; node > 0; node = nodes[static_cast<std::size_t>(node)].parent)
        keys.prepend(memberPath(nodes[static_cast<std::size_t>(node)]));
    return keys;
}

struct Group
{
    QStringList rows;
    QStringList columns;
    qint64 count = 0;
    qint64 titles = 0;
};

} // namespace

class tst_PivotAggregation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void matchesGroupBy_data();
    void matchesGroupBy();
    void collapsedMembersKeepTheirTotals();
    void gridModelEqualsSql_data();
    void gridModelEqualsSql();
    void gridNumberFormats_data();
    void gridNumberFormats();

private:
    QTemporaryDir m_dir;
    QString m_random;
    QString m_demo;
    std::shared_ptr<const PivotData> m_data; // of m_random
};

void tst_PivotAggregation::initTestCase()
{
    QVERIFY(m_dir.isValid());
    m_random = m_dir.filePath(u"random.db"_s);
    QVERIFY(qrt::test::makeRandomNewsDb(m_random, 6000, qrt::test::testSeed()));
    m_data = qrt::test::loadNews(m_random);
    QVERIFY(m_data);
    m_demo = m_dir.filePath(u"demo.db"_s);
    qrt::db::DemoDatabase::Options options;
    options.items = 20000;
    options.seed = qrt::test::testSeed();
    options.until = QDate(2025, 3, 31);
    options.days = 500;
    QString error;
    QVERIFY2(qrt::db::DemoDatabase::create(m_demo, options, &error), qPrintable(error));
}

void tst_PivotAggregation::matchesGroupBy_data()
{
    QTest::addColumn<QString>("database");
    QTest::addColumn<int>("index");
    const QList<Case> all = cases();
    for (int i = 0; i < all.size(); ++i) {
        QTest::addRow("random: %s", qPrintable(all[i].name)) << u"random"_s << i;
        if (!all[i].needsWords && all[i].where.isEmpty())
            QTest::addRow("demo: %s", qPrintable(all[i].name)) << u"demo"_s << i;
    }
}

void tst_PivotAggregation::matchesGroupBy()
{
    QFETCH(QString, database);
    QFETCH(int, index);
    const Case c = cases().at(index);
    const QString path = database == u"random"_s ? m_random : m_demo;

    const std::shared_ptr<PivotData> data = qrt::test::loadNews(path, statement(c.needsWords));
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
                actual.insert(nodeKeys(result.rowNodes(), r).join(u'|') + u'\x1f' +
                                  nodeKeys(result.columnNodes(), col).join(u'|'),
                              *v);

    QHash<QString, double> expected;
    qrt::db::Connection connection;
    QVERIFY(connection.Open(path));
    for (int d = 0; d <= c.rows.size(); ++d) {
        for (int e = 0; e <= c.columns.size(); ++e) {
            QStringList exprs;
            for (int i = 0; i < d; ++i)
                exprs << blankable(c.rows[i].sql);
            for (int i = 0; i < e; ++i)
                exprs << blankable(c.columns[i].sql);
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
    QTest::addColumn<QStringList>("rowSql");
    QTest::addColumn<QString>("columns");
    QTest::addColumn<QStringList>("columnSql");
    QTest::addColumn<int>("expandMembers");
    QTest::addColumn<bool>("subtotals");
    QTest::addColumn<bool>("descending"); // the outer row field
    const QString months = u"NewsDate By Month[Months];Provider"_s;
    const QStringList monthsSql = {datePath(3), u"Providers.Provider"_s};
    QTest::newRow("default layout, collapsed") << months << monthsSql << QString() << QStringList()
                                               << int(PivotView::ExpandNever) << true << false;
    QTest::newRow("default layout, expanded") << months << monthsSql << QString() << QStringList()
                                              << int(PivotView::ExpandAlways) << true << true;
    QTest::newRow("category by provider, no subtotals")
        << u"Category;Channel"_s << QStringList{u"Categories.Name"_s, u"Channels.Channel"_s}
        << u"Provider"_s << QStringList{u"Providers.Provider"_s} << int(PivotView::ExpandAlways)
        << false << false;
    QTest::newRow("channels by years")
        << u"Channel"_s << QStringList{u"Channels.Channel"_s} << u"NewsDate By Month[Years]"_s
        << QStringList{datePath(1)} << int(PivotView::ExpandAutomatic) << true << true;
}

void tst_PivotAggregation::gridModelEqualsSql()
{
    QFETCH(QString, rows);
    QFETCH(QStringList, rowSql);
    QFETCH(QString, columns);
    QFETCH(QStringList, columnSql);
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

    // The leaf groups, from SQL.
    const QStringList keys = rowSql + columnSql;
    QStringList positions;
    for (int i = 1; i <= keys.size(); ++i)
        positions << QString::number(i);
    const QString sql = u"SELECT %1, COUNT(*), COUNT(NULLIF(News.Title, '')) %2 GROUP BY %3"_s.arg(
        keys.join(u", "_s), kJoin, positions.join(u", "_s));
    std::vector<Group> groups;
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"check"_s);
        db.setDatabaseName(m_random);
        QVERIFY(db.open());
        QSqlQuery query(db);
        QVERIFY2(query.exec(sql), qPrintable(query.lastError().text()));
        while (query.next()) {
            Group g;
            for (int i = 0; i < keys.size(); ++i)
                (i < rowSql.size() ? g.rows : g.columns) << query.value(i).toString();
            g.count = query.value(keys.size()).toLongLong();
            g.titles = query.value(keys.size() + 1).toLongLong();
            groups.push_back(g);
        }
    }
    QSqlDatabase::removeDatabase(u"check"_s);

    const auto &rowNodes = model.result().rowNodes();
    const auto &columnNodes = model.result().columnNodes();
    QVERIFY(model.rowCount() > 1);
    int collapsed = 0;
    int subtotalLines = 0;
    for (int r = 0; r < model.rowCount(); ++r) {
        const PivotResult::Line rowLine = model.line(Qt::Vertical, r);
        const QStringList rowKeys = nodeKeys(rowNodes, rowLine.node);
        collapsed +=
            rowLine.kind == PivotResult::LineKind::Member && rowKeys.size() < rowSql.size();
        subtotalLines += rowLine.kind == PivotResult::LineKind::Subtotal;
        for (int c = 0; c < model.columnCount(); ++c) {
            const QStringList columnKeys =
                nodeKeys(columnNodes, model.line(Qt::Horizontal, c).node);
            qint64 count = 0;
            qint64 titles = 0;
            for (const Group &g : groups)
                if (g.rows.mid(0, rowKeys.size()) == rowKeys &&
                    g.columns.mid(0, columnKeys.size()) == columnKeys) {
                    count += g.count;
                    titles += g.titles;
                }
            const QVariant value = model.data(model.index(r, c), PivotGridModel::ValueRole);
            QVERIFY2(value.isValid() == (count > 0),
                     qPrintable(u"%1 x %2"_s.arg(rowKeys.join(u'|'), columnKeys.join(u'|'))));
            if (count > 0)
                QCOMPARE(value.toLongLong(), titles);
        }
    }
    // The first column of the copied text names each outer member whole,
    // as SQL does (a month with its year and quarter), where the grid
    // shows its caption alone; the chart's tips the same.
    const QStringList text = model.toTabText().split(u'\n');
    QSet<QString> outerKeys;
    for (const Group &g : groups)
        outerKeys << g.rows.value(0);
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
             subtotals && rowSql.size() > 1 && expandMembers != PivotView::ExpandNever);
}

void tst_PivotAggregation::gridNumberFormats_data()
{
    QTest::addColumn<QString>("format");
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("text");
    QTest::newRow("general whole") << u"General"_s << 1234567.0 << u"1234567"_s;
    QTest::newRow("general fraction") << u"General"_s << 0.1 + 0.2 << u"0.3"_s;
    QTest::newRow("grouped") << u"#,##0"_s << 1234567.4 << u"1,234,567"_s;
    QTest::newRow("grouped decimals") << u"#,##0.00"_s << -1234.5 << u"-1,234.50"_s;
    QTest::newRow("plain decimals") << u"0.0"_s << 1234.56 << u"1234.6"_s;
    QTest::newRow("percent") << u"0.0%"_s << 0.256 << u"25.6%"_s;
}

void tst_PivotAggregation::gridNumberFormats()
{
    QFETCH(QString, format);
    QFETCH(double, value);
    QFETCH(QString, text);
    QLocale::setDefault(QLocale::c());
    QCOMPARE(PivotGridModel::formatNumber(value, format), text);
}

QTEST_GUILESS_MAIN(tst_PivotAggregation)
#include "tst_pivotaggregation.moc"
