#pragma once
// A run-time error of the page script: what went wrong, and the page line of
// the statement it stopped at once the interpreter knows it (0 before). The
// objects a script calls raise it for a name or value they refuse; the
// interpreter raises it for the script's own mistakes and for its limits.

#include <QByteArray>
#include <QString>

#include <exception>

namespace qrt::script {

class ScriptError : public std::exception
{
public:
    explicit ScriptError(QString message, int line = 0);

    const QString &message() const { return m_message; }
    int line() const { return m_line; }
    void setLine(int line) { m_line = line; }

    const char *what() const noexcept override { return m_what.constData(); }

private:
    QString m_message;
    int m_line;
    QByteArray m_what;
};

} // namespace qrt::script
