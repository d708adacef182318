// A pivot table's layout captured into the settings store, and the chart's
// side of reading it back: stored members found again by their paths, and
// the filter records applied step by step. The page made from stored keys
// is tst_pivotpage's, the round trip through both in the real window
// tst_pivotwindow's.

#include "PivotTestData.h"
#include "pivot/PivotLayoutText.h"
#include "pivot/PivotView.h"
#include "pivotpage/PivotChartLayout.h"
#include "pivotpage/PivotLayoutCapture.h"
#include "pivotpage/PivotMemberParser.h"
#include "settings/SettingsTestHome.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace qrt::pivot;

namespace {

// "2005/Qtr1/Jan" for each member.
QStringList memberPaths(const std::vector<PivotMember> &members)
{
    QStringList paths;
    for (const PivotMember &member : members) {
        QStringList captions;
        for (PivotMember m = member; !m.isNull() && !m.isRoot(); m = m.ParentMember())
            captions.prepend(m.Caption());
        paths << captions.join(u'/');
    }
    return paths;
}

// A parser whose failed look-ups are counted, as the window's dialog would
// be asked, and then passed over.
PivotMemberParser countingParser(int &asked)
{
    return PivotMemberParser([&asked](const PivotMemberParser::Statement &statement) {
        try {
            statement();
        } catch (...) {
            ++asked;
        }
        return true;
    });
}

} // namespace

class tst_PivotLayoutCapture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void capture();
    void memberParser_data();
    void memberParser();
    void chartFilterRecords_data();
    void chartFilterRecords();
    void unreadableTypeKeepsTheChartsOwn();

private:
    SettingsTestHome m_home;
    QTemporaryDir m_dir;
    std::shared_ptr<PivotData> m_data;
};

void tst_PivotLayoutCapture::initTestCase()
{
    QVERIFY(m_home.isValid());
    m_home.clear();
    const QString path = m_dir.filePath(u"small.db"_s);
    QVERIFY(qrt::test::makeSmallNewsDb(path));
    QVERIFY(qrt::test::execAll(path,
                               {u"INSERT INTO Providers VALUES (4, 'Smith, Jones (UK)')"_s,
                                u"INSERT INTO Channels VALUES (4, 'Four', 4, 3)"_s,
                                u"INSERT INTO News VALUES (7, '2006-01-02 00:00:00', 4, 'g')"_s}));
    m_data = qrt::test::loadNews(path);
    QVERIFY(m_data);
}

void tst_PivotLayoutCapture::capture()
{
    PivotView view(m_data);
    PivotLayoutText::applyFieldSets(view, view.FilterAxis(), u"Provider(Provider=Alpha|Gamma)"_s);
    PivotLayoutText::applyFieldSets(
        view, view.RowAxis(),
        u"NewsDate By Month[Years,Months](Months=2005/Qtr1/Mar|2005/Qtr1/Jan);"
        u"Category[](Category=World)"_s);
    // A choice left behind under mode 0 is no choice.
    view.FieldSets(u"Category"_s).setAllIncludeExclude(PivotFieldSet::IncludeDefault);
    PivotLayoutText::applyFieldSets(view, view.ColumnAxis(),
                                    u"NewsDate By Week[Weeks](Years!=2004)(Weeks!=2005/Week 14)"_s);
    PivotLayoutText::applyTotals(view,
                                 u"Count of News=Count(News);Latest=Max(NewsDate By Month)"_s);

    const PivotFieldSet &byMonth = view.FieldSets(u"NewsDate By Month"_s);
    const PivotMember march = byMonth.Fields(u"Months"_s).IncludedMembers().front();
    QCOMPARE(PivotLayoutCapture::GetMemberPath(march.ParentMember()), u"**|**2005**|**Qtr1"_s);
    QCOMPARE(PivotLayoutCapture::GetMemberPath(byMonth.Member()), QString());

    const QString section = u"STATMSTABLE"_s;
    const CAppSettings settings = zorvaneSettings();
    // Nothing is deleted first: a key the new layout doesn't write stays.
    settings.SaveSetting(section, u"DATAFIELDSETNAME1"_s, u"Old"_s);
    PivotLayoutCapture::SavePivotTableLayout(settings, view);

    const QList<std::pair<QString, QVariant>> expected = {
        {u"FILTERFIELDSETSCOUNT"_s, 1},
        {u"FILTERFIELDSETNAME1"_s, u"Provider"_s},
        {u"FILTERFIELDSETFIELDS1"_s, u"Provider"_s},
        {u"FILTERFIELDSFILTERS1"_s, u"Provider||2||||(Alpha,Gamma)"_s},
        {u"ROWFIELDSETSCOUNT"_s, 2},
        {u"ROWFIELDSETNAME1"_s, u"NewsDate By Month"_s},
        {u"ROWFIELDSETFIELDS1"_s, u"Years%%|%%Months"_s},
        {u"ROWFIELDSFILTERS1"_s, u"Months||2||2005**|**Qtr1||(Mar,Jan)"_s},
        {u"ROWFIELDSETNAME2"_s, u"Category"_s},
        {u"ROWFIELDSETFIELDS2"_s, u""_s},
        {u"ROWFIELDSFILTERS2"_s, u""_s},
        {u"COLUMNFIELDSETSCOUNT"_s, 1},
        {u"COLUMNFIELDSETNAME1"_s, u"NewsDate By Week"_s},
        {u"COLUMNFIELDSETFIELDS1"_s, u"Weeks"_s},
        {u"COLUMNFIELDSFILTERS1"_s, u"Years||1||||(2004)%%|%%Weeks||1||2005||(Week 14)"_s},
        {u"DATAFIELDSETSCOUNT"_s, 0},
        {u"DATAFIELDSETNAME1"_s, u"Old"_s},
        {u"TOTALSCOUNT"_s, 2},
        {u"TOTALNAME1"_s, u"Count of News"_s},
        {u"TOTALFIELD1"_s, u"News"_s},
        {u"TOTALFUNCTION1"_s, 2},
        {u"TOTALNAME2"_s, u"Latest"_s},
        {u"TOTALFIELD2"_s, u"NewsDate"_s},
        {u"TOTALFUNCTION2"_s, 4},
    };
    QStringList keys, expectedKeys;
    settings.GetAllKeys(section, keys);
    for (const auto &[key, value] : expected) {
        expectedKeys << key;
        const QVariant stored = settings.GetSetting(section, key);
        QCOMPARE(stored.typeId(), value.typeId());
        QCOMPARE(stored, value);
    }
    keys.sort();
    expectedKeys.sort();
    QCOMPARE(keys, expectedKeys);
}

