#pragma once
// A total: a caption, the field whose values it aggregates and the
// aggregate function (1 Sum, 2 Count, 3 Min, 4 Max, 5 Average). Count
// counts the non-empty values; the others take the values that are numbers.

#include <QString>

namespace qrt::pivot {

class PivotField;

class PivotTotal
{
public:
    enum Function { Sum = 1, Count = 2, Min = 3, Max = 4, Average = 5 };

    PivotTotal(QString caption, PivotField *field, int function);

    const QString &Name() const { return m_name; }
    const QString &Caption() const { return m_caption; }
    void setCaption(const QString &caption) { m_caption = caption; }
    PivotField *Field() const { return m_field; }
    int Function() const { return m_function; }
    // Raises a PivotError for a number outside 1..5.
    void setFunction(int function);

    static bool isFunction(int function) { return function >= Sum && function <= Average; }
    static QString functionName(int function);

private:
    QString m_name;
    QString m_caption;
    PivotField *m_field;
    int m_function;
};

} // namespace qrt::pivot
