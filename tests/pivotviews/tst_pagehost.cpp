// The page host WebBrowser1 on generated pivot pages, with a stand-in pivot
// table that loads real data off the GUI thread: the script runs after the
// call that asked for the page, waits once for the data, stops at a failing
// line with a notice; and the window, whose stored table layout comes back
// on the table when it opens and goes back to the store when it closes.

#include "base/ResumeNext.h"
#include "component/EmbeddableClasses.h"
#include "component/PageObject.h"
#include "component/modUtils.h"
#include "demodata/DemoDatabase.h"
#include "pivotviews/PivotLoad.h"
#include "pivotviews/PivotPage.h"
#include "pivotviews/PivotScriptObjects.h"
#include "pivotviews/PivotTable.h"
#include "pivotviews/PivotView.h"
#include "pivotviews/ScriptObject.h"
#include "pivotviews/ScriptPending.h"
#include "pivotviews/WebBrowser.h"
#include "settings/CAppSettings.h"
#include "workspace/frmCharts.h"

#include <qrt/statCharts.h>

#include <QLabel>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace qrt::pivot;
using namespace qrt::script;

namespace {

const QString kClass = u"OWC11.PivotTable"_s;
const QString kClassId = u"0002E55A-0000-0000-C000-000000000046"_s;
const QString kSection = u"STATMSTABLE"_s;

// Stands in for the pivot table: keeps what the script sets and, once it
// knows where its data is, loads it with a real PivotLoad; until then its
// ActiveView is pending.
class StubPivotTable : public PageObject
{
public:
    using PageObject::PageObject;

    std::shared_ptr<ScriptObject> scriptObject() override;
    PivotView *activeView() const override { return m_view.get(); }
    QString loadError() const override { return {}; }

    void set(const QString &name, const ScriptValue &value)
    {
        properties.insert(name.toLower(), value);
        if (!m_load && properties.contains(u"connectionstring"_s) &&
            properties.contains(u"commandtext"_s)) {
            m_load = new PivotLoad(properties[u"connectionstring"_s].toText(),
                                   properties[u"commandtext"_s].toText(), this);
            connect(m_load, &PivotLoad::finished, this, [this] {
                if (m_load->data()) {
                    m_view = std::make_unique<PivotView>(m_load->data());
                    Q_EMIT loaded();
                }
            });
        }
    }

    QHash<QString, ScriptValue> properties;
    int pendingReads = 0;
    int hideDetails = 0;

private:
    PivotLoad *m_load = nullptr;
    std::unique_ptr<PivotView> m_view;
};

class StubScript : public ScriptObject
{
public:
    explicit StubScript(StubPivotTable *table)
        : m_table(table)
    {}
    QString className() const override { return u"PivotTable"_s; }
    ScriptValue getProperty(const QString &name) override
    {
        if (is(name, u"ActiveView")) {
            if (!m_table->activeView()) {
                ++m_table->pendingReads;
                throw ScriptPending();
            }
            return makeViewObject(*m_table->activeView());
        }
        if (is(name, u"ActiveData"))
            return makeActiveDataObject([this] { ++m_table->hideDetails; });
        return m_table->properties.value(name.toLower());
    }
    void setProperty(const QString &name, const ScriptValue &value) override
    {
        m_table->set(name, value);
    }

private:
    StubPivotTable *m_table;
};

std::shared_ptr<ScriptObject> StubPivotTable::scriptObject()
{
    return std::make_shared<StubScript>(this);
}

StubPivotTable *tableOf(const WebBrowser *host)
{
    return static_cast<StubPivotTable *>(host->Document().getElementById(u"PT"_s).object());
}

QStringList fieldSetNames(const PivotAxis &axis)
{
    QStringList names;
    for (const PivotFieldSet *set : axis.FieldSets())
        names << set->Name();
    return names;
}

void store(const QVariantMap &keys)
{
    for (auto it = keys.begin(); it != keys.end(); ++it)
        gSettings->SaveSetting(kSection, it.key(), it.value());
}

// Every key of the section as text; empty when there is no section.
QMap<QString, QString> stored()
{
    QStringList keys;
    resumeNext([&] { gSettings->GetAllKeys(kSection, keys); });
    QMap<QString, QString> values;
    for (const QString &key : std::as_const(keys))
        values.insert(key, gSettings->GetSetting(kSection, key).toString());
    return values;
}

} // namespace

