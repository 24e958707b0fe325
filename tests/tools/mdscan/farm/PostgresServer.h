// Which database server does a test have to itself?  One that it starts in a folder of its own, kills and starts again as it
// likes, and ends.
#pragma once

#include <string>

#include <sys/types.h>

namespace Scan {

class PostgresServer {
public:
    // Why there can be none on this machine; empty: there can.
    static std::string Missing();

    // settings: more options of the server.
    explicit PostgresServer(const std::string& settings = "");
    ~PostgresServer();
    PostgresServer(const PostgresServer&) = delete;
    PostgresServer& operator=(const PostgresServer&) = delete;

    // By its socket. The role "guarded" needs a password, others none.
    std::string Address(const std::string& role = "postgres", const std::string& database = "postgres") const;
    const std::string& SocketFolder() const { return _folder; }

    void Start();  // and waits until it answers
    void Kill();   // as kill -9 does

private:
    void Run(const std::string& program, const std::string& words) const;

    std::string _folder;
    const std::string _settings;
    pid_t _server = -1;
};

}  // namespace Scan
