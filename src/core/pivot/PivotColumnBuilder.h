#pragma once
// Collects one column's values row by row during a load and turns them into
// a PivotColumn. The kind follows the first value that is not blank: a
// number makes a number column, a text that reads as a date (or a date
// value) a date column, anything else a text column. A later value that
// doesn't fit turns the column into text, re-encoding the rows read so far,
// so no value is lost whatever the engine hands over.

#include "pivot/PivotColumn.h"

#include <QVariant>

#include <string>
#include <string_view>
#include <unordered_map>

namespace qrt::pivot {

class PivotColumnBuilder
{
public:
    explicit PivotColumnBuilder(QString name);

    void addNull();
    void addText(std::string_view utf8);
    void addText(const QString &text);
    void addNumber(double value);
    void addDate(double value);
    void addVariant(const QVariant &value);
    // A row of a column loaded by its counts alone: blank, with the number
    // of non-blank values it stands for.
    void addCount(quint32 count);

    qint64 rowCount() const { return m_rows; }
    // Sorts the dictionary, renumbers the rows and narrows the codes; the
    // builder is empty afterwards.
    PivotColumn finish();

private:
    enum class State { Unknown, Text, Number, Date };

    // Open addressing over one flat array: a look-up touches one slot and
    // the text bytes, where a node-based map chases a pointer per step.
    struct Slot
    {
        quint32 code = 0; // 0: free
        quint32 hash = 0;
    };

    void pushCode(quint32 code);
    void pushDate(qint32 day, quint32 second);
    quint32 textCode(std::string_view utf8);
    std::string_view text(quint32 code) const
    {
        const auto &[offset, length] = m_texts[code - 1];
        return std::string_view(m_arena).substr(offset, length);
    }
    void growSlots();
    quint32 numberCode(double value);
    void settle(State state);
    void becomeText();
    static std::string numberText(double value);

    static double numberOf(const QString &text);
    static void sortCaptions(const std::vector<QString> &captions, std::vector<quint32> &order);
    PivotColumn finishValues();
    PivotColumn finishDates();

    QString m_name;
    State m_state = State::Unknown;
    qint64 m_rows = 0;
    qint64 m_blankRows = 0; // rows before the kind was known

    // Text and number values: codes in the order first seen, 0 for blank.
    std::vector<std::vector<quint32>> m_codes;
    std::string m_arena;                                      // the distinct texts, back to back
    std::vector<std::pair<std::size_t, std::size_t>> m_texts; // code - 1 -> offset, length
    std::vector<Slot> m_slots;
    quint32 m_lastCode = 0; // rows often repeat the value of the row before
    std::vector<double> m_numbers;
    std::unordered_map<double, quint32> m_numberCodes;

    // Dates: day number (kNoDay for blank) and second of the day per row.
    std::vector<std::vector<qint32>> m_days;
    std::vector<std::vector<quint32>> m_seconds;
    bool m_anyTime = false;
    bool m_hasBlank = false;
    std::vector<std::vector<quint32>> m_counts;
};

} // namespace qrt::pivot
