// Layouts written as text, as the command line takes them, and the grid the
// command prints for them.

#include "PivotTestData.h"
#include "ProgramRun.h"
#include "pivot/PivotData.h"
#include "pivot/PivotLayoutText.h"
#include "pivot/PivotLoader.h"
#include "pivot/PivotView.h"
#include "settings/CAppSettings.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace qrt::pivot;

Q_DECLARE_METATYPE(PivotError::Code)

namespace {

QString describe(const PivotAxis &axis)
{
    QStringList sets;
    for (const PivotFieldSet *set : axis.FieldSets()) {
        QStringList fields, choices;
        for (const PivotField *field : set->Fields()) {
            if (field->IsIncluded())
                fields << field->Name();
            const auto members =
                set->AllIncludeExclude() == 2 ? field->IncludedMembers() : field->ExcludedMembers();
            for (const PivotMember &member : members)
                choices << field->Name() + u':' + member.Caption();
        }
        sets << set->Name() + u'[' + fields.join(u',') + u']' +
                    QString::number(set->AllIncludeExclude()) + u'(' + choices.join(u',') + u')';
    }
    return sets.join(u';');
}

// zorvane-stats pivot as a script runs it.
qrt::test::ProgramRun runPivot(const QStringList &arguments)
{
    return qrt::test::runStats(QStringList{u"pivot"_s} + arguments);
}

} // namespace

class tst_PivotLayoutText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void fieldSets_data();
    void fieldSets();
    void badLayoutsRaise_data();
    void badLayoutsRaise();
    void commandPrintsTheGrid_data();
    void commandPrintsTheGrid();
    void storedLayoutAsTheWindowRestoresIt();

private:
    QTemporaryDir m_dir;
    QString m_path;
    std::shared_ptr<PivotData> m_data;
};

void tst_PivotLayoutText::initTestCase()
{
    QVERIFY(m_dir.isValid());
    m_path = m_dir.filePath(u"small.db"_s);
    QVERIFY(qrt::test::makeSmallNewsDb(m_path));
    m_data = qrt::test::loadNews(m_path);
    QVERIFY(m_data);
}

void tst_PivotLayoutText::fieldSets_data()
{
    QTest::addColumn<QString>("layout");
    QTest::addColumn<QString>("axis");
    QTest::newRow("two sets") << u"NewsDate By Month[Years,Months];Provider"_s
                              << u"NewsDate By Month[Years,Months]0();Provider[Provider]0()"_s;
    QTest::newRow("blanks around") << u" Category ( Category = Sports | World ) "_s
                                   << u"Category[Category]2(Category:Sports,Category:World)"_s;
    // Members keep the order given, each once.
    QTest::newRow("member path")
        << u"NewsDate By Month[Months](Months=2005/Qtr1/Mar|2005/Qtr1/Jan|2005/Qtr1/Mar)"_s
        << u"NewsDate By Month[Months]2(Months:Mar,Months:Jan)"_s;
    QTest::newRow("exclude") << u"Provider(Provider!=Alpha)"_s
                             << u"Provider[Provider]1(Provider:Alpha)"_s;
    QTest::newRow("two fields") << u"NewsDate By Week[](Years=2004)(Weeks=2005/Week 14)"_s
                                << u"NewsDate By Week[]2(Years:2004,Weeks:Week 14)"_s;
    QTest::newRow("empty") << QString() << QString();
}

void tst_PivotLayoutText::fieldSets()
{
    QFETCH(QString, layout);
    QFETCH(QString, axis);
    PivotView view(m_data);
    PivotLayoutText::applyFieldSets(view, view.RowAxis(), layout);
    QCOMPARE(describe(view.RowAxis()), axis);
}

void tst_PivotLayoutText::badLayoutsRaise_data()
{
    QTest::addColumn<QString>("fieldSets");
    QTest::addColumn<QString>("totals");
    QTest::addColumn<PivotError::Code>("code");
    // Unknown names raise as in tst_pivotobjectmodel; these are the text's own.
    QTest::newRow("member of a level")
        << u"NewsDate By Month(Months=2005)"_s << QString() << PivotError::Code::WrongFieldSet;
    QTest::newRow("both kinds") << u"Provider(Provider=Alpha)(Provider!=beta)"_s << QString()
                                << PivotError::Code::InvalidValue;
    QTest::newRow("unclosed") << u"Provider[Provider"_s << QString()
                              << PivotError::Code::InvalidValue;
    QTest::newRow("function") << QString() << u"x=Median(News)"_s << PivotError::Code::InvalidValue;
    QTest::newRow("total field set")
        << QString() << u"x=Count(Nope)"_s << PivotError::Code::NoSuchFieldSet;
    QTest::newRow("total form") << QString() << u"Count(News)"_s << PivotError::Code::InvalidValue;
}

void tst_PivotLayoutText::badLayoutsRaise()
{
    QFETCH(QString, fieldSets);
    QFETCH(QString, totals);
    QFETCH(PivotError::Code, code);
    PivotView view(m_data);
    try {
        PivotLayoutText::applyFieldSets(view, view.FilterAxis(), fieldSets);
        PivotLayoutText::applyTotals(view, totals);
        QFAIL("no error raised");
    } catch (const PivotError &error) {
        QCOMPARE(error.code(), code);
    }
}

void tst_PivotLayoutText::commandPrintsTheGrid_data()
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

void tst_PivotLayoutText::commandPrintsTheGrid()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, output);
    const auto run = runPivot(QStringList{m_path} + arguments);
    const bool refused = output.startsWith(u"zorvane-stats:"_s);
    QCOMPARE(run.exitCode, refused ? 2 : 0);
    QCOMPARE(refused ? run.err.trimmed().split(u'\n').constLast() : run.out, output);
}

// The stored table layout, run through the page the window writes, gives
// the grid of the same layout given as options; a stale name stops it at
// its page line with the steps before it kept.
void tst_PivotLayoutText::storedLayoutAsTheWindowRestoresIt()
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
    const QString expected = runPivot({m_path, u"--rows"_s, u"Provider(Provider!=Gamma)"_s,
                                       u"--columns"_s, u"NewsDate By Month[Years]"_s})
                                 .out;
    QVERIFY(expected.startsWith(u"Provider,"_s));
    QCOMPARE(runPivot({m_path, u"--layout-from-settings"_s}).out, expected);

    // The row axis comes last but for the totals: they are not reached.
    settings.SaveSetting(section, u"ROWFIELDSETSCOUNT"_s, 2);
    settings.SaveSetting(section, u"ROWFIELDSETNAME2"_s, u"Gone"_s);
    const auto partial = runPivot({m_path, u"--layout-from-settings"_s});
    QVERIFY2(partial.err.contains(u"There is no field set named \"Gone\""_s),
             qPrintable(partial.err));
    QVERIFY(partial.err.contains(u"Line "_s));
    QCOMPARE(partial.out,
             runPivot({m_path, u"--rows"_s, u"Provider(Provider!=Gamma)"_s, u"--columns"_s,
                       u"NewsDate By Month[Years]"_s, u"--total"_s, QString()})
                 .out);
}

QTEST_GUILESS_MAIN(tst_PivotLayoutText)
#include "tst_pivotlayouttext.moc"
