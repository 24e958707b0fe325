// How does a plan get into tables, and out again?
#include "farm/Farm.h"

#include <algorithm>
#include <cstddef>
#include <exception>

#include <nlohmann/json.hpp>

#include "farm/FarmSchema.h"
#include "outputs/Camera.h"
#include "results/VisibleText.h"
#include "video/base/Failure.h"

namespace Scan {

namespace {

constexpr std::size_t jobsAtATime = 5000;

Database::Cell Maybe(const std::string& name) { return name.empty() ? Database::Cell() : Database::Cell(name); }

// A path may hold any bytes, columns are for people and hold text.
std::string RowsOf(const Plan& plan, std::size_t first, std::size_t last) {
    nlohmann::ordered_json rows = nlohmann::ordered_json::array();
    for (std::size_t i = first; i < last; ++i) {
        const PlannedJob& job = plan.jobs[i];
        rows.push_back({i, job.key, Visible(job.file), Visible(CameraOf(job.file)), JobLineOf(job)});
    }
    return rows.dump();
}

}  // namespace

FarmName FindFarm(Database& database, const std::string& name) {
    ExpectSchema(database);
    const Database::Rows rows = database.Ask("SELECT name, id::text FROM mdscan.farm_named($1)", {Maybe(name)});
    return {*rows[0][0], *rows[0][1]};
}

// Nobody sees the farm before all of its jobs are there.
FarmTally CreateFarm(Database& database, const std::string& name, const Plan& plan, double lease) {
    Migrate(database, SchemaSteps().size());
    database.Begin();
    try {
        const Database::Rows made = database.Ask(
            "INSERT INTO mdscan.farms (name, version, head, lease) VALUES ($1, $2, $3, make_interval(secs => $4)) "
            "ON CONFLICT (name) DO NOTHING RETURNING id::text",
            {name, plan.version, HeadLineOf(plan), std::to_string(lease)});
        if (made.empty()) {
            throw Video::Failure(Video::Concern::Usage, "there is a farm " + name + " already");
        }
        const std::string& id = *made[0][0];
        for (std::size_t first = 0; first < plan.jobs.size(); first += jobsAtATime) {
            database.Ask("INSERT INTO mdscan.jobs (farm, number, key, file, camera, line, state) "
                         "SELECT $1::bigint, (j ->> 0)::integer, j ->> 1, j ->> 2, j ->> 3, j ->> 4, CASE "
                         "WHEN j ->> 1 = '' THEN 'none' WHEN r.key IS NULL THEN 'open' ELSE 'done' END "
                         "FROM json_array_elements($2::json) AS planned (j) LEFT JOIN mdscan.results r ON r.key = j ->> 1",
                         {id, RowsOf(plan, first, std::min(plan.jobs.size(), first + jobsAtATime))});
        }
        const Database::Rows counted = database.Ask(
            "SELECT count(*) FILTER (WHERE state <> 'none')::text, count(*) FILTER (WHERE state = 'done')::text "
            "FROM mdscan.jobs WHERE farm = $1::bigint",
            {id});
        database.Ask("ANALYZE mdscan.jobs");
        database.Commit();
        return {std::stoll(*counted[0][0]), std::stoll(*counted[0][1])};
    } catch (...) {
        database.Rollback();
        throw;
    }
}

void DropFarm(Database& database, const std::string& name) {
    const FarmName farm = FindFarm(database, name);
    database.Ask("SELECT mdscan.wake($1::bigint, 'dropped')::text", {farm.id});
    database.Ask("WITH its AS (DELETE FROM mdscan.jobs WHERE farm = $1::bigint RETURNING key), "
                 "gone AS (DELETE FROM mdscan.results r WHERE r.key IN (SELECT key FROM its) AND NOT EXISTS "
                 "(SELECT FROM mdscan.jobs j WHERE j.key = r.key AND j.farm <> $1::bigint)) "
                 "DELETE FROM mdscan.farms WHERE id = $1::bigint",
                 {farm.id});
}

std::int64_t RetryFarm(Database& database, const std::string& name) {
    const FarmName farm = FindFarm(database, name);
    const Database::Rows rows = database.Ask(
        "WITH again AS (UPDATE mdscan.jobs SET state = CASE WHEN state = 'failed' THEN 'open' ELSE state END, deaths = 0, "
        "reason = NULL WHERE farm = $1::bigint AND (state = 'failed' OR state = 'open' AND reason IS NOT NULL) RETURNING 1) "
        "SELECT count(*)::text FROM again",
        {farm.id});
    database.Ask("SELECT mdscan.wake($1::bigint, 'retry')::text", {farm.id});
    return std::stoll(*rows[0][0]);
}

void AdmitWorker(Database& database, const std::string& role) {
    ExpectSchema(database);
    database.Ask("SELECT mdscan.admit($1::name)::text", {role});
}

Plan PlanOfFarm(Database& database, std::string& name) {
    const FarmName farm = FindFarm(database, name);
    name = farm.name;
    Plan plan;
    std::size_t count = 0;
    try {
        count = TakeHeadLine(*database.Ask("SELECT head FROM mdscan.farms WHERE id = $1::bigint", {farm.id}).at(0)[0], plan);
        plan.jobs.reserve(count);
        while (plan.jobs.size() < count) {
            const Database::Rows rows =
                database.Ask("SELECT line FROM mdscan.jobs WHERE farm = $1::bigint AND number >= $2::integer "
                             "ORDER BY number LIMIT $3::integer",
                             {farm.id, plan.jobs.size(), jobsAtATime});
            if (rows.empty()) {
                break;
            }
            for (const std::vector<Database::Cell>& row : rows) {
                plan.jobs.push_back(JobOfLine(*row[0]));
            }
        }
    } catch (const Video::Failure&) {
        throw;
    } catch (const std::exception&) {
        count = plan.jobs.size() + 1;
    }
    if (plan.jobs.size() != count) {
        throw Video::Failure(Video::Concern::Usage, "the farm " + name + " holds no whole plan");
    }
    return plan;
}

}  // namespace Scan
