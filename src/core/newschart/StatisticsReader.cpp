#include "newschart/StatisticsReader.h"

#include "db/Connection.h"
#include "db/Recordset.h"
#include "newschart/DailyTotals.h"
#include "newschart/StatisticsStatement.h"

#include <QHash>
#include <QRegularExpression>

#include <vector>

using namespace Qt::StringLiterals;

namespace qrt::chart {

namespace {

// The literal statement, read row by row as the engine gives them.
class LiteralRows final : public StatisticsRows
{
public:
    LiteralRows(db::Connection &connection, const QString &statement, int chartSeria)
        : m_column(chartSeria)
    {
        m_recordset.Open(statement, connection);
    }

    bool next(StatisticsRow &row) override
    {
        if (m_started)
            m_recordset.MoveNext();
        m_started = true;
        if (m_recordset.IsEOF())
            return false;
        row = {};
        row.seriesId = qint32(m_recordset.Int(m_column));
        if (const auto date = m_recordset.DateValue(0)) {
            row.dated = true;
            row.pointDate = row.firstDate = row.lastDate = *date;
        }
        row.newsCount = m_recordset.Int(1);
        return true;
    }

    QString seriesName() const override { return m_recordset.Text(m_column + 3); }
    StatisticsPath path() const override { return StatisticsPath::Literal; }

private:
    db::Recordset m_recordset;
    int m_column;
    bool m_started = false;
};

// Rows of one series and day, gathered by one of the fast readers.
class DailyRows final : public StatisticsRows
{
public:
    DailyRows(DailyTotals &totals, StatisticsPath path)
        : m_rows(totals.takeRows())
        , m_path(path)
    {
        for (const DayRow &row : m_rows)
            if (!m_names.contains(row.seriesId))
                m_names.insert(row.seriesId, totals.name(row.seriesId));
    }
    DailyRows(std::vector<DayRow> rows, QHash<qint64, QString> names, StatisticsPath path)
        : m_rows(std::move(rows))
        , m_names(std::move(names))
        , m_path(path)
    {}

    bool next(StatisticsRow &out) override
    {
        if (m_next >= m_rows.size())
            return false;
        const DayRow &row = m_rows[m_next++];
        m_current = row.seriesId;
        out = {};
        out.seriesId = qint32(row.seriesId);
        out.dated = row.dated;
        if (row.dated) {
            out.pointDate = row.firstDate;
            out.firstDate = row.firstDate;
            out.lastDate = row.lastDate;
        }
        out.newsCount = row.newsCount;
        return true;
    }

