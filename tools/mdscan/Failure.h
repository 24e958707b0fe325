// How does a scan end badly?  The exit codes, and the one exception that carries a message to main.
#pragma once

#include <stdexcept>
#include <string>

namespace Scan {

enum ExitCode {
    exitComplete = 0,
    exitFailed = 1,        // input unreadable or damaged, or a result could not be written
    exitUsage = 2
};

class Failure : public std::runtime_error {
public:
    Failure(ExitCode code, const std::string& message) : std::runtime_error(message), _code(code) {}
    ExitCode Code() const { return _code; }

private:
    ExitCode _code;
};

}  // namespace Scan
