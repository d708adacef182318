#pragma once
// Small news databases for the chart's tests: the four tables with a fixed
// catalogue of categories, providers and channels, and news items given as
// "yyyy-MM-dd HH:mm:ss|channel" (a trailing "|null" gives the item no ID,
// which the statement's Count skips). News has no key, so an item may lack
// an ID, as a host's table may allow.

#include "TestDatabases.h"

#include <QStringList>

namespace qrt::test {

// A filter as the panel writes it with every box of the three lists ticked.
inline const QString kAllTicked = QStringLiteral(
    "Categories.ID  not in (0) AND Providers.ID  not in (0) AND Channels.ID  not in (0) ");

// Providers 1 and 2 with two channels each, in two categories; provider 0
// ("Zero Desk", channel 9) only where a test asks for an ID of 0.
inline QStringList newsSchema(bool postgres, bool withProviderZero = false)
{
    QStringList sql = qrt::test::newsTables(postgres);
    sql << QStringList{
        QStringLiteral("INSERT INTO Categories VALUES (1, 'World'), (2, 'Sports')"),
        QStringLiteral("INSERT INTO Providers VALUES (1, 'Alpha Wire'), (2, 'Beta News')"),
        QStringLiteral("INSERT INTO Channels VALUES (1, 'Alpha World', 1, 1), (2, 'Alpha "
                       "Sports', 1, 2), (3, 'Beta World', 2, 1), (4, 'Beta Sports', 2, 2)"),
    };
    if (withProviderZero) {
        sql << QStringLiteral("INSERT INTO Providers VALUES (0, 'Zero Desk')")
            << QStringLiteral("INSERT INTO Channels VALUES (9, 'Zero Channel', 0, 1)");
    }
    return sql;
}

inline QStringList newsInserts(const QStringList &items, qint64 firstId = 1)
{
    QStringList sql;
    QString values;
    qint64 id = firstId;
    for (const QString &text : items) {
        const QStringList parts = text.split(u'|'); // date, channel, perhaps "null"
        if (!values.isEmpty())
            values += QLatin1Char(',');
        const bool hasId = parts.value(2) != QLatin1StringView("null");
        values += QStringLiteral("(%1, '%2', %3, 'item')")
                      .arg(hasId ? QString::number(id) : QStringLiteral("NULL"), parts.value(0),
                           parts.value(1, QStringLiteral("1")));
        ++id;
        if (values.size() > 200000) {
            sql << QStringLiteral("INSERT INTO News VALUES ") + values;
            values.clear();
        }
    }
    if (!values.isEmpty())
        sql << QStringLiteral("INSERT INTO News VALUES ") + values;
    return sql;
}

// A new SQLite file at path holding the items; false on any failure.
inline bool makeSqliteNews(const QString &path, const QStringList &items,
                           bool withProviderZero = false)
{
    return execAll(path, newsSchema(false, withProviderZero) + newsInserts(items));
}

} // namespace qrt::test
