#pragma once
// Newsboat's urls file: one feed a line, its URL and then its tags, a tag
// with blanks in double quotes. A tag "~Title" renames the feed, a tag
// starting with "!" hides it; the first other tag is the feed's category.
// Newsboat keeps none of this in its cache, so the mapping reads the file.

#include <QHash>
#include <QString>

namespace qrt::sources {

class NewsboatUrls
{
public:
    struct Entry
    {
        QString title;    // from "~Title", empty when not renamed
        QString category; // the first plain tag, empty when untagged
    };

    // The file the connection string names, else the one beside the cache,
    // else ~/.newsboat/urls or the XDG config folder's; empty if none.
    static QString locate(const QString &given, const QString &cacheFile);
    static NewsboatUrls read(const QString &path);

    bool isRead() const { return m_read; }
    Entry entry(const QString &url) const { return m_entries.value(url); }

private:
    bool m_read = false;
    QHash<QString, Entry> m_entries;
};

} // namespace qrt::sources
