#include "pivot/PivotHierarchy.h"

#include "base/Dates.h"
#include "pivot/PivotColumn.h"

#include <algorithm>
#include <array>
#include <cmath>

using namespace Qt::StringLiterals;

namespace qrt::pivot {

namespace {

using Level = PivotHierarchy::Level;

const std::array<const char16_t *, 12> kMonths = {u"Jan", u"Feb", u"Mar", u"Apr", u"May", u"Jun",
                                                  u"Jul", u"Aug", u"Sep", u"Oct", u"Nov", u"Dec"};

qint64 floorDiv(qint64 a, qint64 b)
{
    return a / b - ((a % b != 0) && ((a < 0) != (b < 0)));
}

qint64 floorMod(qint64 a, qint64 b)
{
    return a - floorDiv(a, b) * b;
}

dates::Fields civil(qint64 day)
{
    return dates::toFields(static_cast<double>(day));
}

// Monday 0 .. Sunday 6; day 0, 1899-12-30, was a Saturday.
int weekday(qint64 day)
{
    return static_cast<int>(floorMod(day + 5, 7));
}

int weekOfYear(qint64 day, int year)
{
    const qint64 jan1 = dates::daysFromCivil(year, 1, 1);
    return static_cast<int>((day - jan1 + weekday(jan1)) / 7) + 1;
}

QString twoDigits(qint64 value)
{
    return QString::number(value).rightJustified(2, u'0');
}

// A representative moment of a key: its first day and second.
void moment(Level level, qint64 key, qint64 &day, qint64 &second)
{
    second = 0;
    switch (level) {
    case Level::Hours:
        day = floorDiv(key, 24);
        second = floorMod(key, 24) * 3600;
        return;
    case Level::Minutes:
        day = floorDiv(key, 1440);
        second = floorMod(key, 1440) * 60;
        return;
    case Level::Seconds:
    case Level::Timestamp:
        day = floorDiv(key, 86400);
        second = floorMod(key, 86400);
        return;
    case Level::Days:
        day = key;
        return;
    case Level::Years:
        day = dates::daysFromCivil(static_cast<int>(key), 1, 1);
        return;
    case Level::Quarters:
        day = dates::daysFromCivil(static_cast<int>(floorDiv(key, 4)),
                                   static_cast<int>(floorMod(key, 4)) * 3 + 1, 1);
        return;
    case Level::Months:
        day = dates::daysFromCivil(static_cast<int>(floorDiv(key, 12)),
                                   static_cast<int>(floorMod(key, 12)) + 1, 1);
        return;
    case Level::Weeks: {
        const auto year = static_cast<int>(floorDiv(key, 54));
        const qint64 jan1 = dates::daysFromCivil(year, 1, 1);
        day = std::max(jan1, jan1 - weekday(jan1) + floorMod(key, 54) * 7);
        return;
    }
    case Level::Value:
        day = 0;
        return;
    }
}

} // namespace

PivotHierarchy::PivotHierarchy(const PivotColumn &column, Shape shape)
    : m_column(&column)
    , m_shape(shape)
{
    switch (shape) {
    case Shape::Values:
        m_levels = {Level::Value};
        break;
    case Shape::Timestamps:
        m_levels = {Level::Timestamp};
        break;
    case Shape::ByWeek:
        m_levels = {Level::Years, Level::Weeks,   Level::Days,
                    Level::Hours, Level::Minutes, Level::Seconds};
        break;
    case Shape::ByMonth:
        m_levels = {Level::Years, Level::Quarters, Level::Months, Level::Days,
                    Level::Hours, Level::Minutes,  Level::Seconds};
        break;
    }
}

QString PivotHierarchy::levelName(Level level)
{
    switch (level) {
    case Level::Years:
        return u"Years"_s;
    case Level::Quarters:
        return u"Quarters"_s;
    case Level::Months:
        return u"Months"_s;
    case Level::Weeks:
        return u"Weeks"_s;
    case Level::Days:
        return u"Days"_s;
    case Level::Hours:
        return u"Hours"_s;
    case Level::Minutes:
        return u"Minutes"_s;
    case Level::Seconds:
        return u"Seconds"_s;
    case Level::Value:
    case Level::Timestamp:
        break;
    }
    return {};
}

bool PivotHierarchy::isDayLevel(Level level)
{
    return level == Level::Years || level == Level::Quarters || level == Level::Months ||
           level == Level::Weeks || level == Level::Days;
}

qint64 PivotHierarchy::dateKey(Level level, qint32 day, quint32 second)
{
    switch (level) {
    case Level::Days:
        return day;
    case Level::Hours:
        return static_cast<qint64>(day) * 24 + second / 3600;
    case Level::Minutes:
        return static_cast<qint64>(day) * 1440 + second / 60;
    case Level::Seconds:
    case Level::Timestamp:
        return static_cast<qint64>(day) * 86400 + second;
    case Level::Value:
        return 0;
    default:
        break;
    }
    const dates::Fields f = civil(day);
    switch (level) {
    case Level::Years:
        return f.year;
    case Level::Quarters:
        return static_cast<qint64>(f.year) * 4 + (f.month - 1) / 3;
    case Level::Months:
        return static_cast<qint64>(f.year) * 12 + f.month - 1;
    case Level::Weeks:
        return static_cast<qint64>(f.year) * 54 + weekOfYear(day, f.year) - 1;
    default:
        return 0;
    }
}

QString PivotHierarchy::caption(int levelIndex, qint64 key) const
{
    const Level l = level(levelIndex);
    if (l == Level::Value)
        return m_column->caption(static_cast<quint32>(key));
    if (key == BlankKey)
        return m_column->caption(0);
    switch (l) {
    case Level::Years:
        return QString::number(key);
    case Level::Quarters:
        return u"Qtr"_s + QString::number(floorMod(key, 4) + 1);
    case Level::Months:
        return QString::fromUtf16(kMonths[static_cast<std::size_t>(floorMod(key, 12))]);
    case Level::Weeks:
        return u"Week "_s + QString::number(floorMod(key, 54) + 1);
    case Level::Days:
        return QString::number(civil(key).day);
    case Level::Hours:
        return twoDigits(floorMod(key, 24));
    case Level::Minutes:
    case Level::Seconds:
        return twoDigits(floorMod(key, 60));
    case Level::Timestamp: {
        qint64 day = 0, second = 0;
        moment(l, key, day, second);
        return dates::toText(
            PivotColumn::dateValue(static_cast<qint32>(day), static_cast<quint32>(second)));
    }
    case Level::Value:
        break;
    }
    return {};
}

qint64 PivotHierarchy::parentKey(int levelIndex, qint64 key) const
{
    return ancestorKey(levelIndex, key, levelIndex - 1);
}

qint64 PivotHierarchy::ancestorKey(int levelIndex, qint64 key, int to) const
{
    if (to == levelIndex || to < 0 || level(levelIndex) == Level::Value)
        return key;
    if (key == BlankKey)
        return BlankKey;
    qint64 day = 0, second = 0;
    moment(level(levelIndex), key, day, second);
    return dateKey(level(to), static_cast<qint32>(day), static_cast<quint32>(second));
}

void PivotHierarchy::daySpan(Level l, qint64 key, qint64 &first, qint64 &last) const
{
    qint64 second = 0;
    moment(l, key, first, second);
    switch (l) {
    case Level::Years:
        last = dates::daysFromCivil(static_cast<int>(key), 12, 31);
        return;
    case Level::Quarters:
    case Level::Months: {
        const qint64 months = l == Level::Quarters ? 3 : 1;
        const qint64 index = l == Level::Quarters ? key * 3 : key; // in months
        const qint64 next = index + months;
        last = dates::daysFromCivil(static_cast<int>(floorDiv(next, 12)),
                                    static_cast<int>(floorMod(next, 12)) + 1, 1) -
               1;
        return;
    }
    case Level::Weeks: {
        const auto year = static_cast<int>(floorDiv(key, 54));
        const qint64 jan1 = dates::daysFromCivil(year, 1, 1);
        const qint64 start = jan1 - weekday(jan1) + floorMod(key, 54) * 7;
        last = std::min(start + 6, dates::daysFromCivil(year, 12, 31));
        return;
    }
    default:
        last = first;
    }
}

std::vector<qint64> PivotHierarchy::childKeys(int levelIndex, qint64 parent) const
{
    std::vector<qint64> keys;
    const Level l = level(levelIndex);
    if (l == Level::Value) {
        for (quint32 code = m_column->hasBlank() ? 0 : 1; code <= m_column->valueCount(); ++code)
            keys.push_back(code);
        return keys;
    }
    qint64 first = std::numeric_limits<qint64>::min() / 86400 + 1;
    qint64 last = std::numeric_limits<qint64>::max() / 86400 - 1;
    if (levelIndex > 0) {
        if (parent == BlankKey)
            return {BlankKey};
        daySpan(level(levelIndex - 1), parent, first, last);
        if (!isDayLevel(level(levelIndex - 1))) { // under an hour or a minute
            qint64 second = 0, day = 0;
            moment(level(levelIndex - 1), parent, day, second);
            const qint64 width = level(levelIndex - 1) == Level::Hours ? 3600 : 60;
            const std::vector<qint64> &times = m_column->presentTimes();
            auto it = std::lower_bound(times.begin(), times.end(), day * 86400 + second);
            for (; it != times.end() && *it < day * 86400 + second + width; ++it) {
                const qint64 key = dateKey(l, static_cast<qint32>(floorDiv(*it, 86400)),
                                           static_cast<quint32>(floorMod(*it, 86400)));
                if (keys.empty() || keys.back() != key)
                    keys.push_back(key);
            }
            return keys;
        }
    } else if (m_column->hasBlank()) {
        keys.push_back(BlankKey);
    }
    if (isDayLevel(l)) {
        const std::vector<qint32> &days = m_column->presentDays();
        for (auto it = std::lower_bound(days.begin(), days.end(), first);
             it != days.end() && *it <= last; ++it) {
            const qint64 key = dateKey(l, *it, 0);
            if (keys.empty() || keys.back() != key)
                keys.push_back(key);
        }
        return keys;
    }
    const std::vector<qint64> &times = m_column->presentTimes();
    for (auto it = std::lower_bound(times.begin(), times.end(), first * 86400);
         it != times.end() && *it < (last + 1) * 86400; ++it) {
        const qint64 key = dateKey(l, static_cast<qint32>(floorDiv(*it, 86400)),
                                   static_cast<quint32>(floorMod(*it, 86400)));
        if (keys.empty() || keys.back() != key)
            keys.push_back(key);
    }
    return keys;
}

std::optional<qint64> PivotHierarchy::keyBelowCut(int levelIndex, qint64 parent,
                                                  QStringView text) const
{
    // A grouped load cut the times above this level: the member is named
    // by its caption alone, and the finer load the layout then asks for
    // has it, when it exists.
    const Level l = level(levelIndex);
    const int width = l == Level::Hours ? 3600 : l == Level::Minutes ? 60 : 1;
    if (levelIndex == 0 || parent == BlankKey ||
        !(l == Level::Hours || l == Level::Minutes || l == Level::Seconds) ||
        static_cast<quint32>(width) >= m_column->timeStep() || text.size() != 2)
        return std::nullopt;
    bool ok = false;
    const int value = text.toInt(&ok);
    if (!ok || value < 0 || value >= (l == Level::Hours ? 24 : 60) || !text.front().isDigit())
        return std::nullopt;
    return parent * (l == Level::Hours ? 24 : 60) + value;
}

std::optional<qint64> PivotHierarchy::findChild(int levelIndex, qint64 parent,
                                                QStringView text) const
{
    const Level l = level(levelIndex);
    if (l == Level::Value) {
        if (const auto code = m_column->codeOf(text))
            return *code;
        return std::nullopt;
    }
    if (l == Level::Timestamp) { // possibly millions of children: read the caption instead
        if (text == m_column->caption(0))
            return m_column->hasBlank() ? std::optional<qint64>(BlankKey) : std::nullopt;
        const std::optional<double> value = dates::fromText(text);
        if (!value || dates::toText(*value) != text)
            return std::nullopt;
        const qint64 wanted = dateKey(
            l, static_cast<qint32>(std::trunc(*value)),
            static_cast<quint32>(std::llround(std::fabs(*value - std::trunc(*value)) * 86400.0)));
        const std::vector<qint64> &times = m_column->presentTimes();
        if (m_column->timeStep() > 1 || std::binary_search(times.begin(), times.end(), wanted))
            return wanted;
        return std::nullopt;
    }
    if (const std::optional<qint64> key = keyBelowCut(levelIndex, parent, text))
        return key;
    for (qint64 key : childKeys(levelIndex, parent))
        if (caption(levelIndex, key) == text)
            return key;
    return std::nullopt;
}

} // namespace qrt::pivot
