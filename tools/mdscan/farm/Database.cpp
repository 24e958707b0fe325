// What is a lost connection, what is a refusal, and how long is what waited for?
#include "farm/Database.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <random>
#include <string_view>
#include <thread>
#include <utility>

#include <libpq-fe.h>
#include <poll.h>

#include "results/TallyText.h"
#include "video/base/Interruption.h"

namespace Scan {

namespace {

using SteadyClock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds lookUp(250);          // how late an interruption is noticed
constexpr milliseconds answerTime(60'000);   // a server that takes longer is taken for lost
constexpr milliseconds leavingTime(3'000);   // the same once the user has had enough
constexpr milliseconds connectTime(10'000);  // likewise, to connect
constexpr milliseconds shortPatience(30'000);

// Lost with its answer, or to be asked once more: all that a restart, a cut and two who wait for each other look like.
bool IsPassing(std::string_view state) {
    return state.starts_with("08") || state.starts_with("57P") || state == "40001" || state == "40P01" || state == "53300";
}

// A full disk, one that fails; then a standby that takes no writes, a statement that took too long, a lock that somebody
// holds, a fault of the server's: a later attempt may fare better. All else is asked wrongly, or refused.
Video::Concern ConcernOf(std::string_view state) {
    const auto isOf = [&](std::string_view group) { return state.starts_with(group); };
    if (isOf("53") || isOf("58")) {
        return Video::Concern::Output;
    }
    return isOf("25") || isOf("55") || isOf("57") || isOf("XX") ? Video::Concern::System : Video::Concern::Usage;
}

// Waits until the connection can go on. False: it took too long, or the user has had enough.
bool Await(PGconn* connection, short events, SteadyClock::time_point begin, milliseconds longest) {
    for (;;) {
        pollfd socket = {PQsocket(connection), events, 0};
        if (poll(&socket, 1, static_cast<int>(lookUp.count())) > 0) {
            return true;
        }
        const milliseconds limit = Video::Interrupted() ? std::min(longest, leavingTime) : longest;
        if (SteadyClock::now() - begin > limit) {
            return false;
        }
    }
}

std::string FirstLine(std::string_view text) { return std::string(text.substr(0, text.find('\n'))); }

}  // namespace

void Database::Closer::operator()(pg_conn* connection) const { PQfinish(connection); }

void Database::Closer::operator()(pg_result* result) const { PQclear(result); }

Database::Value Database::Value::Bytes(std::string value) {
    Value bytes(std::move(value));
    bytes.isBytes = true;
    return bytes;
}

// Nothing of what cannot be understood is told: who knows which part of it is the password.
DatabaseAddress ReadAddress(const std::string& word, const char* environment) {
    DatabaseAddress address{.text = word.empty() && environment ? environment : word, .password = ""};
    if (address.text.empty()) {
        throw Video::Failure(Video::Concern::Usage,
                             "which database?  --at postgresql://user@host/name says it, or MDSCAN_AT");
    }
    char* error = nullptr;
    const std::unique_ptr<PQconninfoOption, void (*)(PQconninfoOption*)> parts(PQconninfoParse(address.text.c_str(), &error),
                                                                               PQconninfoFree);
    PQfreemem(error);
    if (!parts) {
        throw Video::Failure(Video::Concern::Usage,
                             "the address of the database is none that libpq knows, such as postgresql://user@host/name");
    }
    for (const PQconninfoOption* part = parts.get(); part->keyword; ++part) {
        const bool isSecret = std::strcmp(part->keyword, "password") == 0 || std::strcmp(part->keyword, "sslpassword") == 0;
        if (isSecret && part->val && *part->val) {
            address.password = part->val;
            if (!word.empty()) {
                throw Video::Failure(Video::Concern::Usage,
                                     "--at holds a password, which everybody on this machine can read in the list of "
                                     "processes: put it into ~/.pgpass, a service file, PGPASSWORD or MDSCAN_AT");
            }
        }
    }
    return address;
}

Database::Database(const DatabaseAddress& address, Patience patience, const std::string& greeting)
    : _address(address), _patience(patience), _greeting(greeting) {
    Connect();
}

Database::~Database() = default;

// libpq tells no password by itself; this holds where a server repeats what it was told.
std::string Database::Told(std::string_view message) const {
    std::string text = FirstLine(message);
    const std::string& secret = _address.password;
    for (std::size_t place = 0; !secret.empty() && (place = text.find(secret, place)) != std::string::npos;) {
        text.replace(place, secret.size(), "***");
        place += 3;
    }
    return text;
}

void Database::Greet(const std::string& greeting) {
    _greeting = greeting;
    Do(greeting);
}

// What the address says wins over what stands before it.
bool Database::TryConnect() {
    const char* names[] = {"fallback_application_name", "keepalives_idle", "keepalives_interval", "keepalives_count",
                           "tcp_user_timeout",          "dbname",          "client_encoding",     nullptr};
    const char* values[] = {"mdscan", "20", "5", "3", "30000", _address.text.c_str(), "UTF8", nullptr};
    const SteadyClock::time_point begin = SteadyClock::now();
    _connection.reset(PQconnectStartParams(names, values, 1));
    PostgresPollingStatusType status = PGRES_POLLING_WRITING;
    while (_connection && PQstatus(_connection.get()) != CONNECTION_BAD && status != PGRES_POLLING_OK &&
           status != PGRES_POLLING_FAILED) {
        if (!Await(_connection.get(), status == PGRES_POLLING_READING ? POLLIN : POLLOUT, begin, connectTime)) {
            _trouble = "it does not answer";
            _connection.reset();
            return false;
        }
        status = PQconnectPoll(_connection.get());
    }
    if (_connection && PQstatus(_connection.get()) == CONNECTION_OK) {
        PQsetNoticeProcessor(
            _connection.get(), [](void*, const char*) {}, nullptr);  // nothing that a user asked for
        if (!_greeting.empty() &&
            PQresultStatus(Result(PQexec(_connection.get(), _greeting.c_str())).get()) != PGRES_COMMAND_OK) {
            _trouble = Told(PQerrorMessage(_connection.get()));
            _connection.reset();
            return false;
        }
        PQsetnonblocking(_connection.get(), 1);
        return true;
    }
    _trouble = Told(_connection ? PQerrorMessage(_connection.get()) : "not enough memory");
    const bool wasPassword =
        _connection && (PQconnectionNeedsPassword(_connection.get()) || PQconnectionUsedPassword(_connection.get()));
    if (!_stoodOnce && wasPassword) {
        throw Video::Failure(Video::Concern::Usage, _trouble);
    }
    _connection.reset();
    return false;
}

void Database::Connect() {
    while (!TryConnect()) {
        _lostAt = _lostAt.value_or(SteadyClock::now());
        const bool isPatient =
            _patience == Patience::Endless || (_stoodOnce && SteadyClock::now() - *_lostAt < shortPatience);
        if (!isPatient || Video::Interrupted()) {
            throw Video::Failure(Video::Concern::System, "no connection to the database: " + _trouble);
        }
        if (!std::exchange(_toldOfWaiting, true)) {
            PrintLastLine("", "waiting for the database: " + _trouble);
        }
        Wait();
    }
    _isNew = _stoodOnce;
    _stoodOnce = true;
    _lostAt.reset();
    if (std::exchange(_toldOfWaiting, false)) {
        PrintLastLine("", "the database answers again");
    }
}

// Half a second, or one and a half: workers that lost the same server do not come back all at once.
void Database::Wait() {
    const auto until = SteadyClock::now() + milliseconds(500 + std::random_device{}() % 1000);
    while (SteadyClock::now() < until && !Video::Interrupted()) {
        std::this_thread::sleep_for(lookUp / 5);
    }
}

Database::Rows Database::Ask(const char* sql, const std::vector<Value>& values) {
    for (int attempt = 0;; ++attempt) {
        if (!_connection) {
            Connect();
        }
        try {
            return Try(sql, values);
        } catch (const Refused& refused) {
            if (!IsPassing(refused.State()) || _inTransaction) {
                throw;
            }
            _trouble = refused.what();
            const bool isLost = !refused.State().starts_with("40");
            if (isLost) {
                _connection.reset();
            }
            if (attempt > 0) {
                Wait();
            }
            if (Video::Interrupted() && attempt > 0) {
                throw;
            }
        }
    }
}

void Database::Do(const std::string& sql) {
    const Result result(PQexec(_connection.get(), sql.c_str()));
    const ExecStatusType status = PQresultStatus(result.get());
    if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK) {
        const char* state = PQresultErrorField(result.get(), PG_DIAG_SQLSTATE);
        throw Refused(ConcernOf(state ? state : ""), state ? state : "08006", Told(PQerrorMessage(_connection.get())));
    }
}

void Database::Begin() {
    Do("BEGIN");
    _inTransaction = true;
}

void Database::Commit() {
    Do("COMMIT");
    _inTransaction = false;
}

void Database::Rollback() {
    _inTransaction = false;
    try {
        Do("ROLLBACK");
    } catch (const Video::Failure&) {  // the connection is lost, and with it what was begun
        _connection.reset();
    }
}

// Null: the connection is lost.
Database::Result Database::ResultOf() {
    const SteadyClock::time_point begin = SteadyClock::now();
    Result last;
    for (;;) {
        while (PQisBusy(_connection.get()) != 0) {
            const int unsent = PQflush(_connection.get());
            const short events = static_cast<short>(POLLIN | (unsent > 0 ? POLLOUT : 0));
            if (unsent < 0 || !Await(_connection.get(), events, begin, answerTime) ||
                PQconsumeInput(_connection.get()) == 0) {
                return nullptr;
            }
        }
        Result next(PQgetResult(_connection.get()));
        if (!next) {
            return last;
        }
        last = std::move(next);
    }
}

Database::Rows Database::Try(const char* sql, const std::vector<Value>& values) {
    std::vector<const char*> texts;
    std::vector<int> lengths, formats;
    for (const Value& value : values) {
        texts.push_back(value.text ? value.text->c_str() : nullptr);
        lengths.push_back(value.text ? static_cast<int>(value.text->size()) : 0);
        formats.push_back(value.isBytes ? 1 : 0);
    }
    const bool isSent = PQsendQueryParams(_connection.get(), sql, static_cast<int>(values.size()), nullptr, texts.data(),
                                          lengths.data(), formats.data(), 1) == 1;
    const Result result = isSent ? ResultOf() : nullptr;
    const ExecStatusType status = PQresultStatus(result.get());
    if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK) {
        const char* state = PQresultErrorField(result.get(), PG_DIAG_SQLSTATE);
        const char* message = PQresultErrorField(result.get(), PG_DIAG_MESSAGE_PRIMARY);
        throw Refused(ConcernOf(state ? state : ""), state ? state : "08006",
                      Told(message ? message : PQerrorMessage(_connection.get())));
    }
    Rows rows(static_cast<std::size_t>(PQntuples(result.get())));
    for (std::size_t row = 0; row < rows.size(); ++row) {
        for (int column = 0; column < PQnfields(result.get()); ++column) {
            const int number = static_cast<int>(row);
            rows[row].push_back(PQgetisnull(result.get(), number, column)
                                    ? Cell()
                                    : Cell(std::in_place, PQgetvalue(result.get(), number, column),
                                           static_cast<std::size_t>(PQgetlength(result.get(), number, column))));
        }
    }
    return rows;
}

std::vector<std::string> Database::TakeNews() {
    std::vector<std::string> news;
    if (_connection && PQconsumeInput(_connection.get()) == 0) {
        _connection.reset();
        Connect();
    }
    while (_connection) {
        const std::unique_ptr<PGnotify, void (*)(void*)> one(PQnotifies(_connection.get()), PQfreemem);
        if (!one) {
            break;
        }
        news.push_back(one->extra);
    }
    if (std::exchange(_isNew, false)) {
        news.emplace_back();
    }
    return news;
}

int Database::Socket() const { return _connection ? PQsocket(_connection.get()) : -1; }

}  // namespace Scan
