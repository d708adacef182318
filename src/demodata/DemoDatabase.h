#pragma once
// Makes a news database with realistic, deterministic content: a few dozen
// providers, 150 channels of very unequal activity (a few with no news at
// all), ten categories, and items over several years with a daily and a
// weekly rhythm and a slow growth. The same options give the same database.

#include <QDate>
#include <QString>

#include <functional>

namespace qrt::db {

class DemoDatabase
{
public:
    struct Options
    {
        qint64 items = 200000;
        quint64 seed = 1;
        QDate until = QDate::currentDate(); // last day with news
        int days = 4 * 365;                 // span ending on `until`
        bool replace = false;               // overwrite an existing database
    };
    // Called now and then with the items written so far; false cancels.
    using Progress = std::function<bool(qint64 done, qint64 total)>;

    // target: a SQLite file path or any PostgreSQL connection string.
    static bool create(const QString &target, const Options &options, QString *error,
                       const Progress &progress = {});
};

} // namespace qrt::db
