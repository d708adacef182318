// The pivot table's page: whole pages for stored layouts, compared byte for
// byte with the page of PivotPageText.h, and the file it goes to.

#include "PivotPageText.h"
#include "pivotpage/PivotPage.h"
#include "settings/SettingsTestHome.h"

#include <QProcess>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace qrt::pivot;

namespace {

using Block = qrt::test::PageBlock;
using Total = qrt::test::PageTotal;

const Block kByMonth{u"RowAxis"_s, u"NewsDate By Month"_s, u"Months"_s, {}};
const Block kProvider{u"RowAxis"_s, u"Provider"_s, u"Provider"_s, {}};
const Total kCountOfNews{u"News"_s, u"Count of News"_s, u"2"_s};

// Makes a folder refuse new files. Root ignores permissions, so for root
// the folder is also made immutable where the file system allows that.
class FolderLock
{
public:
    explicit FolderLock(const QString &folder)
        : m_folder(folder)
    {
        QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner);
        if (acceptsFiles())
            m_immutable = QProcess::execute(u"chattr"_s, {u"+i"_s, folder}) == 0;
    }
    ~FolderLock()
    {
        if (m_immutable)
            QProcess::execute(u"chattr"_s, {u"-i"_s, m_folder});
        QFile::setPermissions(m_folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    bool acceptsFiles() const
    {
        QFile probe(m_folder + u"/probe"_s);
        return probe.open(QIODevice::WriteOnly) && probe.remove();
    }

private:
    QString m_folder;
    bool m_immutable = false;
};

} // namespace

Q_DECLARE_METATYPE(Block)
Q_DECLARE_METATYPE(Total)

class tst_PivotPage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_home.clear(); }
    void page_data();
    void page();
    void writeTextFile();

private:
    SettingsTestHome m_home;
};

void tst_PivotPage::page_data()
{
    QTest::addColumn<QVariantMap>("stored");
    QTest::addColumn<QString>("connection");
    QTest::addColumn<QList<Block>>("blocks");
    QTest::addColumn<QList<Total>>("totals");
    const QString sqlite = u"Data Source=/srv/news.db"_s;
    QTest::newRow("empty store") << QVariantMap() << sqlite << QList{kByMonth, kProvider}
                                 << QList{kCountOfNews};
    QTest::newRow("count no number") << QVariantMap{{u"ROWFIELDSETSCOUNT"_s, u"two"_s}} << sqlite
                                     << QList{kByMonth, kProvider} << QList{kCountOfNews};
    QTest::newRow("row count 0") << QVariantMap{{u"ROWFIELDSETSCOUNT"_s, 0}} << sqlite
                                 << QList<Block>() << QList{kCountOfNews};
    QTest::newRow("row count 3") << QVariantMap{{u"ROWFIELDSETSCOUNT"_s, 3}} << sqlite
                                 << QList{kByMonth, kProvider, kProvider} << QList{kCountOfNews};
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
    QTest::newRow("no totals") << QVariantMap{{u"TOTALSCOUNT"_s, 0}} << sqlite
                               << QList{kByMonth, kProvider} << QList<Total>();
}

void tst_PivotPage::page()
{
    QFETCH(QVariantMap, stored);
    QFETCH(QString, connection);
    QFETCH(QList<Block>, blocks);
    QFETCH(QList<Total>, totals);
    const CAppSettings settings = zorvaneSettings();
    for (auto it = stored.cbegin(); it != stored.cend(); ++it)
        settings.SaveSetting(u"STATMSTABLE"_s, it.key(), it.value());
    QCOMPARE(PivotPage::BuildPivotPage(settings, connection),
             qrt::test::expectedPage(connection, blocks, totals));
}

void tst_PivotPage::writeTextFile()
{
    QTemporaryDir cache;
    qputenv("XDG_CACHE_HOME", QFile::encodeName(cache.path()));
    const QString path = PivotPage::pivotPagePath();
    QCOMPARE(path, cache.path() + u"/QRT_StatCharts/msowc.htm"_s);
    QVERIFY(PivotPage::WriteTextFile(path, u"an older and longer page"_s));
    QVERIFY(PivotPage::WriteTextFile(path, u"caf\u00e9 \u20ac\r\n"_s));
    const QByteArray written("caf\xe9 ?\r\n");
    QCOMPARE(SettingsTestHome::contents(path), written);

    FolderLock lock(QFileInfo(path).absolutePath());
    if (lock.acceptsFiles())
        QSKIP("this user can write into any folder here");
    QVERIFY(!PivotPage::WriteTextFile(path, u"new"_s));
    QCOMPARE(SettingsTestHome::contents(path), written);
}

QTEST_GUILESS_MAIN(tst_PivotPage)
#include "tst_pivotpage.moc"
