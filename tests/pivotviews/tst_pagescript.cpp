// The pivot page and its script: the language the page uses, a layout
// script (with its fixed member functions) against the same layout made in
// C++, hostile texts stopped by the limits. A layout captured into
// the settings store and the chart's reading of it back. The page made from
// stored keys against PivotPageText.h, and the file it goes to. The round
// trip in the real window is tst_pivotwindow's.

#include "PivotPageText.h"
#include "PivotTestData.h"
#include "TestDatabases.h"
#include "pivot/PivotAggregator.h"
#include "pivot/PivotData.h"
#include "pivot/PivotGridModel.h"
#include "pivot/PivotLayoutText.h"
#include "pivot/PivotResult.h"
#include "pivot/PivotView.h"
#include "pivotpage/PivotChartLayout.h"
#include "pivotpage/PivotLayoutCapture.h"
#include "pivotpage/PivotMemberParser.h"
#include "pivotpage/PivotPage.h"
#include "pivotpage/PivotTableScriptObject.h"
#include "script/ScriptInterpreter.h"
#include "script/ScriptPage.h"
#include "settings/SettingsTestHome.h"

#include <QProcess>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace qrt::pivot;
using namespace qrt::script;

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

using Block = qrt::test::PageBlock;
using Total = qrt::test::PageTotal;

const Block kByMonth{u"RowAxis"_s, u"NewsDate By Month"_s, u"Months"_s, {}};
const Block kProvider{u"RowAxis"_s, u"Provider"_s, u"Provider"_s, {}};
const Total kCountOfNews{u"News"_s, u"Count of News"_s, u"2"_s};

} // namespace

Q_DECLARE_METATYPE(Block)
Q_DECLARE_METATYPE(Total)

class tst_PageScript : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void language_data();
    void language();
    void layoutScriptMatchesTheLayoutMadeDirectly();
    void hostileTexts_data();
    void hostileTexts();
    void literalsGiveTheTextBack();
    void capture();
    void memberParser_data();
    void memberParser();
    void chartFilterRecords_data();
    void chartFilterRecords();
    void page_data();
    void page();
    void writeTextFile();

private:
    QTemporaryDir m_dir;
    std::shared_ptr<PivotData> m_small;
    std::shared_ptr<PivotData> m_capture; // the small news and a provider with a comma
    SettingsTestHome m_home;
};

void tst_PageScript::initTestCase()
{
    QVERIFY(m_dir.isValid());
    const QString path = m_dir.filePath(u"small.db"_s);
    QVERIFY(qrt::test::makeSmallNewsDb(path));
    m_small = qrt::test::loadNews(path);
    QVERIFY(m_small);
    QVERIFY(m_home.isValid());
    m_home.clear();
    const QString capture = m_dir.filePath(u"capture.db"_s);
    QVERIFY(qrt::test::makeSmallNewsDb(capture));
    QVERIFY(qrt::test::execAll(capture,
                               {u"INSERT INTO Providers VALUES (4, 'Smith, Jones (UK)')"_s,
                                u"INSERT INTO Channels VALUES (4, 'Four', 4, 3)"_s,
                                u"INSERT INTO News VALUES (7, '2006-01-02 00:00:00', 4, 'g')"_s}));
    m_capture = qrt::test::loadNews(capture);
    QVERIFY(m_capture);
}

