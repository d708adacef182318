// Feed and subscription-list documents of any bytes, as a server or a file
// may send them. The reader gives a document or a reason, never both; no
// text it gives is longer than the bytes it came from, so nothing was
// expanded; and the same bytes read the same again.

#include "FuzzSupport.h"
#include "feeds/FeedReader.h"

#include <QUrl>

using qrt::fuzz::check;

namespace {

qsizetype textLength(const qrt::feeds::FeedDocument &document)
{
    qsizetype length = document.feed.title.size();
    for (const qrt::feeds::FeedItem &item : document.feed.items)
        length += item.title.size() + item.guid.size();
    for (const qrt::feeds::Subscription &subscription : document.subscriptions)
        length += subscription.title.size() + subscription.folder.size();
    return length;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    const QUrl address(QStringLiteral("http://127.0.0.1/feed.xml"));
    QString error;
    const auto document = qrt::feeds::readFeedDocument(bytes, address, &error);
    check(document.has_value() == error.isEmpty(), "a document or a reason, never both");
    if (!document)
        return 0;
    check(textLength(*document) <= bytes.size(), "no text longer than its bytes");
    QString again;
    const auto second = qrt::feeds::readFeedDocument(bytes, address, &again);
    check(second && second->feed.items.size() == document->feed.items.size() &&
              textLength(*second) == textLength(*document) &&
              second->subscriptions.size() == document->subscriptions.size(),
          "the same bytes read the same");
    for (const qrt::feeds::FeedItem &item : document->feed.items)
        check(!item.published.isValid() || item.published.timeSpec() == Qt::UTC,
              "dates are instants");
    return 0;
}