void tst_PivotLayoutCapture::memberParser_data()
{
    QTest::addColumn<QString>("fieldSet");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("members");
    QTest::addColumn<QStringList>("found");
    QTest::addColumn<int>("asked");
    QTest::newRow("three steps") << u"NewsDate By Month"_s << u"2005**|**Qtr1**|**Jan"_s << u"(3)"_s
                                 << QStringList{u"2005/Qtr1/Jan/3"_s} << 0;
    // Stored under the first member's parent, the second is looked up there.
    QTest::newRow("two parents") << u"NewsDate By Month"_s << u"2005**|**Qtr1"_s << u"(Jan,Apr)"_s
                                 << QStringList{u"2005/Qtr1/Jan"_s} << 1;
    QTest::newRow("a comma splits, parentheses go")
        << u"Provider"_s << QString() << u"(Smith, Jones (UK),Alpha)"_s << QStringList{u"Alpha"_s}
        << 2;
    QTest::newRow("no member") << u"Provider"_s << QString() << u"()"_s << QStringList() << 0;
}

void tst_PivotLayoutCapture::memberParser()
{
    QFETCH(QString, fieldSet);
    QFETCH(QString, path);
    QFETCH(QString, members);
    QFETCH(QStringList, found);
    QFETCH(int, asked);
    PivotView view(m_data);
    int failures = 0;
    PivotMemberParser parser = countingParser(failures);
    const PivotMembers root = view.FieldSets(fieldSet).Members();
    QCOMPARE(memberPaths(parser.ParseMembers(root, path, members)), found);
    QCOMPARE(failures, asked);
}

void tst_PivotLayoutCapture::chartFilterRecords_data()
{
    QTest::addColumn<QString>("fieldSet");
    QTest::addColumn<QString>("records");
    QTest::addColumn<QString>("field");
    QTest::addColumn<QStringList>("chosen"); // included or excluded
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("asked");
    QTest::newRow("too short to name members")
        << u"Provider"_s << u"Provider||2"_s << u"Provider"_s << QStringList() << 2 << 0;
    // The months can't take a year: the code is set all the same.
    QTest::newRow("members and code are two steps")
        << u"NewsDate By Month"_s << u"Years||1||||(2005)%%|%%Months||2||||(2005)"_s << u"Years"_s
        << QStringList{u"2005"_s} << 2 << 0;
    QTest::newRow("a member that is gone asks")
        << u"Provider"_s << u"Provider||1||||(Gone,Alpha)"_s << u"Provider"_s
        << QStringList{u"Alpha"_s} << 1 << 1;
}

void tst_PivotLayoutCapture::chartFilterRecords()
{
    QFETCH(QString, fieldSet);
    QFETCH(QString, records);
    QFETCH(QString, field);
    QFETCH(QStringList, chosen);
    QFETCH(int, code);
    QFETCH(int, asked);
    const CAppSettings settings = zorvaneSettings();
    settings.SaveSetting(PivotChartLayout::Section, u"ROWFIELDSETNAME1"_s, fieldSet);
    settings.SaveSetting(PivotChartLayout::Section, u"ROWFIELDSFILTERS1"_s, records);
    PivotView view(m_data);
    int failures = 0;
    PivotChartLayout::RestoreChartAxis(
        settings, view, u"ROW"_s, {}, {},
        [parser = countingParser(failures)](const PivotMembers &root, const QString &path,
                                            const QString &members) mutable {
            return parser.ParseMembers(root, path, members);
        });
    const PivotFieldSet &set = view.FieldSets(fieldSet);
    QCOMPARE(set.AllIncludeExclude(), code);
    const PivotField &chosenField = set.Fields(field);
    QCOMPARE(memberPaths(chosenField.IncludedMembers()) +
                 memberPaths(chosenField.ExcludedMembers()),
             chosen);
    QCOMPARE(failures, asked);
}

// A type that can't be read leaves the chart's own; the other keys still come.
void tst_PivotLayoutCapture::unreadableTypeKeepsTheChartsOwn()
{
    const CAppSettings settings = zorvaneSettings();
    settings.SaveSetting(PivotChartLayout::Section, u"TYPE"_s, u"seven"_s);
    settings.SaveSetting(PivotChartLayout::Section, u"LEGEND"_s, u"0"_s);
    settings.SaveSetting(PivotChartLayout::Section, u"SERIESBYROWS"_s, u"1"_s);
    const PivotChartLayout::Options options =
        PivotChartLayout::readOptions(settings, {true, 19, false});
    QCOMPARE(options.type, 19);
    QVERIFY(!options.legend && options.seriesByRows);
}

QTEST_GUILESS_MAIN(tst_PivotLayoutCapture)
#include "tst_pivotlayoutcapture.moc"