void tst_PageScript::language_data()
{
    QTest::addColumn<QString>("body"); // of Function Main, lines separated by '\n'
    QTest::addColumn<QString>("expected");
    const auto row = [](const char *name, const QString &body, const QString &expected) {
        QTest::newRow(name) << body << expected;
    };
    // What the page's own script uses (For, If, With, Set, Is Nothing, the
    // built-ins, numbers compared with text) is checked by running it below.
    row("strings compare exactly", u"Main = (\"a\" = \"A\") & (\"a\" <> \"b\")"_s, u"FalseTrue"_s);
    row("arguments by value", u"a = \"kept\"\nChange a\nMain = a"_s, u"kept"_s);
    row("arrays are values", u"a = Split(\"1 2\")\nx = a\nx(0) = \"y\"\nMain = Join(a) & Join(x)"_s,
        u"1 2y 2"_s);
    row("any case", u"dIM y\ny = tRUE\nif Y then mAIN = \"yes\""_s, u"yes"_s);
    row("undefined name", u"Main = b"_s, u"Line 3: 'b' is not defined"_s);
    row("object without Set", u"x = PT"_s, u"Line 3: an object is assigned with Set"_s);
    row("argument count", u"Change 1, 2"_s, u"Line 3: wrong number of arguments for 'Change'"_s);
    row("subscript", u"Main = Split(\"a\")(1)"_s,
        u"Line 3: Subscript out of range: 1 (the array holds 1)"_s);
    row("unknown member", u"x = 1\nMain = PT.ActiveView.Foo"_s,
        u"Line 4: PivotView has no property or method 'Foo'"_s);
    row("assigning a host name", u"Set PT = Nothing"_s, u"Line 3: cannot assign to 'PT'"_s);
    row("parse error", u"If a Then\nEnd"_s, u"Line 4: expected 'If', found the end of the line"_s);
}

void tst_PageScript::language()
{
    QFETCH(QString, body);
    QFETCH(QString, expected);
    PivotView view(m_small);
    ScriptInterpreter interpreter;
    interpreter.setGlobal(u"PT"_s, std::make_shared<PivotTableScriptObject>(
                                       PivotTableScriptObject::Owner{[&view] { return &view; }}));
    // The body starts on line 3.
    const ScriptOutcome loaded = interpreter.load(
        u"Function Main()\nDim a, x, I\n%1\nEnd Function\nSub Change(v)\nv = \"changed\"\nEnd Sub"_s
            .arg(body));
    const ScriptOutcome outcome = loaded.isFailed() ? loaded : interpreter.run(u"Main"_s);
    QCOMPARE(outcome.isCompleted() ? outcome.result().toText() : outcome.text(), expected);
}

void tst_PageScript::layoutScriptMatchesTheLayoutMadeDirectly()
{
    const QString path = m_dir.filePath(u"random.db"_s);
    QVERIFY(qrt::test::makeRandomNewsDb(path, 3000, qrt::test::testSeed()));
    const std::shared_ptr<PivotData> data = qrt::test::loadNews(path);
    QVERIFY(data);

    const QString html = qrt::test::expectedPage(
        u"news.db"_s,
        {{u"ColumnAxis"_s, u"Category"_s, u"Category"_s, {}},
         {u"FilterAxis"_s, u"Channel"_s, u"Channel"_s, u"Channel||1||||(Channel 1,Channel 2)"_s},
         {u"RowAxis"_s, u"NewsDate By Month"_s, u"Years%%|%%Months"_s,
          u"Years||2||||(2024,2025)%%|%%Months||2||2025**|**Qtr1||(Jan,Feb)"_s},
         {u"RowAxis"_s, u"Provider"_s, u"Provider"_s, u"Provider||1||||(Provider A)"_s}},
        {{u"NewsDate"_s, u"Latest"_s, u"4"_s}, {u"News"_s, u"Count of News"_s, u"2"_s}});
    // The page's objects and its PT's connection are tst_pivotwindow's; here
    // PT without a view while the data loads.
    PivotView *view = nullptr;
    int hideDetails = 0;
    auto pt = std::make_shared<PivotTableScriptObject>(PivotTableScriptObject::Owner{
        [&view] { return view; }, {}, [&hideDetails] { ++hideDetails; }});
    ScriptInterpreter interpreter;
    interpreter.setGlobal(u"PT"_s, pt);
    QVERIFY(interpreter.load(ScriptPage::fromHtml(html)).isCompleted());
    // While the data loads, the run stops at the first use of ActiveView.
    const ScriptOutcome waiting = interpreter.run(u"Window_OnLoad"_s);
    QVERIFY(waiting.isPending());
    QCOMPARE(waiting.line(), int(html.left(html.indexOf(u"Set pFieldSet"_s)).count(u'\n')) + 1);
    QCOMPARE(pt->value(u"CommandText"_s).toText(), qrt::test::pivotStatement());

    PivotView scripted(data);
    view = &scripted;
    const ScriptOutcome done = interpreter.run(u"Window_OnLoad"_s);
    QVERIFY2(done.isCompleted(), qPrintable(done.text()));
    QCOMPARE(hideDetails, 1);
    QCOMPARE(scripted.ExpandDetails(), 2);

    // The same layout through the text the command line takes.
    PivotView direct(data);
    PivotLayoutText::applyFieldSets(direct, direct.ColumnAxis(), u"Category"_s);
    PivotLayoutText::applyFieldSets(direct, direct.FilterAxis(),
                                    u"Channel(Channel!=Channel 1|Channel 2)"_s);
    PivotLayoutText::applyFieldSets(direct, direct.RowAxis(),
                                    u"NewsDate By Month[Years,Months](Years=2024|2025)"
                                    u"(Months=2025/Qtr1/Jan|2025/Qtr1/Feb);"
                                    u"Provider(Provider!=Provider A)"_s);
    PivotLayoutText::applyTotals(direct, u"Latest=Max(NewsDate);Count of News=Count(News)"_s);
    direct.setExpandDetails(2);
    direct.setExpandMembers(2);

    // Every cell: the row and column paths and each total's value.
    const auto grid = [](PivotView &view) {
        PivotGridModel model;
        model.setView(&view);
        return model.toCsv();
    };
    QCOMPARE(grid(scripted), grid(direct));
    // And with every member open, down to the months.
    scripted.setExpandMembers(0);
    direct.setExpandMembers(0);
    const PivotResult expected = PivotAggregator::run(direct);
    QVERIFY(expected.rowsAggregated() > 0);
    QVERIFY(expected.rowsAggregated() < data->rowCount());
    QCOMPARE(grid(scripted), grid(direct));
}

