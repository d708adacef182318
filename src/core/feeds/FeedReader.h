#pragma once
// Reads a news feed (RSS 0.9x and 2.0, RSS 1.0 as RDF, Atom 1.0) or an OPML
// subscription list from its bytes. It reads only what it is given: no
// network, no file, no DTD, no entity expansion. A document that is not
// XML, not well formed, truncated or of another kind gives no result at
// all, so nothing of a broken feed is taken for news.

#include "feeds/Feed.h"

#include <QByteArray>
#include <QUrl>

#include <optional>

namespace qrt::feeds {

// `address` is where the document came from: relative links and the
// subscriptions of a list resolve against it. On failure *error says why.
std::optional<FeedDocument> readFeedDocument(const QByteArray &data, const QUrl &address,
                                             QString *error);

} // namespace qrt::feeds
