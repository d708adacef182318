#include "importer/FeedFetcher.h"

#include <QFile>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace qrt::importer {

namespace {

// Why a reply stopped early, set before it is aborted.
constexpr const char *kStopReason = "qrtStopReason";

QString megabytes(qint64 bytes)
{
    return QString::number(double(bytes) / (1024 * 1024), 'g', 3);
}

} // namespace

FeedFetcher::FeedFetcher(const Limits &limits, Answered answered)
    : m_limits(limits)
    , m_answered(std::move(answered))
{
    m_manager.setRedirectPolicy(QNetworkRequest::NoLessSafeRedirectPolicy);
}

FeedFetcher::~FeedFetcher() = default;

void FeedFetcher::fetch(int id, const Request &request)
{
    m_queue.enqueue({id, request});
    startNext();
}

void FeedFetcher::startNext()
{
    while (m_running < qMax(1, m_limits.parallel) && !m_queue.isEmpty()) {
        const auto [id, request] = m_queue.dequeue();
        ++m_running;
        const QString scheme = request.url.scheme();
        if (scheme == u"http" || scheme == u"https") {
            startHttp(id, request);
        } else {
            // Answered from the event loop like a network fetch, so the
            // caller never sees its callback inside its own fetch().
            QTimer::singleShot(0, &m_manager, [this, id, url = request.url] {
                if (url.isLocalFile())
                    readFile(id, url);
                else
                    done(id, {.error = u"not an http, https or file address"_s});
            });
        }
    }
}

void FeedFetcher::startHttp(int id, const Request &request)
{
    QNetworkRequest http(request.url);
    http.setMaximumRedirectsAllowed(m_limits.maxRedirects);
    http.setHeader(QNetworkRequest::UserAgentHeader,
                   QByteArray("zorvane-stats/" QRT_VERSION_STRING " (feed import)"));
    http.setRawHeader("Accept", "application/rss+xml, application/atom+xml, "
                                "application/rdf+xml, application/xml;q=0.9, text/xml;q=0.9, "
                                "*/*;q=0.5");
    if (!request.etag.isEmpty())
        http.setRawHeader("If-None-Match", request.etag.toLatin1());
    if (!request.lastModified.isEmpty())
        http.setRawHeader("If-Modified-Since", request.lastModified.toLatin1());
    QNetworkReply *reply = m_manager.get(http);
    auto stop = [reply](const QString &why) {
        if (reply->property(kStopReason).isNull())
            reply->setProperty(kStopReason, why);
        reply->abort();
    };
    QTimer::singleShot(m_limits.timeoutMs, reply, [stop, this] {
        stop(u"no complete answer within %1 s"_s.arg(m_limits.timeoutMs / 1000.0));
    });
    QObject::connect(
        reply, &QNetworkReply::downloadProgress, reply,
        [stop, this](qint64 received, qint64 total) {
            if (received > m_limits.maxBytes || total > m_limits.maxBytes)
                stop(u"the answer is larger than %1 MiB"_s.arg(megabytes(m_limits.maxBytes)));
        });
    QObject::connect(reply, &QNetworkReply::finished, reply, [this, id, reply] {
        reply->deleteLater();
        done(id, answerOf(reply));
    });
}

FeedFetcher::Answer FeedFetcher::answerOf(QNetworkReply *reply) const
{
    Answer answer;
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (const QVariant why = reply->property(kStopReason); !why.isNull()) {
        answer.error = why.toString();
    } else if (status == 304) {
        answer.notModified = true;
    } else if (reply->error() == QNetworkReply::TooManyRedirectsError) {
        answer.error = u"more than %1 redirects"_s.arg(m_limits.maxRedirects);
    } else if (reply->error() == QNetworkReply::InsecureRedirectError) {
        answer.error = u"a redirect from https to http, not followed"_s;
    } else if (reply->error() != QNetworkReply::NoError) {
        const QString reason =
            reply->attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString();
        answer.error = status ? u"HTTP %1 %2"_s.arg(status).arg(reason) : reply->errorString();
    } else {
        answer.body = reply->readAll();
        answer.etag = QString::fromLatin1(reply->rawHeader("ETag"));
        answer.lastModified = QString::fromLatin1(reply->rawHeader("Last-Modified"));
    }
    return answer;
}

void FeedFetcher::readFile(int id, const QUrl &url)
{
    QFile file(url.toLocalFile());
    Answer answer;
    if (!file.open(QIODevice::ReadOnly))
        answer.error = file.errorString();
    else if (file.size() > m_limits.maxBytes)
        answer.error = u"the file is larger than %1 MiB"_s.arg(megabytes(m_limits.maxBytes));
    else
        answer.body = file.read(m_limits.maxBytes + 1);
    if (answer.error.isEmpty() && answer.body.size() > m_limits.maxBytes) // a pipe or a device
        answer = {.error = u"the file is larger than %1 MiB"_s.arg(megabytes(m_limits.maxBytes))};
    done(id, answer);
}

void FeedFetcher::done(int id, const Answer &answer)
{
    --m_running;
    m_answered(id, answer);
    startNext();
}

} // namespace qrt::importer