void tst_PageScript::hostileTexts_data()
{
    QTest::addColumn<QString>("script");   // run from Sub Main
    QTest::addColumn<QString>("expected"); // "Line n: " left out where any line will do
    QTest::newRow("not on the page")
        << u"Sub Main()\nCreateObject(\"WScript.Shell\").Run \"rm -rf ~\"\nEnd Sub"_s
        << u"Line 2: 'CreateObject' is not defined"_s;
    QTest::newRow("endless recursion")
        << u"Sub Main()\nMain\nEnd Sub"_s << u"Line 2: script stopped: too deep"_s;
    QTest::newRow("endless loop")
        << u"Sub Main()\nDim I, J\nFor I = 0 To 1E15\nJ = I\nNext\nEnd Sub"_s
        << u"Line 4: script stopped: too many steps"_s;
    QTest::newRow("growing text")
        << u"Sub Main()\nDim s, I\ns = \"xx\"\nFor I = 0 To 99\ns = s & s & s\nNext\nEnd Sub"_s
        << u"Line 5: the text would be longer than 4194304 characters"_s;
    QTest::newRow("deep nesting") << u"Sub Main()\nx = %1\nEnd Sub"_s.arg(
                                         QString(100000, u'(') + u"1"_s + QString(100000, u')'))
                                  << u"Line 2: the script is nested too deeply"_s;
    QTest::newRow("arrays in arrays")
        << u"Sub Main()\nDim a, I\na = Split(\"x\")\nFor I = 0 To 1E6\na(0) = a\nNext\nEnd Sub"_s
        << u"Line 5: arrays are nested too deeply"_s;
    QTest::newRow("open string") << u"Sub Main()\nx = \"abc\nEnd Sub"_s
                                 << u"Line 2: unterminated string"_s;
}

void tst_PageScript::hostileTexts()
{
    QFETCH(QString, script);
    QFETCH(QString, expected);
    // Each row ends by a limit of the interpreter (steps, depth, length),
    // which its message names: a script cannot hang the page.
    ScriptInterpreter interpreter;
    const ScriptOutcome loaded = interpreter.load(script);
    const ScriptOutcome outcome = loaded.isFailed() ? loaded : interpreter.run(u"Main"_s);
    QCOMPARE(expected.startsWith(u"Line"_s) ? outcome.text() : outcome.message(), expected);
}

