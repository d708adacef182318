// The grid model's cells against SQL on random data: every value of every
// line (members, collapsed members, subtotals, grand totals) must be the
// GROUP BY count of the rows under its row and column members.

#include "PivotTestData.h"
#include "pivot/PivotChartData.h"
#include "pivot/PivotData.h"
#include "pivot/PivotGridModel.h"
#include "pivot/PivotLayoutText.h"
#include "pivot/PivotLoader.h"
#include "pivot/PivotView.h"

#include <QSet>
#include <QSqlDatabase>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace qrt::pivot;

namespace {

// The member path "2025/Qtr1/Jan" of a news item's month, as the engine
// captions it.
QString monthPath()
{
    const QString m = u"CAST(strftime('%m', News.pubDate) AS INTEGER)"_s;
    return u"(CASE WHEN News.pubDate IS NULL THEN '(blank)/(blank)/(blank)' ELSE "
           u"strftime('%Y', News.pubDate) || '/Qtr' || ((%1 + 2) / 3) || '/' || "
           u"substr('JanFebMarAprMayJunJulAugSepOctNovDec', %1 * 3 - 2, 3) END)"_s.arg(m);
}

const QString kYear = u"COALESCE(strftime('%Y', News.pubDate), '(blank)')"_s;

QString memberPath(const PivotResult::Node &node)
{
    QStringList captions;
    for (PivotMember m = node.member(); !m.isNull() && !m.isRoot(); m = m.ParentMember())
        captions.prepend(m.Caption());
    return captions.join(u'/');
}

// The member paths from the outermost member down to a node.
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

class tst_PivotGridModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void valuesEqualSql_data();
    void valuesEqualSql();
    void numberFormats_data();
    void numberFormats();

private:
    QTemporaryDir m_dir;
    QString m_path;
    std::shared_ptr<const PivotData> m_data;
};

void tst_PivotGridModel::initTestCase()
{
    m_path = m_dir.filePath(u"news.db"_s);
    QVERIFY(qrt::test::makeRandomNewsDb(m_path, 4000, qrt::test::testSeed()));
    m_data = qrt::test::loadNews(m_path);
    QVERIFY(m_data);
}

void tst_PivotGridModel::valuesEqualSql_data()
{
    QTest::addColumn<QString>("rows");
    QTest::addColumn<QStringList>("rowSql");
    QTest::addColumn<QString>("columns");
    QTest::addColumn<QStringList>("columnSql");
    QTest::addColumn<int>("expandMembers");
    QTest::addColumn<bool>("subtotals");
    QTest::addColumn<bool>("descending"); // the outer row field
    const QString months = u"NewsDate By Month[Months];Provider"_s;
    const QStringList monthsSql = {monthPath(), u"Providers.Provider"_s};
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
        << QStringList{kYear} << int(PivotView::ExpandAutomatic) << true << true;
}

void tst_PivotGridModel::valuesEqualSql()
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
    const QString sql =
        u"SELECT %1, COUNT(*), COUNT(NULLIF(News.Title, '')) FROM Categories INNER JOIN "
        u"(Providers INNER JOIN (Channels INNER JOIN News ON Channels.ID = News.Channel) ON "
        u"Providers.ID = Channels.Provider) ON Categories.ID = Channels.Category GROUP BY %2"_s.arg(
            keys.join(u", "_s), positions.join(u", "_s));
    std::vector<Group> groups;
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"check"_s);
        db.setDatabaseName(m_path);
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

void tst_PivotGridModel::numberFormats_data()
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

void tst_PivotGridModel::numberFormats()
{
    QFETCH(QString, format);
    QFETCH(double, value);
    QFETCH(QString, text);
    QLocale::setDefault(QLocale::c());
    QCOMPARE(PivotGridModel::formatNumber(value, format), text);
}

QTEST_GUILESS_MAIN(tst_PivotGridModel)
#include "tst_pivotgridmodel.moc"
