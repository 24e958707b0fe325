// How is PostgreSQL asked, so that a server that restarts or a connection that is cut makes nobody lose his work?  One
// connection, made anew and asked again for as long as its owner is patient.
//
// Whatever is asked here must do no harm when it is done twice: a cut connection takes the answer with it.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "video/base/Failure.h"

struct pg_conn;
struct pg_result;

namespace Scan {

// The server understood, and refused.
class Refused : public Video::Failure {
public:
    Refused(Video::Concern concern, const std::string& state, const std::string& message)
        : Failure(concern, message), _state(state) {}

    const std::string& State() const { return _state; }  // SQLSTATE

private:
    std::string _state;
};

struct DatabaseAddress {
    std::string text;      // as libpq takes it
    std::string password;  // in it; never told
};

// word: of --at; environment: that of MDSCAN_AT, null where there is none. Throws Failure: where neither says what libpq
// understands, and where the word holds a password, which everybody on the machine could read.
DatabaseAddress ReadAddress(const std::string& word, const char* environment);

class Database {
public:
    enum class Patience {
        Short,   // the first connection stands at once or not at all, later ones within half a minute
        Endless  // until the user has enough; but a wrong password is one at once
    };

    // An answer: rows of text and bytes, absent: NULL. All columns must be text or bytea.
    using Cell = std::optional<std::string>;
    using Rows = std::vector<std::vector<Cell>>;

    struct Value {
        Value(const char* value) : text(value) {}                  // NOLINT(google-explicit-constructor)
        Value(std::string value) : text(std::move(value)) {}       // NOLINT(google-explicit-constructor)
        Value(const Cell& value) : text(value) {}                  // NOLINT(google-explicit-constructor)
        Value(std::size_t value) : text(std::to_string(value)) {}  // NOLINT(google-explicit-constructor)
        static Value Bytes(std::string value);

        Cell text;
        bool isBytes = false;
    };

    // Throws Failure, as the others do. greeting: said on every connection; empty: nothing.
    Database(const DatabaseAddress& address, Patience patience, const std::string& greeting = "");
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    void Greet(const std::string& greeting);

    Rows Ask(const char* sql, const std::vector<Value>& values = {});

    // Several statements at once, which answer nothing. Never asked again.
    void Do(const std::string& sql);

    // In between, nothing is asked again: a connection that is cut takes with it what was done.
    void Begin();
    void Commit();
    void Rollback();  // does not throw

    // What was notified since: payloads. Also one empty text where the connection was made anew, for some may be lost.
    std::vector<std::string> TakeNews();

    // Readable when there may be news; -1: there is no connection.
    int Socket() const;

private:
    struct Closer {
        void operator()(pg_conn* connection) const;
        void operator()(pg_result* result) const;
    };
    using Connection = std::unique_ptr<pg_conn, Closer>;
    using Result = std::unique_ptr<pg_result, Closer>;
    using SteadyClock = std::chrono::steady_clock;

    void Connect();
    bool TryConnect();
    void Wait();
    Rows Try(const char* sql, const std::vector<Value>& values);
    Result ResultOf();
    std::string Told(std::string_view message) const;

    const DatabaseAddress _address;
    const Patience _patience;
    std::string _greeting;
    Connection _connection;
    bool _stoodOnce = false;
    bool _inTransaction = false;
    bool _isNew = false;                             // since news were asked for
    bool _toldOfWaiting = false;                     // once for each loss
    std::optional<SteadyClock::time_point> _lostAt;  // absent: it stands
    std::string _trouble;                            // why it is lost
};

}  // namespace Scan
