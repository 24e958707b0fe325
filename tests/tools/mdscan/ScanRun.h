// How does a test run the built program?  As a user does: arguments in, exit code and both outputs out.
#pragma once

#include <csignal>
#include <functional>
#include <string>
#include <vector>

#include <sys/types.h>

#include <nlohmann/json.hpp>

namespace Scan {

struct Outcome {
    int code;                           // exit code; -1: ended by a signal
    std::vector<nlohmann::json> lines;  // standard output, every line parsed, without the first
    std::string err;                    // standard error
    nlohmann::json scan = {};           // the first line; null where nothing was printed

    int ErrorLines() const;
};

struct Surroundings {
    std::string output = "";                    // where standard output goes; empty: read by the test
    long largestFile = 0;                       // bytes that the program may write into one file; 0: any number
    int spareFiles = 0;                         // that the program may open beside standard ones; 0: as many as the test
    std::string smallDisk = "";                 // folder that is a disk of its own for the program, of 64 KB; empty: none is
    std::string configFolder = "/nonexistent";  // of the user; that of whoever runs the test is never read
    std::string folder = "";                    // where it runs; empty: where the test does
    int ignoredSignal = 0;                      // which the program finds ignored; 0: none
};

// Exit code of a program that could not be given its small disk: the machine does not let it have one.
inline constexpr int noSmallDisk = 125;

// A line of standard output that is not JSON fails the test, and so does a first line that is not of type scan.
Outcome Mdscan(const std::vector<std::string>& arguments, const Surroundings& surroundings = {});

// What it says word by word, JSON or not.
struct Said {
    int code;
    std::string out;
    std::string err;
};
Said MdscanSaying(const std::vector<std::string>& arguments);

// Sends the signal after so many milliseconds, unless the program has ended by then.
Outcome MdscanSignalled(const std::vector<std::string>& arguments, int signal, int milliseconds);

// Sends the signal once it has said this on standard error. seconds: that it took to end from then on.
Outcome MdscanSignalledAt(const std::vector<std::string>& arguments, int signal, const std::string& saying, double& seconds);

// With a file as standard input.
Outcome MdscanFed(const std::vector<std::string>& arguments, const std::string& clip);

// What a test does to interrupt a program.
struct Interruption {
    int signal = SIGINT;
    bool ignored = false;  // by whoever starts the program, as nohup does
};

// Feeds most of the clip through a pipe made for it, disturbs the program once it has printed `lines` lines after the first,
// then feeds the rest.
Outcome MdscanDisturbed(std::vector<std::string> arguments, const std::string& clip, const std::string& pipe, int lines,
                        const std::function<void(pid_t program)>& disturb);

// Reads no further than `lines` lines after the first. Only what it says on standard error is in the outcome.
// signal: that it gets when nobody reads any more and it has said this on standard error, as of a terminal that closes; 0:
// none.
Outcome MdscanUnheard(const std::vector<std::string>& arguments, int lines, int signal = 0, const std::string& saying = {});

// Feeds the clip through a pipe made for it, interrupts the program once it has printed `lines` lines after the first, then
// feeds the rest.
Outcome MdscanInterrupted(std::vector<std::string> arguments, const std::string& clip, const std::string& pipe, int lines,
                          const Interruption& how = {});

}  // namespace Scan
