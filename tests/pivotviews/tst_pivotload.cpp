// Reading a command text into the pivot engine: what each column becomes,
// failures, progress and cancelling, the load shared by two views, and the
// same rows read from PostgreSQL as from SQLite.

#include "PivotTestData.h"
#include "TestDatabases.h"
#include "base/Dates.h"
#include "demodata/DemoDatabase.h"
#include "pivot/PivotAggregator.h"
#include "pivot/PivotColumnBuilder.h"
#include "pivot/PivotData.h"
#include "pivot/PivotLoad.h"
#include "pivot/PivotLoader.h"
#include "pivot/PivotResult.h"
#include "pivot/PivotView.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace qrt::pivot;

Q_DECLARE_METATYPE(PivotColumn::Kind)

namespace {

std::map<QString, double> countsByProvider(const std::shared_ptr<const PivotData> &data)
{
    PivotView view(data);
    view.RowAxis().InsertFieldSet(view.FieldSets(u"Provider"_s));
    view.DataAxis().InsertTotal(
        view.AddTotal(u"n"_s, view.FieldSets(u"News"_s).Fields(0), PivotTotal::Count));
    const PivotResult result = PivotAggregator::run(view);
    std::map<QString, double> counts;
    for (int node : result.rowNodes()[0].children)
        counts[result.rowNodes()[static_cast<std::size_t>(node)].caption] =
            result.value(node, 0, 0).value_or(-1);
    return counts;
}

// A news database on either engine holding one item at each given time.
QStringList newsAt(bool postgres, const QStringList &times)
{
    QStringList sql = qrt::test::newsTables(postgres);
    sql << u"INSERT INTO Categories VALUES (1, 'World')"_s
        << u"INSERT INTO Providers VALUES (1, 'Alpha')"_s
        << u"INSERT INTO Channels VALUES (1, 'Alpha World', 1, 1)"_s;
    for (int i = 0; i < times.size(); ++i)
        sql << u"INSERT INTO News VALUES (%1, '%2', 1, 'item')"_s.arg(i + 1).arg(times[i]);
    return sql;
}

// The nice value of each of this process's threads, by thread ID.
QMap<int, int> threadNices()
{
    QMap<int, int> nices;
    const QDir tasks(u"/proc/self/task"_s);
    for (const QString &thread : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile stat(tasks.filePath(thread + u"/stat"_s));
        if (!stat.open(QIODevice::ReadOnly))
            continue; // ended meanwhile
        const QByteArray line = stat.readAll();
        // After the command in parentheses: the state, and the nice value 16 fields on.
        nices.insert(thread.toInt(),
                     line.mid(line.lastIndexOf(')') + 2).split(' ').value(16).toInt());
    }
    return nices;
}

} // namespace

class tst_PivotLoad : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void columnKinds_data();
    void columnKinds();
    void progressAndCancel();
    void viewsShareOneLoad();
    void cancelling();
    void cancelStopsAStatementWithoutRows_data();
    void cancelStopsAStatementWithoutRows();
    void postgresReadsTheSameRows();
    void isoFormsKeepTheirDay_data();
    void isoFormsKeepTheirDay();

private:
    QTemporaryDir m_dir;
    QString m_demo;
    int m_files = 0;
    qrt::db::DemoDatabase::Options m_options;
};

void tst_PivotLoad::initTestCase()
{
    QVERIFY(m_dir.isValid());
    m_demo = m_dir.filePath(u"demo.db"_s);
    m_options = {.items = 150000, .seed = qrt::test::testSeed(), .until = QDate(2025, 6, 30)};
    QString error;
    QVERIFY2(qrt::db::DemoDatabase::create(m_demo, m_options, &error), qPrintable(error));
}

