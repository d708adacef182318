#pragma once
// Walks a statement's text as an SQL lexer would, giving each word (plain
// or in double quotes, folded to lower case) and each other character
// outside quotes and comments, so that a check on the words of a statement
// is not fooled by a word inside a text or a comment.

#include <QString>
#include <QStringView>

namespace qrt::db {

class SqlScanner
{
public:
    explicit SqlScanner(QStringView text)
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

} // namespace qrt::db
