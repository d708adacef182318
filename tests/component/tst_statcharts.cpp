// The component's front door: window keys and numbers, the shared state per
// GUI thread, the first window's shape, the theme colours, and creating the
// class by its id from the loaded library.

#include "component/EmbeddableClasses.h"
#include "component/ThemeColors.h"
#include "component/modUtils.h"
#include "db/Connection.h"
#include "pivotviews/PivotChartSpace.h"
#include "pivotviews/PivotTable.h"
#include "settings/CAppSettings.h"
#include "settings/SettingsStore.h"
#include "workspace/frmCharts.h"

#include <qrt/statCharts.h>

#include <QApplication>
#include <QPointer>
#include <QScopeGuard>
#include <QTabWidget>
#include <QTest>

#include <dlfcn.h>
#include <thread>

using namespace Qt::StringLiterals;

class tst_statCharts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keysCountUpAndAreNeverReused();
    void windowBeforeConnectionString();
    void secondInstanceReplacesSharedObjects();
    void indexLimit();
    void globalsArePerThread();
    void accessKeysAndProbes_data();
    void accessKeysAndProbes();
    void themeColors();
    void createByClassId_data();
    void createByClassId();
};

void tst_statCharts::keysCountUpAndAreNeverReused()
{
    gChartFormIndex = 0;
    statCharts charts;
    QPointer<QWidget> first = charts.ShowChartForm();
    QPointer<QWidget> second = charts.ShowChartForm();
    QVERIFY(first && second);
    QCOMPARE(gChartForms.Item(u"KEY1"_s), first.data());
    QCOMPARE(gChartForms.Item(u"KEY2"_s), second.data());
    QCOMPARE(qobject_cast<frmCharts *>(second.data())->fIndex, qint16(2));
    // Closed before it was ever shown, a window stays in the collection.
    QVERIFY(first->close());
    QCOMPARE(gChartForms.Item(u"KEY1"_s), first.data());
    first->show();
    second->show();
    QVERIFY(first->close());
    // Closing leaves the collection; the object stays the host's to drop.
    QVERIFY(!gChartForms.Contains(u"KEY1"_s));
    QTest::qWait(0);
    QVERIFY(first);
    delete first;
    QCOMPARE(gChartForms.Item(u"KEY2"_s), second.data());
    QPointer<QWidget> third = charts.ShowChartForm();
    QCOMPARE(qobject_cast<frmCharts *>(third.data())->fIndex, qint16(3));
    QVERIFY(!gChartForms.Contains(u"KEY1"_s));
    QCOMPARE(gChartForms.Count(), 2);
    delete second;
    delete third;
    QCOMPARE(gChartForms.Count(), 0);
}

// A window made before any connection string loads nothing until shown,
// and then opens as an empty window.
void tst_statCharts::windowBeforeConnectionString()
{
    gConnectionString.clear();
    statCharts charts;
    std::unique_ptr<QWidget> window(charts.ShowChartForm());
    QVERIFY(window);
    QApplication::processEvents();
    QVERIFY(gChartForms.Contains(ChartFormKey(gChartFormIndex)));
    auto *form = qobject_cast<frmCharts *>(window.get());
    QVERIFY(!form->isLoaded());
    window->show();
    QVERIFY(form->isLoaded());
}

void tst_statCharts::secondInstanceReplacesSharedObjects()
{
    statCharts first;
    first.ConnectionString(u"/srv/news.db"_s);
    std::unique_ptr<QWidget> window(first.ShowChartForm());
    const qrt::db::Connection *before = gConnection.get();
    const qint16 index = gChartFormIndex;
    statCharts second;
    QVERIFY(gConnection.get() != before);
    QCOMPARE(gConnectionString, u"/srv/news.db"_s);
    QCOMPARE(gChartFormIndex, index);
    QVERIFY(gChartForms.Contains(ChartFormKey(index)));
    // The component keeps its choices under the host's own branch.
    gSettings->SaveSetting(u"STATCHART"_s, u"CHARTTYPE"_s, u"Plot"_s);
    using namespace qrt::settings;
    QVERIFY(SettingsStore(StoreRoot::CurrentUser)
                .entry(u"Software\\Koltrin\\Zorvane\\STATCHART"_s, u"CHARTTYPE"_s) ==
            StoreEntry::text(u"Plot"_s));
}

