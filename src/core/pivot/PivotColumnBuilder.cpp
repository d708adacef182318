#include "pivot/PivotColumnBuilder.h"

#include "base/Dates.h"

#include <QDateTime>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <numeric>

using namespace Qt::StringLiterals;

namespace qrt::pivot {

namespace {

constexpr qint32 kNoDay = std::numeric_limits<qint32>::min();

template<typename T>
void pushChunked(std::vector<std::vector<T>> &chunks, T value)
{
    if (chunks.empty() || static_cast<qint64>(chunks.back().size()) == PivotColumn::ChunkRows) {
        chunks.emplace_back();
        chunks.back().reserve(PivotColumn::ChunkRows);
    }
    chunks.back().push_back(value);
}

// The narrowest code type that holds every code up to maxCode.
template<typename From>
PivotColumn::Codes narrow(std::vector<From> &&wide, quint32 maxCode,
                          const std::vector<quint32> &remap)
{
    auto convert = [&](auto tag) {
        using T = decltype(tag);
        std::vector<T> out(wide.size());
        for (std::size_t i = 0; i < wide.size(); ++i)
            out[i] = static_cast<T>(remap.empty() ? wide[i] : remap[wide[i]]);
        std::vector<From>().swap(wide); // frees the wide chunk before the next one
        return PivotColumn::Codes(std::move(out));
    };
    if (maxCode <= std::numeric_limits<quint8>::max())
        return convert(quint8{});
    if (maxCode <= std::numeric_limits<quint16>::max())
        return convert(quint16{});
    return convert(quint32{});
}

// The day and the second a clock shows: rounded to the millisecond, which
// mends the fraction's binary error, then cut to the second, so that
// 23:59:59.600 stays on its day.
void splitDate(double value, qint32 &day, quint32 &second)
{
    const double whole = std::trunc(value);
    auto ms = static_cast<qint64>(std::llround(std::fabs(value - whole) * 86400000.0));
    auto d = static_cast<qint64>(whole);
    if (ms >= 86400000) {
        ms -= 86400000;
        d += value < 0 ? -1 : 1;
    }
    day =
        static_cast<qint32>(std::clamp<qint64>(d, kNoDay + 1, std::numeric_limits<qint32>::max()));
    second = static_cast<quint32>(ms / 1000);
}

} // namespace

PivotColumnBuilder::PivotColumnBuilder(QString name)
    : m_name(std::move(name))
{}

void PivotColumnBuilder::pushCode(quint32 code)
{
    pushChunked(m_codes, code);
    ++m_rows;
}

void PivotColumnBuilder::pushDate(qint32 day, quint32 second)
{
    pushChunked(m_days, day);
    pushChunked(m_seconds, second);
    m_anyTime = m_anyTime || second != 0;
    ++m_rows;
}

void PivotColumnBuilder::addNull()
{
    m_hasBlank = true;
    switch (m_state) {
    case State::Unknown:
        ++m_blankRows;
        ++m_rows;
        break;
    case State::Text:
    case State::Number:
        pushCode(0);
        break;
    case State::Date:
        pushDate(kNoDay, 0);
        break;
    }
}

void PivotColumnBuilder::addCount(quint32 count)
{
    pushChunked(m_counts, count);
    addNull();
}

void PivotColumnBuilder::growSlots()
{
    std::vector<Slot> slots(std::max<std::size_t>(1024, m_slots.size() * 2));
    const std::size_t mask = slots.size() - 1;
    for (const Slot &slot : m_slots) {
        if (!slot.code)
            continue;
        std::size_t i = slot.hash & mask;
        while (slots[i].code)
            i = (i + 1) & mask;
        slots[i] = slot;
    }
    m_slots = std::move(slots);
}

quint32 PivotColumnBuilder::textCode(std::string_view utf8)
{
    if (utf8.empty()) {
        m_hasBlank = true;
        return 0;
    }
    if (m_lastCode && text(m_lastCode) == utf8)
        return m_lastCode;
    if ((m_texts.size() + 1) * 2 > m_slots.size())
        growSlots();
    const auto hash = static_cast<quint32>(std::hash<std::string_view>()(utf8));
    const std::size_t mask = m_slots.size() - 1;
    std::size_t i = hash & mask;
    for (; m_slots[i].code; i = (i + 1) & mask) {
        if (m_slots[i].hash == hash && text(m_slots[i].code) == utf8)
            return m_lastCode = m_slots[i].code;
    }
    m_texts.emplace_back(m_arena.size(), utf8.size());
    m_arena.append(utf8);
    m_slots[i] = {static_cast<quint32>(m_texts.size()), hash};
    return m_lastCode = m_slots[i].code;
}

quint32 PivotColumnBuilder::numberCode(double value)
{
    if (std::isnan(value)) {
        m_hasBlank = true;
        return 0;
    }
    const auto [it, added] = m_numberCodes.try_emplace(value, 0);
    if (added) {
        m_numbers.push_back(value);
        it->second = static_cast<quint32>(m_numbers.size());
    }
    return it->second;
}

void PivotColumnBuilder::addText(std::string_view utf8)
{
    if (m_state == State::Unknown || m_state == State::Date) {
        if (utf8.empty())
            return addNull();
        if (const std::optional<double> date = dates::fromText(utf8))
            return addDate(*date);
        becomeText();
    } else if (m_state == State::Number) {
        becomeText();
    }
    pushCode(textCode(utf8));
}

void PivotColumnBuilder::addText(const QString &text)
{
    const QByteArray utf8 = text.toUtf8();
    addText(std::string_view(utf8.constData(), static_cast<std::size_t>(utf8.size())));
}

void PivotColumnBuilder::addNumber(double value)
{
    switch (m_state) {
    case State::Unknown:
        settle(State::Number);
        [[fallthrough]];
    case State::Number:
        return pushCode(numberCode(value));
    case State::Date: // a date kept as a number of days
        return addDate(value);
    case State::Text:
        return pushCode(textCode(numberText(value)));
    }
}

void PivotColumnBuilder::addDate(double value)
{
    if (m_state == State::Unknown)
        settle(State::Date);
    if (m_state != State::Date)
        return addText(dates::toText(value));
    qint32 day = 0;
    quint32 second = 0;
    splitDate(value, day, second);
    pushDate(day, second);
}

void PivotColumnBuilder::addVariant(const QVariant &value)
{
    if (value.isNull())
        return addNull();
    switch (value.typeId()) {
    case QMetaType::QDateTime:
        return addDate(dates::fromQDateTime(value.toDateTime()));
    case QMetaType::QDate:
        return addDate(dates::fromQDate(value.toDate()));
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::Float:
    case QMetaType::Short:
    case QMetaType::UShort:
        return addNumber(value.toDouble());
    case QMetaType::Bool:
        return addNumber(value.toBool() ? 1 : 0);
    default:
        return addText(value.toString());
    }
}

std::string PivotColumnBuilder::numberText(double value)
{
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

void PivotColumnBuilder::settle(State state)
{
    // Blanks read before the first value become blanks of the chosen kind.
    m_state = state;
    const qint64 blanks = std::exchange(m_blankRows, 0);
    m_rows -= blanks;
    for (qint64 i = 0; i < blanks; ++i) {
        if (state == State::Date)
            pushDate(kNoDay, 0);
        else
            pushCode(0);
    }
}

void PivotColumnBuilder::becomeText()
{
    const State was = m_state;
    if (was == State::Unknown)
        return settle(State::Text);
    m_state = State::Text;
    if (was == State::Number) {
        std::vector<quint32> remap(m_numbers.size() + 1, 0);
        for (std::size_t i = 0; i < m_numbers.size(); ++i)
            remap[i + 1] = textCode(numberText(m_numbers[i]));
        for (auto &chunk : m_codes)
            for (quint32 &code : chunk)
                code = remap[code];
        m_numbers.clear();
        m_numberCodes.clear();
        return;
    }
    // Dates so far become their ISO text.
    auto days = std::move(m_days);
    auto seconds = std::move(m_seconds);
    m_days.clear();
    m_seconds.clear();
    m_rows = 0;
    for (std::size_t c = 0; c < days.size(); ++c) {
        for (std::size_t r = 0; r < days[c].size(); ++r) {
            const qint32 day = days[c][r];
            if (day == kNoDay) {
                pushCode(0);
                continue;
            }
            const QByteArray text =
                dates::toText(PivotColumn::dateValue(day, seconds[c][r])).toUtf8();
            pushCode(textCode(
                std::string_view(text.constData(), static_cast<std::size_t>(text.size()))));
        }
    }
}

PivotColumn PivotColumnBuilder::finish()
{
    if (m_state == State::Unknown)
        becomeText(); // nothing but blanks
    PivotColumn column = m_state == State::Date ? finishDates() : finishValues();
    column.m_counts = std::move(m_counts);
    column.m_name = m_name;
    column.m_rows = m_rows;
    column.m_hasBlank = m_hasBlank;
    *this = PivotColumnBuilder(m_name);
    return column;
}

double PivotColumnBuilder::numberOf(const QString &text)
{
    // Only text that is a number as a whole counts; most captions are not
    // numbers at all, so the cheap first-character test saves the parse.
    if (text.isEmpty() || !(text.front().isDigit() || text.front() == u'-' ||
                            text.front() == u'+' || text.front() == u'.'))
        return qQNaN();
    bool ok = false;
    const double value = text.toDouble(&ok);
    return ok ? value : qQNaN();
}

void PivotColumnBuilder::sortCaptions(const std::vector<QString> &captions,
                                      std::vector<quint32> &order)
{
    // One key per caption, not one folding per comparison.
    std::vector<std::string> keys(captions.size());
    for (std::size_t i = 0; i < captions.size(); ++i)
        keys[i] = PivotColumn::sortKey(captions[i]);
    std::sort(order.begin(), order.end(), [&](quint32 a, quint32 b) { return keys[a] < keys[b]; });
}

PivotColumn PivotColumnBuilder::finishValues()
{
    PivotColumn column;
    const bool numbers = m_state == State::Number;
    column.m_kind = numbers ? PivotColumn::Kind::Number : PivotColumn::Kind::Text;
    const std::size_t count = numbers ? m_numbers.size() : m_texts.size();

    std::vector<QString> captions(count);
    if (numbers) {
        for (std::size_t i = 0; i < count; ++i)
            captions[i] = QString::fromStdString(numberText(m_numbers[i]));
    } else {
        for (std::size_t i = 0; i < count; ++i) {
            const std::string_view utf8 = text(static_cast<quint32>(i + 1));
            captions[i] = QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
        }
    }
    m_slots = {};
    m_texts = {};
    m_arena = {};

    std::vector<quint32> order(count);
    std::iota(order.begin(), order.end(), 0);
    if (numbers)
        std::sort(order.begin(), order.end(),
                  [&](quint32 a, quint32 b) { return m_numbers[a] < m_numbers[b]; });
    else
        sortCaptions(captions, order);

    std::vector<quint32> remap(count + 1, 0); // old code -> sorted code
    column.m_captions.resize(count);
    column.m_numbers.resize(count);
    for (std::size_t rank = 0; rank < count; ++rank) {
        const quint32 old = order[rank];
        remap[old + 1] = static_cast<quint32>(rank + 1);
        column.m_captions[rank] = std::move(captions[old]);
        if (numbers) {
            column.m_numbers[rank] = m_numbers[old];
        } else {
            column.m_numbers[rank] = numberOf(column.m_captions[rank]);
        }
    }
    for (auto &chunk : m_codes)
        column.m_codes.push_back(narrow(std::move(chunk), static_cast<quint32>(count), remap));
    m_codes.clear();
    return column;
}

PivotColumn PivotColumnBuilder::finishDates()
{
    PivotColumn column;
    column.m_kind = PivotColumn::Kind::Date;
    qint32 first = std::numeric_limits<qint32>::max();
    qint32 last = std::numeric_limits<qint32>::min();
    for (const auto &chunk : m_days) {
        for (qint32 day : chunk) {
            if (day == kNoDay)
                continue;
            first = std::min(first, day);
            last = std::max(last, day);
        }
    }
    const bool any = first <= last;
    column.m_firstDay = any ? first : 0;
    column.m_dayCodes = any ? static_cast<quint32>(static_cast<qint64>(last) - first + 1) : 0;

    std::vector<bool> present(column.m_dayCodes + 1, false);
    for (auto &chunk : m_days) {
        std::vector<quint32> codes(chunk.size());
        for (std::size_t r = 0; r < chunk.size(); ++r) {
            codes[r] =
                chunk[r] == kNoDay ? 0 : static_cast<quint32>(chunk[r] - column.m_firstDay + 1);
            present[codes[r]] = true;
        }
        std::vector<qint32>().swap(chunk);
        column.m_codes.push_back(narrow(std::move(codes), column.m_dayCodes, {}));
    }
    m_days.clear();
    for (quint32 c = 1; c <= column.m_dayCodes; ++c)
        if (present[c])
            column.m_presentDays.push_back(column.m_firstDay + static_cast<qint32>(c) - 1);
    if (m_anyTime)
        column.m_seconds = std::move(m_seconds);
    m_seconds.clear();
    return column;
}

} // namespace qrt::pivot
