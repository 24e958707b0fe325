// What is said when, and what becomes of a worker that was taken for dead?
#include "farm/FarmQueue.h"

#include <exception>
#include <utility>

#include <unistd.h>

#include "farm/FarmSchema.h"
#include "video/base/Failure.h"

namespace Scan {

namespace {

constexpr const char* notKnown = "MD003";  // a worker that was taken for dead
constexpr int beatsPerLease = 4;
constexpr auto askForEnd = std::chrono::milliseconds(400);  // at most: near the end, there is much news
constexpr auto countAgain = std::chrono::seconds(60);       // for the eye, and not for free

std::string NameOfThisWorker() {
    char host[256] = {};
    gethostname(host, sizeof host - 1);
    return std::string(host) + ":" + std::to_string(getpid());
}

// "{1,2}"
template <typename Numbers, typename NumberOf>
std::string ArrayOf(const Numbers& numbers, NumberOf numberOf) {
    std::string text = "{";
    for (const auto& number : numbers) {
        text += (text.size() > 1 ? "," : "") + std::to_string(numberOf(number));
    }
    return text + "}";
}

}  // namespace

FarmQueue::FarmQueue(const DatabaseAddress& address, const std::string& name, const std::string& version, int slots)
    : _database(address, Database::Patience::Endless),
      _name(name),
      _version(version),
      _worker(NameOfThisWorker()),
      _slots(slots) {
    ExpectSchema(_database);
    Join();
    Recount();
}

FarmQueue::~FarmQueue() {
    try {
        _database.Ask("SELECT mdscan.leave_farm($1::bigint)::text", {_id});
    } catch (const std::exception&) {  // it will be missed
    }
}

// What it worked on remains under its old number: the result counts, if it is the first.
void FarmQueue::Join() {
    const Database::Rows rows =
        _database.Ask("SELECT * FROM mdscan.join_farm($1, $2, $3, $4::integer)",
                      {_name.empty() ? Database::Cell() : Database::Cell(_name), _version, _worker, std::to_string(_slots)});
    _id = *rows[0][0];
    _name = *rows[0][2];
    _lease = std::chrono::duration<double>(std::stod(*rows[0][4]));
    if (!_head.empty() && *rows[0][3] != _head) {
        throw Video::Failure(Video::Concern::Usage, "the farm " + _name + " was dropped, and another one has its name");
    }
    _head = *rows[0][3];
    _plan = {};
    try {
        TakeHeadLine(_head, _plan);
    } catch (const std::exception&) {
        throw Video::Failure(Video::Concern::Usage, "the farm " + _name + " holds no plan of mdscan");
    }
    _numbers.clear();
    _isDry = false;
    _isOver.reset();
    _beat = SteadyClock::now();
    _database.Greet("LISTEN mdscan_" + *rows[0][1]);
}

// values: but for the first, which is the worker. One who was taken for dead comes back as another.
Database::Rows FarmQueue::AskAsWorker(const char* sql, std::vector<Database::Value> values) {
    values.insert(values.begin(), Database::Value(_id));
    try {
        return _database.Ask(sql, values);
    } catch (const Refused& refused) {
        if (refused.State() != notKnown) {
            throw;
        }
    }
    Join();
    values.front() = _id;
    return _database.Ask(sql, values);
}

std::string FarmQueue::Held() const {
    return ArrayOf(_numbers, [](const auto& taken) { return taken.second; });
}

std::string FarmQueue::RefusedHere() const {
    return ArrayOf(_refused, [](int number) { return number; });
}

std::optional<PlannedJob> FarmQueue::Take() {
    if (_isDry) {
        return std::nullopt;
    }
    const Database::Rows rows = AskAsWorker("SELECT * FROM mdscan.take_job($1::bigint, $2::integer[])", {RefusedHere()});
    if (rows.empty()) {
        _isDry = true;
        _isOver.reset();
        return std::nullopt;
    }
    try {
        PlannedJob job = JobOfLine(*rows[0][1]);
        _numbers[job.key] = std::stoi(*rows[0][0]);
        return job;
    } catch (const std::exception&) {
        throw Video::Failure(Video::Concern::Usage, "the farm " + _name + " holds no whole plan");
    }
}

void FarmQueue::GiveBack(const PlannedJob& job) {
    const auto taken = _numbers.find(job.key);
    if (taken == _numbers.end()) {
        return;
    }
    const std::string number = std::to_string(taken->second);
    _numbers.erase(taken);
    try {
        _database.Ask("SELECT mdscan.give_back($1::bigint, $2::integer, NULL, false)::text", {_id, number});
    } catch (const std::exception&) {  // its lease ends
    }
}

void FarmQueue::Refuse(const PlannedJob& job, const std::string& reason, bool died) {
    const auto taken = _numbers.find(job.key);
    if (taken == _numbers.end()) {
        return;
    }
    const int number = taken->second;
    _numbers.erase(taken);
    _refused.insert(number);
    AskAsWorker("SELECT mdscan.give_back($1::bigint, $2::integer, $3, $4::boolean)::text",
                {std::to_string(number), reason, died ? "true" : "false"});
}

void FarmQueue::Keep(const PlannedJob& job, const std::string& line) {
    try {
        _database.Ask("SELECT mdscan.keep_result($1, $2, $3)::text", {_worker, job.key, Database::Value::Bytes(line)});
    } catch (...) {
        GiveBack(job);
        throw;
    }
    _numbers.erase(job.key);
    ++_counts.done;
    _isOver.reset();
}

bool FarmQueue::IsOver() {
    if (!_isOver && SteadyClock::now() - _askedForEnd < askForEnd) {
        return false;
    }
    if (!_isOver) {
        _askedForEnd = SteadyClock::now();
        const Database::Rows rows = AskAsWorker("SELECT mdscan.is_over($1::bigint, $2::integer[])", {RefusedHere()});
        _isOver = rows[0][0] == "yes";
        if (*_isOver) {
            Recount();
        }
    }
    return _isDry && *_isOver;
}

void FarmQueue::Tend() {
    for (const std::string& news : _database.TakeNews()) {
        _isDry = _isDry && news == "kept";
        _isOver.reset();
        if (news == "retry") {
            _refused.clear();
        }
        if (news.empty()) {
            _beat = {};
        }
    }
    if (SteadyClock::now() - _beat > _lease / beatsPerLease) {
        AskAsWorker("SELECT mdscan.beat($1::bigint, $2::integer[])::text", {Held()});
        _beat = SteadyClock::now();
        _isDry = false;
        _isOver.reset();
    }
    if (SteadyClock::now() - _counted > countAgain) {
        Recount();
    }
}

void FarmQueue::Recount() {
    const Database::Rows rows = AskAsWorker("SELECT * FROM mdscan.count_jobs($1::bigint)", {});
    _counts = {std::stoul(*rows[0][0]), std::stoul(*rows[0][1])};
    _counted = SteadyClock::now();
}

JobQueue::Counts FarmQueue::Count() { return _counts; }

}  // namespace Scan
