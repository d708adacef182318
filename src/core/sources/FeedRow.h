#pragma once
// One feed of a reader as the mapping reads it, before it becomes a channel
// with its provider and category.

#include <QString>

namespace qrt::sources {

struct FeedRow
{
    qint64 channelId = 0; // the reader's own number, 0 where it has none
    QString key;          // what its items name it by
    QString title;
    QString siteUrl;
    QString feedUrl;
    qint64 categoryId = 0; // the reader's own number, 0 where it has none
    QString category;      // name; empty: none
};

} // namespace qrt::sources
