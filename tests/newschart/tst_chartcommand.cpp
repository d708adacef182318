// zorvane-stats chart, run as a user runs it: the table it writes (CSV and
// JSON, holes empty or null, an empty period), the named periods, an image,
// and a clear answer to bad options and broken databases.

#include "NewsFixture.h"
#include "ProgramRun.h"
#include "base/Dates.h"

#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using qrt::test::readFile;
namespace dates = qrt::dates;

namespace {

qrt::test::ProgramRun runChart(const QStringList &arguments)
{
    return qrt::test::runStats(QStringList{u"chart"_s} + arguments);
}

// The day `back` days before today at the given hour, as stored.
QString daysAgo(int back, int hour)
{
    return dates::toTimestampText(dates::today() - back + hour / 24.0);
}

} // namespace

class tst_ChartCommand : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void csvTables_data();
    void csvTables();
    void jsonTable();
    void namedPeriod();
    void image();
    void badOptions_data();
    void badOptions();
    void brokenDatabase();

private:
    QTemporaryDir m_dir;
    QString m_fixed;  // news in January 2005
    QString m_recent; // news on days counted back from today
};

void tst_ChartCommand::initTestCase()
{
    QVERIFY(!qEnvironmentVariable("ZORVANE_STATS").isEmpty());
    m_fixed = m_dir.filePath(u"fixed.db"_s);
    QVERIFY(qrt::test::makeSqliteNews(
        m_fixed,
        {u"2005-01-01 08:00:00|1"_s, u"2005-01-01 08:00:00|1"_s, u"2005-01-03 10:00:00|2"_s,
         u"2005-01-03 23:00:00|3"_s, u"2005-01-10 12:00:00|4"_s, u"2005-01-10 12:30:00|4|null"_s}));
    m_recent = m_dir.filePath(u"recent.db"_s);
    QVERIFY(qrt::test::makeSqliteNews(m_recent,
                                      {daysAgo(0, 10) + u"|1"_s, daysAgo(1, 10) + u"|1"_s,
                                       daysAgo(5, 10) + u"|2"_s, daysAgo(20, 10) + u"|3"_s,
                                       daysAgo(200, 10) + u"|4"_s, daysAgo(1000, 10) + u"|1"_s}));
}

void tst_ChartCommand::csvTables_data()
{
    QTest::addColumn<QStringList>("arguments"); // after the database
    QTest::addColumn<QByteArray>("table");      // to the file "--table" names, else printed
    QTest::addColumn<QString>("notice");
    const auto period = [](const char *from, const char *till) {
        return QStringList{u"--from"_s, QString::fromLatin1(from), u"--till"_s,
                           QString::fromLatin1(till)};
    };
    // Two channels of Alpha Wire on the 3rd add up; the 2nd is a hole.
    QTest::newRow("to a file") << period("2005-01-01", "2005-01-05") + QStringList{u"--table"_s}
                               << QByteArray("Title,News Count for January 2005\r\n"
                                             "MinDate,2005-01-01 08:00:00\r\n"
                                             "MaxDate,2005-01-03 23:00:00\r\n"
                                             "Date,Alpha Wire,Beta News\r\n"
                                             "2005-01-01,2,\r\n"
                                             "2005-01-02,,\r\n"
                                             "2005-01-03,1,1\r\n")
                               << QString();
    // MinDate starts at the last day's midnight and only an earlier item
    // moves it.
    QTest::newRow("printed, by category")
        << period("2005-01-03", "2005-01-03") + QStringList{u"--series"_s, u"categories"_s}
        << QByteArray("Title,News Count for January 03\r\n"
                      "MinDate,2005-01-03 00:00:00\r\n"
                      "MaxDate,2005-01-03 23:00:00\r\n"
                      "Date,World,Sports\r\n"
                      "2005-01-03,1,1\r\n")
        << QString();
    // The starting dates of an empty chart: the far ends of the period.
    QTest::newRow("no news") << period("2006-01-01", "2006-01-31") + QStringList{u"--table"_s}
                             << QByteArray("Title,\r\n"
                                           "MinDate,2006-01-31 00:00:00\r\n"
                                           "MaxDate,2006-01-01 00:00:00\r\n"
                                           "Date\r\n")
                             << u"no news items in the period"_s;
}

void tst_ChartCommand::csvTables()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, notice);
    const QString table = m_dir.filePath(u"table.csv"_s);
    QFile::remove(table);
    const bool toFile = arguments.last() == u"--table"_s;
    const auto run =
        runChart(QStringList{m_fixed} + arguments + (toFile ? QStringList{table} : QStringList()));
    QCOMPARE(run.exitCode, 0);
    QTEST(toFile ? readFile(table) : run.out.toUtf8(), "table");
    QVERIFY2(run.err.contains(notice), qPrintable(run.err));
}

