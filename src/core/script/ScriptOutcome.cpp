#include "script/ScriptOutcome.h"

using namespace Qt::StringLiterals;

namespace qrt::script {

ScriptOutcome ScriptOutcome::completed(ScriptValue result)
{
    ScriptOutcome outcome;
    outcome.m_result = std::move(result);
    return outcome;
}

ScriptOutcome ScriptOutcome::pending(int line)
{
    ScriptOutcome outcome;
    outcome.m_status = Status::Pending;
    outcome.m_line = line;
    outcome.m_message = u"waiting for an object to be ready"_s;
    return outcome;
}

ScriptOutcome ScriptOutcome::failed(int line, QString message)
{
    ScriptOutcome outcome;
    outcome.m_status = Status::Failed;
    outcome.m_line = line;
    outcome.m_message = std::move(message);
    return outcome;
}

QString ScriptOutcome::text() const
{
    if (m_status == Status::Completed)
        return u"completed"_s;
    return m_line > 0 ? u"Line %1: %2"_s.arg(m_line).arg(m_message) : m_message;
}

} // namespace qrt::script