void tst_PivotLoad::columnKinds_data()
{
    QTest::addColumn<QVariantList>("values");
    QTest::addColumn<PivotColumn::Kind>("kind");
    QTest::addColumn<QStringList>("captions"); // of codes 1..n, in member order
    QTest::addColumn<bool>("blank");
    const QVariant null;
    QTest::newRow("text") << QVariantList{u"b"_s, u"A"_s, u"b"_s, u""_s} << PivotColumn::Kind::Text
                          << QStringList{u"A"_s, u"b"_s} << true;
    QTest::newRow("numbers") << QVariantList{10, 2.5, 10, null} << PivotColumn::Kind::Number
                             << QStringList{u"2.5"_s, u"10"_s} << true;
    QTest::newRow("dates as text") << QVariantList{null, u"2005-03-15 10:00:00"_s, u"2005-03-14"_s}
                                   << PivotColumn::Kind::Date << QStringList() << true;
    QTest::newRow("engine dates") << QVariantList{QDateTime(QDate(2005, 3, 15), QTime(10, 0)),
                                                  QDate(2005, 3, 14)}
                                  << PivotColumn::Kind::Date << QStringList() << false;
    QTest::newRow("dates, then text")
        << QVariantList{u"2005-03-15 10:00:00"_s, u"soon"_s, null, u"2005-03-14"_s}
        << PivotColumn::Kind::Text
        << QStringList{u"2005-03-14"_s, u"2005-03-15 10:00:00"_s, u"soon"_s} << true;
    QTest::newRow("nothing but blanks")
        << QVariantList{null, u""_s} << PivotColumn::Kind::Text << QStringList() << true;
}

void tst_PivotLoad::columnKinds()
{
    QFETCH(QVariantList, values);
    QFETCH(PivotColumn::Kind, kind);
    QFETCH(QStringList, captions);
    QFETCH(bool, blank);
    PivotColumnBuilder builder(u"c"_s);
    for (const QVariant &value : values)
        builder.addVariant(value);
    const PivotColumn column = builder.finish();
    QCOMPARE(column.kind(), kind);
    QCOMPARE(column.rowCount(), values.size());
    QCOMPARE(column.hasBlank(), blank);
    if (kind == PivotColumn::Kind::Date) {
        QCOMPARE(column.presentDays().size(), std::size_t(2));
        QCOMPARE(column.presentDays().front(), qint32(qrt::dates::fromYmd(2005, 3, 14)));
        return;
    }
    QStringList got;
    for (quint32 code = 1; code <= column.valueCount(); ++code)
        got << column.caption(code);
    QCOMPARE(got, captions);
    // Every row still reads back as what was given.
    std::vector<quint32> codes;
    visitCodes(column.codes(0), [&](const auto &v) { codes.assign(v.begin(), v.end()); });
    for (int r = 0; r < values.size(); ++r) {
        const QVariant &value = values[r];
        const QString expected = value.isNull() || value.toString().isEmpty() ? u"(blank)"_s
                                 : value.typeId() == QMetaType::QDateTime
                                     ? value.toDateTime().toString(u"yyyy-MM-dd HH:mm:ss"_s)
                                     : value.toString();
        QCOMPARE(column.caption(codes[static_cast<std::size_t>(r)]), expected);
    }
}

void tst_PivotLoad::progressAndCancel()
{
    std::vector<qint64> seen;
    QString error;
    const auto data = PivotLoader::load(
        m_demo, qrt::test::pivotStatement(),
        [&](qint64 rows) {
            seen.push_back(rows);
            return true;
        },
        &error);
    QVERIFY2(data, qPrintable(error));
    QCOMPARE(data->rowCount(), m_options.items);
    QVERIFY(seen.size() > 5);
    QVERIFY(std::is_sorted(seen.begin(), seen.end()));
    QCOMPARE(seen.back(), m_options.items);

    qint64 calls = 0;
    const auto cancelled = PivotLoader::load(
        m_demo, qrt::test::pivotStatement(), [&](qint64) { return ++calls < 3; }, &error);
    QVERIFY(!cancelled);
    QCOMPARE(error, PivotLoader::cancelledText());
    QCOMPARE(calls, 3);
}

