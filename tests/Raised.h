#pragma once
// The component error a call raised, or none, so that a test can compare its
// number, source and description.

#include "base/ComponentError.h"

#include <functional>
#include <optional>

namespace qrt::test {

inline std::optional<ComponentError> raisedBy(const std::function<void()> &call)
{
    try {
        call();
    } catch (const ComponentError &error) {
        return error;
    }
    return std::nullopt;
}

} // namespace qrt::test
