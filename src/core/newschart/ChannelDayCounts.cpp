#include "newschart/ChannelDayCounts.h"

#include "base/Dates.h"
#include "db/Recordset.h"
#include "newschart/DailyTotals.h"
#include "newschart/NewsChartBuilder.h"
#include "newschart/PanelFilter.h"
#include "newschart/StatisticsReader.h"
#include "newschart/StatisticsStatement.h"

#include <QHash>
#include <QtConcurrent/QtConcurrentRun>

#include <sqlite3.h>

#include <algorithm>
#include <map>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace qrt::chart {

namespace {

// The file behind a SQLite connection and the engine's data version, which
// changes with every commit to it by any connection. A read starts a read
// transaction first: only then does the engine look at the file.
std::optional<QString> sqliteStamp(sqlite3 *db)
{
    sqlite3_stmt *probe = nullptr;
    if (sqlite3_prepare_v2(db, "SELECT 1 FROM News LIMIT 1", -1, &probe, nullptr) != SQLITE_OK)
        return std::nullopt;
    const int rc = sqlite3_step(probe);
    sqlite3_finalize(probe);
    unsigned version = 0;
    if ((rc != SQLITE_ROW && rc != SQLITE_DONE) ||
        sqlite3_file_control(db, "main", SQLITE_FCNTL_DATA_VERSION, &version) != SQLITE_OK)
        return std::nullopt;
    // A file put in its place (a new demo database, a restored copy) is
    // another file: the open connection would still read the old one.
    struct stat file
    {
    };
    const char *path = sqlite3_db_filename(db, "main");
    if (!path || ::stat(path, &file) != 0)
        return std::nullopt;
    return u"%1:%2:%3"_s.arg(file.st_dev).arg(file.st_ino).arg(version);
}

// PostgreSQL has no change counter of a table's own. News are added with new
// IDs, so the largest ID (one step down the primary key) shows them at once;
// rows taken away or changed show in the server's counts of the table's
// deleted and updated rows, which it publishes within seconds.
// Where News is no table (a feed reader's view of its own tables) the count
// of rows stands in for those, at the price of reading them.
std::optional<QString> postgresStamp(db::Connection &connection)
{
    db::Recordset rows;
    rows.Open(u"SELECT Max(News.ID), (SELECT n_tup_del || '/' || n_tup_upd "
              "FROM pg_stat_all_tables WHERE relid = to_regclass('News')) FROM News"_s,
              connection);
    if (!rows.lastError().isEmpty() || rows.IsEOF())
        return std::nullopt;
    if (!rows.IsNull(1))
        return rows.Text(0) + u'|' + rows.Text(1);
    rows.Open(u"SELECT Max(News.ID), Count(*) FROM News"_s, connection);
    if (!rows.lastError().isEmpty() || rows.IsEOF())
        return std::nullopt;
    return rows.Text(0) + u'#' + rows.Text(1);
}

// Whether each series ID of a grouping has one name: with two, which one the
// statement shows depends on the order the engine reads the rows in.
std::array<bool, 3> sameNames(const std::vector<ChannelRow> &channels)
{
    std::array<bool, 3> same = {true, true, true};
    for (size_t c = 0; c < 3; ++c) {
        QHash<qint64, QString> names;
        for (const ChannelRow &row : channels) {
            const auto it = names.constFind(row.ids[c]);
            if (it == names.cend())
                names.insert(row.ids[c], row.names[c]);
            else if (*it != row.names[c])
                same[c] = false;
        }
    }
    return same;
}

bool isWholeDay(double date)
{
    return dates::dayOf(date) == date;
}

} // namespace

ChannelDayCounts::ChannelDayCounts() = default;

// A read under way is told to stop and left to end on its own: it holds
// nothing of this object's, and a closing window does not wait for it.
ChannelDayCounts::~ChannelDayCounts()
{
    m_stop->store(true);
}

std::unique_ptr<StatisticsRows> ChannelDayCounts::Open(const QString &connectionString,
                                                       const NewsChartQuery &query)
{
    const SeriesColumns *columns = StatisticsStatement::ColumnsFor(query.chartSeria);
    if (!columns || query.sOrder != columns->order || !isWholeDay(query.FromDate) ||
        !isWholeDay(query.TillDate))
        return nullptr;
    const auto filter = PanelFilter::parse(query.sFilter);
    const bool wait = query.TillDate - query.FromDate > LongPeriodDays;
    if (!filter || !update(connectionString, wait))
        return nullptr;
    const int column = query.chartSeria - 2;
    if (!m_sameNames[size_t(column)])
        return nullptr;
    return serve(*filter, column, query.FromDate, query.TillDate);
}

void ChannelDayCounts::waitForRead()
{
    if (m_reading.isValid())
        adopt();
}

std::optional<QString> ChannelDayCounts::stamp()
{
    switch (m_connection.engine()) {
    case db::Engine::SQLite:
        return sqliteStamp(m_connection.sqliteHandle());
    case db::Engine::PostgreSQL:
        return postgresStamp(m_connection);
    default:
        return std::nullopt;
    }
}

