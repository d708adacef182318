// The objects the views and the layout restore work through: field sets
// and fields by name and index, the member trees and their captions, axes,
// totals, and the typed errors a stale name must raise.

#include "PivotTestData.h"
#include "TestDatabases.h"
#include "base/Dates.h"
#include "pivot/PivotAggregator.h"
#include "pivot/PivotData.h"
#include "pivot/PivotLoader.h"
#include "pivot/PivotResult.h"
#include "pivot/PivotView.h"

#include <QTemporaryDir>
#include <QTest>

#include <functional>

using namespace Qt::StringLiterals;
using namespace qrt::pivot;

using Action = std::function<void(PivotView &)>;
Q_DECLARE_METATYPE(Action)
Q_DECLARE_METATYPE(PivotError::Code)

namespace {

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

} // namespace

class tst_PivotObjectModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void fieldsByNameAndIndex_data();
    void fieldsByNameAndIndex();
    void dateMembers_data();
    void dateMembers();
    void textMembersSortAndMatchExactly();
    void timestampMembers();
    void unknownNamesRaise_data();
    void unknownNamesRaise();
    void axesHoldAFieldSetOnce();
    void totals();
    void aViewWithoutData();

private:
    QTemporaryDir m_dir;
    std::shared_ptr<PivotData> m_data;
    std::unique_ptr<PivotView> m_view;
};

void tst_PivotObjectModel::initTestCase()
{
    QVERIFY(m_dir.isValid());
    const QString path = m_dir.filePath(u"members.db"_s);
    QVERIFY(qrt::test::makeSmallNewsDb(path));
    m_data = qrt::test::loadNews(path);
    QVERIFY(m_data);
}

void tst_PivotObjectModel::init()
{
    m_view = std::make_unique<PivotView>(m_data);
}

void tst_PivotObjectModel::fieldsByNameAndIndex_data()
{
    QTest::addColumn<QString>("fieldSet");
    QTest::addColumn<QString>("fields"); // separated by ','
    QTest::addColumn<QString>("baseName");
    QTest::newRow("by week") << u"NewsDate By Week"_s << u"Years,Weeks,Days,Hours,Minutes,Seconds"_s
                             << u"NewsDate"_s;
    QTest::newRow("by month") << u"NewsDate By Month"_s
                              << u"Years,Quarters,Months,Days,Hours,Minutes,Seconds"_s
                              << u"NewsDate"_s;
}

void tst_PivotObjectModel::fieldsByNameAndIndex()
{
    QFETCH(QString, fieldSet);
    QFETCH(QString, fields);
    QFETCH(QString, baseName);
    const PivotFieldSet &set = m_view->FieldSets(fieldSet);
    const QStringList expected = fields.split(u',');
    QStringList enumerated;
    for (const PivotField *field : set.Fields())
        enumerated << field->Name();
    QCOMPARE(enumerated, expected);
    for (int i = 0; i < expected.size(); ++i) {
        QCOMPARE(&set.Fields(expected[i]), &set.Fields(i));
        QCOMPARE(set.Fields(i).BaseName(), baseName);
        QVERIFY(set.Fields(i).IsIncluded());
    }
}

void tst_PivotObjectModel::dateMembers_data()
{
    QTest::addColumn<QString>("fieldSet");
    QTest::addColumn<QString>("path");     // captions from the top, separated by '/'
    QTest::addColumn<QString>("children"); // separated by '|'
    const QString month = u"NewsDate By Month"_s;
    const QString week = u"NewsDate By Week"_s;
    // Every caption of the month hierarchy, its parents up to the root and
    // its blanks are checked against SQL in tst_pivotaggregation; here the
    // order: the blank first, then by time, months by number.
    QTest::newRow("years") << month << QString() << u"(blank)|2004|2005|2006"_s;
    QTest::newRow("months") << month << u"2005/Qtr1"_s << u"Jan|Mar"_s;
    // 1 January 2005 was a Saturday: week 1 is the weekend, Monday the 3rd
    // opens week 2; 2004 ends in a week 53.
    QTest::newRow("weeks 2005") << week << u"2005"_s << u"Week 2|Week 14"_s;
    QTest::newRow("weeks 2004") << week << u"2004"_s << u"Week 53"_s;
    QTest::newRow("days of a week") << week << u"2005/Week 14"_s << u"31|1"_s;
}

void tst_PivotObjectModel::dateMembers()
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

void tst_PivotObjectModel::textMembersSortAndMatchExactly()
{
    const PivotFieldSet &categories = m_view->FieldSets(u"Category"_s);
    QCOMPARE(captions(categories.Members()), QStringList({u"Sports"_s, u"sports"_s, u"World"_s}));
    QCOMPARE(categories.Members()(u"sports"_s).Caption(), u"sports"_s);
    QVERIFY(!(categories.Members()(u"sports"_s) == categories.Members()(u"Sports"_s)));
    QCOMPARE(captions(m_view->FieldSets(u"Provider"_s).Members()),
             QStringList({u"Alpha"_s, u"beta"_s, u"Gamma"_s}));
    // A missing and an empty title are one blank member.
    QCOMPARE(captions(m_view->FieldSets(u"News"_s).Members()),
             QStringList({u"(blank)"_s, u"a"_s, u"b"_s, u"e"_s, u"f"_s}));
}

