#include "pivot/PivotError.h"

#include "base/AppInfo.h"

using namespace Qt::StringLiterals;

namespace qrt::pivot {

namespace {

// Numbers of the pivot objects' own errors, above those of the other classes.
constexpr qint32 kPivotErrorBase = ComponentError::ObjectErrorBase + 0x600;

} // namespace

PivotError::PivotError(Code code, const QString &description)
    : ComponentError(kPivotErrorBase + static_cast<qint32>(code), AppInfo::EXEName() + u".Pivot"_s,
                     description)
    , m_code(code)
{}

PivotError PivotError::noSuchFieldSet(const QString &name)
{
    return {Code::NoSuchFieldSet, u"There is no field set named \"%1\"."_s.arg(name)};
}

PivotError PivotError::noSuchField(const QString &fieldSet, const QString &name)
{
    return {Code::NoSuchField,
            u"The field set \"%1\" has no field named \"%2\"."_s.arg(fieldSet, name)};
}

PivotError PivotError::noSuchMember(const QString &parent, const QString &caption)
{
    return {Code::NoSuchMember,
            u"The member \"%1\" has no child member \"%2\"."_s.arg(parent, caption)};
}

PivotError PivotError::indexOutOfRange(const QString &collection, qsizetype index, qsizetype count)
{
    return {Code::IndexOutOfRange,
            u"Index %1 is out of range for %2, which holds %3 item(s)."_s.arg(index)
                .arg(collection)
                .arg(count)};
}

PivotError PivotError::invalidValue(const QString &property, const QString &value)
{
    return {Code::InvalidValue, u"\"%1\" is not a valid value for %2."_s.arg(value, property)};
}

} // namespace qrt::pivot
