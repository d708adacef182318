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

QString dayText(dates::Date day)
{
    return quoted(dates::toTimestampText(day).left(10));
}

// On SQLite a stored date is text, and text sorts as the dates only within
// one form: "2005-01-02T00:00:00" and "2005-01-02 00:00:00.000" sort after
// CDate's "2005-01-02 00:00:00". Every form begins with its day, so only a
// text on the bound's own day can be misplaced: the column is kept bare for
// the whole days on the right side of the bound, where an index on it still
// serves, and SortableDate decides the bound's day alone.
QString sqliteComparison(const QString &column, const QString &op, dates::Date value)
{
    const dates::Date day = dates::dayOf(value);
    const QString exact =
        u"SortableDate(%1) %2 %3"_s.arg(column, op, quoted(dates::toSortableText(value)));
    const QString shape = op.startsWith(u'>') ? u"(%1 >= %2 AND (%1 >= %3 OR %4))"_s
                                              : u"(%1 < %3 AND (%1 < %2 OR %4))"_s;
    return shape.arg(column, dayText(day), dayText(day + 1), exact);
}

template<typename Replace>
QString replaceAll(const QString &statement, const QRegularExpression &pattern, Replace replace)
{
    QString out;
    out.reserve(statement.size() + 32);
    qsizetype last = 0;
    auto it = pattern.globalMatch(statement);
    while (it.hasNext()) {
        const auto m = it.next();
        out += QStringView(statement).mid(last, m.capturedStart() - last);
        out += replace(m);
        last = m.capturedEnd();
    }
    out += QStringView(statement).mid(last);
    return out;
}

QString sqliteComparisons(const QString &statement)
{
    static const QRegularExpression comparison(
        uR"re(\b([A-Za-z_]\w*(?:\.[A-Za-z_]\w*)?)\s*(>=|<=|>|<)\s*CDate\s*\(\s*"([^"]*)"\s*\))re"_s,
        QRegularExpression::CaseInsensitiveOption);
    return replaceAll(statement, comparison, [](const QRegularExpressionMatch &m) {
        if (const auto value = dates::fromText(m.captured(3)))
            return sqliteComparison(m.captured(1), m.captured(2), *value);
        return m.captured(0); // CDate will stop the statement and say why
    });
}

} // namespace

QString Dialect::translate(const QString &statement, Engine engine)
{
    if (engine != Engine::SQLite && engine != Engine::PostgreSQL)
        return statement;
    static const QRegularExpression cdate(u"\\bCDate\\s*\\(\\s*\"([^\"]*)\"\\s*\\)"_s,
                                          QRegularExpression::CaseInsensitiveOption);
    if (engine == Engine::PostgreSQL)
        return replaceAll(statement, cdate, [](const QRegularExpressionMatch &m) {
            return postgresDate(m.captured(1));
        });
    return replaceAll(sqliteComparisons(statement), cdate,
                      [](const QRegularExpressionMatch &m) -> QString {
                          return u"CDate("_s + quoted(m.captured(1)) + u')';
                      });
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
