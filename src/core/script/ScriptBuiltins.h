#pragma once
// The built-in functions the page script may call: Split, UBound, Replace,
// Join, Chr and ChrW, and the constant vbCrLf; nothing else (no objects,
// files or processes are reachable from a script). Results past the given
// sizes raise a ScriptError, so a script cannot grow a text or an array
// without bound.

#include "script/ScriptValue.h"

namespace qrt::script {

namespace ScriptBuiltins {

struct Bounds
{
    qsizetype textLength;
    qsizetype arrayLength;
};

// `key` is the lower-case name.
bool has(const QString &key);
ScriptValue call(const QString &key, const ScriptValues &args, const Bounds &bounds);

} // namespace ScriptBuiltins

} // namespace qrt::script
