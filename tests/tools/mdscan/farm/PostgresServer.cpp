// How does a server run for a test that may be run by root, as whom it refuses to run?
#include "PostgresServer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <grp.h>
#include <libpq-fe.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Scan {

namespace {

namespace fs = std::filesystem;

// Where the server's programs are; empty: nowhere.
std::string Programs() {
    std::error_code error;
    std::string newest;
    for (const fs::directory_entry& version : fs::directory_iterator("/usr/lib/postgresql", error)) {
        const std::string folder = version.path() / "bin";
        newest = access((folder + "/initdb").c_str(), X_OK) == 0 ? std::max(newest, folder) : newest;
    }
    return !newest.empty() || access("/usr/bin/initdb", X_OK) != 0 ? newest : "/usr/bin";
}

const passwd* Nobody() { return getpwnam("nobody"); }

void BecomeNobody() {
    if (getuid() == 0) {
        const passwd* nobody = Nobody();
        if (!nobody || setgroups(0, nullptr) != 0 || setgid(nobody->pw_gid) != 0 || setuid(nobody->pw_uid) != 0) {
            _exit(126);
        }
    }
}

}  // namespace

std::string PostgresServer::Missing() {
    return Programs().empty()           ? "no PostgreSQL server is installed"
           : getuid() == 0 && !Nobody() ? "the PostgreSQL server refuses to be run by root, and there is no nobody"
                                        : "";
}

// Sockets have short names: not below the folder of tests.
PostgresServer::PostgresServer(const std::string& settings) : _settings(settings) {
    std::string pattern = "/tmp/coreMD.pg.XXXXXX";
    if (!mkdtemp(pattern.data())) {
        throw fs::filesystem_error("no folder for a server", pattern, {errno, std::generic_category()});
    }
    _folder = pattern;
    if (getuid() == 0 && chown(_folder.c_str(), Nobody()->pw_uid, Nobody()->pw_gid) != 0) {
        throw fs::filesystem_error("no folder for a server", pattern, {errno, std::generic_category()});
    }
    Run("initdb", "-D data -A trust -N -U postgres --no-instructions -E UTF8 --locale=C");
    std::ofstream(_folder + "/data/pg_hba.conf") << "local all guarded scram-sha-256\nlocal all all trust\n";
    Start();
}

PostgresServer::~PostgresServer() {
    kill(_server, SIGQUIT);
    waitpid(_server, nullptr, 0);
    std::error_code error;
    fs::remove_all(_folder, error);
}

std::string PostgresServer::Address(const std::string& role, const std::string& database) const {
    return "postgresql://" + role + "@/" + database + "?host=" + _folder;
}

void PostgresServer::Run(const std::string& program, const std::string& words) const {
    const std::string command = "exec " + Programs() + "/" + program + " " + words + " >>log 2>&1 </dev/null";
    const pid_t child = fork();
    if (child == 0) {
        BecomeNobody();
        if (chdir(_folder.c_str()) == 0) {
            execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
        }
        _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (status != 0) {
        std::ifstream log(_folder + "/log");
        throw std::runtime_error(program + ": " + std::string(std::istreambuf_iterator<char>(log), {}));
    }
}

// One that was killed may have left processes that end a moment later: until then it does not start.
void PostgresServer::Start() {
    const std::string words = "exec " + Programs() + "/postgres -D data -k " + _folder +
                              " -c listen_addresses= -c fsync=off -c max_connections=600 " + _settings +
                              " >>log 2>&1 </dev/null";
    const std::string address = Address();
    for (int attempt = 0; attempt < 100; ++attempt) {
        _server = fork();
        if (_server == 0) {
            BecomeNobody();
            prctl(PR_SET_PDEATHSIG, SIGQUIT);  // a test that dies leaves none
            if (chdir(_folder.c_str()) == 0) {
                execl("/bin/sh", "sh", "-c", words.c_str(), nullptr);
            }
            _exit(127);
        }
        while (waitpid(_server, nullptr, WNOHANG) == 0) {
            if (PQping(address.c_str()) == PQPING_OK) {
                return;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    std::ifstream log(_folder + "/log");
    throw std::runtime_error("the server does not start: " + std::string(std::istreambuf_iterator<char>(log), {}));
}

void PostgresServer::Kill() {
    kill(_server, SIGKILL);
    waitpid(_server, nullptr, 0);
}

}  // namespace Scan
