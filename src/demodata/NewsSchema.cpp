#include "demodata/NewsSchema.h"

using namespace Qt::StringLiterals;

namespace qrt::db {

namespace {

// A period of a few days is found by the date's index alone, however long the
// archive: the chart's first drawing reads only the rows it shows. The
// filter panel lists the channels that have news: with the channel's index
// and the engine's statistics of it, that is a step per channel, not a pass
// over News. On SQLite that index is on "Channel + 0", which the panel's
// statement asks for: an index on the column itself would also serve the
// pivot's join of every item, and SQLite would then look up each item by
// its channel, in no order on disk, at three times the cost of reading
// News from end to end.
//
// PostgreSQL cannot tell how few the days are that count News by channel
// and day (the chart's first drawing, the pivot views' load): it takes
// date_trunc('day', pubDate) for as many values as pubDate. Told by the
// statistics of that expression (from version 14), it lets each worker
// process group its share of the rows, which halves the time.
QStringList indexes(Engine engine)
{
    if (engine == Engine::SQLite)
        return {u"CREATE INDEX News_pubDate ON News (pubDate)"_s,
                u"CREATE INDEX News_Channel ON News (Channel + 0)"_s};
    return {u"CREATE INDEX News_pubDate ON News (pubDate)"_s,
            u"CREATE INDEX News_Channel ON News (Channel)"_s,
            u"DO $$ BEGIN IF current_setting('server_version_num')::int >= 140000 THEN "
            "EXECUTE 'CREATE STATISTICS News_Day ON (date_trunc(''day'', pubDate)) FROM News'; "
            "END IF; END $$"_s};
}

QStringList tables(Engine engine, bool keysAfterRows)
{
    if (engine == Engine::SQLite)
        return {
            u"CREATE TABLE Categories (ID INTEGER PRIMARY KEY, Name TEXT NOT NULL)"_s,
            u"CREATE TABLE Providers (ID INTEGER PRIMARY KEY, Provider TEXT NOT NULL)"_s,
            u"CREATE TABLE Channels (ID INTEGER PRIMARY KEY, Channel TEXT NOT NULL, "
            "Provider INTEGER NOT NULL REFERENCES Providers(ID), "
            "Category INTEGER NOT NULL REFERENCES Categories(ID))"_s,
            u"CREATE TABLE News (ID INTEGER PRIMARY KEY, pubDate TEXT NOT NULL, "
            "Channel INTEGER NOT NULL REFERENCES Channels(ID), Title TEXT)"_s,
        };
    if (engine == Engine::PostgreSQL)
        return {
            u"CREATE TABLE Categories (ID integer PRIMARY KEY, Name text NOT NULL)"_s,
            u"CREATE TABLE Providers (ID integer PRIMARY KEY, Provider text NOT NULL)"_s,
            u"CREATE TABLE Channels (ID integer PRIMARY KEY, Channel text NOT NULL, "
            "Provider integer NOT NULL REFERENCES Providers(ID), "
            "Category integer NOT NULL REFERENCES Categories(ID))"_s,
            keysAfterRows
                ? u"CREATE TABLE News (ID bigint NOT NULL, pubDate timestamp NOT NULL, "
                  "Channel integer NOT NULL, Title text)"_s
                : u"CREATE TABLE News (ID bigint PRIMARY KEY, pubDate timestamp NOT NULL, "
                  "Channel integer NOT NULL REFERENCES Channels(ID), Title text)"_s,
        };
    return {};
}

} // namespace

QStringList newsSchema(Engine engine, bool keysAfterRows)
{
    QStringList statements = tables(engine, keysAfterRows);
    if (!statements.isEmpty() && !keysAfterRows)
        statements << indexes(engine);
    return statements;
}

QStringList newsKeys(Engine engine)
{
    if (engine == Engine::SQLite)
        return indexes(engine) + QStringList{u"ANALYZE"_s};
    if (engine != Engine::PostgreSQL)
        return {};
    return QStringList{
               u"ALTER TABLE News ADD PRIMARY KEY (ID)"_s,
               u"ALTER TABLE News ADD FOREIGN KEY (Channel) REFERENCES Channels(ID)"_s,
           } +
           indexes(engine) + QStringList{u"ANALYZE News"_s};
}

const QList<NewsTable> &newsTables()
{
    static const QList<NewsTable> tables = {
        {"Categories", {u"ID"_s, u"Name"_s}},
        {"Providers", {u"ID"_s, u"Provider"_s}},
        {"Channels", {u"ID"_s, u"Channel"_s, u"Provider"_s, u"Category"_s}},
        {"News", {u"ID"_s, u"pubDate"_s, u"Channel"_s, u"Title"_s}},
    };
    return tables;
}

} // namespace qrt::db