// Any text the page puts in a literal comes back from the script exactly,
// written on one line of single-byte text that can't end the script.
void tst_PageScript::literalsGiveTheTextBack()
{
    QRandomGenerator random(qrt::test::testSeed());
    const QStringList pieces = {
        u"\""_s, u"\r\n"_s, u"\n"_s, u"\r"_s,           u"</script>"_s,          u"Журнал"_s,
        u"é"_s,  u"\t"_s,   u"&"_s,  QString(QChar(0)), u"Ace \"Daily\" News"_s, u" "_s};
    for (int i = 0; i < 300; ++i) {
        QString text;
        for (int n = random.bounded(8); n > 0; --n) {
            if (random.bounded(3) == 0) {
                const char32_t code = random.bounded(0x10FFFF);
                if (code < 0xD800 || code > 0xDFFF)
                    text += QString::fromUcs4(&code, 1);
            } else {
                text += pieces[random.bounded(pieces.size())];
            }
        }
        const QString literal = PivotPage::scriptLiteral(text);
        QVERIFY2(!literal.contains(u'\n') && !literal.contains(u'\r') &&
                     !literal.contains(u"</"_s) &&
                     std::all_of(literal.begin(), literal.end(),
                                 [](QChar c) { return c.unicode() <= 0xFF; }),
                 qPrintable(literal));
        ScriptInterpreter interpreter;
        const ScriptOutcome loaded =
            interpreter.load(u"Function Main()\r\nMain = %1\r\nEnd Function"_s.arg(literal));
        QVERIFY2(loaded.isCompleted(), qPrintable(loaded.text()));
        QCOMPARE(interpreter.run(u"Main"_s).result().toText(), text);
    }
    // Latin-1 text is the literal's own text, the page's bytes as they were.
    QCOMPARE(PivotPage::scriptLiteral(u"Data Source=/srv/café & co.db"_s),
             u"\"Data Source=/srv/café & co.db\""_s);
}

void tst_PageScript::capture()
{
    PivotView view(m_capture);
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

    // "KEY=value"; a value of digits is stored as a number.
    const QStringList expected =
        u"FILTERFIELDSETSCOUNT=1;FILTERFIELDSETNAME1=Provider;FILTERFIELDSETFIELDS1=Provider;"
        "FILTERFIELDSFILTERS1=Provider||2||||(Alpha,Gamma);ROWFIELDSETSCOUNT=2;"
        "ROWFIELDSETNAME1=NewsDate By Month;ROWFIELDSETFIELDS1=Years%%|%%Months;"
        "ROWFIELDSFILTERS1=Months||2||2005**|**Qtr1||(Mar,Jan);ROWFIELDSETNAME2=Category;"
        "ROWFIELDSETFIELDS2=;ROWFIELDSFILTERS2=;COLUMNFIELDSETSCOUNT=1;"
        "COLUMNFIELDSETNAME1=NewsDate By Week;COLUMNFIELDSETFIELDS1=Weeks;"
        "COLUMNFIELDSFILTERS1=Years||1||||(2004)%%|%%Weeks||1||2005||(Week 14);"
        "DATAFIELDSETSCOUNT=0;DATAFIELDSETNAME1=Old;TOTALSCOUNT=2;TOTALNAME1=Count of News;"
        "TOTALFIELD1=News;TOTALFUNCTION1=2;TOTALNAME2=Latest;TOTALFIELD2=NewsDate;"
        "TOTALFUNCTION2=4"_s.split(u';');
    QStringList keys, stored;
    settings.GetAllKeys(section, keys);
    for (const QString &key : std::as_const(keys)) {
        const QVariant value = settings.GetSetting(section, key);
        bool number = false;
        value.toString().toInt(&number);
        QCOMPARE(value.typeId(), int(number ? QMetaType::Int : QMetaType::QString));
        stored << key + u'=' + value.toString();
    }
    QCOMPARE(QSet<QString>(stored.begin(), stored.end()),
             QSet<QString>(expected.begin(), expected.end()));
}

void tst_PageScript::memberParser_data()
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
}

void tst_PageScript::memberParser()
{
    QFETCH(QString, fieldSet);
    QFETCH(QString, path);
    QFETCH(QString, members);
    QFETCH(QStringList, found);
    QFETCH(int, asked);
    PivotView view(m_capture);
    int failures = 0;
    PivotMemberParser parser = countingParser(failures);
    const PivotMembers root = view.FieldSets(fieldSet).Members();
    QCOMPARE(memberPaths(parser.ParseMembers(root, path, members)), found);
    QCOMPARE(failures, asked);
}

