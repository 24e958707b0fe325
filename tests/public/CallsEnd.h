// Does a call end the process with the condition that its check named?
#pragma once

#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <string>

#include "ForkedEnd.h"

namespace Kit {

inline std::string Text(const char* broken) { return broken ? broken : ""; }

// The call ends the process with this condition; a size that no mask has ends it as an exception that nobody caught.
inline testing::AssertionResult EndsWith(const std::string& condition, const std::function<void()>& call) {
    const ProcessEnd end = EndOf(call);
    const std::string expected =
        condition == "maskWidth * maskHeight >= 0" ? "bad_array_new_length" : "Assertion `" + condition + "' failed";
    if (end.signal == SIGABRT && end.output.find(expected) != std::string::npos) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "\"" << condition << "\" was to end it, but "
                                       << (end.hasReturned ? "it went through" : "that did: " + end.output);
}

}  // namespace Kit