void tst_statCharts::indexLimit()
{
    const qint16 saved = gChartFormIndex;
    gChartFormIndex = 32766;
    statCharts charts;
    std::unique_ptr<QWidget> last(charts.ShowChartForm());
    QVERIFY(last);
    QCOMPARE(qobject_cast<frmCharts *>(last.get())->fIndex, qint16(32767));
    // Past the end: still a window, under the last number, out of the collection.
    std::unique_ptr<QWidget> beyond(charts.ShowChartForm());
    QVERIFY(beyond);
    QCOMPARE(qobject_cast<frmCharts *>(beyond.get())->fIndex, qint16(32767));
    QCOMPARE(gChartFormIndex, qint16(32767));
    QCOMPARE(gChartForms.Item(ChartFormKey(32767)), last.get());
    beyond.reset();
    last.reset();
    gChartFormIndex = saved;
}

void tst_statCharts::globalsArePerThread()
{
    statCharts charts;
    charts.ConnectionString(u"main-thread.db"_s);
    std::unique_ptr<QWidget> window(charts.ShowChartForm());
    QString otherString = u"unset"_s;
    qint16 otherIndex = -1;
    bool otherHasConnection = true;
    std::thread([&] {
        otherString = gConnectionString;
        otherIndex = gChartFormIndex;
        otherHasConnection = gConnection != nullptr;
        gConnectionString = u"other-thread.db"_s;
    }).join();
    QCOMPARE(otherString, QString());
    QCOMPARE(otherIndex, qint16(0));
    QVERIFY(!otherHasConnection);
    QCOMPARE(gConnectionString, u"main-thread.db"_s);
}

void tst_statCharts::accessKeysAndProbes_data()
{
    QTest::addColumn<QStringList>("registered");
    QTest::addColumn<QStringList>("pagesLeft");
    QTest::newRow("no pivot class") << QStringList() << QStringList{u"elsBorder"_s};
    QTest::newRow("older classes answer")
        << QStringList{u"OWC10.PivotTable"_s, u"OWC10.Chartspace"_s}
        << QStringList{u"elsBorder"_s, u"elstMSchart"_s, u"WebBrowser1"_s};
    // The middle page goes while the last one stays.
    QTest::newRow("chart only") << QStringList{u"OWC11.Chartspace"_s}
                                << QStringList{u"elsBorder"_s, u"elstMSchart"_s};
    // Without a chart space the table keeps what its own probe decided.
    QTest::newRow("table only") << QStringList{u"OWC11.PivotTable"_s}
                                << QStringList{u"elsBorder"_s, u"WebBrowser1"_s};
}

