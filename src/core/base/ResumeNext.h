#pragma once
// The forms run past failures: a step that fails has no effect and the next
// one runs. Most of our layers report failure by value; for a step that can
// throw (the settings store, the raising classes) this runs it and swallows
// the error, answering whether it went through.

#include <QLoggingCategory>

#include <exception>
#include <utility>

Q_DECLARE_LOGGING_CATEGORY(lcComponent)

template<typename Step>
bool resumeNext(Step &&step) noexcept
{
    try {
        std::forward<Step>(step)();
        return true;
    } catch (const std::exception &e) {
        qCDebug(lcComponent) << "step passed over:" << e.what();
    } catch (...) {
        qCDebug(lcComponent) << "step passed over";
    }
    return false;
}
