#pragma once
// A value of the page script, with the few VBScript rules the page relies
// on: Empty, Nothing, Boolean, number, String, an object of the host, and an
// array of values. Arrays are values, as in VBScript: assigning one shares
// its elements until either side writes to them, so `a = b` costs nothing
// and `a(0) = x` leaves b alone.
//
// Comparison follows the page's needs: two strings compare exactly (case
// counts); a string and a number compare as numbers when the string reads
// as one, so a filter code "2" split out of a stored record equals 2; a
// string that does not read as a number equals no number. Conversions that
// cannot be made raise a ScriptError ("Type mismatch").

#include <QString>

#include <concepts>
#include <memory>
#include <variant>
#include <vector>

namespace qrt::script {

class ScriptObject;
class ScriptValue;

using ScriptValues = std::vector<ScriptValue>;

class ScriptValue
{
public:
    enum class Type { Empty, Nothing, Boolean, Number, String, Object, Array };

    ScriptValue() = default;
    ScriptValue(bool value)
        : m_value(value)
    {}
    ScriptValue(double value)
        : m_value(value)
    {}
    template<std::integral T>
    requires(!std::same_as<T, bool>) ScriptValue(T value)
        : m_value(static_cast<double>(value))
    {}
    ScriptValue(QString value)
        : m_value(std::move(value))
    {}
    ScriptValue(const char *) = delete;                // would quietly become a Boolean
    ScriptValue(std::shared_ptr<ScriptObject> object); // null gives Nothing
    template<typename T>
    requires std::convertible_to<T *, ScriptObject *> ScriptValue(std::shared_ptr<T> object)
        : ScriptValue(std::shared_ptr<ScriptObject>(std::move(object)))
    {}
    static ScriptValue nothing();
    static ScriptValue array(ScriptValues elements);

    Type type() const { return static_cast<Type>(m_value.index()); }
    bool isEmpty() const { return type() == Type::Empty; }
    bool isNothing() const { return type() == Type::Nothing; }
    bool isObject() const { return type() == Type::Object; }
    bool isArray() const { return type() == Type::Array; }
    // An object or Nothing: what `Set` takes.
    bool isObjectReference() const { return isObject() || isNothing(); }

    bool toBool() const;
    double toNumber() const;
    // A whole number, rounded as VBScript rounds an index (half to even).
    qint64 toInteger() const;
    QString toText() const;
    // The length of a String; 0 for anything else.
    qsizetype textLength() const;
    // The object; Nothing and anything else raise.
    ScriptObject &toObject() const;
    std::shared_ptr<ScriptObject> objectPointer() const;

    // The elements of an array; anything else raises.
    const ScriptValues &elements() const;
    qsizetype elementCount() const { return static_cast<qsizetype>(elements().size()); }
    const ScriptValue &element(qint64 index) const;
    // Parts the elements from other holders of the array first. Arrays
    // nest at most MaxArrayNesting deep, so that no chain of them is too
    // deep to destroy.
    void setElement(qint64 index, ScriptValue value);
    static constexpr int MaxArrayNesting = 64;

    // VBScript's `=` (see above); a comparison with an object or array raises.
    static bool equals(const ScriptValue &a, const ScriptValue &b);
    // VBScript's `Is`: the same object, or both Nothing.
    static bool same(const ScriptValue &a, const ScriptValue &b);

    // The kind of value, for messages: "String", "Variant()", "Field", ...
    QString typeName() const;

private:
    struct Nothing
    {
    };
    struct ArrayData
    {
        ScriptValues elements;
        int depth = 1; // of arrays within arrays, at most
    };
    using Array = std::shared_ptr<ArrayData>;
    int arrayDepth() const;

    std::variant<std::monostate, Nothing, bool, double, QString, std::shared_ptr<ScriptObject>,
                 Array>
        m_value;
};

} // namespace qrt::script
