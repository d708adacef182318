// The component only reads: hostile texts in the stored ORDER clause, in a
// chart filter and as a pivot statement leave the database as it was, on
// SQLite and PostgreSQL, while a plain ORDER BY still orders the rows.

#include "TestDatabases.h"
#include "db/Connection.h"
#include "db/StatementGuard.h"
#include "newschart/ChartControl.h"
#include "newschart/NewsChartBuilder.h"
#include "newschart/StatisticsStatement.h"
#include "pivot/PivotLoader.h"

#include <QCryptographicHash>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace qrt;

namespace {

const QString kAllTicked =
    u"Categories.ID  not in (0) AND Providers.ID  not in (0) AND Channels.ID  not in (0) "_s;

QStringList fixture(bool postgres)
{
    return test::newsTables(postgres) +
           QStringList{u"INSERT INTO Categories VALUES (1, 'World')"_s,
                       u"INSERT INTO Providers VALUES (1, 'Alpha'), (2, 'Beta')"_s,
                       u"INSERT INTO Channels VALUES (1, 'A1', 1, 1), (2, 'B1', 2, 1)"_s,
                       u"INSERT INTO News VALUES (1, '2005-03-10 08:00:00', 1, 'a'), "
                       "(2, '2005-03-11 09:00:00', 2, 'b'), (3, '2005-03-11 10:00:00', 1, 'c')"_s};
}

// What must not change: the tables and their rows (and for SQLite the
// file's every byte).
QString fingerprint(const QString &connection, bool postgres)
{
    if (!postgres) {
        QFile file(connection);
        return file.open(QIODevice::ReadOnly)
                   ? QString::fromLatin1(
                         QCryptographicHash::hash(file.readAll(), QCryptographicHash::Sha256)
                             .toHex())
                   : QString();
    }
    return test::firstColumn(connection,
                             u"SELECT string_agg(table_name, ',' ORDER BY table_name) || (SELECT "
                             "' ' || count(*) FROM News) || (SELECT ' ' || count(*) FROM "
                             "Channels) || (SELECT ' ' || count(*) FROM Providers) || (SELECT ' ' "
                             "|| count(*) FROM Categories) FROM information_schema.tables WHERE "
                             "table_schema = 'public'"_s)
        .value(0);
}

// The series the news chart of the fixture's days draws with a stored ORDER
// and filter, or "refused".
QStringList drawn(const QString &connection, const QString &order, const QString &filter)
{
    ChartControl chart;
    chart::NewsChartBuilder builder(chart);
    const chart::NewsChartQuery query{38400, 38500, filter,
                                      order, 3,     chart::StatisticsMode::Literal};
    db::Connection reader;
    builder.ClearChart(query);
    return builder.Build(reader, connection, query) ? chart.SeriesLabels()
                                                    : QStringList{u"refused"_s};
}

enum class Route { Order, Filter, Command };

} // namespace

Q_DECLARE_METATYPE(Route)

class tst_ReadOnly : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void hostileTexts_data();
    void hostileTexts();
    void plainOrderStillOrders();

private:
    // A file a hostile text would make.
    QString evil() const { return m_dir.filePath(u"evil"_s); }

    QTemporaryDir m_dir;
    QString m_sqlite;
    QString m_postgres;
    QString m_postgresWhy;
};

void tst_ReadOnly::initTestCase()
{
    // The database server runs as another user: it must be able to make
    // the file a hostile text names, for the test to see that it did not.
    QFile::setPermissions(m_dir.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner |
                                            QFile::WriteOther | QFile::ExeOther | QFile::ReadOther);
    m_sqlite = m_dir.filePath(u"news.db"_s);
    QVERIFY(test::execAll(m_sqlite, fixture(false)));
    m_postgres = test::createPostgresDatabase(u"tst_readonly"_s, &m_postgresWhy);
    if (!m_postgres.isEmpty())
        QVERIFY(test::execAll(m_postgres, fixture(true)));
}

