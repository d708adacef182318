#include "script/ScriptError.h"

namespace qrt::script {

ScriptError::ScriptError(QString message, int line)
    : m_message(std::move(message))
    , m_line(line)
    , m_what(m_message.toUtf8())
{}

} // namespace qrt::script
