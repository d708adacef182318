#pragma once
// How a run of the page script ended: completed (with the value of the
// function called, if any), pending because an object was not ready yet
// (see ScriptPending; run again later), or failed at a page line with a
// message. Whatever ran before a failure stays done.

#include "script/ScriptValue.h"

namespace qrt::script {

class ScriptOutcome
{
public:
    enum class Status { Completed, Pending, Failed };

    static ScriptOutcome completed(ScriptValue result = {});
    static ScriptOutcome pending(int line);
    static ScriptOutcome failed(int line, QString message);

    Status status() const { return m_status; }
    bool isCompleted() const { return m_status == Status::Completed; }
    bool isPending() const { return m_status == Status::Pending; }
    bool isFailed() const { return m_status == Status::Failed; }
    // The page line the run stopped at; 0 when it completed.
    int line() const { return m_line; }
    const QString &message() const { return m_message; }
    const ScriptValue &result() const { return m_result; }
    // "Line 23: There is no field set named "Foo"."
    QString text() const;

private:
    Status m_status = Status::Completed;
    int m_line = 0;
    QString m_message;
    ScriptValue m_result;
};

} // namespace qrt::script
