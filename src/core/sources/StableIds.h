#pragma once
// Positive 31-bit IDs for things a reader names by text only (a feed's URL,
// a site's host, a tag). The stored filter names channels, providers and
// categories by ID, so an ID must stay the same from one opening to the
// next while the reader adds and drops feeds: it is a hash of the text, not
// a position. A rare collision moves the later text (in text order) on to
// the next free number.

#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>

namespace qrt::sources {

class StableIds
{
public:
    // IDs the reader gives itself; hashed ones step around them.
    void reserve(qint64 id) { m_used.insert(id); }
    // Gives every text its ID; call once with all texts.
    void assign(QStringList texts);
    qint64 id(const QString &text) const { return m_ids.value(text); }

    static qint64 hashOf(const QString &text);

private:
    QSet<qint64> m_used;
    QHash<QString, qint64> m_ids;
};

} // namespace qrt::sources
