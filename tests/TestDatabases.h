#pragma once
// Databases for tests: a scratch PostgreSQL database per test on the server
// scripts/test starts (QRT_TEST_PG), and writable connections to fill them.
// In CI the PostgreSQL cases must run; elsewhere they skip without a server.

#include "db/Connection.h"
#include "db/Recordset.h"
#include "pivot/PivotStatement.h"

#include <QCoreApplication>
#include <QSqlError>
#include <QSqlQuery>
#include <QTest>
#include <QUrl>

namespace qrt::test {

// The URL of a new, empty database named after the test, or an empty string
// with the reason in *why.
inline QString createPostgresDatabase(const QString &name, QString *why)
{
    const QString server = qEnvironmentVariable("QRT_TEST_PG");
    if (server.isEmpty()) {
        *why = QStringLiteral("QRT_TEST_PG is not set (scripts/test starts a server)");
        return {};
    }
    const QString database =
        name.toLower() + QLatin1Char('_') + QString::number(QCoreApplication::applicationPid());
    db::Connection admin;
    if (!admin.Open(server, db::Connection::Access::ReadWrite)) {
        *why = admin.lastError();
        return {};
    }
    QSqlQuery query(admin.database());
    query.exec(QStringLiteral("DROP DATABASE IF EXISTS ") + database);
    if (!query.exec(QStringLiteral("CREATE DATABASE ") + database)) {
        *why = query.lastError().text();
        return {};
    }
    QUrl url(server);
    url.setPath(QLatin1Char('/') + database);
    return url.toString();
}

// The four tables of a news database, loose enough for tests to store what
// a host's database may hold: NULLs, dangling IDs, repeated names.
// pubDate is ISO text in SQLite and a timestamp in PostgreSQL.
inline QStringList newsTables(bool postgres)
{
    return {
        QStringLiteral("CREATE TABLE Categories (ID integer PRIMARY KEY, Name text)"),
        QStringLiteral("CREATE TABLE Providers (ID integer PRIMARY KEY, Provider text)"),
        QStringLiteral("CREATE TABLE Channels (ID integer PRIMARY KEY, Channel text, "
                       "Provider integer, Category integer)"),
        QStringLiteral("CREATE TABLE News (ID bigint, pubDate %1, Channel integer, Title text)")
            .arg(postgres ? QStringLiteral("timestamp") : QStringLiteral("text")),
    };
}

// The statement both pivot views run.
inline QString pivotStatement()
{
    return pivot::pivotStatement();
}

// Runs statements on a writable connection; fails the test on the first error.
inline bool execAll(const QString &connection, const QStringList &statements)
{
    db::Connection writer;
    if (!writer.Open(connection, db::Connection::Access::ReadWrite)) {
        qWarning() << writer.lastError();
        return false;
    }
    for (const QString &sql : statements) {
        QSqlQuery query(writer.database());
        if (!query.exec(sql)) {
            qWarning() << sql << query.lastError().text();
            return false;
        }
    }
    return true;
}

// The first column of a statement's rows as text, read with the component's
// own reader; empty when the database or the statement fails.
inline QStringList firstColumn(const QString &connection, const QString &statement)
{
    db::Connection reader;
    QStringList values;
    db::Recordset rows;
    if (reader.Open(connection) && rows.Open(statement, reader))
        for (; !rows.IsEOF(); rows.MoveNext())
            values << rows.Text(0);
    return values;
}

// True while another session on the server runs a statement that starts so.
inline bool statementRuns(const QString &url, const QString &start)
{
    const QString count = QStringLiteral("SELECT count(*) FROM pg_stat_activity WHERE state = "
                                         "'active' AND starts_with(query, '%1')")
                              .arg(start);
    return firstColumn(url, count).value(0).toInt() > 0;
}

} // namespace qrt::test

// A case without its PostgreSQL database skips where no server was started,
// but fails in CI, where one must be.
#define QRT_SKIP_WITHOUT_POSTGRES(why)                                                             \
    do {                                                                                           \
        if (qEnvironmentVariableIsSet("CI") || qEnvironmentVariableIsSet("QRT_TEST_PG"))           \
            QFAIL(qPrintable(why));                                                                \
        QSKIP(qPrintable(why));                                                                    \
    } while (false)

#define QRT_REQUIRE_POSTGRES(url, name)                                                            \
    do {                                                                                           \
        QString why_;                                                                              \
        url = qrt::test::createPostgresDatabase(name, &why_);                                      \
        if (url.isEmpty())                                                                         \
            QRT_SKIP_WITHOUT_POSTGRES(why_);                                                       \
    } while (false)
