#include "pivot/PivotColumn.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace qrt::pivot {

namespace {

const std::vector<quint32> kNoSeconds;

} // namespace

PivotColumn::PivotColumn(PivotColumn &&other) noexcept
{
    *this = std::move(other);
}

PivotColumn &PivotColumn::operator=(PivotColumn &&other) noexcept
{
    m_name = std::move(other.m_name);
    m_kind = other.m_kind;
    m_rows = other.m_rows;
    m_hasBlank = other.m_hasBlank;
    m_codes = std::move(other.m_codes);
    m_captions = std::move(other.m_captions);
    m_numbers = std::move(other.m_numbers);
    m_firstDay = other.m_firstDay;
    m_dayCodes = other.m_dayCodes;
    m_seconds = std::move(other.m_seconds);
    m_presentDays = std::move(other.m_presentDays);
    m_counts = std::move(other.m_counts);
    m_timeStep = other.m_timeStep;
    m_presentTimes.clear(); // worked out again on demand
    return *this;
}

const QString &PivotColumn::caption(quint32 code) const
{
    static const QString blank = u"(blank)"_s;
    return code ? m_captions[code - 1] : blank;
}

std::string PivotColumn::sortKey(const QString &caption)
{
    // Case-folded UTF-8, then the exact UTF-8 after a NUL: "apple" and
    // "Apple" sit together, ties stay ordered, and comparing is a memcmp.
    return caption.toCaseFolded().toStdString() + '\0' + caption.toStdString();
}

std::optional<quint32> PivotColumn::codeOf(QStringView caption) const
{
    if (m_kind == Kind::Number) {
        bool ok = false;
        const double value = caption.toDouble(&ok);
        if (!ok)
            return caption == this->caption(0) && m_hasBlank ? std::optional<quint32>(0)
                                                             : std::nullopt;
        const auto it = std::lower_bound(m_numbers.begin(), m_numbers.end(), value);
        if (it != m_numbers.end() && *it == value)
            return static_cast<quint32>(it - m_numbers.begin()) + 1;
        return std::nullopt;
    }
    const QString key = caption.toString();
    const std::string wanted = sortKey(key);
    const auto it =
        std::lower_bound(m_captions.begin(), m_captions.end(), wanted,
                         [](const QString &a, const std::string &b) { return sortKey(a) < b; });
    if (it != m_captions.end() && *it == key)
        return static_cast<quint32>(it - m_captions.begin()) + 1;
    if (m_hasBlank && key == this->caption(0))
        return 0;
    return std::nullopt;
}

const std::vector<quint32> &PivotColumn::seconds(int chunk) const
{
    return m_seconds.empty() ? kNoSeconds : m_seconds[static_cast<std::size_t>(chunk)];
}

double PivotColumn::dateValue(qint32 day, quint32 second)
{
    // Before 1899-12-30 the time of day counts away from zero, as the date
    // type does.
    const double fraction = second / 86400.0;
    return day >= 0 ? day + fraction : day - fraction;
}

const std::vector<qint64> &PivotColumn::presentTimes() const
{
    std::call_once(m_timesOnce, [this] {
        std::vector<qint64> times;
        for (int c = 0; c < chunkCount(); ++c) {
            const std::vector<quint32> &secs = seconds(c);
            visitCodes(codes(c), [&](const auto &days) {
                for (std::size_t r = 0; r < days.size(); ++r) {
                    if (days[r] == 0)
                        continue;
                    const qint64 day = m_firstDay + static_cast<qint64>(days[r]) - 1;
                    times.push_back(day * 86400 + (secs.empty() ? 0 : secs[r]));
                }
            });
        }
        std::sort(times.begin(), times.end());
        times.erase(std::unique(times.begin(), times.end()), times.end());
        times.shrink_to_fit();
        m_presentTimes = std::move(times);
    });
    return m_presentTimes;
}

qint64 PivotColumn::memoryBytes() const
{
    qint64 bytes = sizeof(*this);
    for (const Codes &chunk : m_codes)
        bytes += visitCodes(chunk, [](const auto &v) {
            return static_cast<qint64>(v.capacity()) * static_cast<qint64>(sizeof(v[0]));
        });
    for (const auto &chunk : m_seconds)
        bytes += static_cast<qint64>(chunk.capacity() * sizeof(quint32));
    for (const auto &chunk : m_counts)
        bytes += static_cast<qint64>(chunk.capacity() * sizeof(quint32));
    for (const QString &caption : m_captions)
        bytes += static_cast<qint64>(sizeof(QString)) + 32 + caption.capacity() * 2;
    bytes += static_cast<qint64>(m_numbers.capacity() * sizeof(double));
    bytes += static_cast<qint64>(m_presentDays.capacity() * sizeof(qint32));
    bytes += static_cast<qint64>(m_presentTimes.capacity() * sizeof(qint64));
    return bytes;
}

} // namespace qrt::pivot
