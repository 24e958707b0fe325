// How does a call end the process?  Makes it in a child, and tells what ended that and what it printed to standard error.
// For programs of one thread.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string>

namespace Kit {

struct ProcessEnd {
    bool hasReturned;  // the call went through
    int signal;        // 0: none
    int exitCode;      // where there was no signal
    std::string output;
};

template <class Call>
ProcessEnd EndOf(Call call) {
    constexpr int returned = 77;
    int ends[2];
    if (pipe(ends) != 0) std::abort();
    const pid_t child = fork();
    if (child < 0) std::abort();
    if (child == 0) {
        dup2(ends[1], STDERR_FILENO);
        close(ends[0]);
        close(ends[1]);
        [&]() noexcept { call(); }();  // an exception ends the child, whoever would catch it here
        _exit(returned);
    }
    close(ends[1]);
    ProcessEnd end{};
    char piece[4096];
    for (ssize_t size = 0; (size = read(ends[0], piece, sizeof piece)) > 0;)
        end.output.append(piece, static_cast<std::size_t>(size));
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    end.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    end.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 0;
    end.hasReturned = end.signal == 0 && end.exitCode == returned;
    return end;
}

}  // namespace Kit