// Two views share one load; a third cancelling leaves them theirs.
void tst_PivotLoad::viewsShareOneLoad()
{
    const int before = PivotDataCache::instance().loadsStarted();
    auto table = std::make_unique<PivotLoad>(m_demo, qrt::test::pivotStatement());
    auto chart = std::make_unique<PivotLoad>(m_demo, qrt::test::pivotStatement());
    PivotLoad third(m_demo, qrt::test::pivotStatement());
    QSignalSpy progress(table.get(), &PivotLoad::progress);
    QSignalSpy finished(chart.get(), &PivotLoad::finished);
    QSignalSpy thirdFinished(&third, &PivotLoad::finished);
    third.cancel();
    QVERIFY(third.isCancelled());
    QCOMPARE(third.data(), nullptr);
    QCOMPARE(third.error(), PivotLoader::cancelledText());
    QVERIFY(finished.wait(60000));
    QTRY_VERIFY(table->isFinished());
    QCOMPARE(PivotDataCache::instance().loadsStarted(), before + 1);
    QVERIFY(table->data());
    QCOMPARE(table->data(), chart->data());
    QCOMPARE(table->data()->rowCount(), m_options.items);
    QVERIFY(!progress.isEmpty());
    QVERIFY(progress.last().at(0).toLongLong() > 0);
    QVERIFY(progress.last().at(0).toLongLong() <= m_options.items);
    QCoreApplication::processEvents();
    QCOMPARE(thirdFinished.count(), 0);
    // The load ran below this (the GUI) thread, on a thread of the load's
    // own pool, which keeps that priority; this one keeps its own.
    const QMap<int, int> nices = threadNices();
    const int gui = nices.value(int(QCoreApplication::applicationPid()), -100);
    QVERIFY2(gui > -100 && std::ranges::max(nices.values()) > gui,
             qPrintable(QDebug::toString(nices)));
    // A view asking later while the data is held is tst_pivotrefine's.
}

// All views cancelling cancels the load, and asking again starts afresh
// rather than handing out the cancelled load.
void tst_PivotLoad::cancelling()
{
    const QString statement =
        qrt::test::pivotStatement() + u"  "_s; // not cached by the tests before
    const int before = PivotDataCache::instance().loadsStarted();
    QFuture<PivotDataCache::Result> future;
    {
        PivotLoad table(m_demo, statement);
        PivotLoad chart(m_demo, statement);
        const auto entry = PivotDataCache::instance().acquire(m_demo, statement);
        future = entry->future();
        PivotDataCache::instance().release(entry);
        table.cancel();
        chart.cancel();
    }
    future.waitForFinished();
    QVERIFY(future.isCanceled());
    PivotLoad again(m_demo, statement);
    again.waitForFinished();
    QVERIFY2(again.data(), qPrintable(again.error()));
    QCOMPARE(PivotDataCache::instance().loadsStarted(), before + 2);
}

void tst_PivotLoad::cancelStopsAStatementWithoutRows_data()
{
    QTest::addColumn<bool>("postgres");
    QTest::newRow("SQLite") << false;
    QTest::newRow("PostgreSQL") << true;
}

// A statement that counts for ever and gives no row never reaches a
// progress check: only the interrupt ends it before the statement limit.
void tst_PivotLoad::cancelStopsAStatementWithoutRows()
{
    QFETCH(bool, postgres);
    QString connection = m_demo;
    if (postgres)
        QRT_REQUIRE_POSTGRES(connection, u"tst_pivotload_cancel"_s);
    const QString endless = u"WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c) "
                            "SELECT x FROM c WHERE x < 0"_s;
    QFuture<PivotDataCache::Result> future;
    {
        PivotLoad load(connection, endless);
        const auto entry = PivotDataCache::instance().acquire(connection, endless);
        future = entry->future();
        PivotDataCache::instance().release(entry);
        if (postgres)
            QTRY_VERIFY(qrt::test::statementRuns(connection, u"WITH RECURSIVE c(x)"_s));
        else
            QTest::qWait(500);
        QVERIFY(!future.isFinished());
    }
    QTRY_VERIFY_WITH_TIMEOUT(future.isFinished(), 30000);
    QVERIFY(future.isCanceled());
}

