#pragma once
// The error the pivot objects raise for a name, index or value they don't
// have. Layout restore reaches field sets, fields and members by stored
// names, and relies on a stale name failing with a clear, typed error rather
// than quietly giving some other object.

#include "base/ComponentError.h"

namespace qrt::pivot {

class PivotError : public ComponentError
{
public:
    enum class Code {
        NoSuchFieldSet = 1,
        NoSuchField,
        NoSuchMember,
        IndexOutOfRange,
        InvalidValue,
        DuplicateTotal,
        WrongFieldSet,
    };

    PivotError(Code code, const QString &description);

    Code code() const { return m_code; }

    static PivotError noSuchFieldSet(const QString &name);
    static PivotError noSuchField(const QString &fieldSet, const QString &name);
    static PivotError noSuchMember(const QString &parent, const QString &caption);
    static PivotError indexOutOfRange(const QString &collection, qsizetype index, qsizetype count);
    static PivotError invalidValue(const QString &property, const QString &value);

private:
    Code m_code;
};

} // namespace qrt::pivot
