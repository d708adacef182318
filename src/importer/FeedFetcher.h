#pragma once
// Fetches feed documents over HTTP(S) or from file:// addresses, a few at a
// time, each within bounds: redirects up to a limit (never from https down
// to http), a deadline for the whole answer, a largest size. Over HTTP it
// asks with the validators of the last answer, so an unchanged feed costs
// one short "304 Not Modified".

#include <QByteArray>
#include <QNetworkAccessManager>
#include <QQueue>
#include <QString>
#include <QUrl>

#include <functional>

class QNetworkReply;

namespace qrt::importer {

class FeedFetcher
{
public:
    struct Limits
    {
        int parallel = 6;
        int timeoutMs = 30000;              // for the whole answer, redirects included
        qint64 maxBytes = 16 * 1024 * 1024; // of one answer
        int maxRedirects = 5;
    };
    struct Request
    {
        QUrl url;
        QString etag;
        QString lastModified;
    };
    struct Answer
    {
        QByteArray body;
        QString etag;
        QString lastModified;
        bool notModified = false;
        QString error; // empty when the body came
    };
    using Answered = std::function<void(int id, const Answer &answer)>;

    FeedFetcher(const Limits &limits, Answered answered);
    ~FeedFetcher();
    FeedFetcher(const FeedFetcher &) = delete;
    FeedFetcher &operator=(const FeedFetcher &) = delete;

    // Queues a fetch; `answered` is called once for it, from the event loop.
    void fetch(int id, const Request &request);

private:
    void startNext();
    void startHttp(int id, const Request &request);
    void readFile(int id, const QUrl &url);
    Answer answerOf(QNetworkReply *reply) const;
    void done(int id, const Answer &answer);

    Limits m_limits;
    Answered m_answered;
    QNetworkAccessManager m_manager;
    QQueue<std::pair<int, Request>> m_queue;
    int m_running = 0;
};

} // namespace qrt::importer