    QString seriesName() const override { return m_names.value(m_current); }
    StatisticsPath path() const override { return m_path; }

private:
    std::vector<DayRow> m_rows;
    QHash<qint64, QString> m_names;
    size_t m_next = 0;
    qint64 m_current = 0;
    StatisticsPath m_path;
};

class NoRows final : public StatisticsRows
{
public:
    bool next(StatisticsRow &) override { return false; }
    QString seriesName() const override { return {}; }
    StatisticsPath path() const override { return StatisticsPath::None; }
};

// The where text split into its period clause and a filter of the form the
// filter panel writes: "<Table>.ID [not] in (<ids>)" terms joined by AND.
// Only such a filter is known to depend on the channel alone, so that it can
// be applied to the channels once instead of to every news row.
struct SplitWhere
{
    QString period;
    QString filter;
};

std::optional<SplitWhere> splitWhere(const QString &where)
{
    static const QRegularExpression periodThenFilter(
        uR"(^(\(News\.pubDate >= CDate\("[^"]*"\) AND News\.pubDate<=CDate\("[^"]*"\)\)) AND (.*)$)"_s,
        QRegularExpression::DotMatchesEverythingOption);
    static const QString term =
        uR"(\s*(?:Categories|Providers|Channels)\.ID\s+(?:not\s+)?in\s*\(\s*-?\d+(?:\s*,\s*-?\d+)*\s*\)\s*)"_s;
    static const QRegularExpression channelFilter(u"^"_s + term + u"(?:AND"_s + term + u")*$"_s,
                                                  QRegularExpression::CaseInsensitiveOption);
    const auto match = periodThenFilter.match(where);
    if (!match.hasMatch() || !channelFilter.match(match.captured(2)).hasMatch())
        return std::nullopt;
    return SplitWhere{match.captured(1), match.captured(2)};
}

// SQLite, filter known to depend on the channel: first the series of every
// channel that passes the filter (a channel may stand in several joined rows,
// and each one counts), then a single pass over News in the period.
std::unique_ptr<StatisticsRows> sqliteNewsScan(db::Connection &connection, const SplitWhere &where,
                                               const SeriesColumns &columns)
{
    QHash<qint64, std::vector<int>> seriesOfChannel;
    DailyTotals totals;
    {
        db::Recordset channels;
        channels.Open(u"SELECT Channels.ID, "_s + columns.id + u", "_s + columns.name +
                          u", typeof(Channels.ID) = 'integer' FROM "_s +
                          StatisticsStatement::ChannelJoins + u" WHERE "_s + where.filter,
                      connection);
        if (!channels.lastError().isEmpty())
            return nullptr;
        for (; !channels.IsEOF(); channels.MoveNext()) {
            if (channels.Int(3) != 1) // the join would compare by affinity rules: not ours
                return nullptr;
            seriesOfChannel[channels.Int(0)].push_back(
                totals.series(channels.Int(1), channels.Text(2)));
        }
        if (!channels.lastError().isEmpty())
            return nullptr;
    }
    db::Recordset news;
    news.Open(u"SELECT News.Channel, News.pubDate, News.ID IS NOT NULL FROM News WHERE "_s +
                  where.period,
              connection);
    if (!news.lastError().isEmpty())
        return nullptr;
    // News of one channel tend to come together: keep the last lookup.
    qint64 lastChannel = 0;
    const std::vector<int> *series = nullptr;
    bool looked = false;
    for (; !news.IsEOF(); news.MoveNext()) {
        const QVariant channel = news.Value(0);
        if (channel.isNull())
            continue; // NULL joins nothing
        if (channel.typeId() != QMetaType::LongLong)
            return nullptr; // text or real: the join's affinity rules decide
        const qint64 id = channel.toLongLong();
        if (!looked || id != lastChannel) {
            const auto it = seriesOfChannel.constFind(id);
            series = it == seriesOfChannel.cend() ? nullptr : &*it;
            lastChannel = id;
            looked = true;
        }
        if (!series)
            continue;
        const auto date = news.DateValue(1);
        const qint64 counted = news.Int(2);
        for (int index : *series)
            if (!totals.add(index, date, counted))
                return nullptr;
    }
    if (!news.lastError().isEmpty())
        return nullptr;
    return std::make_unique<DailyRows>(totals, StatisticsPath::SqliteNewsScan);
}

// SQLite, any filter: one pass over the joined rows the statement would
// group, counting per series and day here instead of in the engine's sorter.
std::unique_ptr<StatisticsRows> sqliteJoinedScan(db::Connection &connection, const QString &where,
                                                 const SeriesColumns &columns)
{
    db::Recordset rows;
    rows.Open(u"SELECT "_s + columns.id + u", News.pubDate, News.ID IS NOT NULL, "_s +
                  columns.name + u" FROM "_s + StatisticsStatement::Joins + u" WHERE "_s + where,
              connection);
    if (!rows.lastError().isEmpty())
        return nullptr;
    DailyTotals totals;
    qint64 lastId = 0;
    int series = -1;
    for (; !rows.IsEOF(); rows.MoveNext()) {
        const qint64 id = rows.Int(0);
        if (series < 0 || id != lastId) {
            series = totals.find(id);
            if (series < 0)
                series = totals.series(id, rows.Text(3));
            lastId = id;
        }
        if (!totals.add(series, rows.DateValue(1), rows.Int(2)))
            return nullptr;
    }
    if (!rows.lastError().isEmpty())
        return nullptr;
    return std::make_unique<DailyRows>(totals, StatisticsPath::SqliteJoinedScan);
}

// PostgreSQL: the server groups by series and day with a hash aggregate.
// Days are cut by the server, so only a timestamp without time zone
// qualifies: its day is the one the reader sees. The first and last times
// come as texts, as a timestamp would become a QDateTime in local time,
// which asks the C library for the time zone for every value.
std::unique_ptr<StatisticsRows> postgresDaily(db::Connection &connection, const QString &where,
                                              const SeriesColumns &columns)
{
    db::Recordset rows;
    rows.Open(u"SELECT "_s + columns.id +
                  u", to_char(Min(News.pubDate), 'YYYY-MM-DD HH24:MI:SS.US'), "
                  "to_char(Max(News.pubDate), 'YYYY-MM-DD HH24:MI:SS.US'), "
                  "Count(News.ID), "_s +
                  columns.name + u", pg_typeof(Min(News.pubDate))::text FROM "_s +
                  StatisticsStatement::Joins + u" WHERE "_s + where + u" GROUP BY "_s + columns.id +
                  u", "_s + columns.name +
                  u", date_trunc('day', News.pubDate) ORDER BY 1, "
                  "Min(News.pubDate)"_s,
              connection);
    if (!rows.lastError().isEmpty())
        return nullptr;
    if (!rows.IsEOF() && rows.Text(5) != u"timestamp without time zone"_s)
        return nullptr;
    DailyTotals totals;
    for (; !rows.IsEOF(); rows.MoveNext()) {
        const int series = totals.series(rows.Int(0), rows.Text(4));
        const auto first = rows.DateValue(1);
        const auto last = rows.DateValue(2);
        if (!first || !last || !totals.addDay(series, *first, *last, rows.Int(3)))
            return nullptr;
    }
    if (!rows.lastError().isEmpty())
        return nullptr;
    return std::make_unique<DailyRows>(totals, StatisticsPath::PostgresDaily);
}

std::unique_ptr<StatisticsRows> fastest(db::Connection &connection, const QString &where,
                                        const SeriesColumns &columns)
{
    switch (connection.engine()) {
    case db::Engine::SQLite:
        if (const auto split = splitWhere(where))
            if (auto rows = sqliteNewsScan(connection, *split, columns))
                return rows;
        return sqliteJoinedScan(connection, where, columns);
    case db::Engine::PostgreSQL:
        return postgresDaily(connection, where, columns);
    default:
        return nullptr;
    }
}

} // namespace

QString pathName(StatisticsPath path)
{
    switch (path) {
    case StatisticsPath::None:
        return u"none"_s;
    case StatisticsPath::Literal:
        return u"literal"_s;
    case StatisticsPath::SqliteNewsScan:
        return u"sqlite-news-scan"_s;
    case StatisticsPath::SqliteJoinedScan:
        return u"sqlite-joined-scan"_s;
    case StatisticsPath::PostgresDaily:
        return u"postgres-daily"_s;
    case StatisticsPath::Memory:
        return u"memory"_s;
    }
    return {};
}

std::unique_ptr<StatisticsRows> StatisticsReader::FromDays(std::vector<DayRow> rows,
                                                           QHash<qint64, QString> names,
                                                           StatisticsPath path)
{
    return std::make_unique<DailyRows>(std::move(rows), std::move(names), path);
}

std::unique_ptr<StatisticsRows> StatisticsReader::Open(db::Connection &connection,
                                                       const QString &where, const QString &order,
                                                       int chartSeria, StatisticsMode mode)
{
    if (!connection.IsOpen())
        return std::make_unique<NoRows>();
    // The fast statements order series by the ID the series column names;
    // any other ORDER BY text keeps the literal statement and its row order.
    const SeriesColumns *columns = StatisticsStatement::ColumnsFor(chartSeria);
    if (mode == StatisticsMode::Fastest && columns && order == columns->order)
        if (auto rows = fastest(connection, where, *columns))
            return rows;
    return std::make_unique<LiteralRows>(connection, StatisticsStatement::Compose(where, order),
                                         chartSeria);
}

} // namespace qrt::chart