class tst_PageHost : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void scriptRunsAfterTheCallAndWaitsForData();
    void scriptErrorStopsAtItsLine();
    void pagesThatCannotShow_data();
    void pagesThatCannotShow();
    void closingWithoutALoadedTableStoresNothing_data();
    void closingWithoutALoadedTableStoresNothing();

private:
    QString writePage(const QString &text);
    frmCharts *openWindow();

    QTemporaryDir m_dir;
    QString m_database;
    std::unique_ptr<statCharts> m_charts;
};

void tst_PageHost::initTestCase()
{
    QVERIFY(m_dir.isValid());
    // The window writes its page into the user's cache folder.
    qputenv("XDG_CACHE_HOME", m_dir.filePath(u"cache"_s).toLocal8Bit());
    m_database = m_dir.filePath(u"news.db"_s);
    qrt::db::DemoDatabase::Options options;
    options.items = 3000;
    options.seed = 5;
    QString error;
    QVERIFY2(qrt::db::DemoDatabase::create(m_database, options, &error), qPrintable(error));
    m_charts = std::make_unique<statCharts>();
    m_charts->ConnectionString(m_database);
}

void tst_PageHost::init()
{
    EmbeddableClasses::registerClass(kClass,
                                     [](QWidget *parent) { return new StubPivotTable(parent); });
    EmbeddableClasses::registerClassId(kClassId, kClass);
    resumeNext([] { gSettings->DeleteSetting(kSection); });
}

QString tst_PageHost::writePage(const QString &text)
{
    const QString path = m_dir.filePath(u"page.htm"_s);
    return PivotPage::WriteTextFile(path, text) ? path : QString();
}

void tst_PageHost::scriptRunsAfterTheCallAndWaitsForData()
{
    const QString path = writePage(PivotPage::BuildPivotPage(*gSettings, m_database));
    WebBrowser host;
    host.resize(500, 300);
    host.show();
    QSignalSpy finished(&host, &WebBrowser::scriptFinished);
    host.Navigate2(path);
    StubPivotTable *table = tableOf(&host);
    QVERIFY(table);
    QVERIFY(table->properties.isEmpty());
    QVERIFY(host.property("busy").toBool());
    QVERIFY(finished.wait(20000));
    QVERIFY(!host.property("busy").toBool());
    QCOMPARE(host.statusText(), QString());
    QCOMPARE(table->properties.value(u"connectionstring"_s).toText(), m_database);
    // Pending at the first ActiveView, then run once more to the end.
    QCOMPARE(table->pendingReads, 1);
    QCOMPARE(table->hideDetails, 1);
    QCOMPARE(fieldSetNames(table->activeView()->RowAxis()),
             QStringList({u"NewsDate By Month"_s, u"Provider"_s}));
    QCOMPARE(table->activeView()->DataAxis().Totals().Count(), 1);
    QCOMPARE(table->geometry(), host.rect());
    QVERIFY(host.grab().save(m_dir.filePath(u"page.png"_s)));
}

