#include "feeds/FeedXml.h"

#include "feeds/HtmlEntities.h"

using namespace Qt::StringLiterals;

namespace qrt::feeds {

namespace {

// XML starts with "<" after white space and a byte order mark; UTF-16 and
// UTF-32 documents start with their mark or a zero byte.
bool looksLikeXml(const QByteArray &data)
{
    if (data.startsWith("\xFF\xFE") || data.startsWith("\xFE\xFF") || data.startsWith('\0'))
        return true;
    const QByteArray rest = data.startsWith("\xEF\xBB\xBF") ? data.mid(3) : data;
    return rest.trimmed().startsWith('<');
}

} // namespace

FeedXml::FeedXml(const QByteArray &data)
    : m_reader(data)
    , m_looksLikeXml(looksLikeXml(data))
{
    // Nothing declared is ever expanded (see readRoot); this is a second
    // wall should a declaration get by.
    m_reader.setEntityExpansionLimit(0);
}

bool FeedXml::readRoot()
{
    if (!m_looksLikeXml) {
        m_refusal = u"not an XML document"_s;
        return false;
    }
    while (!m_reader.atEnd()) {
        const auto token = m_reader.readNext();
        if (token == QXmlStreamReader::DTD &&
            (!m_reader.entityDeclarations().isEmpty() || m_reader.text().contains(u"<!ENTITY"))) {
            m_refusal = u"the document declares XML entities, which are never expanded"_s;
            return false;
        }
        if (token == QXmlStreamReader::StartElement)
            return true;
    }
    if (!m_reader.hasError())
        m_refusal = u"the document has no element"_s;
    return false;
}

QString FeedXml::readText()
{
    QString text;
    for (int depth = 1; depth > 0 && !m_reader.atEnd();) {
        switch (m_reader.readNext()) {
        case QXmlStreamReader::Characters:
            text += m_reader.text();
            break;
        case QXmlStreamReader::EntityReference:
            if (const char32_t code = htmlEntity(m_reader.name()))
                text += QString::fromUcs4(&code, 1);
            break;
        case QXmlStreamReader::StartElement:
            ++depth;
            break;
        case QXmlStreamReader::EndElement:
            --depth;
            break;
        default:
            break;
        }
    }
    return text;
}

QString FeedXml::attribute(const char *name) const
{
    return m_reader.attributes().value(QLatin1StringView(name)).toString();
}

QString FeedXml::attribute(const char *namespaceUri, const char *name) const
{
    return m_reader.attributes()
        .value(QLatin1StringView(namespaceUri), QLatin1StringView(name))
        .toString();
}

QString FeedXml::error() const
{
    if (!m_refusal.isEmpty())
        return m_refusal;
    switch (m_reader.error()) {
    case QXmlStreamReader::NoError:
        return {};
    case QXmlStreamReader::PrematureEndOfDocumentError:
        return u"the document ends early, at line %1: truncated"_s.arg(m_reader.lineNumber());
    default:
        return u"not well-formed XML at line %1, column %2: %3"_s.arg(m_reader.lineNumber())
            .arg(m_reader.columnNumber())
            .arg(m_reader.errorString());
    }
}

} // namespace qrt::feeds
