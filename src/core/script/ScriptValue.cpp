#include "script/ScriptValue.h"

#include "script/ScriptError.h"
#include "script/ScriptObject.h"

#include <algorithm>
#include <cmath>
#include <optional>

using namespace Qt::StringLiterals;

namespace qrt::script {

namespace {

[[noreturn]] void typeMismatch(const ScriptValue &value)
{
    throw ScriptError(u"Type mismatch: %1"_s.arg(value.typeName()));
}

// A text that reads as a number, as VBScript's numeric conversion takes it.
std::optional<double> numberIn(const QString &text)
{
    bool ok = false;
    const double number = text.trimmed().toDouble(&ok);
    if (!ok || !std::isfinite(number))
        return std::nullopt;
    return number;
}

QString numberText(double number)
{
    // Whole numbers read without a fraction, the rest with the 15
    // significant digits VBScript gives a Double.
    if (std::abs(number) < 1e15 && number == std::trunc(number))
        return QString::number(static_cast<qint64>(number));
    return QString::number(number, 'g', 15);
}

} // namespace

ScriptValue::ScriptValue(std::shared_ptr<ScriptObject> object)
{
    if (object)
        m_value = std::move(object);
    else
        m_value = Nothing{};
}

ScriptValue ScriptValue::nothing()
{
    ScriptValue value;
    value.m_value = Nothing{};
    return value;
}

ScriptValue ScriptValue::array(ScriptValues elements)
{
    ScriptValue value;
    int depth = 1;
    for (const ScriptValue &element : elements)
        depth = std::max(depth, element.arrayDepth() + 1);
    if (depth > MaxArrayNesting)
        throw ScriptError(u"arrays are nested too deeply"_s);
    value.m_value = std::make_shared<ArrayData>(ArrayData{std::move(elements), depth});
    return value;
}

bool ScriptValue::toBool() const
{
    switch (type()) {
    case Type::Empty:
        return false;
    case Type::Boolean:
        return std::get<bool>(m_value);
    case Type::Number:
        return std::get<double>(m_value) != 0;
    case Type::String: {
        const QString &text = std::get<QString>(m_value);
        if (text.compare(u"True"_s, Qt::CaseInsensitive) == 0)
            return true;
        if (text.compare(u"False"_s, Qt::CaseInsensitive) == 0)
            return false;
        if (const std::optional<double> number = numberIn(text))
            return *number != 0;
        break;
    }
    default:
        break;
    }
    typeMismatch(*this);
}

double ScriptValue::toNumber() const
{
    switch (type()) {
    case Type::Empty:
        return 0;
    case Type::Boolean:
        return std::get<bool>(m_value) ? -1 : 0;
    case Type::Number:
        return std::get<double>(m_value);
    case Type::String:
        if (const std::optional<double> number = numberIn(std::get<QString>(m_value)))
            return *number;
        break;
    default:
        break;
    }
    typeMismatch(*this);
}

qint64 ScriptValue::toInteger() const
{
    const double number = std::nearbyint(toNumber());
    if (std::abs(number) > 9007199254740992.0)
        throw ScriptError(u"Overflow: %1"_s.arg(numberText(number)));
    return static_cast<qint64>(number);
}

QString ScriptValue::toText() const
{
    switch (type()) {
    case Type::Empty:
        return {};
    case Type::Boolean:
        return std::get<bool>(m_value) ? u"True"_s : u"False"_s;
    case Type::Number:
        return numberText(std::get<double>(m_value));
    case Type::String:
        return std::get<QString>(m_value);
    default:
        typeMismatch(*this);
    }
}

qsizetype ScriptValue::textLength() const
{
    const QString *text = std::get_if<QString>(&m_value);
    return text ? text->size() : 0;
}

ScriptObject &ScriptValue::toObject() const
{
    if (isNothing())
        throw ScriptError(u"Object variable not set"_s);
    if (!isObject())
        throw ScriptError(u"Object required: %1"_s.arg(typeName()));
    return *std::get<std::shared_ptr<ScriptObject>>(m_value);
}

std::shared_ptr<ScriptObject> ScriptValue::objectPointer() const
{
    toObject(); // raises for anything else
    return std::get<std::shared_ptr<ScriptObject>>(m_value);
}

const ScriptValues &ScriptValue::elements() const
{
    if (!isArray())
        typeMismatch(*this);
    return std::get<Array>(m_value)->elements;
}

int ScriptValue::arrayDepth() const
{
    return isArray() ? std::get<Array>(m_value)->depth : 0;
}

const ScriptValue &ScriptValue::element(qint64 index) const
{
    const ScriptValues &all = elements();
    if (index < 0 || index >= static_cast<qint64>(all.size()))
        throw ScriptError(
            u"Subscript out of range: %1 (the array holds %2)"_s.arg(index).arg(all.size()));
    return all[static_cast<std::size_t>(index)];
}

void ScriptValue::setElement(qint64 index, ScriptValue value)
{
    element(index); // checks type and range
    Array &all = std::get<Array>(m_value);
    const int depth = std::max(all->depth, value.arrayDepth() + 1);
    if (depth > MaxArrayNesting)
        throw ScriptError(u"arrays are nested too deeply"_s);
    if (all.use_count() > 1)
        all = std::make_shared<ArrayData>(*all);
    all->depth = depth;
    all->elements[static_cast<std::size_t>(index)] = std::move(value);
}

bool ScriptValue::equals(const ScriptValue &a, const ScriptValue &b)
{
    for (const ScriptValue *v : {&a, &b})
        if (v->isObjectReference() || v->isArray())
            typeMismatch(*v);
    const bool aText = a.type() == Type::String;
    const bool bText = b.type() == Type::String;
    if (aText && bText)
        return std::get<QString>(a.m_value) == std::get<QString>(b.m_value);
    if (aText || bText) {
        const ScriptValue &text = aText ? a : b;
        const ScriptValue &other = aText ? b : a;
        if (other.isEmpty())
            return std::get<QString>(text.m_value).isEmpty();
        const std::optional<double> number = numberIn(std::get<QString>(text.m_value));
        return number && *number == other.toNumber();
    }
    return a.toNumber() == b.toNumber();
}

bool ScriptValue::same(const ScriptValue &a, const ScriptValue &b)
{
    for (const ScriptValue *v : {&a, &b})
        if (!v->isObjectReference())
            throw ScriptError(u"Object required: %1"_s.arg(v->typeName()));
    if (a.isNothing() || b.isNothing())
        return a.isNothing() && b.isNothing();
    const ScriptObject &x = a.toObject();
    const ScriptObject &y = b.toObject();
    return &x == &y || x.sameAs(y);
}

QString ScriptValue::typeName() const
{
    switch (type()) {
    case Type::Empty:
        return u"Empty"_s;
    case Type::Nothing:
        return u"Nothing"_s;
    case Type::Boolean:
        return u"Boolean"_s;
    case Type::Number:
        return u"Double"_s;
    case Type::String:
        return u"String"_s;
    case Type::Object:
        return std::get<std::shared_ptr<ScriptObject>>(m_value)->className();
    case Type::Array:
        return u"Variant()"_s;
    }
    return {};
}

} // namespace qrt::script
