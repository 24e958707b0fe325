// How far ahead is read?
#include "farm/FarmResults.h"

#include <algorithm>
#include <utility>

#include "farm/Farm.h"

namespace Scan {

namespace {

constexpr std::size_t readAhead = 64;  // results; with pictures, some kilobytes to a megabyte each

}  // namespace

FarmResults::FarmResults(Database& database, const std::string& name, const Plan& plan) : _database(database), _name(name) {
    for (const PlannedJob& job : plan.jobs) {
        if (!job.key.empty() && _place.try_emplace(job.key, _keys.size()).second) {
            _keys.push_back(job.key);
        }
    }
}

std::optional<std::string> FarmResults::Read(const std::string& key) {
    if (!_ahead.contains(key)) {
        const auto place = _place.find(key);
        const std::size_t first = place == _place.end() ? _keys.size() : place->second;
        const std::size_t last = std::min(_keys.size(), first + readAhead);
        std::string keys = key;
        _ahead.clear();
        _ahead[key];
        for (std::size_t i = first; i < last; ++i) {
            keys += "," + _keys[i];
            _ahead[_keys[i]];
        }
        for (std::vector<Database::Cell>& row :
             _database.Ask("SELECT key, line FROM mdscan.results WHERE key = ANY (string_to_array($1, ','))", {keys})) {
            _ahead[*row[0]] = std::move(row[1]);
        }
    }
    return std::exchange(_ahead[key], std::nullopt);
}

void FarmResults::Discard(const std::string& key) {
    _database.Ask("WITH gone AS (DELETE FROM mdscan.results WHERE key = $1) "
                  "UPDATE mdscan.jobs SET state = 'open', done = NULL WHERE key = $1",
                  {key});
    _database.Ask("SELECT mdscan.wake(farm, 'back')::text FROM mdscan.jobs WHERE key = $1", {key});
}

std::string FarmResults::Absence(const std::string& key) {
    const Database::Rows rows =
        _database.Ask("SELECT j.state, j.reason, j.deaths::text FROM mdscan.jobs j JOIN mdscan.farms f ON f.id = j.farm "
                      "WHERE f.name = $1 AND j.key = $2",
                      {_name, key});
    if (rows.empty() || !rows[0][1]) {
        return KeptResults::Absence(key);
    }
    return rows[0][0] == "failed" ? "given up after " + *rows[0][2] + " deaths: " + *rows[0][1] : "not done: " + *rows[0][1];
}

}  // namespace Scan