void tst_statCharts::accessKeysAndProbes()
{
    QFETCH(QStringList, registered);
    QFETCH(QStringList, pagesLeft);
    // The real pivot views register themselves when the library loads; each
    // row offers only the classes it names.
    PivotTable::unregisterClasses();
    PivotChartSpace::unregisterClasses();
    auto reregister = qScopeGuard([] {
        PivotTable::registerClasses();
        PivotChartSpace::registerClasses();
    });
    for (const QString &name : registered)
        EmbeddableClasses::registerClass(name, [](QWidget *parent) { return new QWidget(parent); });
    auto unregister = qScopeGuard([&] {
        for (const QString &name : registered)
            EmbeddableClasses::unregisterClass(name);
    });
    statCharts charts;
    std::unique_ptr<QWidget> window(charts.ShowChartForm());
    auto *tabs = window->findChild<QTabWidget *>(u"tabCharts"_s);
    window->show();
    QVERIFY(QTest::qWaitForWindowExposed(window.get()));
    // A probe that fails takes its page away at load, the third first.
    QStringList pages;
    for (int i = 0; i < tabs->count(); ++i)
        pages << tabs->widget(i)->objectName();
    QCOMPARE(pages, pagesLeft);
    const bool chartSpace = pagesLeft.contains(u"elstMSchart"_s);
    QCOMPARE(bool(window->findChild<QWidget *>(u"OLE1"_s)), chartSpace);
    // The access keys reach the pages that are left.
    const QList<std::pair<Qt::Key, QString>> keys = {
        {Qt::Key_T, u"WebBrowser1"_s}, {Qt::Key_P, u"elstMSchart"_s}, {Qt::Key_B, u"elsBorder"_s}};
    for (const auto &[key, page] : keys) {
        if (!pagesLeft.contains(page))
            continue;
        QTest::keyClick(window.get(), key, Qt::AltModifier);
        QCOMPARE(tabs->currentWidget()->objectName(), page);
    }
}

void tst_statCharts::themeColors()
{
    const bool saved = QApplication::desktopSettingsAware();
    // Not following the desktop theme, both panel colours are the button face.
    QApplication::setDesktopSettingsAware(false);
    LoadThemeColors();
    QCOMPARE(gThemeFillColor, 0x8000000Fu);
    QCOMPARE(gThemeGradientColor, 0x8000000Fu);
    QApplication::setDesktopSettingsAware(true);
    LoadThemeColors();
    QApplication::setDesktopSettingsAware(saved);
    const QPalette palette = QApplication::palette();
    QCOMPARE(gThemeFillColor, ThemeColors::fromQColor(palette.color(QPalette::Window)));
    QCOMPARE(gThemeGradientColor, ThemeColors::fromQColor(palette.color(QPalette::Midlight)));
    // A system colour follows its palette role: a button colour of its own shows it.
    QPalette changed = palette;
    changed.setColor(QPalette::Button, QColor(0x12, 0x34, 0x56));
    QApplication::setPalette(changed);
    QCOMPARE(ThemeColors::toQColor(ThemeColors::ButtonFace), QColor(0x12, 0x34, 0x56));
    QCOMPARE(ThemeColors::fromQColor(QColor(0x12, 0x34, 0x56)), 0x00563412u);
    QApplication::setPalette(palette);
}

void tst_statCharts::createByClassId_data()
{
    QTest::addColumn<QByteArray>("classId");
    QTest::addColumn<bool>("created");
    QTest::newRow("in lower case") << QByteArray(statCharts::ClassId).toLower() << true;
    QTest::newRow("empty") << QByteArray() << false;
}

void tst_statCharts::createByClassId()
{
    QFETCH(QByteArray, classId);
    QFETCH(bool, created);
    const QByteArray path = qgetenv("QRT_STATCHARTS_LIBRARY");
    QVERIFY2(!path.isEmpty(), "QRT_STATCHARTS_LIBRARY names the built library");
    void *library = dlopen(path.constData(), RTLD_NOW);
    QVERIFY2(library, dlerror());
    auto create = reinterpret_cast<QRT_CreateObjectFn>(dlsym(library, "QRT_CreateObject"));
    auto release = reinterpret_cast<QRT_ReleaseObjectFn>(dlsym(library, "QRT_ReleaseObject"));
    QVERIFY(create && release);
    statCharts *object = create(classId.constData());
    QCOMPARE(object != nullptr, created);
    if (object) {
        std::unique_ptr<QWidget> window(object->ShowChartForm());
        QVERIFY(window);
        release(object);
        QVERIFY(gChartForms.Contains(ChartFormKey(gChartFormIndex))); // dropping it ends nothing
    }
}

QTEST_MAIN(tst_statCharts)
#include "tst_statcharts.moc"
