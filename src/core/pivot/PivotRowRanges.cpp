#include "pivot/PivotRowRanges.h"

#include "db/SqlScanner.h"
#include "pivot/PivotGroupedStatement.h"

#include <QSet>

using namespace Qt::StringLiterals;

namespace qrt::pivot::PivotRowRanges {

namespace {

// Words of a statement whose rows depend on other rows.
const QSet<QString> &acrossRows()
{
    static const QSet<QString> words = {
        u"group"_s,     u"having"_s, u"distinct"_s, u"limit"_s,  u"offset"_s, u"union"_s,
        u"intersect"_s, u"except"_s, u"over"_s,     u"window"_s, u"with"_s,   u"recursive"_s,
    };
    return words;
}

const QSet<QString> &aggregates()
{
    static const QSet<QString> names = {
        u"count"_s,
        u"sum"_s,
        u"total"_s,
        u"avg"_s,
        u"min"_s,
        u"max"_s,
        u"group_concat"_s,
        u"string_agg"_s,
        u"json_group_array"_s,
        u"json_group_object"_s,
    };
    return names;
}

} // namespace

bool readsNewsRowByRow(const QString &statement)
{
    db::SqlScanner scanner(statement);
    QString token = scanner.next();
    if (token != u"select"_s)
        return false;
    int selects = 0;
    int newsTables = 0;
    QString previous;
    for (; !token.isEmpty(); previous = token, token = scanner.next()) {
        if (acrossRows().contains(token) || (token == u"("_s && aggregates().contains(previous)))
            return false;
        if (token == u"select"_s && ++selects > 1)
            return false;
        // A table is named after FROM or JOIN; "main.News" or a comma join
        // is not counted, and then the statement is read whole.
        if (token == u"news"_s && (previous == u"from"_s || previous == u"join"_s))
            ++newsTables;
    }
    return !scanner.unclosed() && newsTables == 1;
}

QString over(const QString &statement, qint64 after, qint64 upTo)
{
    return u"WITH News AS (SELECT * FROM main.News WHERE rowid > %1 AND rowid <= %2)\n"_s.arg(after)
               .arg(upTo) +
           PivotGroupedStatement::nestable(statement);
}

} // namespace qrt::pivot::PivotRowRanges
