#pragma once
// The member tree of one field set over one column: which levels it has and,
// for a level, the members that occur, their captions, parents and children.
// A member is a level and a 64-bit key; keys sort in member order, so a
// sorted run of keys at one level also keeps their parents together.
//
// A text or number column has one level whose keys are the column's value
// codes. A date column has one level of whole timestamps, or the calendar
// levels of "By Week" (Years, Weeks, Days, Hours, Minutes, Seconds) and "By
// Month" (Years, Quarters, Months, Days, Hours, Minutes, Seconds). Weeks run
// Monday to Sunday inside their calendar year: week 1 is the one holding
// 1 January, so every week has exactly one year above it.

#include <QString>

#include <optional>
#include <vector>

namespace qrt::pivot {

class PivotColumn;

class PivotHierarchy
{
public:
    enum class Level {
        Value,
        Timestamp,
        Years,
        Quarters,
        Months,
        Weeks,
        Days,
        Hours,
        Minutes,
        Seconds
    };
    enum class Shape { Values, Timestamps, ByWeek, ByMonth };

    // The key of a blank date at every date level; text blanks are code 0.
    static constexpr qint64 BlankKey = std::numeric_limits<qint64>::min();

    PivotHierarchy(const PivotColumn &column, Shape shape);

    const PivotColumn &column() const { return *m_column; }
    // The same column of a load at another grain: keys stay what they were.
    void rebind(const PivotColumn &column) { m_column = &column; }
    Shape shape() const { return m_shape; }
    int levelCount() const { return static_cast<int>(m_levels.size()); }
    Level level(int index) const { return m_levels[static_cast<std::size_t>(index)]; }
    static QString levelName(Level level);
    // Levels that a per-day table maps (every level above Hours).
    static bool isDayLevel(Level level);

    QString caption(int level, qint64 key) const;
    // The key one level up; meaningless at level 0, whose parent is the root.
    qint64 parentKey(int level, qint64 key) const;
    // The key at an upper level `to` (<= level) above a key at `level`.
    qint64 ancestorKey(int level, qint64 key, int to) const;
    // The keys at `level` under a member one level up (ignored for level 0),
    // ascending: only members that occur in the data.
    std::vector<qint64> childKeys(int level, qint64 parentKey) const;
    std::optional<qint64> findChild(int level, qint64 parentKey, QStringView caption) const;

    // Date levels: the key of a day number and second of the day.
    static qint64 dateKey(Level level, qint32 day, quint32 second);

private:
    std::optional<qint64> keyBelowCut(int level, qint64 parentKey, QStringView caption) const;
    // The days [first, last] a member at a date level spans.
    void daySpan(Level level, qint64 key, qint64 &first, qint64 &last) const;

    const PivotColumn *m_column;
    Shape m_shape;
    std::vector<Level> m_levels;
};

} // namespace qrt::pivot
