// How are the results of a farm read in the order of its plan?  Some at a time: a question each would take as long as the
// way to the database, a hundred thousand times.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "archive/Plan.h"
#include "archive/ResultStore.h"
#include "farm/Database.h"

namespace Scan {

class FarmResults : public KeptResults {
public:
    // Both are to outlive it. name: of the farm.
    FarmResults(Database& database, const std::string& name, const Plan& plan);

    std::optional<std::string> Read(const std::string& key) override;
    void Discard(const std::string& key) override;
    std::string Absence(const std::string& key) override;

private:
    Database& _database;
    const std::string _name;
    std::vector<std::string> _keys;             // in the order of the plan
    std::map<std::string, std::size_t> _place;  // of a key among these
    std::map<std::string, std::optional<std::string>> _ahead;
};

}  // namespace Scan
