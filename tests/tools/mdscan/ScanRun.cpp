// How is the built program started, fed and listened to?  Called by the tests of the built program through ScanRun.h.
#include "ScanRun.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Scan {

namespace {

struct Outputs {
    std::string out;      // path; where standard output goes
    std::string err;      // path
    std::string in = "";  // path of standard input; empty: the test's own
};

constexpr unsigned longestRun = 300;  // seconds; a run that hangs is ended, so that its test can say which one it was

bool WriteInto(const char* path, const std::string& text) {
    const int file = open(path, O_WRONLY);
    const bool good = file >= 0 && write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    close(file);
    return good;
}

// For this process alone, with the rights of whoever runs the test or of a user of its own.
bool MountSmallDisk(const std::string& folder) {
    const std::string user = std::to_string(getuid()), group = std::to_string(getgid());
    if (unshare(CLONE_NEWNS) != 0 &&
        (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0 || !WriteInto("/proc/self/uid_map", "0 " + user + " 1") ||
         !WriteInto("/proc/self/setgroups", "deny") || !WriteInto("/proc/self/gid_map", "0 " + group + " 1"))) {
        return false;
    }
    return mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("none", folder.c_str(), "tmpfs", 0, "size=64k") == 0;
}

[[noreturn]] void Become(const std::vector<std::string>& arguments, const Outputs& outputs,
                         const Surroundings& surroundings) {
    setenv("XDG_CONFIG_HOME", surroundings.configFolder.c_str(), 1);
    if (std::getenv("COREMD_TEST_LEAKS") == nullptr) {  // looked for at the end of hundreds of runs, they take minutes
        const char* given = std::getenv("ASAN_OPTIONS");
        setenv("ASAN_OPTIONS", ((given ? given : "") + std::string(":detect_leaks=0")).c_str(), 1);
    }
    const auto redirect = [](const std::string& path, int target) {
        const int file = open(path.c_str(), target == STDIN_FILENO ? O_RDONLY : O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (file < 0 || dup2(file, target) < 0) {
            _exit(126);
        }
    };
    redirect(outputs.err, STDERR_FILENO);
    redirect(outputs.out, STDOUT_FILENO);
    if (!outputs.in.empty()) {
        redirect(outputs.in, STDIN_FILENO);
    }
    if (!surroundings.smallDisk.empty() && !MountSmallDisk(surroundings.smallDisk)) {
        _exit(noSmallDisk);
    }
    if (surroundings.largestFile > 0) {
        std::signal(SIGXFSZ, SIG_IGN);  // the write fails instead
        const auto most = static_cast<rlim_t>(surroundings.largestFile);
        const rlimit limit = {most, most};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    if (surroundings.spareFiles > 0) {
        const int first = dup(STDIN_FILENO);  // whatever the test has open
        close(first);
        const auto most = static_cast<rlim_t>(first + surroundings.spareFiles);
        const rlimit limit = {most, most};
        setrlimit(RLIMIT_NOFILE, &limit);
    }
    if (!surroundings.folder.empty() && chdir(surroundings.folder.c_str()) != 0) {
        _exit(126);
    }
    if (surroundings.ignoredSignal != 0) {
        std::signal(surroundings.ignoredSignal, SIG_IGN);
    }
    alarm(longestRun);
    std::vector<char*> words = {const_cast<char*>(MDSCAN_PROGRAM)};
    for (const std::string& argument : arguments) {
        words.push_back(const_cast<char*>(argument.c_str()));
    }
    words.push_back(nullptr);
    execv(MDSCAN_PROGRAM, words.data());
    _exit(127);
}

pid_t Start(const std::vector<std::string>& arguments, const Outputs& outputs, const Surroundings& surroundings = {}) {
    const pid_t child = fork();
    if (child == 0) {
        Become(arguments, outputs, surroundings);
    }
    return child;
}

std::string Content(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

int CodeOf(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

Outcome Parsed(int code, const std::string& out, const std::string& err) {
    Outcome run{code, {}, err};
    std::istringstream lines(out);
    for (std::string line; std::getline(lines, line);) {
        nlohmann::json parsed = nlohmann::json::parse(line, nullptr, false);
        EXPECT_FALSE(parsed.is_discarded()) << "not JSON: " << line;
        run.lines.push_back(std::move(parsed));
    }
    if (!run.lines.empty()) {
        run.scan = run.lines.front();
        run.lines.erase(run.lines.begin());
        EXPECT_EQ(run.scan["type"], "scan");
    }
    return run;
}

std::string Scratch(const char* name) { return testing::TempDir() + "ScanRun." + std::to_string(getpid()) + "." + name; }

Outcome Disturbed(std::vector<std::string> arguments, const std::string& clip, const std::string& pipe, int lines,
                  const Surroundings& surroundings, const std::function<void(pid_t program)>& disturb) {
    std::signal(SIGPIPE, SIG_IGN);  // the program may leave before all is fed
    const std::string out = Scratch("fifo"), err = Scratch("err");
    mkfifo(pipe.c_str(), 0600);
    mkfifo(out.c_str(), 0600);
    arguments.push_back(pipe);
    const pid_t child = Start(arguments, {out, err}, surroundings);

    // The last part of the clip is held back until the program has been disturbed: it cannot end by itself.
    const std::string content = Content(clip);
    const std::size_t heldBack = content.size() / 100 * 15;
    bool disturbed = false;
    std::ofstream feed;
    std::thread feeder([&] {
        feed.open(pipe, std::ios::binary);
        feed.write(content.data(), static_cast<std::streamsize>(content.size() - heldBack));
        feed.flush();
    });
    std::ifstream reader(out);
    std::string printed;
    int count = 0;
    for (std::string line; std::getline(reader, line);) {
        printed += line + "\n";
        if (++count == lines + 1 && !disturbed) {
            disturbed = true;
            feeder.join();
            disturb(child);
            feed.write(content.data() + content.size() - heldBack, static_cast<std::streamsize>(heldBack));
            feed.close();
        }
    }
    if (feeder.joinable()) {
        feeder.join();
    }
    EXPECT_TRUE(disturbed) << "only " << count << " lines were printed";
    const int code = CodeOf(child);
    Outcome run = Parsed(code, printed, Content(err));
    unlink(out.c_str());
    unlink(err.c_str());
    return run;
}

// Returns once the file holds the text, or after 20 seconds.
void AwaitSaying(const std::string& path, const std::string& saying) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (std::chrono::steady_clock::now() < end && Content(path).find(saying) == std::string::npos) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

}  // namespace

int Outcome::ErrorLines() const { return static_cast<int>(std::count(err.begin(), err.end(), '\n')); }

Outcome Mdscan(const std::vector<std::string>& arguments, const Surroundings& surroundings) {
    const Outputs outputs{surroundings.output.empty() ? Scratch("out") : surroundings.output, Scratch("err")};
    const bool isHeard = surroundings.output.empty();
    for (const std::string& pipe : isHeard ? std::vector{outputs.out, outputs.err} : std::vector{outputs.err}) {
        mkfifo(pipe.c_str(), 0600);  // no file that grows
    }
    // Before any thread: a fork while one is in the allocator leaves its lock taken for ever in the child, under sanitizers.
    const pid_t child = Start(arguments, outputs, surroundings);
    std::string printed, said;
    std::thread hearing([&] { printed = isHeard ? Content(outputs.out) : ""; });
    said = Content(outputs.err);
    hearing.join();
    const int code = CodeOf(child);
    Outcome run = Parsed(code, printed, said);
    unlink(Scratch("out").c_str());
    unlink(Scratch("err").c_str());
    return run;
}

Said MdscanSaying(const std::vector<std::string>& arguments) {
    const Outputs outputs{Scratch("out"), Scratch("err")};
    const int code = CodeOf(Start(arguments, outputs));
    Said said{code, Content(outputs.out), Content(outputs.err)};
    unlink(outputs.out.c_str());
    unlink(outputs.err.c_str());
    return said;
}

Outcome MdscanSignalled(const std::vector<std::string>& arguments, int signal, int milliseconds) {
    const Outputs outputs{Scratch("out"), Scratch("err")};
    const pid_t child = Start(arguments, outputs);
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    siginfo_t over = {};
    while (std::chrono::steady_clock::now() < end && over.si_pid == 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        waitid(P_PID, static_cast<id_t>(child), &over, WEXITED | WNOHANG | WNOWAIT);
    }
    kill(child, signal);
    const int code = CodeOf(child);
    Outcome run = signal == SIGKILL && code < 0 ? Outcome{code, {}, Content(outputs.err)}  // its last line may be cut
                                                : Parsed(code, Content(outputs.out), Content(outputs.err));
    unlink(outputs.out.c_str());
    unlink(outputs.err.c_str());
    return run;
}

Outcome MdscanSignalledAt(const std::vector<std::string>& arguments, int signal, const std::string& saying,
                          double& seconds) {
    const Outputs outputs{Scratch("out"), Scratch("err")};
    const pid_t child = Start(arguments, outputs);
    AwaitSaying(outputs.err, saying);
    const auto sent = std::chrono::steady_clock::now();
    kill(child, signal);
    const int code = CodeOf(child);
    seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - sent).count();
    Outcome run = Parsed(code, Content(outputs.out), Content(outputs.err));
    unlink(outputs.out.c_str());
    unlink(outputs.err.c_str());
    return run;
}

Outcome MdscanFed(const std::vector<std::string>& arguments, const std::string& clip) {
    const std::string pipe = Scratch("feed");
    mkfifo(pipe.c_str(), 0600);
    const Outputs outputs{Scratch("out"), Scratch("err"), pipe};
    const pid_t child = Start(arguments, outputs);  // before any thread: see Mdscan
    std::thread feeder([&] {
        std::ofstream feed(pipe, std::ios::binary);
        const std::string content = Content(clip);
        feed.write(content.data(), static_cast<std::streamsize>(content.size()));
    });
    const int code = CodeOf(child);
    feeder.join();
    Outcome run = Parsed(code, Content(outputs.out), Content(outputs.err));
    for (const std::string& path : {outputs.out, outputs.err, pipe}) {
        unlink(path.c_str());
    }
    return run;
}

Outcome MdscanUnheard(const std::vector<std::string>& arguments, int lines, int signal, const std::string& saying) {
    const Outputs outputs{Scratch("fifo"), Scratch("err")};
    mkfifo(outputs.out.c_str(), 0600);
    const pid_t child = Start(arguments, outputs);
    {
        std::ifstream reader(outputs.out);
        std::string line;
        for (int count = 0; count <= lines && std::getline(reader, line); ++count) {
        }
    }
    if (signal != 0) {
        AwaitSaying(outputs.err, saying);
        kill(child, signal);
    }
    const Outcome run{CodeOf(child), {}, Content(outputs.err)};
    unlink(outputs.out.c_str());
    unlink(outputs.err.c_str());
    return run;
}

Outcome MdscanDisturbed(std::vector<std::string> arguments, const std::string& clip, const std::string& pipe, int lines,
                        const std::function<void(pid_t program)>& disturb) {
    return Disturbed(std::move(arguments), clip, pipe, lines, {}, disturb);
}

Outcome MdscanInterrupted(std::vector<std::string> arguments, const std::string& clip, const std::string& pipe, int lines,
                          const Interruption& how) {
    return Disturbed(std::move(arguments), clip, pipe, lines, {.ignoredSignal = how.ignored ? how.signal : 0},
                     [&](pid_t program) { kill(program, how.signal); });
}

}  // namespace Scan
