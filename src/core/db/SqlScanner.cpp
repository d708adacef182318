#include "db/SqlScanner.h"

namespace qrt::db {

namespace {

bool isWordChar(QChar c)
{
    return c.isLetterOrNumber() || c == u'_' || c == u'$';
}

} // namespace

bool SqlScanner::skipBlanksAndComments()
{
    while (m_pos < m_text.size()) {
        const QChar c = m_text[m_pos];
        if (c.isSpace()) {
            ++m_pos;
        } else if (m_text.mid(m_pos).startsWith(u"--")) {
            const qsizetype end = m_text.indexOf(u'\n', m_pos);
            m_pos = end < 0 ? m_text.size() : end + 1;
        } else if (m_text.mid(m_pos).startsWith(u"/*")) {
            const qsizetype end = m_text.indexOf(u"*/", m_pos + 2);
            if (end < 0) {
                m_unclosed = true;
                m_pos = m_text.size();
                return false;
            }
            m_pos = end + 2;
        } else {
            return true;
        }
    }
    return false;
}

// A text in quotes, with a doubled quote standing for one.
QString SqlScanner::quoted(QChar quote)
{
    QString out;
    ++m_pos;
    while (m_pos < m_text.size()) {
        const QChar c = m_text[m_pos++];
        if (c != quote) {
            out += c;
        } else if (m_pos < m_text.size() && m_text[m_pos] == quote) {
            out += c;
            ++m_pos;
        } else {
            return out;
        }
    }
    m_unclosed = true;
    return out;
}

// PostgreSQL's $tag$ ... $tag$ quotes.
bool SqlScanner::dollarQuote()
{
    qsizetype end = m_pos + 1;
    while (end < m_text.size() && (m_text[end].isLetterOrNumber() || m_text[end] == u'_'))
        ++end;
    if (end >= m_text.size() || m_text[end] != u'$')
        return false;
    const QStringView tag = m_text.mid(m_pos, end - m_pos + 1);
    const qsizetype close = m_text.indexOf(tag, end + 1);
    m_unclosed = close < 0;
    m_pos = close < 0 ? m_text.size() : close + tag.size();
    return true;
}

QString SqlScanner::next()
{
    while (skipBlanksAndComments()) {
        const QChar c = m_text[m_pos];
        if (c == u'\'') {
            quoted(c);
            continue;
        }
        if (c == u'"')
            return quoted(c).toLower();
        if (c == u'$' && dollarQuote())
            continue;
        if (isWordChar(c)) {
            const qsizetype start = m_pos;
            while (m_pos < m_text.size() && isWordChar(m_text[m_pos]))
                ++m_pos;
            return m_text.mid(start, m_pos - start).toString().toLower();
        }
        ++m_pos;
        return QString(c);
    }
    return {};
}

} // namespace qrt::db
