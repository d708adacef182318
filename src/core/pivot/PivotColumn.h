#pragma once
// One column of a loaded result, held the way the pivot engine reads it:
// row values as small integer codes in chunks of 64K rows, the distinct
// values once in a sorted dictionary. Code 0 is the blank (NULL or empty)
// value, codes 1..n follow the sort order of the values, so a code is also
// the member's position. A date column keeps per row its day (as a code from
// the first day) and, when the values carry one, its second of the day.
// A column loaded by its counts alone (see PivotGrain) has no values: every
// row is blank, and counts() gives each row's number of non-blank values.
// Immutable once built; shared between threads.

#include <QString>

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace qrt::pivot {

class PivotColumn
{
public:
    enum class Kind { Text, Number, Date };
    using Codes = std::variant<std::vector<quint8>, std::vector<quint16>, std::vector<quint32>>;

    static constexpr qint64 ChunkRows = 1 << 16;

    PivotColumn() = default;
    PivotColumn(PivotColumn &&other) noexcept;
    PivotColumn &operator=(PivotColumn &&other) noexcept;

    const QString &name() const { return m_name; }
    Kind kind() const { return m_kind; }
    qint64 rowCount() const { return m_rows; }
    bool hasBlank() const { return m_hasBlank; }
    int chunkCount() const { return static_cast<int>(m_codes.size()); }
    // Value codes of a text or number column, day codes of a date column.
    const Codes &codes(int chunk) const { return m_codes[static_cast<std::size_t>(chunk)]; }

    // Text and number columns.
    quint32 valueCount() const { return static_cast<quint32>(m_captions.size()); }
    // "(blank)" for code 0.
    const QString &caption(quint32 code) const;
    // The value as a number; NaN for the blank and for text that is none.
    double number(quint32 code) const { return code ? m_numbers[code - 1] : qQNaN(); }
    std::optional<quint32> codeOf(QStringView caption) const;
    // Text members sort by this key.
    static std::string sortKey(const QString &caption);

    // Date columns. Day code c (1..dayCodeCount()) is day number
    // firstDay() + c - 1, counted from 1899-12-30; 0 is a blank date.
    qint32 firstDay() const { return m_firstDay; }
    quint32 dayCodeCount() const { return m_dayCodes; }
    // Seconds of the day per row of a chunk; empty when every value is a whole day.
    const std::vector<quint32> &seconds(int chunk) const;
    // The days that occur, ascending.
    const std::vector<qint32> &presentDays() const { return m_presentDays; }
    // The distinct day * 86400 + second values that occur, ascending; worked
    // out on first use, since only views below a day need them.
    const std::vector<qint64> &presentTimes() const;
    static double dateValue(qint32 day, quint32 second);
    // The seconds a grouped load cut the dates to (86400: whole days); 1
    // when they are as stored. Members below that are not in the column.
    quint32 timeStep() const { return m_timeStep; }
    void setTimeStep(quint32 seconds) { m_timeStep = seconds; }

    // Columns loaded by their counts alone.
    bool isCountOnly() const { return !m_counts.empty(); }
    const std::vector<quint32> &counts(int chunk) const
    {
        return m_counts[static_cast<std::size_t>(chunk)];
    }

    qint64 memoryBytes() const;

private:
    friend class PivotColumnBuilder;

    QString m_name;
    Kind m_kind = Kind::Text;
    qint64 m_rows = 0;
    bool m_hasBlank = false;
    std::vector<Codes> m_codes;
    std::vector<QString> m_captions; // code - 1
    std::vector<double> m_numbers;   // code - 1
    qint32 m_firstDay = 0;
    quint32 m_dayCodes = 0;
    std::vector<std::vector<quint32>> m_seconds;
    std::vector<qint32> m_presentDays;
    std::vector<std::vector<quint32>> m_counts;
    quint32 m_timeStep = 1;
    mutable std::once_flag m_timesOnce;
    mutable std::vector<qint64> m_presentTimes;
};

// Reads a code of any width.
template<typename F>
decltype(auto) visitCodes(const PivotColumn::Codes &codes, F &&f)
{
    return std::visit(std::forward<F>(f), codes);
}

} // namespace qrt::pivot
