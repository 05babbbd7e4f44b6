#pragma once

#include <stdexcept>
#include <string>

namespace vyn::test {

/// The error of this type that an action raises; without one the test fails and names the action.
template <class Error, class Action>
Error error_of(Action action, const std::string& name = "the action") {
    try {
        action();
    } catch (const Error& error) {
        return error;
    }
    throw std::logic_error("no error from " + name);
}

}  // namespace vyn::test
