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
    // How the grid writes the values: "General", or a pattern such as
    // "#,##0", "0.00" or "0.0%" (see PivotGridModel::formatNumber).
    const QString &NumberFormat() const { return m_numberFormat; }
    void setNumberFormat(const QString &format) { m_numberFormat = format; }

    static bool isFunction(int function) { return function >= Sum && function <= Average; }
    static QString functionName(int function);

private:
    QString m_name;
    QString m_caption;
    PivotField *m_field;
    int m_function;
    QString m_numberFormat = QStringLiteral("General");
};

} // namespace qrt::pivot
