// The page host WebBrowser1 on generated pivot pages with the pivot table,
// which loads its data off the GUI thread: the script runs after the call
// that asked for the page, waits once for the data, stops at a failing line
// with a notice; and the window, which stores no table layout it never had.

#include "PivotTestData.h"
#include "base/ResumeNext.h"
#include "component/modUtils.h"
#include "demodata/DemoDatabase.h"
#include "pivot/PivotView.h"
#include "pivotpage/PivotPage.h"
#include "pivotviews/PivotTable.h"
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

namespace {

const QString kSection = u"STATMSTABLE"_s;

PivotTable *tableOf(const WebBrowser *host)
{
    return qobject_cast<PivotTable *>(host->Document().getElementById(u"PT"_s).object());
}

} // namespace

using qrt::test::fieldSetNames;

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
    PivotTable *table = tableOf(&host);
    QVERIFY(table);
    QVERIFY(table->ConnectionString().isEmpty());
    QVERIFY(host.property("busy").toBool());
    QVERIFY(finished.wait(20000));
    QVERIFY(!host.property("busy").toBool());
    // Pending at the first ActiveView, then run once more to the end (the
    // page sets ExpandMembers near it); a second time would add its total
    // again, which fails.
    QCOMPARE(host.statusText(), QString());
    QCOMPARE(table->ConnectionString(), m_database);
    QCOMPARE(table->ActiveView()->ExpandMembers(), int(PivotView::ExpandNever));
    QCOMPARE(fieldSetNames(table->ActiveView()->RowAxis()),
             QStringList({u"NewsDate By Month"_s, u"Provider"_s}));
    QCOMPARE(table->ActiveView()->DataAxis().Totals().Count(), 1);
    QCOMPARE(table->geometry(), host.rect());
}

void tst_PageHost::scriptErrorStopsAtItsLine()
{
    const std::pair<QString, QVariant> keys[] = {{u"COLUMNFIELDSETSCOUNT"_s, 1},
                                                 {u"COLUMNFIELDSETNAME1"_s, u"Provider"_s},
                                                 {u"COLUMNFIELDSETFIELDS1"_s, u"Provider"_s},
                                                 {u"ROWFIELDSETSCOUNT"_s, 1},
                                                 {u"ROWFIELDSETNAME1"_s, u"Nope"_s}};
    for (const auto &[key, value] : keys)
        gSettings->SaveSetting(kSection, key, value);
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
    PivotTable *table = tableOf(&host);
    QCOMPARE(fieldSetNames(table->ActiveView()->ColumnAxis()), QStringList{u"Provider"_s});
    QCOMPARE(fieldSetNames(table->ActiveView()->RowAxis()), QStringList());
    QCOMPARE(table->ActiveView()->ExpandMembers(), int(PivotView::ExpandAutomatic));
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
    if (!registered)
        PivotTable::unregisterClasses();
    QPointer<frmCharts> w = openWindow();
    QVERIFY(w);
    bool tableTab = false;
    for (int i = 0; i < w->tabCharts->count(); ++i)
        tableTab = tableTab || w->tabCharts->tabText(i) == u"MS Office Pivot &Table"_s;
    QCOMPARE(tableTab, registered);
    QCOMPARE(w->WebBrowser1.isNull(), !registered);
    w->close();
    QTRY_VERIFY(w.isNull());
    QStringList keys;
    resumeNext([&] { gSettings->GetAllKeys(kSection, keys); });
    QCOMPARE(keys, QStringList());
}

QTEST_MAIN(tst_PageHost)
#include "tst_pagehost.moc"
