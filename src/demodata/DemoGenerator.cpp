#include "demodata/DemoGenerator.h"

#include "base/Dates.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <numeric>

using namespace Qt::StringLiterals;

namespace qrt::db {

namespace {

constexpr int kChannels = 150;
constexpr int kSilentChannels = 4;

const std::array kCategories = {"World",  "Business", "Technology",    "Science", "Health",
                                "Sports", "Politics", "Entertainment", "Culture", "Local"};

const std::array kProviderStems = {
    "Meridian",   "Northwind",   "Bluestone",   "Harborline",  "Silverleaf", "Kestrel",
    "Ironbridge", "Lakeshore",   "Redwood",     "Summit",      "Crosswind",  "Oakridge",
    "Beacon",     "Granite",     "Riverton",    "Skyline",     "Westgate",   "Evergreen",
    "Foxhollow",  "Brightwater", "Highmoor",    "Copperfield", "Stonegate",  "Thornbury",
    "Ashford",    "Clearview",   "Fairhaven",   "Goldcrest",   "Larkspur",   "Marble Arch",
    "Pinecrest",  "Quillon",     "Ravensworth", "Sunfield",    "Tidewater",  "Windmere"};
const std::array kProviderKinds = {"Press", "Wire", "News",  "Herald",  "Times",
                                   "Daily", "Post", "Media", "Gazette", "Review"};
const std::array kChannelKinds = {"Top Stories", "Headlines", "Latest", "Digest",
                                  "Briefing",    "Live",      "Weekly", "Insider"};

const std::array kSubjects = {
    "City council",  "Central bank",     "Researchers",  "Local team",     "Tech giant",
    "Union leaders", "Health officials", "Start-up",     "Lawmakers",      "Regulators",
    "Museum",        "Airline",          "University",   "Prime minister", "Energy firm",
    "Carmaker",      "Scientists",       "Court",        "Mayor",          "Investors",
    "Farmers",       "Film studio",      "Hospital",     "Police",         "Chip maker",
    "Orchestra",     "Retailers",        "Space agency", "Coach",          "Climate panel"};
const std::array kVerbs = {"unveils",   "approves", "rejects", "reports", "delays",
                           "launches",  "warns of", "expands", "cuts",    "defends",
                           "questions", "wins",     "loses",   "plans",   "confirms",
                           "reviews",   "backs",    "doubles", "halts",   "celebrates"};
const std::array kObjects = {
    "new budget",        "record profits",   "rate decision",      "merger talks",
    "vaccine trial",     "transit plan",     "stadium deal",       "data breach",
    "housing reform",    "trade agreement",  "season opener",      "climate targets",
    "tax cuts",          "AI model",         "school funding",     "bridge repairs",
    "strike action",     "festival line-up", "water restrictions", "election timetable",
    "quarterly results", "safety review",    "price increases",    "research grant",
    "export ban",        "energy prices",    "hiring freeze",      "art exhibition",
    "flood defences",    "cup final"};
const std::array kPlaces = {"",
                            "",
                            "",
                            "",
                            " in capital",
                            " amid protests",
                            " after long debate",
                            " despite warnings",
                            " for next year",
                            " in surprise move",
                            " ahead of vote",
                            " as demand grows"};

// Relative activity of the hours of a day: quiet nights, a morning peak and
// an early-evening one.
constexpr std::array<double, 24> kHourWeights = {0.15, 0.1, 0.08, 0.08, 0.12, 0.3, 0.6, 1.0,
                                                 1.4,  1.6, 1.6,  1.5,  1.3,  1.3, 1.4, 1.4,
                                                 1.5,  1.6, 1.5,  1.2,  0.9,  0.7, 0.5, 0.3};

// Monday .. Sunday
constexpr std::array<double, 7> kWeekdayWeights = {1.05, 1.0, 1.0, 1.0, 0.95, 0.55, 0.45};

template<std::size_t N>
const char *pick(const std::array<const char *, N> &list, int index)
{
    return list[static_cast<std::size_t>(index) % N];
}

void put(char *out, int value, int width)
{
    for (int i = width - 1; i >= 0; --i, value /= 10)
        out[i] = static_cast<char>('0' + value % 10);
}

// "yyyy-MM-dd HH:mm:ss" without the cost of a formatted print per item.
void writeTimestamp(char *out, const dates::Fields &day, int secondOfDay)
{
    std::memcpy(out, "0000-00-00 00:00:00", 20);
    put(out, day.year, 4);
    put(out + 5, day.month, 2);
    put(out + 8, day.day, 2);
    put(out + 11, secondOfDay / 3600, 2);
    put(out + 14, secondOfDay / 60 % 60, 2);
    put(out + 17, secondOfDay % 60, 2);
}

} // namespace

DemoGenerator::DemoGenerator(const DemoDatabase::Options &options)
    : m_options(options)
    , m_rng(options.seed)
{
    makeCatalogue();
}

double DemoGenerator::uniform()
{
    return static_cast<double>(m_rng() >> 11) * 0x1.0p-53;
}

int DemoGenerator::below(int n)
{
    return static_cast<int>(uniform() * n);
}

void DemoGenerator::makeCatalogue()
{
    for (const char *name : kCategories)
        m_categories << QString::fromLatin1(name);
    for (std::size_t i = 0; i < kProviderStems.size(); ++i)
        m_providers << QString::fromLatin1(kProviderStems[i]) + u' ' +
                           QString::fromLatin1(pick(kProviderKinds, static_cast<int>(i * 7 % 10)));
    // Providers get one to eight channels, larger ones more; every provider
    // has at least one, and the rest of the 150 go by lot.
    std::vector<int> perProvider(m_providers.size(), 1);
    for (int left = kChannels - static_cast<int>(m_providers.size()); left > 0; --left)
        ++perProvider[static_cast<std::size_t>(std::sqrt(uniform()) * m_providers.size())];
    int id = 0;
    for (std::size_t p = 0; p < perProvider.size(); ++p) {
        for (int c = 0; c < perProvider[p]; ++c) {
            const int category = 1 + below(static_cast<int>(m_categories.size()));
            const QString suffix = c == 0 ? QString::fromLatin1(kChannelKinds[0])
                                          : m_categories[category - 1] + u' ' +
                                                QString::fromLatin1(pick(kChannelKinds, c));
            m_channels.push_back({++id, m_providers[qsizetype(p)] + u' ' + suffix,
                                  static_cast<int>(p) + 1, category, 0.0});
        }
    }
    // Zipf-like activity over a shuffled order, so busy channels are spread
    // over providers; the last few in that order publish nothing.
    std::vector<int> order(m_channels.size());
    std::iota(order.begin(), order.end(), 0);
    for (std::size_t i = order.size() - 1; i > 0; --i)
        std::swap(order[i], order[static_cast<std::size_t>(below(static_cast<int>(i + 1)))]);
    for (std::size_t rank = 0; rank < order.size(); ++rank) {
        const bool silent = rank >= order.size() - kSilentChannels;
        m_channels[order[rank]].weight = silent ? 0.0 : 1.0 / std::pow(rank + 1.0, 1.1);
    }
    double sum = 0;
    for (const Channel &channel : m_channels)
        m_channelCumulative.push_back(sum += channel.weight);
}

std::vector<qint64> DemoGenerator::itemsPerDay()
{
    const int days = std::max(1, m_options.days);
    const QDate first = m_options.until.addDays(1 - days);
    std::vector<double> cumulative(static_cast<std::size_t>(days));
    double sum = 0;
    for (int d = 0; d < days; ++d) {
        const double growth = 0.5 + 0.5 * d / days;
        const double weekday = kWeekdayWeights[first.addDays(d).dayOfWeek() - 1];
        sum += growth * weekday * (0.75 + 0.5 * uniform());
        cumulative[static_cast<std::size_t>(d)] = sum;
    }
    // Rounding the cumulative share keeps the total exact.
    std::vector<qint64> counts(cumulative.size());
    qint64 before = 0;
    for (std::size_t d = 0; d < counts.size(); ++d) {
        const auto upTo = std::llround(static_cast<double>(m_options.items) * cumulative[d] / sum);
        counts[d] = upTo - before;
        before = upTo;
    }
    return counts;
}

int DemoGenerator::pickChannel()
{
    const double x = uniform() * m_channelCumulative.back();
    const auto it = std::upper_bound(m_channelCumulative.begin(), m_channelCumulative.end(), x);
    const auto index = std::min<std::ptrdiff_t>(it - m_channelCumulative.begin(),
                                                static_cast<std::ptrdiff_t>(m_channels.size()) - 1);
    return m_channels[static_cast<std::size_t>(index)].id;
}

int DemoGenerator::pickSecondOfDay()
{
    static const std::array<double, 24> cumulative = [] {
        std::array<double, 24> c{};
        std::partial_sum(kHourWeights.begin(), kHourWeights.end(), c.begin());
        return c;
    }();
    const double x = uniform() * cumulative.back();
    const auto hour = std::min<std::ptrdiff_t>(
        std::upper_bound(cumulative.begin(), cumulative.end(), x) - cumulative.begin(), 23);
    return static_cast<int>(hour) * 3600 + below(3600);
}

void DemoGenerator::makeTitle(std::string &out)
{
    out.assign(pick(kSubjects, below(kSubjects.size())));
    out += ' ';
    out += pick(kVerbs, below(kVerbs.size()));
    out += ' ';
    out += pick(kObjects, below(kObjects.size()));
    out += pick(kPlaces, below(kPlaces.size()));
}

bool DemoGenerator::generate(const Sink &sink)
{
    const std::vector<qint64> counts = itemsPerDay();
    const QDate first = m_options.until.addDays(1 - static_cast<qint64>(counts.size()));
    Item item{};
    std::string title;
    item.title = &title;
    std::vector<int> seconds;
    for (std::size_t d = 0; d < counts.size(); ++d) {
        const QDate date = first.addDays(static_cast<qint64>(d));
        const dates::Fields day{date.year(), date.month(), date.day()};
        seconds.resize(static_cast<std::size_t>(counts[d]));
        for (int &s : seconds)
            s = pickSecondOfDay();
        std::sort(seconds.begin(), seconds.end());
        for (int s : seconds) {
            ++item.id;
            writeTimestamp(item.pubDate, day, s);
            item.channel = pickChannel();
            makeTitle(title);
            if (!sink(item))
                return false;
        }
    }
    return true;
}

} // namespace qrt::db
