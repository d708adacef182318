#include "db/Dialect.h"

#include "base/Dates.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace qrt::db {

namespace {

QString quoted(QString text)
{
    return u'\'' + text.replace(u'\'', u"''"_s) + u'\'';
}

QString postgresDate(const QString &text)
{
    if (const auto value = dates::fromText(text))
        return u"TIMESTAMP "_s + quoted(dates::toTimestampText(*value));
    // Not a form we know: let the server judge it and report why.
    return u"CAST("_s + quoted(text) + u" AS timestamp)"_s;
}

} // namespace

QString Dialect::translate(const QString &statement, Engine engine)
{
    if (engine != Engine::SQLite && engine != Engine::PostgreSQL)
        return statement;
    static const QRegularExpression cdate(u"\\bCDate\\s*\\(\\s*\"([^\"]*)\"\\s*\\)"_s,
                                          QRegularExpression::CaseInsensitiveOption);
    QString out;
    out.reserve(statement.size() + 32);
    qsizetype last = 0;
    auto it = cdate.globalMatch(statement);
    while (it.hasNext()) {
        const auto m = it.next();
        out += QStringView(statement).mid(last, m.capturedStart() - last);
        out += engine == Engine::SQLite ? u"CDate("_s + quoted(m.captured(1)) + u')'
                                        : postgresDate(m.captured(1));
        last = m.capturedEnd();
    }
    out += QStringView(statement).mid(last);
    return out;
}

QString Dialect::columnSpelling(const QString &statement, const QString &name)
{
    if (name.isEmpty())
        return name;
    const QString escaped = QRegularExpression::escape(name);
    // An alias ("AS NewsDate") names the column before any other use of the word.
    const QStringList patterns = {u"\\bAS\\s+("_s + escaped + u")\\b"_s,
                                  u"\\b("_s + escaped + u")\\b"_s};
    for (const QString &pattern : patterns) {
        const QRegularExpression word(pattern, QRegularExpression::CaseInsensitiveOption);
        const auto match = word.match(statement);
        if (match.hasMatch())
            return match.captured(1);
    }
    return name;
}

} // namespace qrt::db
