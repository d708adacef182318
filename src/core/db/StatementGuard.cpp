#include "db/StatementGuard.h"

#include <QSet>

using namespace Qt::StringLiterals;

namespace qrt::db::StatementGuard {

namespace {

// Functions with effects beyond the query, on PostgreSQL and SQLite.
const QSet<QString> &forbiddenNames()
{
    static const QSet<QString> names = {
        u"pg_terminate_backend"_s,
        u"pg_cancel_backend"_s,
        u"pg_reload_conf"_s,
        u"pg_rotate_logfile"_s,
        u"pg_promote"_s,
        u"pg_switch_wal"_s,
        u"pg_create_restore_point"_s,
        u"pg_backup_start"_s,
        u"pg_backup_stop"_s,
        u"pg_start_backup"_s,
        u"pg_stop_backup"_s,
        u"set_config"_s,
        u"lo_import"_s,
        u"lo_export"_s,
        u"lo_unlink"_s,
        u"lo_create"_s,
        u"lo_creat"_s,
        u"lo_from_bytea"_s,
        u"lo_put"_s,
        u"lo_truncate"_s,
        u"lowrite"_s,
        u"dblink"_s,
        u"dblink_exec"_s,
        u"dblink_connect"_s,
        u"dblink_connect_u"_s,
        u"dblink_send_query"_s,
        u"dblink_open"_s,
        u"pg_read_file"_s,
        u"pg_read_binary_file"_s,
        u"pg_ls_dir"_s,
        u"pg_stat_file"_s,
        u"pg_file_write"_s,
        u"pg_notify"_s,
        u"pg_advisory_lock"_s,
        u"pg_advisory_xact_lock"_s,
        u"pg_sleep"_s,
        u"pg_sleep_for"_s,
        u"pg_sleep_until"_s,
        u"txid_current"_s,
        u"pg_current_xact_id"_s,
        u"nextval"_s,
        u"setval"_s,
        u"load_extension"_s,
        u"readfile"_s,
        u"writefile"_s,
        u"fts3_tokenizer"_s,
        u"edit"_s,
        u"into"_s,
    };
    return names;
}

const QSet<QString> &queryKeywords()
{
    static const QSet<QString> words = {u"select"_s, u"with"_s, u"values"_s, u"table"_s};
    return words;
}

bool isWordChar(QChar c)
{
    return c.isLetterOrNumber() || c == u'_' || c == u'$';
}

// Walks the text as an SQL lexer would, giving each word (plain or in
// double quotes, folded to lower case) and each ';' outside quotes and
// comments.
class Scanner
{
public:
    explicit Scanner(QStringView text)
        : m_text(text)
    {}

    // The next token: a word, ";", "(" or another character; empty at the end.
    QString next();
    bool unclosed() const { return m_unclosed; }

private:
    bool skipBlanksAndComments();
    QString quoted(QChar quote);
    bool dollarQuote();

    QStringView m_text;
    qsizetype m_pos = 0;
    bool m_unclosed = false;
};

bool Scanner::skipBlanksAndComments()
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
QString Scanner::quoted(QChar quote)
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
bool Scanner::dollarQuote()
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

QString Scanner::next()
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

} // namespace

QString refusal(QStringView statement)
{
    Scanner scanner(statement);
    const QString first = scanner.next();
    if (first.isEmpty())
        return u"the statement is empty"_s;
    if (first != u"("_s && !queryKeywords().contains(first))
        return u"only a query may run: the statement begins with \"%1\""_s.arg(first);
    bool ended = false;
    QString previous;
    for (QString token = first; !token.isEmpty(); previous = token, token = scanner.next()) {
        // U&"..." spells a name with escapes, past the check below.
        if (token == u"&"_s && previous == u"u"_s)
            return u"names with escapes may not be used in a query"_s;
        if (token == u";"_s) {
            ended = true;
            continue;
        }
        if (ended)
            return u"more than one statement"_s;
        if (forbiddenNames().contains(token))
            return u"\"%1\" may not be used in a query"_s.arg(token);
    }
    if (scanner.unclosed())
        return u"a quote or comment is not closed"_s;
    return {};
}

} // namespace qrt::db::StatementGuard
