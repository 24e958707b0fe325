// How does a scan end badly?  The exit codes, and the exceptions that carry a message to whoever prints it.
#pragma once

#include <stdexcept>
#include <string>

namespace Video {

enum ExitCode {
    exitComplete = 0,  // every input scanned, motion found
    exitFailed = 1,    // an input unreadable or damaged, a result could not be written, or interrupted
    exitUsage = 2,
    exitNothing = 3  // every input scanned, no motion found
};

class Failure : public std::runtime_error {
public:
    Failure(ExitCode code, const std::string& message) : std::runtime_error(message), _code(code) {}
    ExitCode Code() const { return _code; }

private:
    ExitCode _code;
};

// A result cannot be written: the next input would meet the same.
class OutputFailure : public Failure {
public:
    using Failure::Failure;
};

}  // namespace Video
