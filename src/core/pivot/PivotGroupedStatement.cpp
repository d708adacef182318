#include "pivot/PivotGroupedStatement.h"

using namespace Qt::StringLiterals;

namespace qrt::pivot::PivotGroupedStatement {

namespace {

// Below this many sampled values a column is never taken for titles.
constexpr int kDetailSample = 100;

QString columnName(std::size_t index)
{
    return u"c"_s + QString::number(index);
}

// The plain ISO forms, checked by shape: digits where digits go and an
// hour below 24, so a text cut to its day is a day the parser reads.
QString sqlitePlainDate(const QString &x)
{
    const QString day = u"[0-9][0-9][0-9][0-9]-[0-9][0-9]-[0-9][0-9]"_s;
    const QString minute = day + u"[ T][0-2][0-9]:[0-5][0-9]"_s;
    return u"(CASE length(%1) WHEN 10 THEN %1 GLOB '%2' WHEN 16 THEN %1 GLOB '%3' "
           "WHEN 19 THEN %1 GLOB '%4' ELSE 0 END AND substr(%1, 12, 2) < '24')"_s.arg(
               x, day, minute, minute + u":[0-5][0-9]"_s);
}

QString sqliteDate(const QString &x, PivotGrain::Time time)
{
    QString cut = u"substr(%1, 1, 10)"_s.arg(x);
    if (time == PivotGrain::Time::Hours)
        cut = u"CASE WHEN length(%1) = 10 THEN %1 ELSE substr(%1, 1, 13) || ':00' END"_s.arg(x);
    else if (time == PivotGrain::Time::Minutes)
        cut = u"substr(%1, 1, 16)"_s.arg(x);
    return u"CASE WHEN %1 THEN %2 ELSE %3 END"_s.arg(sqlitePlainDate(x), cut, x);
}

QString postgresDate(const QString &x, PivotGrain::Time time)
{
    const QString unit = time == PivotGrain::Time::Hours     ? u"hour"_s
                         : time == PivotGrain::Time::Minutes ? u"minute"_s
                                                             : u"day"_s;
    return u"date_trunc('%1', %2)"_s.arg(unit, x);
}

bool isDates(const Sample &s)
{
    return s.nonBlank > 0 && s.dateTexts + s.dateValues == s.nonBlank;
}

} // namespace

std::vector<Column> plan(const std::vector<Sample> &samples, const PivotGrain &grain,
                         db::Engine engine)
{
    std::vector<Column> columns;
    for (const Sample &s : samples) {
        Column column;
        const PivotGrain::Time time = grain.time(s.name);
        if (isDates(s)) {
            // Texts on SQLite, values of a date type on PostgreSQL.
            const bool cuttable =
                engine == db::Engine::SQLite ? s.dateValues == 0 : s.dateTexts == 0;
            if (cuttable && time != PivotGrain::Time::Exact) {
                column.kind = Column::Kind::Date;
                column.time = time;
            }
        } else if (!grain.needsValues(s.name) && s.nonBlank >= kDetailSample &&
                   s.distinct * 2 > s.nonBlank) {
            column.kind = Column::Kind::Count;
        }
        columns.push_back(column);
    }
    return columns;
}

PivotGrain heldGrain(const std::vector<Sample> &samples, const std::vector<Column> &plan)
{
    PivotGrain grain;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (plan[i].kind == Column::Kind::Value)
            grain.needValues(samples[i].name);
        else if (plan[i].kind == Column::Kind::Date)
            grain.needTime(samples[i].name, plan[i].time);
    }
    return grain;
}

QString nestable(const QString &statement)
{
    QString text = statement.trimmed();
    while (text.endsWith(u';'))
        text = text.chopped(1).trimmed();
    return text;
}

QString sampleStatement(const QString &statement)
{
    return u"SELECT * FROM (\n"_s + nestable(statement) + u"\n) AS q LIMIT "_s +
           QString::number(SampleRows);
}

namespace {

// The statement as a common table expression of numbered columns, and the
// planned columns over it: grouped, the counted ones as COUNT, else row by
// row as 1 or 0. The line breaks keep a comment that ends the statement
// inside it.
QString select(const QString &statement, const std::vector<Column> &plan, db::Engine engine,
               bool grouping, QStringList &grouped)
{
    QStringList names, selected;
    for (std::size_t i = 0; i < plan.size(); ++i) {
        const QString x = columnName(i);
        names << x;
        QString value = x;
        if (plan[i].kind == Column::Kind::Date)
            value = engine == db::Engine::SQLite ? sqliteDate(x, plan[i].time)
                                                 : postgresDate(x, plan[i].time);
        if (plan[i].kind != Column::Kind::Count)
            grouped << value;
        else if (grouping)
            value = u"COUNT(CASE WHEN CAST(%1 AS TEXT) <> '' THEN 1 END)"_s.arg(x);
        else
            value = u"CASE WHEN CAST(%1 AS TEXT) <> '' THEN 1 ELSE 0 END"_s.arg(x);
        selected << value;
    }
    if (grouping)
        selected << u"COUNT(*)"_s;
    return u"WITH q ("_s + names.join(u", "_s) + u") AS (\n"_s + nestable(statement) +
           u"\n) SELECT "_s + selected.join(u", "_s) + u" FROM q"_s;
}

} // namespace

QString rowsStatement(const QString &statement, const std::vector<Column> &plan, db::Engine engine)
{
    QStringList grouped;
    return select(statement, plan, engine, false, grouped);
}

QString statement(const QString &statement, const std::vector<Column> &plan, db::Engine engine)
{
    QStringList grouped;
    const QString text = select(statement, plan, engine, true, grouped);
    return text + u" GROUP BY "_s + grouped.join(u", "_s);
}

} // namespace qrt::pivot::PivotGroupedStatement
