// Which questions tell how far a farm is?
#include "farm/FarmStatus.h"

#include "farm/Farm.h"

namespace Scan {

namespace {

// The rate is that of the last ten minutes, or since the first job was taken.
constexpr const char* counts = R"sql(
SELECT count(*) FILTER (WHERE state <> 'none')::text, count(*) FILTER (WHERE state = 'done')::text,
       count(*) FILTER (WHERE state = 'open')::text, count(*) FILTER (WHERE state = 'taken')::text,
       count(*) FILTER (WHERE state = 'failed')::text,
       coalesce(60 * count(*) FILTER (WHERE done > now() - interval '10 minutes') /
           nullif(extract(epoch FROM now() - greatest(min(taken), now() - interval '10 minutes')), 0), 0)::text
FROM mdscan.jobs WHERE farm = $1::bigint)sql";

constexpr const char* workers = R"sql(
SELECT w.id::text, w.name, w.role::text, w.slots::text, extract(epoch FROM clock_timestamp() - w.since)::text,
       (w.lease < clock_timestamp())::text, j.file, extract(epoch FROM clock_timestamp() - j.taken)::text
FROM mdscan.workers w LEFT JOIN mdscan.jobs j ON j.worker = w.id AND j.state = 'taken'
WHERE w.farm = $1::bigint ORDER BY w.name, w.id, j.number)sql";

constexpr const char* troubles = R"sql(
SELECT reason, min(file), count(*)::text, (state = 'failed')::text FROM mdscan.jobs
WHERE farm = $1::bigint AND reason IS NOT NULL AND state <> 'done'
GROUP BY reason, state ORDER BY count(*) DESC, reason)sql";

}  // namespace

FarmStatus StatusOf(Database& database, const std::string& name) {
    const FarmName farm = FindFarm(database, name);
    const std::vector<Database::Cell> counted = database.Ask(counts, {farm.id})[0];
    FarmStatus status{.farm = farm.name,
                      .jobs = std::stoll(*counted[0]),
                      .done = std::stoll(*counted[1]),
                      .open = std::stoll(*counted[2]),
                      .taken = std::stoll(*counted[3]),
                      .failed = std::stoll(*counted[4]),
                      .perMinute = std::stod(*counted[5]),
                      .secondsLeft = {},
                      .workers = {},
                      .troubles = {}};
    if (status.IsOver()) {
        status.secondsLeft = 0;
    } else if (status.perMinute > 0) {
        status.secondsLeft = 60 * static_cast<double>(status.open + status.taken) / status.perMinute;
    }
    std::string last;
    for (const std::vector<Database::Cell>& row : database.Ask(workers, {farm.id})) {
        if (row[0] != last) {
            last = *row[0];
            status.workers.push_back({*row[1], *row[2], std::stoi(*row[3]), std::stod(*row[4]), row[5] == "true", {}});
        }
        if (row[6]) {
            status.workers.back().jobs.push_back({*row[6], std::stod(row[7].value_or("0"))});
        }
    }
    for (const std::vector<Database::Cell>& row : database.Ask(troubles, {farm.id})) {
        status.troubles.push_back({*row[0], *row[1], std::stoll(*row[2]), row[3] == "true"});
    }
    return status;
}

}  // namespace Scan
