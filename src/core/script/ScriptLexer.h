#pragma once
// Cuts the text of a page script into tokens: names (keywords are names the
// parser recognises), numbers, string literals with doubled quotes, the few
// operators of the page's script, and line ends. A " _" at the end of a line
// joins it to the next; "'" starts a comment. Every token carries the line
// it starts on, counted from the first line of the text.

#include <QString>

#include <vector>

namespace qrt::script {

namespace ScriptLexer {

struct Token
{
    enum class Kind { Name, Number, String, Symbol, LineEnd, End };
    Kind kind = Kind::End;
    QString text; // the name, the string's content or the symbol
    double number = 0;
    int line = 1;
};

// Raises a ScriptError, with the line, on a character the script
// language does not have or a string left open.
std::vector<Token> tokens(QStringView text);

} // namespace ScriptLexer

} // namespace qrt::script