void tst_PageScript::chartFilterRecords_data()
{
    QTest::addColumn<QString>("fieldSet");
    QTest::addColumn<QString>("records");
    QTest::addColumn<QString>("field");
    QTest::addColumn<QStringList>("chosen"); // included or excluded
    // Each row ends with the code 2 and no question to the user; a member
    // that is gone asks (tst_pivotwindow's missingMemberAsksTheUser).
    QTest::newRow("too short to name members")
        << u"Provider"_s << u"Provider||2"_s << u"Provider"_s << QStringList();
    // The months can't take a year: the code is set all the same.
    QTest::newRow("members and code are two steps")
        << u"NewsDate By Month"_s << u"Years||1||||(2005)%%|%%Months||2||||(2005)"_s << u"Years"_s
        << QStringList{u"2005"_s};
}

void tst_PageScript::chartFilterRecords()
{
    QFETCH(QString, fieldSet);
    QFETCH(QString, records);
    QFETCH(QString, field);
    QFETCH(QStringList, chosen);
    const CAppSettings settings = zorvaneSettings();
    settings.SaveSetting(PivotChartLayout::Section, u"ROWFIELDSETNAME1"_s, fieldSet);
    settings.SaveSetting(PivotChartLayout::Section, u"ROWFIELDSFILTERS1"_s, records);
    PivotView view(m_capture);
    int failures = 0;
    PivotChartLayout::RestoreChartAxis(
        settings, view, u"ROW"_s, {}, {},
        [parser = countingParser(failures)](const PivotMembers &root, const QString &path,
                                            const QString &members) mutable {
            return parser.ParseMembers(root, path, members);
        });
    const PivotFieldSet &set = view.FieldSets(fieldSet);
    QCOMPARE(set.AllIncludeExclude(), 2);
    const PivotField &chosenField = set.Fields(field);
    QCOMPARE(memberPaths(chosenField.IncludedMembers()) +
                 memberPaths(chosenField.ExcludedMembers()),
             chosen);
    QCOMPARE(failures, 0);
    // A type that can't be read leaves the chart's own; the other keys still come.
    settings.SaveSetting(PivotChartLayout::Section, u"TYPE"_s, u"seven"_s);
    settings.SaveSetting(PivotChartLayout::Section, u"LEGEND"_s, u"0"_s);
    settings.SaveSetting(PivotChartLayout::Section, u"SERIESBYROWS"_s, u"1"_s);
    const auto options = PivotChartLayout::readOptions(settings, {true, 19, false});
    QCOMPARE(options.type, 19);
    QVERIFY(!options.legend && options.seriesByRows);
}

