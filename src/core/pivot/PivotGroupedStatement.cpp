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

bool isDates(const Sample &s)
{
    return s.nonBlank > 0 && s.dateTexts + s.dateValues == s.nonBlank;
}

} // namespace

QString serverDate(const QString &x, PivotGrain::Time time)
{
    const QString unit = time == PivotGrain::Time::Hours     ? u"hour"_s
                         : time == PivotGrain::Time::Minutes ? u"minute"_s
                                                             : u"day"_s;
    return u"date_trunc('%1', %2)"_s.arg(unit, x);
}

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

// The statement as a common table expression of numbered columns, and the
// planned columns over it, the counted ones as COUNT. The line breaks keep
// a comment that ends the statement inside it.
QString statement(const QString &statement, const std::vector<Column> &plan)
{
    QStringList names, selected, grouped;
    for (std::size_t i = 0; i < plan.size(); ++i) {
        const QString x = columnName(i);
        names << x;
        if (plan[i].kind == Column::Kind::Count) {
            selected << u"COUNT(CASE WHEN CAST(%1 AS TEXT) <> '' THEN 1 END)"_s.arg(x);
            continue;
        }
        if (plan[i].kind == Column::Kind::Date) {
            // Grouped by the value, handed over as its text: a timestamp
            // would become a QDateTime in local time, which asks the C
            // library for the zone (a stat() of /etc/localtime) per row.
            const QString cut = serverDate(x, plan[i].time);
            selected << u"to_char(%1, 'YYYY-MM-DD HH24:MI:SS')"_s.arg(cut);
            grouped << cut;
            continue;
        }
        selected << x;
        grouped << x;
    }
    selected << u"COUNT(*)"_s;
    return u"WITH q ("_s + names.join(u", "_s) + u") AS (\n"_s + nestable(statement) +
           u"\n) SELECT "_s + selected.join(u", "_s) + u" FROM q GROUP BY "_s +
           grouped.join(u", "_s);
}

namespace {

bool digits(std::string_view text, std::size_t from, std::size_t count, char highest = '9')
{
    for (std::size_t i = from; i < from + count; ++i)
        if (text[i] < '0' || text[i] > (i == from ? highest : '9'))
            return false;
    return true;
}

// "2025-01-31", "2025-01-31 10:00", "2025-01-31 10:00:00" (or with a 'T'),
// an hour below 24: a text cut from one of these is one the parser reads.
bool isPlainDate(std::string_view text)
{
    const std::size_t n = text.size();
    if (n != 10 && n != 16 && n != 19)
        return false;
    if (!digits(text, 0, 4) || text[4] != '-' || !digits(text, 5, 2) || text[7] != '-' ||
        !digits(text, 8, 2))
        return false;
    if (n == 10)
        return true;
    if ((text[10] != ' ' && text[10] != 'T') || !digits(text, 11, 2, '2') || text[13] != ':' ||
        !digits(text, 14, 2, '5') || text.substr(11, 2) >= "24")
        return false;
    return n == 16 || (text[16] == ':' && digits(text, 17, 2, '5'));
}

} // namespace

std::string_view cutDate(std::string_view text, PivotGrain::Time time, std::string &scratch)
{
    if (!isPlainDate(text) || time == PivotGrain::Time::Exact)
        return text;
    if (time == PivotGrain::Time::Days)
        return text.substr(0, 10);
    if (time == PivotGrain::Time::Minutes || text.size() == 10)
        return text.substr(0, std::min<std::size_t>(text.size(), 16));
    scratch.assign(text.substr(0, 13));
    scratch += ":00";
    return scratch;
}

} // namespace qrt::pivot::PivotGroupedStatement
