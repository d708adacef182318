// The demo data: exactly as many items as asked, the same database for the
// same options, a catalogue shaped like a real one, and nothing left behind
// by a cancelled run.

#include "TestDatabases.h"
#include "db/Connection.h"
#include "db/Recordset.h"
#include "demodata/DemoDatabase.h"

#include <QCryptographicHash>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using qrt::db::Connection;
using qrt::db::DemoDatabase;
using qrt::db::Recordset;

namespace {

QList<qint64> column(const QString &connection, const QString &statement)
{
    QList<qint64> values;
    for (const QString &text : qrt::test::firstColumn(connection, statement))
        values << text.toLongLong();
    return values;
}

// A digest of every row of every table, in key order.
QByteArray digest(const QString &connection)
{
    Connection c;
    if (!c.Open(connection))
        return {};
    QCryptographicHash hash(QCryptographicHash::Sha256);
    for (const QString &sql :
         {u"SELECT ID, Name FROM Categories ORDER BY ID"_s,
          u"SELECT ID, Provider FROM Providers ORDER BY ID"_s,
          u"SELECT ID, Channel, Provider, Category FROM Channels ORDER BY ID"_s,
          u"SELECT ID, pubDate, Channel, Title FROM News ORDER BY ID"_s}) {
        Recordset rs;
        for (rs.Open(sql, c); !rs.IsEOF(); rs.MoveNext())
            for (int i = 0; i < rs.FieldCount(); ++i)
                hash.addData(QByteArray(rs.Text(i).toUtf8() + '|'));
    }
    return hash.result();
}

DemoDatabase::Options options(qint64 items, quint64 seed = 1)
{
    return {.items = items, .seed = seed, .until = QDate(2026, 6, 30), .days = 3 * 365};
}

} // namespace

class tst_DemoDatabase : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void deterministic();
    void realisticShape();
    void cancel();
    void postgres();

private:
    QTemporaryDir m_dir;
};

void tst_DemoDatabase::deterministic()
{
    const QString a = m_dir.filePath(u"a.db"_s), b = m_dir.filePath(u"b.db"_s),
                  c = m_dir.filePath(u"c.db"_s);
    QString error;
    QVERIFY2(DemoDatabase::create(a, options(5000, 7), &error), qPrintable(error));
    QVERIFY2(DemoDatabase::create(b, options(5000, 7), &error), qPrintable(error));
    QVERIFY2(DemoDatabase::create(c, options(5000, 8), &error), qPrintable(error));
    QCOMPARE(digest(a), digest(b));
    QVERIFY(digest(a) != digest(c));
    QVERIFY(!QFile::exists(a + u".part"_s));
}

void tst_DemoDatabase::realisticShape()
{
    const QString path = m_dir.filePath(u"shape.db"_s);
    QString error;
    QVERIFY2(DemoDatabase::create(path, options(60000), &error), qPrintable(error));
    QCOMPARE(column(path, u"SELECT COUNT(*) FROM News"_s), QList<qint64>{60000});

    // A few channels never publish, and activity is very unequal.
    const QList<qint64> perChannel = column(
        path, u"SELECT COUNT(News.ID) FROM Channels LEFT JOIN News ON News.Channel = Channels.ID "
              "GROUP BY Channels.ID ORDER BY 1 DESC"_s);
    QVERIFY2(perChannel.size() >= 100 && perChannel.size() <= 200,
             qPrintable(QString::number(perChannel.size())));
    QVERIFY(perChannel.last() == 0);
    QVERIFY(perChannel.count(0) <= 10);
    const qint64 median = perChannel.at(perChannel.size() / 2);
    QVERIFY2(perChannel.first() > 10 * median,
             qPrintable(u"%1 vs %2"_s.arg(perChannel.first()).arg(median)));

    // Weekends are quieter than weekdays, nights quieter than mornings, and
    // every item lies in the span that ends on `until`.
    Connection conn;
    QVERIFY(conn.Open(path));
    Recordset shape;
    QVERIFY(shape.Open(u"SELECT SUM(strftime('%w', pubDate) IN ('0','6')), "
                       "SUM(substr(pubDate, 12, 2) < '05'), "
                       "SUM(substr(pubDate, 12, 2) BETWEEN '08' AND '12'), "
                       "MIN(pubDate), MAX(pubDate), COUNT(DISTINCT Title) FROM News"_s,
                       conn));
    const qint64 weekend = shape.Int(0);
    QVERIFY(weekend * 5 < (60000 - weekend) * 2 * 0.8);
    QVERIFY(shape.Int(1) * 3 < shape.Int(2));
    QVERIFY(shape.Text(3) >= u"2023-07-01"_s);
    QVERIFY(shape.Text(4) < u"2026-07-01"_s);
    QVERIFY(shape.Int(5) > 1000); // real-looking, varied titles
}

void tst_DemoDatabase::cancel()
{
    const QString path = m_dir.filePath(u"cancelled.db"_s);
    QString error;
    qint64 calls = 0;
    QVERIFY(!DemoDatabase::create(path, options(300000), &error, [&](qint64 done, qint64 total) {
        ++calls;
        return done < total / 2;
    }));
    QVERIFY(calls > 0);
    QVERIFY(!QFile::exists(path));
    QVERIFY(!QFile::exists(path + u".part"_s));
}

void tst_DemoDatabase::postgres()
{
    QString url;
    QRT_REQUIRE_POSTGRES(url, u"tst_demodatabase"_s);
    QString error;
    QVERIFY2(DemoDatabase::create(url, options(5000, 7), &error), qPrintable(error));
    QCOMPARE(column(url, u"SELECT COUNT(*) FROM News"_s), QList<qint64>{5000});
    // A second run over existing tables is refused and leaves them whole.
    QVERIFY(!DemoDatabase::create(url, options(10, 7), &error));
    QCOMPARE(column(url, u"SELECT COUNT(*) FROM News"_s), QList<qint64>{5000});
    // The same content as the SQLite file of the same options.
    const QString file = m_dir.filePath(u"same.db"_s);
    QVERIFY(DemoDatabase::create(file, options(5000, 7), &error));
    QCOMPARE(column(url, u"SELECT Channel FROM News ORDER BY ID"_s),
             column(file, u"SELECT Channel FROM News ORDER BY ID"_s));
    QCOMPARE(qrt::test::firstColumn(url, u"SELECT Title FROM News ORDER BY ID"_s),
             qrt::test::firstColumn(file, u"SELECT Title FROM News ORDER BY ID"_s));
    // The keys come after the rows, and are there.
    QCOMPARE(column(url, u"SELECT COUNT(*) FROM information_schema.table_constraints WHERE "
                         "table_name = 'news' AND constraint_type IN ('PRIMARY KEY', "
                         "'FOREIGN KEY')"_s),
             QList<qint64>{2});
}

QTEST_GUILESS_MAIN(tst_DemoDatabase)
#include "tst_demodatabase.moc"