void tst_PageScript::page_data()
{
    QTest::addColumn<QVariantMap>("stored");
    QTest::addColumn<QString>("connection");
    QTest::addColumn<QList<Block>>("blocks");
    QTest::addColumn<QList<Total>>("totals");
    const QString sqlite = u"Data Source=/srv/news.db"_s;
    // An empty store gives the same page as a count that is no number.
    QTest::newRow("count no number") << QVariantMap{{u"ROWFIELDSETSCOUNT"_s, u"two"_s}} << sqlite
                                     << QList{kByMonth, kProvider} << QList{kCountOfNews};
    QTest::newRow("row count 0") << QVariantMap{{u"ROWFIELDSETSCOUNT"_s, 0}} << sqlite
                                 << QList<Block>() << QList{kCountOfNews};
    QTest::newRow("empty lists") << QVariantMap{{u"COLUMNFIELDSETSCOUNT"_s, u" 1 "_s},
                                                {u"COLUMNFIELDSETNAME1"_s, u"Channel"_s},
                                                {u"ROWFIELDSETFIELDS1"_s, QString()}}
                                 << sqlite
                                 << QList{Block{u"ColumnAxis"_s, u"Channel"_s, {}, {}},
                                          Block{u"RowAxis"_s, u"NewsDate By Month"_s, {}, {}},
                                          kProvider}
                                 << QList{kCountOfNews};
    // Quotes doubled, so that the literal goes on; a function that is no
    // number a text, which AddTotal refuses at run time.
    QTest::newRow("double quotes")
        << QVariantMap{{u"FILTERFIELDSETSCOUNT"_s, 1},
                       {u"FILTERFIELDSETNAME1"_s, u"Pro\"vider"_s},
                       {u"FILTERFIELDSFILTERS1"_s, u"Provider||2||||(\"A\")"_s},
                       {u"TOTALNAME1"_s, u"\"Count\""_s},
                       {u"TOTALFUNCTION1"_s, u"2) & (1"_s}}
        << u"Data Source=\"/srv/news.db\""_s
        << QList{Block{u"FilterAxis"_s, u"Pro\"vider"_s, {}, u"Provider||2||||(\"A\")"_s}, kByMonth,
                 kProvider}
        << QList{Total{u"News"_s, u"\"Count\""_s, u"\"2) & (1\""_s}};
    const QString records = u"Years||1||||(2004)%%|%%Months||2||2005**|**Qtr1||(Jan,Feb)"_s;
    QTest::newRow("records and totals")
        << QVariantMap{{u"DATAFIELDSETSCOUNT"_s, 1},
                       {u"DATAFIELDSETNAME1"_s, u"NewsDate By Month"_s},
                       {u"DATAFIELDSETFIELDS1"_s, u"Years%%|%%Months"_s},
                       {u"DATAFIELDSFILTERS1"_s, records},
                       {u"ROWFIELDSETSCOUNT"_s, 1},
                       {u"TOTALSCOUNT"_s, 2},
                       {u"TOTALFIELD1"_s, u"Provider"_s},
                       {u"TOTALNAME1"_s, u"Providers"_s},
                       {u"TOTALFUNCTION1"_s, 4}}
        << sqlite
        << QList{Block{u"DataAxis"_s, u"NewsDate By Month"_s, u"Years%%|%%Months"_s, records},
                 kByMonth}
        << QList{Total{u"Provider"_s, u"Providers"_s, u"4"_s}, kCountOfNews};
}

void tst_PageScript::page()
{
    QFETCH(QVariantMap, stored);
    QFETCH(QString, connection);
    QFETCH(QList<Block>, blocks);
    QFETCH(QList<Total>, totals);
    m_home.clear();
    const CAppSettings settings = zorvaneSettings();
    for (auto it = stored.cbegin(); it != stored.cend(); ++it)
        settings.SaveSetting(u"STATMSTABLE"_s, it.key(), it.value());
    QCOMPARE(PivotPage::BuildPivotPage(settings, connection),
             qrt::test::expectedPage(connection, blocks, totals));
}

void tst_PageScript::writeTextFile()
{
    QTemporaryDir cache;
    qputenv("XDG_CACHE_HOME", QFile::encodeName(cache.path()));
    const QString path = PivotPage::pivotPagePath();
    QCOMPARE(path, cache.path() + u"/QRT_StatCharts/msowc.htm"_s);
    QVERIFY(PivotPage::WriteTextFile(path, u"an older and longer page"_s));
    QVERIFY(PivotPage::WriteTextFile(path, u"caf\u00e9 \u20ac\r\n"_s));
    const QByteArray written("caf\xe9 ?\r\n");
    QCOMPARE(SettingsTestHome::contents(path), written);

    // A folder that refuses new files; root ignores permissions, so the
    // folder is also made immutable where the file system allows that.
    const QString folder = QFileInfo(path).absolutePath();
    QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner);
    const bool immutable = QProcess::execute(u"chattr"_s, {u"+i"_s, folder}) == 0;
    auto unlock = qScopeGuard([&] {
        if (immutable)
            QProcess::execute(u"chattr"_s, {u"-i"_s, folder});
        QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    });
    if (QFile probe(folder + u"/probe"_s); probe.open(QIODevice::WriteOnly) && probe.remove())
        QSKIP("this user can write into any folder here");
    QVERIFY(!PivotPage::WriteTextFile(path, u"new"_s));
    QCOMPARE(SettingsTestHome::contents(path), written);
}

QTEST_GUILESS_MAIN(tst_PageScript)
#include "tst_pagescript.moc"
