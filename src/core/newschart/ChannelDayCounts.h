#pragma once
// What a window keeps of its news so that a redraw needs no statement: the
// counts of every channel per calendar day and the channels' providers and
// categories, read at the first drawing. Any period of whole days, any filter
// the filter panel writes and any of the three groupings is then drawn from
// memory, to the very chart the statement would give. Before each drawing a
// cheap look tells whether the database changed since (SQLite's data version
// of the file, PostgreSQL's largest news ID and count of news); only then is
// News read again. The connection stays open for that look, read-only.
//
// The read itself runs on a worker thread with a connection of its own, so
// that a window on millions of news draws its first chart at once: a short
// period goes to the database meanwhile (its index on pubDate finds those
// rows alone), a long one reads most of News either way and waits for the
// counts, which then serve every later drawing too.

#include "db/Connection.h"
#include "newschart/ChannelDayScan.h"

#include <QFuture>
#include <QString>

#include <atomic>
#include <memory>
#include <optional>

namespace qrt::chart {

struct NewsChartQuery;
class PanelFilter;
class StatisticsRows;

class ChannelDayCounts
{
public:
    ChannelDayCounts();
    ~ChannelDayCounts();
    ChannelDayCounts(const ChannelDayCounts &) = delete;
    ChannelDayCounts &operator=(const ChannelDayCounts &) = delete;

    // The rows of a drawing from memory, reading the database first when
    // the counts are missing or stale; null when the drawing needs the
    // statement (a filter typed by hand, a period not of whole days, another
    // ORDER BY, data only the statement reads rightly, another engine).
    std::unique_ptr<StatisticsRows> Open(const QString &connectionString,
                                         const NewsChartQuery &query);

    // Waits for a read under way and takes its counts.
    void waitForRead();
    // What the user should know of the database the counts come from.
    QString notice() const { return m_connection.source().notice(); }
    // How often News was read, for the tests.
    int scans() const { return m_scans; }

    // Periods of more days than this wait for the counts.
    static constexpr double LongPeriodDays = 62;

private:
    struct Snapshot
    {
        QString connectionString;
        QString stamp;
        bool usable = false;
        ChannelDays days;
        std::vector<ChannelRow> channels;
    };
    static Snapshot read(const QString &connectionString, const QString &stamp,
                         std::shared_ptr<const std::atomic<bool>> stop);

    bool update(const QString &connectionString, bool wait);
    std::optional<QString> stamp();
    void startRead(const QString &stamp);
    void adopt();
    std::unique_ptr<StatisticsRows> serve(const PanelFilter &filter, int column, double fromDate,
                                          double tillDate) const;

    db::Connection m_connection;
    QString m_connectionString;
    QString m_stamp;       // what the database looked like at the last read
    bool m_usable = false; // that read can draw
    ChannelDays m_days;
    std::vector<ChannelRow> m_channels;
    std::array<bool, 3> m_sameNames{}; // per grouping: one name per series ID
    int m_scans = 0;
    QFuture<Snapshot> m_reading;
    QString m_readingStamp;
    std::shared_ptr<std::atomic<bool>> m_stop = std::make_shared<std::atomic<bool>>(false);
};

} // namespace qrt::chart
