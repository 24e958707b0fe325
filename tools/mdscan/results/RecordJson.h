// How is a record JSON, and how does it come back?  For lines, and for pages, which add to it.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "results/Records.h"

namespace Scan {

// Fields in the order in which they are written.
nlohmann::ordered_json JsonOf(const EventRecord& event);
nlohmann::ordered_json JsonOf(const FrameRecord& frame);
nlohmann::ordered_json JsonOf(const GapRecord& gap);
nlohmann::ordered_json JsonOf(const ConditionRecord& condition);

// Throws std::exception when it is not what JsonOf made.
Record RecordOf(const nlohmann::ordered_json& json);

}  // namespace Scan
