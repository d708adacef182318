#pragma once
// One read of everything the news chart can be drawn from, for any period,
// filter and grouping: per channel and calendar day the count of news, the
// first and last time, and what falls on the day's midnight itself (the one
// instant of the day after a period that its upper bound takes in); and the
// channels with their provider and category as the statement joins them.
// A read fails when the data hold what only the statement reads rightly
// (dates not beginning with an ISO day, channel numbers stored as text or
// real numbers, IDs beyond 32 bits): those drawings go to the database.

#include <QString>

#include <array>
#include <atomic>
#include <unordered_map>
#include <vector>

namespace qrt::db {
class Connection;
}

namespace qrt::chart {

// A window holds one for every day of every channel (a few hundred
// thousand), hence the narrow fields: 32 bytes.
struct ChannelDay
{
    double firstDate = 0.0;
    double lastDate = 0.0;
    qint32 day = 0;
    quint32 newsCount = 0;     // rows with a news ID, which is what Count counts
    quint32 midnightCount = 0; // of those, the ones at the day's midnight
    bool atMidnight = false;   // some row, with an ID or not, at midnight
};

// One row of the channels joined to their provider and category; ids and
// names by series column: channel, provider, category (chartSeria - 2).
struct ChannelRow
{
    std::array<qint64, 3> ids{};
    std::array<QString, 3> names;
};

// The days of each News.Channel value, ordered by day.
using ChannelDays = std::unordered_map<qint64, std::vector<ChannelDay>>;

namespace ChannelDayScan {

// All of News in one pass (SQLite) or one grouping statement (PostgreSQL);
// a SQLite pass gives up soon after *stop turns true. With a `second`
// connection to the same SQLite file of our schema, each reads half of
// News at once.
bool readNews(db::Connection &connection, ChannelDays &out, const std::atomic<bool> *stop = nullptr,
              db::Connection *second = nullptr);
// The joined channels; false also when an ID is no 32-bit whole number.
bool readChannels(db::Connection &connection, std::vector<ChannelRow> &out);

} // namespace ChannelDayScan

} // namespace qrt::chart
