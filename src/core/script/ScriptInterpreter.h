#pragma once
// Runs the script of the generated pivot page: the VBScript subset the page
// uses (see ScriptParser), over the objects the host binds to global names
// (the page's `PT`), with Split, UBound, Replace and Join as the only
// built-in functions. A script reaches nothing but those objects.
//
// A run first gives the page-level variables fresh Empty values and runs the
// page-level statements, then calls the named procedure. Arguments pass by
// value (VBScript passes them by reference; the page never relies on it). A run-time error
// stops the script at that statement, leaves what ran before it done, and
// comes back as a Failed outcome with the page line and a message; so does
// any std::exception an object raises. A parse error fails the load, and
// every run after it, without running anything.
//
// Waiting for data: an object that cannot answer yet (the pivot table while
// its data loads off the GUI thread) raises ScriptPending. The run then
// ends with the outcome Pending, and the host calls run() again, from the
// start, once the object is ready. The page's Window_OnLoad allows this
// because all it does before first reaching ActiveView is set properties.
//
// Hostile text cannot hang or crash the host: the run stops after a budget
// of steps (statements, expressions, and work in proportion to the length of
// the texts and arrays made), at a depth of procedure calls, and at a size of
// texts and arrays, each with its own message.

#include "script/ScriptOutcome.h"

#include <QHash>

#include <memory>

namespace qrt::script {

class ScriptPage;
class ScriptProgram;

class ScriptInterpreter
{
public:
    struct Limits
    {
        qint64 steps;
        int callDepth;
        qsizetype textLength;
        qsizetype arrayLength;
    };
    static constexpr Limits DefaultLimits = {5'000'000, 200, qsizetype(4) * 1024 * 1024,
                                             qsizetype(1024) * 1024};

    explicit ScriptInterpreter(const Limits &limits = DefaultLimits);
    ~ScriptInterpreter();
    ScriptInterpreter(const ScriptInterpreter &) = delete;
    ScriptInterpreter &operator=(const ScriptInterpreter &) = delete;

    // Parses every script block of the page, replacing what was loaded.
    ScriptOutcome load(const ScriptPage &page);
    // One script whose first line is line `firstLine` of its page.
    ScriptOutcome load(QStringView script, int firstLine = 1);
    bool hasProcedure(const QString &name) const;

    // A name the host gives the script, such as the page object "PT". The
    // script can read it but not assign to it.
    void setGlobal(const QString &name, ScriptValue value);

    // Runs the page-level statements, then `procedure` (none when empty)
    // with `args`; a Function's value comes back in the outcome.
    ScriptOutcome run(const QString &procedure, const ScriptValues &args = {});

    // A page-level variable as the last run left it.
    ScriptValue global(const QString &name) const;

    const Limits &limits() const { return m_limits; }

private:
    class Run;

    Limits m_limits;
    std::unique_ptr<const ScriptProgram> m_program;
    ScriptOutcome m_loadFailure;
    QHash<QString, ScriptValue> m_hostGlobals;
    QHash<QString, ScriptValue> m_pageGlobals;
    bool m_running = false;
};

} // namespace qrt::script
