#pragma once
// One feed reader's schema: the tables and columns it needs, the statement
// of its feeds, and where its items come from. The rest (IDs, hosts, the
// common table expressions) is the same for every reader; SourceView does
// it. Each reader is one small class beside this one.

#include "sources/FeedRow.h"
#include "sources/LocalTime.h"

#include <QString>
#include <QStringList>

#include <vector>

namespace qrt::sources {

struct SourceContext;

struct TableNeed
{
    QString table; // as SourceContext::tableName takes it
    QStringList columns;
};

// The items that count, as parts of a statement. The FROM text may join
// "qrt_feeds" (columns feed_key, channel_id) to turn a feed key into the
// channel's ID.
struct ItemSource
{
    QString from;
    QString where; // never empty: "1 = 1" where every row counts
    QString id;
    QString channel;
    QString title;
    QString date;
    LocalTime::Kind dateKind = LocalTime::Kind::UnixSeconds;
};

class Reader
{
public:
    virtual ~Reader() = default;

    virtual QString name() const = 0;  // as Reader= gives it
    virtual QString title() const = 0; // for messages
    virtual bool runsOn(db::Engine engine) const = 0;
    // How much the tables look like this reader's: 0 not at all.
    virtual int likeness(const SourceContext &context) const;
    // Chooses the user and the tables' prefix; false with *error.
    virtual bool prepare(SourceContext &context, QString *error) const;
    virtual std::vector<TableNeed> needs() const = 0;
    // Columns: channel ID or NULL, key, title, site URL, feed URL, category
    // ID or NULL, category name.
    virtual QString feedsStatement(const SourceContext &context) const = 0;
    // Says what the reader keeps outside the database (Newsboat's urls).
    virtual void completeFeeds(std::vector<FeedRow> &feeds, SourceContext &context,
                               QStringList *notices) const;
    virtual ItemSource items(const SourceContext &context) const = 0;

protected:
    // The one of names that User= names, or the only one; -1 with *error.
    static int pickUser(const QStringList &names, const QString &wanted, QString *error);
    // Sets the context's user from a statement of (ID, name) rows.
    static bool chooseUser(SourceContext &context, const QString &usersStatement, QString *error);
};

} // namespace qrt::sources
