#pragma once
// The subscriptions of an OPML list: every outline with an xmlUrl, in the
// folder of the nearest outline around it that has none.

#include "feeds/Feed.h"

namespace qrt::feeds {

class FeedXml;

// Reads the body of the list whose root element `xml` stands on.
QList<Subscription> readOpml(FeedXml &xml, const QUrl &address);

} // namespace qrt::feeds