void tst_PivotLoad::postgresReadsTheSameRows()
{
    QString url;
    QRT_REQUIRE_POSTGRES(url, u"tst_pivotload"_s);
    qrt::db::DemoDatabase::Options options = m_options;
    options.items = 3000;
    const QString sqlite = m_dir.filePath(u"small.db"_s);
    QString error;
    QVERIFY2(qrt::db::DemoDatabase::create(url, options, &error), qPrintable(error));
    QVERIFY2(qrt::db::DemoDatabase::create(sqlite, options, &error), qPrintable(error));
    const auto fromPg = qrt::test::loadNews(url);
    const auto fromSqlite = qrt::test::loadNews(sqlite);
    QVERIFY(fromPg && fromSqlite);
    QCOMPARE(fromPg->rowCount(), options.items);
    QCOMPARE(fromPg->columnCount(), fromSqlite->columnCount());
    for (int c = 0; c < fromPg->columnCount(); ++c) {
        QCOMPARE(fromPg->column(c).name(), fromSqlite->column(c).name());
        QCOMPARE(fromPg->column(c).kind(), fromSqlite->column(c).kind());
    }
    QCOMPARE(fromPg->column(fromPg->columnIndex(u"NewsDate"_s)).presentDays(),
             fromSqlite->column(fromSqlite->columnIndex(u"NewsDate"_s)).presentDays());
    QCOMPARE(countsByProvider(fromPg), countsByProvider(fromSqlite));
}

void tst_PivotLoad::isoFormsKeepTheirDay_data()
{
    QTest::addColumn<QString>("suffix");
    QTest::newRow("fraction and +0200") << u".000+0200"_s;
    QTest::newRow("fraction up to the next second") << u".600"_s;
}

// The NewsDate column of items written with a suffix is the column of the
// same times written plainly: the day and the second as written, on both
// engines, at the turn of a month where a zone or a rounding would move them.
void tst_PivotLoad::isoFormsKeepTheirDay()
{
    QFETCH(QString, suffix);
    // The forms themselves are tst_newschartbuilder's; here each reader keeps the day.
    const QStringList plain = {u"2005-01-31 23:30:00"_s, u"2005-01-31 23:59:59"_s,
                               u"2005-02-01 00:30:00"_s};
    QStringList written;
    for (const QString &time : plain)
        written << QString(time).replace(u' ', u'T') + suffix;
    for (const bool postgres : {false, true}) {
        std::shared_ptr<const PivotData> loaded[2];
        for (int i = 0; i < 2; ++i) {
            QString url = m_dir.filePath(u"forms%1.db"_s.arg(++m_files));
            if (postgres) // the same items again on the server
                QRT_REQUIRE_POSTGRES(url, u"tst_pivotload_forms%1"_s.arg(m_files));
            QVERIFY(qrt::test::execAll(url, newsAt(postgres, i ? written : plain)));
            loaded[i] = qrt::test::loadNews(url);
            QVERIFY(loaded[i]);
        }
        const PivotColumn &expected = loaded[0]->column(loaded[0]->columnIndex(u"NewsDate"_s));
        const PivotColumn &actual = loaded[1]->column(loaded[1]->columnIndex(u"NewsDate"_s));
        QCOMPARE(actual.kind(), PivotColumn::Kind::Date);
        QCOMPARE(actual.presentDays(), expected.presentDays());
        QCOMPARE(actual.presentTimes(), expected.presentTimes());
    }
}

QTEST_GUILESS_MAIN(tst_PivotLoad)
#include "tst_pivotload.moc"