void tst_ChartCommand::jsonTable()
{
    const QString table = m_dir.filePath(u"january.json"_s);
    const auto run = runChart({m_fixed, u"--from"_s, u"2005-01-01"_s, u"--till"_s, u"2005-01-31"_s,
                               u"--series"_s, u"channels"_s, u"--table"_s, table});
    QCOMPARE(run.exitCode, 0);
    const QJsonObject root = QJsonDocument::fromJson(readFile(table)).object();
    QCOMPARE(root.value(u"title"_s).toString(), u"News Count for January 2005"_s);
    QCOMPARE(root.value(u"minDate"_s).toString(), u"2005-01-01 08:00:00"_s);
    QCOMPARE(root.value(u"maxDate"_s).toString(), u"2005-01-10 12:30:00"_s);
    const QJsonArray days = root.value(u"days"_s).toArray();
    QCOMPARE(days.size(), 10);
    QCOMPARE(days.last().toString(), u"2005-01-10"_s);
    const QJsonArray series = root.value(u"series"_s).toArray();
    QCOMPARE(series.size(), 4);
    const QJsonObject betaSports = series.at(3).toObject();
    QCOMPARE(betaSports.value(u"name"_s).toString(), u"Beta Sports"_s);
    // Holes are null; the item without an ID is not counted.
    QCOMPARE(betaSports.value(u"values"_s).toArray(),
             QJsonArray({QJsonValue(), QJsonValue(), QJsonValue(), QJsonValue(), QJsonValue(),
                         QJsonValue(), QJsonValue(), QJsonValue(), QJsonValue(), 1.0}));
}

// A named period, its name in any case, reaches back from today: the
// items of the last week. The ranges themselves are tst_newschartbuilder's.
void tst_ChartCommand::namedPeriod()
{
    const QString table = m_dir.filePath(u"period.json"_s);
    const auto run = runChart({m_recent, u"--period"_s, u"WEEK"_s, u"--table"_s, table});
    QCOMPARE(run.exitCode, 0);
    double total = 0;
    const QJsonArray series =
        QJsonDocument::fromJson(readFile(table)).object().value(u"series"_s).toArray();
    for (const QJsonValue &s : series)
        for (const QJsonValue &v : s.toObject().value(u"values"_s).toArray())
            total += v.toDouble();
    QCOMPARE(total, 3.0);
}

// The formats themselves are the view's (tst_chartview): here the image
// asked for, at its size, and no table.
void tst_ChartCommand::image()
{
    const QString path = m_dir.filePath(u"bar.png"_s);
    const auto run =
        runChart({m_fixed, u"--from"_s, u"2005-01-01"_s, u"--till"_s, u"2005-01-31"_s, u"--out"_s,
                  path, u"--size"_s, u"520x300"_s, u"--type"_s, u"bar"_s, u"--stacked"_s});
    QCOMPARE(run.exitCode, 0);
    QVERIFY(run.out.isEmpty());
    QCOMPARE(QImage(path).size(), QSize(520, 300));
}

// One row per kind of refusal: a word outside its list, options that go
// together, a value of the wrong form; the other options' lists are the
// same code with other words.
void tst_ChartCommand::badOptions_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");
    QTest::newRow("unknown period")
        << QStringList{u"--period"_s, u"fortnight"_s} << u"--period takes today|yesterday"_s;
    QTest::newRow("from without till")
        << QStringList{u"--from"_s, u"2005-01-01"_s} << u"--from and --till go together"_s;
    QTest::newRow("image format") << QStringList{u"--out"_s, u"chart.gif"_s}
                                  << u"--out writes .png, .svg or .pdf"_s;
}

void tst_ChartCommand::badOptions()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, message);
    const auto run = runChart(QStringList{m_fixed} + arguments);
    QCOMPARE(run.exitCode, 2);
    QVERIFY2(run.err.contains(message), qPrintable(run.err));
    QVERIFY(!QFile::exists(u"chart.gif"_s));
}

void tst_ChartCommand::brokenDatabase()
{
    const QString table = m_dir.filePath(u"broken.csv"_s);
    auto run = runChart({m_dir.filePath(u"missing.db"_s), u"--table"_s, table});
    QCOMPARE(run.exitCode, 1);
    QVERIFY2(run.err.contains(u"cannot open the database"_s), qPrintable(run.err));
    QVERIFY(!QFile::exists(table));
    run = runChart({m_fixed, u"--period"_s, u"all"_s, u"--filter"_s, u"Channels.ID ==="_s});
    QCOMPARE(run.exitCode, 1);
    QVERIFY2(run.err.contains(u"statement refused"_s), qPrintable(run.err));
    QCOMPARE(runChart({}).exitCode, 2); // no connection at all
}

QTEST_MAIN(tst_ChartCommand)
#include "tst_chartcommand.moc"