void tst_PageHost::scriptErrorStopsAtItsLine()
{
    store({{u"COLUMNFIELDSETSCOUNT"_s, 1},
           {u"COLUMNFIELDSETNAME1"_s, u"Provider"_s},
           {u"COLUMNFIELDSETFIELDS1"_s, u"Provider"_s},
           {u"ROWFIELDSETSCOUNT"_s, 1},
           {u"ROWFIELDSETNAME1"_s, u"Nope"_s}});
    const QString page = PivotPage::BuildPivotPage(*gSettings, m_database);
    const int line =
        page.split(u"\r\n"_s).indexOf(u"Set pFieldSet = PT.ActiveView.FieldSets(\"Nope\")"_s) + 1;
    QVERIFY(line > 0);
    WebBrowser host;
    host.show();
    QSignalSpy finished(&host, &WebBrowser::scriptFinished);
    host.Navigate2(writePage(page));
    QVERIFY(finished.wait(20000));
    QVERIFY2(host.statusText().startsWith(u"Line %1: "_s.arg(line)), qPrintable(host.statusText()));
    QVERIFY(host.findChild<QLabel *>(u"status"_s)->isVisible());
    StubPivotTable *table = tableOf(&host);
    QCOMPARE(fieldSetNames(table->activeView()->ColumnAxis()), QStringList{u"Provider"_s});
    QCOMPARE(fieldSetNames(table->activeView()->RowAxis()), QStringList());
    QCOMPARE(table->hideDetails, 0);
}

void tst_PageHost::pagesThatCannotShow_data()
{
    QTest::addColumn<QString>("page"); // empty: no file at all
    QTest::addColumn<QString>("notice");
    const QString script = u"\r\n<script language=vbs>\r\nSub Window_OnLoad()\r\nEnd Sub\r\n"
                           u"</script></html>"_s;
    QTest::newRow("missing file") << QString() << u"Cannot find"_s;
    QTest::newRow("unknown class id")
        << u"<html><body><object id=PT classid=CLSID:0002E55A-0000-0000-C000-000000000047>"
           u"</object></body>"_s +
               script
        << u"Line 1: Cannot create the object 'PT'"_s;
    QTest::newRow("no object") << u"<html><body></body>"_s + script << u"has no object"_s;
}

void tst_PageHost::pagesThatCannotShow()
{
    QFETCH(QString, page);
    QFETCH(QString, notice);
    const QString path = page.isEmpty() ? m_dir.filePath(u"none.htm"_s) : writePage(page);
    WebBrowser host;
    QSignalSpy finished(&host, &WebBrowser::scriptFinished);
    host.Navigate2(path);
    QVERIFY(finished.wait(5000));
    QVERIFY2(host.statusText().contains(notice), qPrintable(host.statusText()));
    QVERIFY(!tableOf(&host));
}

frmCharts *tst_PageHost::openWindow()
{
    auto *w = qobject_cast<frmCharts *>(m_charts->ShowChartForm());
    if (w) {
        w->setAttribute(Qt::WA_DeleteOnClose); // as the host program does
        w->show();
    }
    return w;
}

void tst_PageHost::closingWithoutALoadedTableStoresNothing_data()
{
    QTest::addColumn<bool>("registered");
    QTest::newRow("no pivot table class") << false;
    QTest::newRow("closed before its data is in") << true;
}

void tst_PageHost::closingWithoutALoadedTableStoresNothing()
{
    QFETCH(bool, registered);
    // The real pivot table registers itself when the library loads.
    auto restore = qScopeGuard([] { PivotTable::registerClasses(); });
    if (!registered) {
        PivotTable::unregisterClasses();
        EmbeddableClasses::unregisterClass(kClass);
    }
    QPointer<frmCharts> w = openWindow();
    QVERIFY(w);
    bool tableTab = false;
    for (int i = 0; i < w->tabCharts->count(); ++i)
        tableTab = tableTab || w->tabCharts->tabText(i) == u"MS Office Pivot &Table"_s;
    QCOMPARE(tableTab, registered);
    QCOMPARE(w->WebBrowser1.isNull(), !registered);
    w->close();
    QTRY_VERIFY(w.isNull());
    QCOMPARE(stored(), (QMap<QString, QString>()));
}

QTEST_MAIN(tst_PageHost)
#include "tst_pagehost.moc"