void tst_ReadOnly::hostileTexts_data()
{
    QTest::addColumn<Route>("route");
    QTest::addColumn<QString>("text");
    const std::pair<Route, QString> texts[] = {
        {Route::Order, u"ORDER BY 1; COMMIT; BEGIN READ WRITE; CREATE TABLE t(a int); COMMIT"_s},
        {Route::Order, u"ORDER BY 1; DELETE FROM News"_s},
        {Route::Order, u"ORDER BY 1; SET default_transaction_read_only = off"_s},
        {Route::Order, u"ORDER BY 1; SET SESSION CHARACTERISTICS AS TRANSACTION READ WRITE"_s},
        {Route::Order, u"ORDER BY 1; SET ROLE postgres"_s},
        {Route::Order, u"ORDER BY 1 /* ; */; RESET ALL"_s},
        {Route::Order, u"ORDER BY 1; DO $$BEGIN DELETE FROM News; END$$"_s},
        {Route::Order, u"ORDER BY 1; COPY News TO PROGRAM 'touch %1'"_s.arg(evil())},
        {Route::Order,
         u"ORDER BY (SELECT set_config('default_transaction_read_only','off',false))"_s},
        {Route::Order, u"ORDER BY (SELECT pg_terminate_backend(pg_backend_pid()))"_s},
        {Route::Order, u"ORDER BY U&\"pg_terminate\\005fbackend\"(1)"_s},
        {Route::Order, u"ORDER BY 1; ATTACH DATABASE '%1' AS evil"_s.arg(evil())},
        {Route::Order, u"ORDER BY load_extension('%1')"_s.arg(evil())},
        {Route::Filter, u"1=1) OR (1=1); DELETE FROM News; --"_s},
        {Route::Filter, u"Providers.ID IN (SELECT lo_import('/etc/hostname'))"_s},
        {Route::Filter,
         u"Providers.ID IN (SELECT 1 FROM dblink('dbname=x', 'DELETE FROM News') AS t(a int))"_s},
        {Route::Command, u"DELETE FROM News"_s},
        {Route::Command, u"SELECT 1; DELETE FROM News"_s},
        {Route::Command, u"WITH gone AS (DELETE FROM News RETURNING *) SELECT * FROM gone"_s},
        {Route::Command, u"SELECT * INTO Evil FROM News"_s},
        {Route::Command, u"SELECT 'a;' AS x; DROP TABLE News"_s},
        {Route::Command, u"PRAGMA query_only = 0"_s},
    };
    for (const auto &[route, text] : texts)
        QTest::newRow(qPrintable(text.left(60))) << route << text;
}

void tst_ReadOnly::hostileTexts()
{
    QFETCH(Route, route);
    QFETCH(QString, text);
    for (const QString &connection : {m_sqlite, m_postgres}) {
        const bool postgres = connection == m_postgres;
        if (postgres && connection.isEmpty())
            QRT_SKIP_WITHOUT_POSTGRES(m_postgresWhy);
        const QString before = fingerprint(connection, postgres);
        QVERIFY(!before.isEmpty());
        if (route == Route::Command) {
            QString error;
            QVERIFY(!pivot::PivotLoader::load(connection, text, {}, &error));
            QVERIFY(!error.isEmpty());
        } else {
            const bool order = route == Route::Order;
            drawn(connection, order ? text : chart::StatisticsStatement::ColumnsFor(3)->order,
                  order ? kAllTicked : text);
        }
        QCOMPARE(fingerprint(connection, postgres), before);
    }
    QVERIFY(!QFile::exists(evil()));
}

// Fidelity beside safety: the stored ORDER reaches the statement unchanged
// when it is a plain ORDER BY, also one with comments and a closing ';'.
void tst_ReadOnly::plainOrderStillOrders()
{
    const QString order = chart::StatisticsStatement::ColumnsFor(3)->order;
    QCOMPARE(
        db::StatementGuard::refusal(QString(u"SELECT 1 "_s + order + u" -- by provider\n; "_s)),
        QString());
    QCOMPARE(db::StatementGuard::refusal(u"SELECT ';' AS \"a;b\" /* ; */"_s), QString());
    for (const QString &connection : {m_sqlite, m_postgres}) {
        if (connection.isEmpty())
            QRT_SKIP_WITHOUT_POSTGRES(m_postgresWhy);
        QCOMPARE(drawn(connection, order + u"; "_s, kAllTicked),
                 QStringList({u"Alpha"_s, u"Beta"_s}));
    }
}

QTEST_GUILESS_MAIN(tst_ReadOnly)
#include "tst_readonly.moc"
