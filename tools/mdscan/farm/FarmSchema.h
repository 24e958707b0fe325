// Which tables and functions does a farm have in its database?  In steps, each of which makes of the one before the next.
#pragma once

#include <string>
#include <vector>

#include "farm/Database.h"

namespace Scan {

// What each step does, from 1. Released ones stay as they are: what is to change becomes another step.
const std::vector<std::string>& SchemaSteps();

// Takes the database to this step; all or nothing, and one at a time. Throws Failure, also where it is further already.
void Migrate(Database& database, std::size_t step);

// Throws Failure where it has not come so far, or further.
void ExpectSchema(Database& database);

}  // namespace Scan