void tst_PivotObjectModel::timestampMembers()
{
    const PivotFieldSet &stamps = m_view->FieldSets(u"NewsDate"_s);
    QCOMPARE(captions(stamps.Members()),
             QStringList({u"(blank)"_s, u"2004-12-31 08:00:00"_s, u"2005-01-03 10:15:30"_s,
                          u"2005-03-31 23:59:59"_s, u"2005-04-01"_s, u"2006-12-31 12:00:00"_s}));
    QCOMPARE(stamps.Members()(u"2005-04-01"_s).Caption(), u"2005-04-01"_s);
    QVERIFY_THROWS_EXCEPTION(PivotError, stamps.Members()(u"2005-04-01 00:00:00"_s));
    QVERIFY_THROWS_EXCEPTION(PivotError, stamps.Members()(u"2005-04-02"_s));
}

void tst_PivotObjectModel::unknownNamesRaise_data()
{
    QTest::addColumn<Action>("action");
    QTest::addColumn<PivotError::Code>("code");
    QTest::addColumn<quint32>("number");
    QTest::addColumn<QString>("text");
    QTest::newRow("field set") << Action([](PivotView &v) { v.FieldSets(u"Title"_s); })
                               << PivotError::Code::NoSuchFieldSet << 0x80040601u
                               << u"There is no field set named \"Title\"."_s;
    QTest::newRow("field") << Action([](PivotView &v) {
        v.FieldSets(u"Provider"_s).Fields(u"Months"_s);
    }) << PivotError::Code::NoSuchField
                           << 0x80040602u
                           << u"The field set \"Provider\" has no field named \"Months\"."_s;
    QTest::newRow("field index")
        << Action([](PivotView &v) { v.FieldSets(u"Provider"_s).Fields(1); })
        << PivotError::Code::IndexOutOfRange << 0x80040604u
        << u"Index 1 is out of range for the fields of \"Provider\", which holds 1 item(s)."_s;
    QTest::newRow("member") << Action([](PivotView &v) {
        v.FieldSets(u"Provider"_s).Members()(u"Delta"_s);
    }) << PivotError::Code::NoSuchMember
                            << 0x80040603u
                            << u"The member \"ALL\" has no child member \"Delta\"."_s;
    QTest::newRow("AllIncludeExclude")
        << Action([](PivotView &v) { v.FieldSets(u"Provider"_s).setAllIncludeExclude(3); })
        << PivotError::Code::InvalidValue << 0x80040605u
        << u"\"3\" is not a valid value for AllIncludeExclude."_s;
    QTest::newRow("total twice") << Action([](PivotView &v) {
        v.AddTotal(u"Count of News"_s, v.FieldSets(u"News"_s).Fields(0), 2);
        v.AddTotal(u"Count of News"_s, v.FieldSets(u"Channel"_s).Fields(0), 2);
    }) << PivotError::Code::DuplicateTotal
                                 << 0x80040606u
                                 << u"There is already a total named \"Count of News\"."_s;
    QTest::newRow("member of another set")
        << Action([](PivotView &v) {
               v.FieldSets(u"Category"_s)
                   .Fields(0)
                   .setExcludedMembers({v.FieldSets(u"Provider"_s).Members()(u"Alpha"_s)});
           })
        << PivotError::Code::WrongFieldSet << 0x80040607u
        << u"The member \"Alpha\" is not a member of the field \"Category\"."_s;
}

void tst_PivotObjectModel::unknownNamesRaise()
{
    QFETCH(Action, action);
    QFETCH(PivotError::Code, code);
    QFETCH(quint32, number);
    QFETCH(QString, text);
    try {
        action(*m_view);
        QFAIL("no error raised");
    } catch (const PivotError &error) {
        QCOMPARE(error.code(), code);
        QCOMPARE(error.description, text);
        QCOMPARE(error.source, u"QRT_StatCharts.Pivot"_s);
        QCOMPARE(static_cast<quint32>(error.number), number);
    }
    // A failed call changes nothing.
    QCOMPARE(m_view->FieldSets(u"Provider"_s).AllIncludeExclude(), 0);
    QVERIFY(m_view->FieldSets(u"Category"_s).Fields(0).ExcludedMembers().empty());
}

void tst_PivotObjectModel::axesHoldAFieldSetOnce()
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
    PivotView other(m_data);
    QVERIFY_THROWS_EXCEPTION(PivotError, other.RowAxis().InsertFieldSet(provider));
}

void tst_PivotObjectModel::totals()
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
}

void tst_PivotObjectModel::aViewWithoutData()
{
    // What a view has when its load failed: no field sets, so every stored
    // name fails, and an empty grid.
    PivotView empty(nullptr);
    QCOMPARE(empty.FieldSets().Count(), 0);
    QVERIFY_THROWS_EXCEPTION(PivotError, empty.FieldSets(u"Provider"_s));
    const PivotResult result = PivotAggregator::run(empty);
    QCOMPARE(result.rowNodes().size(), std::size_t(1));
    QCOMPARE(result.columnNodes().size(), std::size_t(1));
    QCOMPARE(result.rowsAggregated(), 0);
    QCOMPARE(result.value(0, 0, 0), std::nullopt);
}

QTEST_GUILESS_MAIN(tst_PivotObjectModel)
#include "tst_pivotobjectmodel.moc"
