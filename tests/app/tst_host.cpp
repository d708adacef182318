// The host program as users and scripts run it: headless it renders each
// window to a PNG and says where; demo-db makes databases and refuses bad
// arguments with a clear message and exit code.

#include "ProgramRun.h"

#include <QFile>
#include <QImage>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

using qrt::test::ProgramRun;
using qrt::test::runStats;

class tst_Host : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void headlessFirstRun();
    void demoDbArguments_data();
    void demoDbArguments();
    void unreadableDatabaseSaidOnce_data();
    void unreadableDatabaseSaidOnce();
    void pivotChartHeadless_data();
    void pivotChartHeadless();

private:
    QTemporaryDir m_home;
    QProcessEnvironment m_env;
};

void tst_Host::init()
{
    QVERIFY(m_home.isValid());
    m_env = QProcessEnvironment::systemEnvironment();
    m_env.remove(u"DISPLAY"_s);
    m_env.remove(u"WAYLAND_DISPLAY"_s);
    m_env.remove(u"QT_QPA_PLATFORM"_s); // the program must choose offscreen by itself
    m_env.insert(u"XDG_DATA_HOME"_s, m_home.filePath(u"data"_s));
    m_env.insert(u"XDG_CONFIG_HOME"_s, m_home.filePath(u"config"_s));
}

void tst_Host::headlessFirstRun()
{
    const ProgramRun r = runStats({}, m_env);
    QVERIFY2(r.exitCode == 0, qPrintable(r.err));
    const QString demo = m_home.filePath(u"data/Koltrin/zorvane-stats/demo.db"_s);
    QVERIFY(QFile::exists(demo));
    const QString png = m_home.filePath(u"data/Koltrin/zorvane-stats/window.png"_s);
    QVERIFY2(r.out.contains(u"window rendered to "_s + png), qPrintable(r.out));
    QVERIFY(!QImage(png).isNull());
    // A second run opens the same demo database instead of making another,
    // and renders each of its windows.
    const QDateTime made = QFileInfo(demo).lastModified();
    const ProgramRun again =
        runStats({u"--windows"_s, u"2"_s, u"--screenshot"_s, m_home.filePath(u"w.png"_s)}, m_env);
    QVERIFY2(again.exitCode == 0, qPrintable(again.err));
    QVERIFY(!again.err.contains(u"creating the demo database"_s));
    QCOMPARE(QFileInfo(demo).lastModified(), made);
    QVERIFY(!QImage(m_home.filePath(u"w.png"_s)).isNull());
    QVERIFY(!QImage(m_home.filePath(u"w-2.png"_s)).isNull());
}

void tst_Host::demoDbArguments_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("message");
    QTest::newRow("no target") << QStringList{u"demo-db"_s} << 2 << u"target"_s;
    QTest::newRow("existing file")
        << QStringList{u"demo-db"_s, m_home.filePath(u"precious"_s)} << 1 << u"exists"_s;
    QTest::newRow("ODBC target") << QStringList{u"demo-db"_s, u"DSN=news"_s} << 1
                                 << u"SQLite or PostgreSQL"_s;
}

void tst_Host::demoDbArguments()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, exitCode);
    QFETCH(QString, message);
    const QString precious = m_home.filePath(u"precious"_s);
    QVERIFY(qrt::test::writeFile(precious, "precious"));
    const ProgramRun r = runStats(arguments, m_env);
    QCOMPARE(r.exitCode, exitCode);
    QVERIFY2(r.err.contains(message), qPrintable(r.err));
    QCOMPARE(qrt::test::readFile(precious), QByteArray("precious"));
}

void tst_Host::unreadableDatabaseSaidOnce_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("line");
    const QString png = m_home.filePath(u"window.png"_s);
    QTest::newRow("window") << QStringList{u"--screenshot"_s, png} << 0
                            << u"zorvane-stats: statement refused: file is not a database"_s;
    QTest::newRow("chart") << QStringList{u"chart"_s} << 1
                           << u"zorvane-stats chart: statement refused: file is not a database"_s;
    QTest::newRow("pivot") << QStringList{u"pivot"_s} << 1
                           << u"zorvane-stats: cannot load the rows: statement refused: file is "
                              "not a database"_s;
}

// A file that is no database is said to be one line, once, by every
// command; the window still opens, with the empty look.
void tst_Host::unreadableDatabaseSaidOnce()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, exitCode);
    QFETCH(QString, line);
    const QString text = m_home.filePath(u"notes.txt"_s);
    QVERIFY(qrt::test::writeFile(text, "not a database, just notes\n"));
    const bool windowless = arguments.first() == u"chart"_s || arguments.first() == u"pivot"_s;
    const ProgramRun result = runStats(
        windowless ? QStringList{arguments.first(), text} : arguments + QStringList{text}, m_env);
    QCOMPARE(result.exitCode, exitCode);
    QStringList lines = result.err.split(u'\n', Qt::SkipEmptyParts);
    lines.removeIf([](const QString &l) { return l.startsWith(u"QStandardPaths:"_s); });
    QCOMPARE(lines, QStringList{line});
}

void tst_Host::pivotChartHeadless_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("file");
    QTest::newRow("pie, sized") << QStringList{u"--type"_s, u"18"_s, u"--size"_s, u"800x500"_s} << 0
                                << u"chart.png"_s;
    QTest::newRow("stored layout, svg")
        << QStringList{u"--layout-from-settings"_s} << 0 << u"chart.svg"_s;
    QTest::newRow("by rows, pdf") << QStringList{u"--series-by-rows"_s, u"--rows"_s, u"Provider"_s}
                                  << 0 << u"chart.pdf"_s;
    QTest::newRow("unknown format") << QStringList() << 2 << u"chart.bmp"_s;
}

// The pivot chart drawn without a window: the file in the format asked
// for, at the size asked for; bad options refused before anything loads.
void tst_Host::pivotChartHeadless()
{
    QFETCH(QStringList, options);
    QFETCH(int, exitCode);
    QFETCH(QString, file);
    const QString db = m_home.filePath(u"pivot.db"_s);
    if (!QFile::exists(db)) {
        QVERIFY(qrt::test::writeFile(db, "old"));
        const ProgramRun made =
            runStats({u"demo-db"_s, db, u"--items"_s, u"500"_s, u"--replace"_s}, m_env);
        QVERIFY2(made.out.contains(u"500 news items"_s), qPrintable(made.err));
    }
    const QString out = m_home.filePath(file);
    QFile::remove(out);
    const ProgramRun r = runStats(QStringList{u"pivot"_s, db, u"--chart"_s, out} + options, m_env);
    QVERIFY2(r.exitCode == exitCode, qPrintable(r.err));
    QCOMPARE(QFile::exists(out), exitCode == 0);
    if (file.endsWith(u".png"_s) && exitCode == 0)
        QCOMPARE(QImage(out).size(), QSize(800, 500));
    else if (exitCode == 0)
        QVERIFY(QFileInfo(out).size() > 1000);
}

QTEST_GUILESS_MAIN(tst_Host)
#include "tst_host.moc"
