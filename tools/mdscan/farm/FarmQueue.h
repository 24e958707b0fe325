// How does a worker take jobs of a farm, beside others who may be killed, stopped or cut off at any time?
//
// It is believed to live as long as it says so, several times within its lease. What it worked on when it was taken for dead
// may be somebody else's by then: whoever is first to finish keeps the result, which is the same.
#pragma once

#include <chrono>
#include <map>
#include <set>
#include <string>

#include "archive/JobQueue.h"
#include "archive/Plan.h"
#include "farm/Database.h"

namespace Scan {

class FarmQueue : public JobQueue {
public:
    // name: of the farm; empty: the only one there is. version: of the program. slots: jobs at a time, to be told.
    // Throws Failure.
    FarmQueue(const DatabaseAddress& address, const std::string& name, const std::string& version, int slots);
    ~FarmQueue() override;
    FarmQueue(const FarmQueue&) = delete;
    FarmQueue& operator=(const FarmQueue&) = delete;

    const std::string& Name() const { return _name; }
    const Plan& PlanHead() const { return _plan; }  // without its jobs

    std::optional<PlannedJob> Take() override;
    void GiveBack(const PlannedJob& job) override;
    void Refuse(const PlannedJob& job, const std::string& reason, bool died) override;
    void Keep(const PlannedJob& job, const std::string& line) override;
    bool IsOver() override;
    void Tend() override;
    int News() const override { return _database.Socket(); }
    Counts Count() override;

private:
    using SteadyClock = std::chrono::steady_clock;

    void Join();
    Database::Rows AskAsWorker(const char* sql, std::vector<Database::Value> values);
    std::string Held() const;
    std::string RefusedHere() const;
    void Recount();

    Database _database;
    std::string _name;
    const std::string _version;
    const std::string _worker;  // what others are told of it
    const int _slots;
    std::string _id;    // of the worker, in the database
    std::string _head;  // what the launcher was made for
    Plan _plan;
    std::chrono::duration<double> _lease{};
    std::map<std::string, int> _numbers;  // of those taken, by key
    std::set<int> _refused;               // here
    bool _isDry = false;                  // there was none, and no news since
    std::optional<bool> _isOver;          // absent: to be asked for
    SteadyClock::time_point _beat, _counted, _askedForEnd;
    Counts _counts;
};

}  // namespace Scan
