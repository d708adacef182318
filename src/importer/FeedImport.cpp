#include "importer/FeedImport.h"

#include "feeds/FeedReader.h"
#include "importer/ArchiveWriter.h"

#include <QDir>
#include <QEventLoop>

using namespace Qt::StringLiterals;

namespace qrt::importer {

namespace {

// An item is known by its GUID, else its link, else its title and date.
QString itemKey(const feeds::FeedItem &item)
{
    if (!item.guid.isEmpty())
        return u"guid:"_s + item.guid;
    if (!item.link.isEmpty())
        return u"link:"_s + item.link;
    return u"title:"_s + item.title + u'\n' + item.published.toUTC().toString(Qt::ISODate);
}

// The site a feed is of, the provider: its site link's host, else that of
// the feed's own address; files on this machine are of "localhost".
QString providerOf(const feeds::Feed &feed, const QUrl &address)
{
    const QString site = feed.siteLink.host();
    if (!site.isEmpty())
        return site;
    return address.host().isEmpty() ? u"localhost"_s : address.host();
}

QString channelOf(const feeds::Feed &feed, const QString &listTitle, const QUrl &address)
{
    if (!feed.title.isEmpty())
        return feed.title;
    return listTitle.isEmpty() ? address.toString(QUrl::RemoveUserInfo) : listTitle;
}

} // namespace

QUrl sourceAddress(const QString &source)
{
    if (source.isEmpty())
        return {};
    const QUrl url(source);
    const QString scheme = url.scheme();
    if (scheme == u"http" || scheme == u"https" || scheme == u"file")
        return url;
    return QUrl::fromLocalFile(QDir::current().absoluteFilePath(source));
}

FeedImport::FeedImport(ArchiveWriter &archive, const FeedFetcher::Limits &limits)
    : m_archive(archive)
    , m_limits(limits)
{}

FeedImport::Summary FeedImport::run(const QStringList &sources, const Progress &progress)
{
    m_summary = {};
    m_jobs.clear();
    m_seen.clear();
    m_progress = progress;
    m_firstSeen = QDateTime::currentDateTime();
    QEventLoop loop;
    FeedFetcher fetcher(m_limits, [this, &loop](int id, const FeedFetcher::Answer &answer) {
        answered(id, answer);
        if (--m_pending == 0)
            loop.quit();
    });
    m_fetcher = &fetcher;
    for (const QString &source : sources)
        add({sourceAddress(source), {}, {}, false});
    if (m_pending > 0)
        loop.exec();
    m_fetcher = nullptr;
    return m_summary;
}

void FeedImport::add(const Job &job)
{
    const QString address = job.url.toString();
    if (m_seen.contains(address)) // listed twice, or in two lists
        return;
    m_seen.insert(address);
    const int id = int(m_jobs.size());
    m_jobs << job;
    ++m_pending;
    const ArchiveWriter::Validators known = m_archive.validators(address);
    m_fetcher->fetch(id, {job.url, known.etag, known.lastModified});
}

void FeedImport::answered(int id, const FeedFetcher::Answer &answer)
{
    const Job job = m_jobs.at(id);
    FeedReport report{.address = job.url.toString(QUrl::RemoveUserInfo)};
    if (!answer.error.isEmpty()) {
        report.outcome = FeedReport::Outcome::Failed;
        report.error = answer.error;
    } else if (answer.notModified) {
        report.outcome = FeedReport::Outcome::Unchanged;
    } else {
        report = importFeed(job, answer);
    }
    finish(report);
}

FeedImport::FeedReport FeedImport::importFeed(const Job &job, const FeedFetcher::Answer &answer)
{
    FeedReport report{.address = job.url.toString(QUrl::RemoveUserInfo)};
    QString error;
    const auto document = feeds::readFeedDocument(answer.body, job.url, &error);
    if (document && document->kind == feeds::FeedDocument::Kind::SubscriptionList) {
        if (job.fromList) {
            report.outcome = FeedReport::Outcome::Failed;
            report.error = u"a subscription list where a feed was expected"_s;
            return report;
        }
        report.outcome = FeedReport::Outcome::SubscriptionList;
        report.items = int(document->subscriptions.size());
        for (const feeds::Subscription &subscription : document->subscriptions)
            add({subscription.url, subscription.title, subscription.folder, true});
        return report;
    }
    ArchiveWriter::FeedRecord record;
    if (document) {
        record.address = job.url.toString();
        record.channel = channelOf(document->feed, job.title, job.url);
        record.provider = providerOf(document->feed, job.url);
        record.category = job.fromList && job.folder.isEmpty() ? u"Uncategorized"_s : job.folder;
        record.validators = {answer.etag, answer.lastModified};
        const QDateTime firstSeen = m_firstSeen;
        for (const feeds::FeedItem &item : document->feed.items)
            record.items << ArchiveWriter::Item{
                itemKey(item),
                (item.published.isValid() ? item.published.toLocalTime() : firstSeen)
                    .toString(u"yyyy-MM-dd HH:mm:ss"_s),
                item.title};
        report.channel = record.channel;
        report.items = m_archive.write(record, &error);
    }
    if (!document || report.items < 0) {
        report.outcome = FeedReport::Outcome::Failed;
        report.error = error;
        report.items = 0;
    }
    return report;
}

void FeedImport::finish(const FeedReport &report)
{
    switch (report.outcome) {
    case FeedReport::Outcome::Imported:
        ++m_summary.feeds;
        m_summary.newItems += report.items;
        break;
    case FeedReport::Outcome::Unchanged:
        ++m_summary.feeds;
        ++m_summary.unchanged;
        break;
    case FeedReport::Outcome::Failed:
        ++m_summary.feeds;
        ++m_summary.failed;
        break;
    case FeedReport::Outcome::SubscriptionList:
        break;
    }
    if (m_progress)
        m_progress(report);
}

} // namespace qrt::importer
