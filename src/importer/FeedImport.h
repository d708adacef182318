#pragma once
// One import run: the sources given (subscription lists, feed files, feed
// addresses) fetched a few at once, each feed read and written to the
// archive in a transaction of its own as it comes in. A feed that fails,
// to come or to read, is reported and leaves the archive as it was; the
// others go on.

#include "importer/FeedFetcher.h"

#include <QDateTime>
#include <QSet>
#include <QStringList>

#include <functional>

namespace qrt::importer {

class ArchiveWriter;

class FeedImport
{
public:
    struct FeedReport
    {
        enum class Outcome { Imported, Unchanged, Failed, SubscriptionList };
        Outcome outcome = Outcome::Imported;
        QString address;
        QString channel; // the feed's title, once it has been read
        int items = 0;   // new items; feeds in a subscription list
        QString error;
    };
    struct Summary
    {
        int feeds = 0;
        int newItems = 0;
        int unchanged = 0;
        int failed = 0;
    };
    using Progress = std::function<void(const FeedReport &report)>;

    FeedImport(ArchiveWriter &archive, const FeedFetcher::Limits &limits);

    // Runs an event loop until every feed is in or has failed.
    Summary run(const QStringList &sources, const Progress &progress);

private:
    struct Job
    {
        QUrl url;
        QString title;  // from the subscription list
        QString folder; // the list's folder; empty from the command line
        bool fromList = false;
    };
    void add(const Job &job);
    void answered(int id, const FeedFetcher::Answer &answer);
    FeedReport importFeed(const Job &job, const FeedFetcher::Answer &answer);
    void finish(const FeedReport &report);

    ArchiveWriter &m_archive;
    FeedFetcher::Limits m_limits;
    QList<Job> m_jobs;
    QSet<QString> m_seen;
    int m_pending = 0;
    QDateTime m_firstSeen;
    Summary m_summary;
    Progress m_progress;
    FeedFetcher *m_fetcher = nullptr;
};

// The address a command-line source names: an http, https or file URL as it
// is, anything else as a file path. Empty for an empty text.
QUrl sourceAddress(const QString &source);

} // namespace qrt::importer
