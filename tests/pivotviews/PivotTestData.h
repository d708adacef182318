#pragma once
// Test data for the pivot engine: a SQLite news database of random content
// (seeded, so a failure can be repeated with QRT_TEST_SEED), with blank and
// missing titles, missing dates and captions that differ only in case.

#include "TestDatabases.h"
#include "db/Connection.h"
#include "pivot/PivotAxis.h"
#include "pivot/PivotFieldSet.h"
#include "pivot/PivotLoader.h"
#include "pivot/PivotMember.h"

#include <QRandomGenerator>
#include <QSqlError>
#include <QSqlQuery>
#include <QString>
#include <QTest>

namespace qrt::test {

using namespace Qt::StringLiterals;

inline quint32 testSeed()
{
    static const quint32 seed = [] {
        bool ok = false;
        const quint32 fixed = qEnvironmentVariable("QRT_TEST_SEED").toUInt(&ok);
        const quint32 s = ok ? fixed : QRandomGenerator::system()->generate();
        qInfo("random data seed: %u (set QRT_TEST_SEED to repeat)", s);
        return s;
    }();
    return seed;
}

// Writes `items` news items with random providers, channels, categories,
// titles and times over about three years into a new SQLite file.
inline bool makeRandomNewsDb(const QString &path, int items, quint32 seed)
{
    QFile::remove(path);
    db::Connection writer;
    if (!writer.Open(path, db::Connection::Access::ReadWrite))
        return false;
    QSqlDatabase database = writer.database();
    QSqlQuery q(database);
    // Words gives the totals other than Count a number to work on.
    const QStringList schema = newsTables(false) << u"ALTER TABLE News ADD COLUMN Words INTEGER"_s;
    for (const QString &sql : schema)
        if (!q.exec(sql))
            return false;
    QRandomGenerator rng(seed);
    const QStringList categories = {u"World"_s, u"Sports"_s, u"sports"_s, u"Science"_s, u"Local"_s};
    const int providers = 3 + rng.bounded(5);
    // Every provider and category has a channel of its own; the rest go by lot.
    const int channels = std::max(providers, static_cast<int>(categories.size())) + rng.bounded(12);
    database.transaction();
    for (int i = 0; i < categories.size(); ++i)
        q.exec(u"INSERT INTO Categories VALUES (%1, '%2')"_s.arg(i + 1).arg(categories[i]));
    for (int p = 1; p <= providers; ++p)
        q.exec(
            u"INSERT INTO Providers VALUES (%1, 'Provider %2')"_s.arg(p).arg(QChar(u'A' + p - 1)));
    for (int c = 1; c <= channels; ++c)
        q.exec(u"INSERT INTO Channels VALUES (%1, 'Channel %2', %3, %4)"_s.arg(c)
                   .arg(c)
                   .arg(c <= providers ? c : 1 + rng.bounded(providers))
                   .arg(c <= categories.size()
                            ? c
                            : 1 + rng.bounded(static_cast<int>(categories.size()))));
    QSqlQuery insert(database);
    insert.prepare(u"INSERT INTO News VALUES (?, ?, ?, ?, ?)"_s);
    const QDateTime start(QDate(2023, 11, 20), QTime(0, 0));
    for (int i = 1; i <= items; ++i) {
        insert.bindValue(0, i);
        const int roll = rng.bounded(100);
        if (roll == 0)
            insert.bindValue(1, QVariant()); // no date
        else
            insert.bindValue(
                1, start.addSecs(rng.bounded(3 * 365 * 86400)).toString(u"yyyy-MM-dd HH:mm:ss"_s));
        insert.bindValue(2, 1 + rng.bounded(channels));
        if (roll == 1)
            insert.bindValue(3, QVariant()); // no title
        else if (roll == 2)
            insert.bindValue(3, QString()); // an empty one
        else
            insert.bindValue(3, u"Title %1"_s.arg(rng.bounded(items / 3 + 1)));
        insert.bindValue(4, rng.bounded(500));
        if (!insert.exec()) {
            qWarning() << insert.lastError().text();
            return false;
        }
    }
    return database.commit();
}

// Six news items whose every member is known: three providers, categories
// that differ only in case, a missing and an empty title, a missing date,
// and dates at the edges of weeks, quarters and years.
inline bool makeSmallNewsDb(const QString &path)
{
    return execAll(
        path, newsTables(false) +
                  QStringList{
                      u"INSERT INTO Categories VALUES (1, 'Sports'), (2, 'sports'), (3, 'World')"_s,
                      u"INSERT INTO Providers VALUES (1, 'beta'), (2, 'Alpha'), (3, 'Gamma')"_s,
                      u"INSERT INTO Channels VALUES (1, 'One', 1, 1), (2, 'Two', 2, 2), "
                      "(3, 'Three', 3, 3)"_s,
                      u"INSERT INTO News VALUES (1, '2005-01-03 10:15:30', 1, 'a'), "
                      "(2, '2005-03-31 23:59:59', 2, 'b'), (3, '2005-04-01 00:00:00', 3, NULL), "
                      "(4, '2006-12-31 12:00:00', 1, ''), (5, '2004-12-31 08:00:00', 2, 'e'), "
                      "(6, NULL, 3, 'f')"_s});
}

// The names of an axis's field sets, in order.
inline QStringList fieldSetNames(const pivot::PivotAxis &axis)
{
    QStringList names;
    for (const pivot::PivotFieldSet *set : axis.FieldSets())
        names << set->Name();
    return names;
}

inline QStringList captions(const std::vector<pivot::PivotMember> &members)
{
    QStringList out;
    for (const pivot::PivotMember &member : members)
        out << member.Caption();
    return out;
}

// The rows of a news database as the pivot views load them (or grouped at
// a grain): null, with the reason in the test's log, when they cannot be read.
inline std::shared_ptr<pivot::PivotData>
loadNews(const QString &path, const QString &statement = pivotStatement(),
         const pivot::PivotGrain &grain = pivot::PivotGrain::allRows())
{
    QString error;
    std::shared_ptr<pivot::PivotData> data =
        pivot::PivotLoader::load(path, statement, {}, &error, nullptr, grain);
    if (!data)
        qWarning() << error;
    return data;
}

// The pivot statement with the Words column of makeRandomNewsDb, which gives
// the totals other than Count a number to work on.
inline QString statementWithWords()
{
    return pivotStatement().replace(u"Categories.Name AS Category"_s,
                                    u"Categories.Name AS Category, News.Words AS Words"_s);
}

} // namespace qrt::test
