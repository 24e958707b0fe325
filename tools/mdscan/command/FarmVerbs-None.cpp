// What does mdscan say of farms where it has none?
#include "command/FarmVerbs.h"

#include "video/base/Failure.h"

namespace Scan {

int DoFarmVerb(const Options&, const std::string&) {
    throw Video::Failure(Video::Concern::Usage, "this mdscan was built without PostgreSQL, which farms need");
}

}  // namespace Scan
