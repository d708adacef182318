#pragma once
// Turns the text of a page script into a ScriptProgram: Dim, Sub, Function,
// Set and plain assignment, calls with and without parentheses, If in its
// one-line and block forms, For, For Each, With, Exit Sub and Exit Function;
// expressions with &, =, <>, Is, a leading minus, member chains and
// arguments. Keywords and names are case-insensitive. Anything outside that
// is a parse error, reported as a ScriptError with the page line. Nesting
// and length are bounded, so no text can exhaust the stack of the parser or
// of the interpreter that walks the tree.

#include <QString>

namespace qrt::script {

class ScriptProgram;

namespace ScriptParser {

inline constexpr int MaxNesting = 100;
inline constexpr qsizetype MaxLength = 8 * 1024 * 1024;

// Adds the procedures and page-level statements of `text`, whose first
// line is line `firstLine` of the page, to `program`.
void parse(QStringView text, int firstLine, ScriptProgram &program);

} // namespace ScriptParser

} // namespace qrt::script