bool ChannelDayCounts::update(const QString &connectionString, bool wait)
{
    if (connectionString != m_connectionString) {
        m_connection.Close();
        m_connectionString = connectionString;
        m_stamp.clear();
        m_usable = false;
    }
    std::optional<QString> now = m_connection.IsOpen() ? stamp() : std::nullopt;
    if (!now) { // not open yet, or the session or file went away: once more
        if (!m_connection.Open(connectionString))
            return false;
        now = stamp();
    }
    if (!now)
        return false;
    if (m_reading.isValid() && (m_reading.isFinished() || wait))
        adopt();
    if (*now != m_stamp && !(m_reading.isValid() && *now == m_readingStamp)) {
        // Anew, so that a file put in the old one's place is the one looked at.
        if (!m_connection.Open(connectionString) || !(now = stamp()))
            return false;
        if (!m_reading.isValid())
            startRead(*now);
        if (wait)
            adopt();
    }
    if (*now != m_stamp)
        return false; // the read is still under way: this drawing asks the database
    // The channels are few; PostgreSQL has no cheap sign of their change.
    if (m_usable && m_connection.engine() == db::Engine::PostgreSQL) {
        m_usable = ChannelDayScan::readChannels(m_connection, m_channels);
        m_sameNames = sameNames(m_channels);
    }
    return m_usable;
}

void ChannelDayCounts::startRead(const QString &stamp)
{
    ++m_scans;
    m_readingStamp = stamp;
    m_reading = QtConcurrent::run(&ChannelDayCounts::read, m_connectionString, stamp,
                                  std::shared_ptr<const std::atomic<bool>>(m_stop));
}

// The stamp is taken before the read, so a commit in between at worst makes
// the next look read again.
ChannelDayCounts::Snapshot ChannelDayCounts::read(const QString &connectionString,
                                                  const QString &stamp,
                                                  std::shared_ptr<const std::atomic<bool>> stop)
{
    Snapshot snapshot{connectionString, stamp};
    db::Connection connection;
    db::Connection second;
    // A reader's own database is read whole (its News is not a table).
    const auto halves = [&] {
        return connection.engine() == db::Engine::SQLite && !connection.source().isReader() &&
                       second.Open(connectionString)
                   ? &second
                   : nullptr;
    };
    snapshot.usable = connection.Open(connectionString) &&
                      ChannelDayScan::readChannels(connection, snapshot.channels) &&
                      ChannelDayScan::readNews(connection, snapshot.days, stop.get(), halves()) &&
                      !stop->load();
    if (!snapshot.usable) {
        snapshot.days.clear();
        snapshot.channels.clear();
    }
    return snapshot;
}

void ChannelDayCounts::adopt()
{
    Snapshot snapshot = m_reading.takeResult();
    m_reading = {};
    if (snapshot.connectionString != m_connectionString)
        return;
    m_stamp = snapshot.stamp;
    m_usable = snapshot.usable;
    m_days = std::move(snapshot.days);
    m_channels = std::move(snapshot.channels);
    m_sameNames = sameNames(m_channels);
}

// The statement's period: from the first day's midnight up to and including
// the midnight after the last day. Each series adds up the days of its
// channels in that span, as the statement's rows would fall on them.
std::unique_ptr<StatisticsRows> ChannelDayCounts::serve(const PanelFilter &filter, int column,
                                                        double fromDate, double tillDate) const
{
    const auto from = qint64(fromDate);
    const auto till = qint64(tillDate);
    const auto c = size_t(column);
    std::map<qint64, std::vector<const std::vector<ChannelDay> *>> channelsOf;
    QHash<qint64, QString> names;
    for (const ChannelRow &row : m_channels) {
        const auto found = m_days.find(row.ids[0]);
        if (found == m_days.end() || !filter.accepts(row.ids[2], row.ids[1], row.ids[0]))
            continue;
        channelsOf[row.ids[c]].push_back(&found->second);
        names.insert(row.ids[c], row.names[c]);
    }
    const auto inPeriod = [from](const std::vector<ChannelDay> &days) {
        return std::lower_bound(days.begin(), days.end(), from,
                                [](const ChannelDay &d, qint64 v) { return d.day < v; });
    };
    std::vector<DayRow> rows;
    std::vector<DayRow> span; // the series' days from its first in the period
    for (const auto &[id, channels] : channelsOf) {
        qint64 first = till + 2;
        for (const auto *days : channels)
            if (const auto day = inPeriod(*days); day != days->end())
                first = std::min<qint64>(first, day->day);
        span.clear();
        for (const auto *days : channels) {
            for (auto day = inPeriod(*days); day != days->end() && day->day <= till + 1; ++day) {
                const bool whole = day->day <= till;
                if (!whole && !day->atMidnight)
                    continue;
                const auto index = size_t(day->day - first);
                if (index > size_t(DailyTotals::MaxDays))
                    return nullptr; // no more days than the fast statements keep
                if (index >= span.size())
                    span.resize(index + 1);
                DayRow &cell = span[index];
                const double firstDate = whole ? day->firstDate : double(day->day);
                const double lastDate = whole ? day->lastDate : double(day->day);
                cell.firstDate = cell.dated ? std::min(cell.firstDate, firstDate) : firstDate;
                cell.lastDate = cell.dated ? std::max(cell.lastDate, lastDate) : lastDate;
                cell.newsCount += whole ? day->newsCount : day->midnightCount;
                cell.dated = true;
            }
        }
        for (DayRow &cell : span) {
            if (cell.dated) {
                cell.seriesId = id;
                rows.push_back(cell);
            }
        }
    }
    return StatisticsReader::FromDays(std::move(rows), std::move(names), StatisticsPath::Memory);
}

} // namespace qrt::chart
