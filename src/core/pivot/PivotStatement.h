#pragma once
// The statement both pivot views load: every news item with its provider,
// channel, title, publication time and category. Its column aliases are the
// field sets every stored pivot layout names.

#include <QString>

namespace qrt::pivot {

inline QString pivotStatement()
{
    return QStringLiteral(
        "SELECT Providers.Provider, Channels.Channel, News.Title AS News, News.pubDate as "
        "NewsDate, Categories.Name AS Category FROM Categories INNER JOIN (Providers INNER JOIN "
        "(Channels INNER JOIN News ON Channels.ID = News.Channel) ON Providers.ID = "
        "Channels.Provider) ON Categories.ID = Channels.Category; ");
}

} // namespace qrt::pivot
