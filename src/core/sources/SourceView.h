#pragma once
// How the component sees an open database: as it is, when it holds our four
// tables, or, for a feed reader's database, through common table
// expressions that show the reader's tables as Providers, Categories,
// Channels and News. They are put in front of every statement, so nothing
// is ever created in the reader's database and our statements, the stored
// ORDER and filter included, run unchanged on top.

#include "db/ConnectionString.h"

#include <QSqlDatabase>
#include <QString>

namespace qrt::sources {

class SourceView
{
public:
    // Looks at the database once, as a connection opens. A reader's schema
    // the mapping does not fit gives error(), naming what it lacks.
    static SourceView open(const QSqlDatabase &db, db::Engine engine,
                           const db::ConnectionString &options);

    // The statement as the engine is to run it.
    QString apply(const QString &statement) const;

    bool isReader() const { return !m_prefix.isEmpty(); }
    const QString &readerTitle() const { return m_readerTitle; }
    const QString &error() const { return m_error; }
    // What the user should know, such as items left out for want of a date.
    const QString &notice() const { return m_notice; }

private:
    QString m_prefix; // "Providers(...) AS (...), ..." without WITH
    QString m_readerTitle;
    QString m_error;
    QString m_notice;
    bool m_sqlite = false;
};

} // namespace qrt::sources
