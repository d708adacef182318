#pragma once
// The content of a demo news database, produced as a stream so that ten
// million items never sit in memory at once. Deterministic for given options:
// the random numbers come from mt19937_64, whose sequence the standard fixes,
// mapped to ranges by our own code rather than by the library's
// distributions, whose results differ between standard libraries.

#include "demodata/DemoDatabase.h"

#include <QStringList>

#include <functional>
#include <random>
#include <string>
#include <vector>

namespace qrt::db {

class DemoGenerator
{
public:
    struct Channel
    {
        int id;
        QString name;
        int provider;  // 1-based ID
        int category;  // 1-based ID
        double weight; // share of the news; 0 for a silent channel
    };
    struct Item
    {
        qint64 id;
        char pubDate[20]; // "yyyy-MM-dd HH:mm:ss", NUL-terminated
        int channel;
        const std::string *title;
    };
    using Sink = std::function<bool(const Item &item)>;

    explicit DemoGenerator(const DemoDatabase::Options &options);

    const QStringList &categories() const { return m_categories; }
    const QStringList &providers() const { return m_providers; }
    const std::vector<Channel> &channels() const { return m_channels; }

    // Hands every item to the sink in publication order, IDs from 1 up.
    // Stops early, answering false, when the sink answers false.
    bool generate(const Sink &sink);

private:
    double uniform();
    int below(int n);
    void makeCatalogue();
    std::vector<qint64> itemsPerDay();
    int pickChannel();
    int pickSecondOfDay();
    void makeTitle(std::string &out);

    DemoDatabase::Options m_options;
    std::mt19937_64 m_rng;
    QStringList m_categories;
    QStringList m_providers;
    std::vector<Channel> m_channels;
    std::vector<double> m_channelCumulative;
};

} // namespace qrt::db
