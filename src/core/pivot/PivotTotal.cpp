#include "pivot/PivotTotal.h"

#include "pivot/PivotError.h"

using namespace Qt::StringLiterals;

namespace qrt::pivot {

PivotTotal::PivotTotal(QString caption, PivotField *field, int function)
    : m_name(caption)
    , m_caption(std::move(caption))
    , m_field(field)
    , m_function(Count)
{
    setFunction(function);
}

void PivotTotal::setFunction(int function)
{
    if (!isFunction(function))
        throw PivotError::invalidValue(u"Function"_s, QString::number(function));
    m_function = function;
}

QString PivotTotal::functionName(int function)
{
    switch (function) {
    case Sum:
        return u"Sum"_s;
    case Count:
        return u"Count"_s;
    case Min:
        return u"Min"_s;
    case Max:
        return u"Max"_s;
    case Average:
        return u"Average"_s;
    default:
        return {};
    }
}

} // namespace qrt::pivot
