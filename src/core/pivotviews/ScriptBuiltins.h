#pragma once
// The built-in functions the page script may call: Split, UBound, Replace,
// Join, Chr and ChrW, and the constant vbCrLf; nothing else (no objects,
// files or processes are reachable from a script). Results past the given
// sizes raise a ScriptError, so a script cannot grow a text or an array
// without bound.

#include "pivotviews/ScriptValue.h"

namespace qrt::script {

class ScriptBuiltins
{
public:
    struct Bounds
    {
        qsizetype textLength;
        qsizetype arrayLength;
    };

    // `key` is the lower-case name.
    static bool has(const QString &key);
    static ScriptValue call(const QString &key, const ScriptValues &args, const Bounds &bounds);
};

} // namespace qrt::script
