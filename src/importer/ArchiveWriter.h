#pragma once
// The news archive the import writes: a database of this program's own
// schema, created on first use, and never any other. Beside the four news
// tables it keeps two of its own: each feed's address with its channel and
// HTTP validators, and the keys of the items already stored, so importing
// again adds only what is new and keeps every ID.
//
// Each feed is written in one transaction: a process killed at any moment
// leaves the archive with every feed before it whole and nothing of the
// one it was writing.

#include "db/Connection.h"

#include <QList>
#include <QString>

namespace qrt::importer {

class ArchiveWriter
{
public:
    // What the archive remembers of a feed's last answer over HTTP.
    struct Validators
    {
        QString etag;
        QString lastModified;
    };

    struct Item
    {
        QString key;     // what tells it from the feed's other items
        QString pubDate; // "yyyy-MM-dd HH:mm:ss", local time
        QString title;
    };

    struct FeedRecord
    {
        QString address; // the feed's URL: its identity in the archive
        QString channel;
        QString provider;
        QString category; // empty: "Uncategorized" for a new channel, else unchanged
        Validators validators;
        QList<Item> items;
    };

    ArchiveWriter() = default;
    ~ArchiveWriter();
    ArchiveWriter(const ArchiveWriter &) = delete;
    ArchiveWriter &operator=(const ArchiveWriter &) = delete;

    // target: a SQLite file path or a PostgreSQL connection string. A new
    // or empty database gets the schema; one with other tables is refused.
    bool open(const QString &target, QString *error);

    Validators validators(const QString &address) const;

    // The number of items added, or -1 with the reason in *error (and
    // nothing of the feed written).
    int write(const FeedRecord &feed, QString *error);

private:
    bool createTables(const QStringList &existing, QString *error);
    bool exec(const QString &sql, QString *error);
    int idOf(const QString &table, const QString &column, const QString &name, QString *error);
    int channelOf(const FeedRecord &feed, QString *error);
    int writeItems(int channel, const QList<Item> &items, QString *error);

    db::Connection m_connection;
    bool m_logged = false; // switched to a write-ahead log
};

} // namespace qrt::importer
