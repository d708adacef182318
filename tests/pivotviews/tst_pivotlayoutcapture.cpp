// A pivot table's layout captured into the settings store. The page made
// from stored keys is tst_pivotpage's, the round trip through both in the
// real window tst_pivotwindow's.

#include "PivotTestData.h"
#include "pivot/PivotLayoutText.h"
#include "pivot/PivotView.h"
#include "pivotpage/PivotLayoutCapture.h"
#include "settings/SettingsTestHome.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace qrt::pivot;

class tst_PivotLayoutCapture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void capture();

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

QTEST_GUILESS_MAIN(tst_PivotLayoutCapture)
#include "tst_pivotlayoutcapture.moc"
