#include "script/ScriptLexer.h"

#include "script/ScriptError.h"

#include <cmath>

using namespace Qt::StringLiterals;

namespace qrt::script {

namespace {

using Token = ScriptLexer::Token;

bool isNameStart(QChar c)
{
    return c.isLetter();
}

bool isNamePart(QChar c)
{
    return c.isLetterOrNumber() || c == u'_';
}

bool isLineBreak(QChar c)
{
    return c == u'\n' || c == u'\r';
}

class Cutter
{
public:
    explicit Cutter(QStringView text)
        : m_text(text)
    {}

    std::vector<Token> run()
    {
        while (m_pos < m_text.size()) {
            const QChar c = m_text[m_pos];
            if (c == u' ' || c == u'\t')
                ++m_pos;
            else if (isLineBreak(c))
                lineBreak(Token::Kind::LineEnd);
            else if (c == u'\'')
                skipToLineEnd();
            else if (c == u'_' && restOfLineIsBlank(m_pos + 1))
                continuation();
            else if (isNameStart(c))
                name();
            else if (c.isDigit())
                number();
            else if (c == u'"')
                string();
            else
                symbol(c);
        }
        m_tokens.push_back({Token::Kind::LineEnd, {}, 0, m_line});
        m_tokens.push_back({Token::Kind::End, {}, 0, m_line});
        return std::move(m_tokens);
    }

private:
    // CR LF, LF and a lone CR each end one line, as the page counts them.
    void lineBreak(Token::Kind kind)
    {
        if (kind == Token::Kind::LineEnd)
            m_tokens.push_back({kind, {}, 0, m_line});
        if (m_text[m_pos] == u'\r' && m_pos + 1 < m_text.size() && m_text[m_pos + 1] == u'\n')
            ++m_pos;
        ++m_pos;
        ++m_line;
    }

    void skipToLineEnd()
    {
        while (m_pos < m_text.size() && !isLineBreak(m_text[m_pos]))
            ++m_pos;
    }

    bool restOfLineIsBlank(qsizetype from) const
    {
        for (qsizetype i = from; i < m_text.size() && !isLineBreak(m_text[i]); ++i)
            if (m_text[i] != u' ' && m_text[i] != u'\t')
                return false;
        return true;
    }

    void continuation()
    {
        skipToLineEnd();
        if (m_pos < m_text.size())
            lineBreak(Token::Kind::End); // the break itself is no token
    }

    void name()
    {
        const qsizetype start = m_pos;
        while (m_pos < m_text.size() && isNamePart(m_text[m_pos]))
            ++m_pos;
        m_tokens.push_back(
            {Token::Kind::Name, m_text.sliced(start, m_pos - start).toString(), 0, m_line});
    }

    void number()
    {
        const qsizetype start = m_pos;
        skipDigits();
        if (m_pos + 1 < m_text.size() && m_text[m_pos] == u'.' && m_text[m_pos + 1].isDigit()) {
            ++m_pos;
            skipDigits();
        }
        if (m_pos < m_text.size() && (m_text[m_pos] == u'e' || m_text[m_pos] == u'E')) {
            qsizetype p = m_pos + 1;
            if (p < m_text.size() && (m_text[p] == u'+' || m_text[p] == u'-'))
                ++p;
            if (p < m_text.size() && m_text[p].isDigit()) {
                m_pos = p;
                skipDigits();
            }
        }
        const QStringView digits = m_text.sliced(start, m_pos - start);
        bool ok = false;
        const double value = digits.toDouble(&ok);
        if (!ok || !std::isfinite(value))
            fail(u"the number %1 is too large"_s.arg(digits));
        m_tokens.push_back({Token::Kind::Number, digits.toString(), value, m_line});
    }

    void skipDigits()
    {
        while (m_pos < m_text.size() && m_text[m_pos].isDigit())
            ++m_pos;
    }

    void string()
    {
        QString content;
        ++m_pos;
        for (;;) {
            if (m_pos >= m_text.size() || isLineBreak(m_text[m_pos]))
                fail(u"unterminated string"_s);
            if (m_text[m_pos] == u'"') {
                if (m_pos + 1 < m_text.size() && m_text[m_pos + 1] == u'"') {
                    content += u'"';
                    m_pos += 2;
                    continue;
                }
                ++m_pos;
                break;
            }
            content += m_text[m_pos++];
        }
        m_tokens.push_back({Token::Kind::String, std::move(content), 0, m_line});
    }

    void symbol(QChar c)
    {
        static constexpr QStringView twoCharSymbols[] = {u"<>"};
        for (QStringView two : twoCharSymbols) {
            if (m_text.sliced(m_pos).startsWith(two)) {
                m_tokens.push_back({Token::Kind::Symbol, two.toString(), 0, m_line});
                m_pos += two.size();
                return;
            }
        }
        if (!QStringView(u"=&(),.-").contains(c))
            fail(u"unexpected character '%1'"_s.arg(c));
        m_tokens.push_back({Token::Kind::Symbol, QString(c), 0, m_line});
        ++m_pos;
    }

    [[noreturn]] void fail(const QString &message) const { throw ScriptError(message, m_line); }

    QStringView m_text;
    qsizetype m_pos = 0;
    int m_line = 1;
    std::vector<Token> m_tokens;
};

} // namespace

std::vector<Token> ScriptLexer::tokens(QStringView text)
{
    return Cutter(text).run();
}

} // namespace qrt::script
