#pragma once
// One feed document under a QXmlStreamReader that never expands an entity:
// a document whose DTD declares entities is refused before its root
// element (so "billion laughs" and external entities cost nothing), and the
// entities an outside DTD would define ("&nbsp;" in RSS 0.91) are read as
// the HTML characters they name. Failures come out as one clear sentence.

#include <QByteArray>
#include <QString>
#include <QXmlStreamReader>

namespace qrt::feeds {

class FeedXml
{
public:
    explicit FeedXml(const QByteArray &data);

    // Moves to the root element; false when there is none or the document
    // is refused.
    bool readRoot();
    // The next child element of the current one; false at its end.
    bool readNextChild() { return m_reader.readNextStartElement(); }
    void skip() { m_reader.skipCurrentElement(); }
    // The text of the current element and its children, up to its end.
    QString readText();

    QStringView name() const { return m_reader.name(); }
    QStringView namespaceUri() const { return m_reader.namespaceUri(); }
    QString attribute(const char *name) const;
    QString attribute(const char *namespaceUri, const char *name) const;

    // Empty while all is well; afterwards why the document cannot be read.
    QString error() const;

private:
    QXmlStreamReader m_reader;
    QString m_refusal;
    bool m_looksLikeXml;
};

} // namespace qrt::feeds
