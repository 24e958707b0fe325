// What went wrong, and what does that mean for the rest?  The exception that carries a message to whoever prints it, and the
// exit codes.
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

// What a failure concerns; all else follows from it.
enum class Concern {
    Usage,   // what the user asked for cannot be
    Input,   // the video cannot be read, or no further
    Output,  // what the run writes cannot be written
    Place,   // it must not be written where the user wants it
    System   // the machine denies what every scan needs
};

class Failure : public std::runtime_error {
public:
    Failure(Concern concern, const std::string& message) : std::runtime_error(message), _concern(concern) {}

    Concern Concerns() const { return _concern; }

    ExitCode Code() const { return _concern == Concern::Usage || _concern == Concern::Place ? exitUsage : exitFailed; }

    // Would the next input meet the same?
    bool EndsRun() const { return _concern != Concern::Usage && _concern != Concern::Input; }

private:
    Concern _concern;
};

}  // namespace Video
