// What is an end called, and which exit code does it make?
#include "results/JobResult.h"

#include <exception>
#include <new>

#include "video/base/Failure.h"

namespace Scan {

const char* NameOf(Health health) {
    switch (health) {
        case Health::Whole: return "complete";
        case Health::Damaged: return "damaged";
        case Health::Unreadable: return "unreadable";
        case Health::Interrupted: return "interrupted";
        case Health::Unwritten:
        case Health::Untold: return "unwritten";
    }
    return "";
}

void AddUnwritten(const std::string& reasons, JobResult& result) {
    if (reasons.empty()) {
        return;
    }
    result.health = result.health == Health::Whole ? Health::Unwritten : result.health;
    result.trouble += (result.trouble.empty() ? "" : "; ") + reasons;
    result.unwritten = true;
}

JobResult ResultOfException(Health health) {
    JobResult result{.health = health, .code = Video::exitFailed, .trouble = "not enough memory"};
    try {
        throw;
    } catch (const Video::Failure& failure) {
        result.health = failure.EndsRun() ? Health::Untold : health;
        result.code = failure.Code();
        result.trouble = failure.what();
    } catch (const std::bad_alloc&) {
    } catch (const std::exception& error) {
        result.trouble = error.what();
    }
    return result;
}

Video::ExitCode CodeOf(const JobResult& result) {
    if (result.health != Health::Whole) {
        return result.code == Video::exitComplete ? Video::exitFailed : result.code;
    }
    return result.tally.events > 0 ? Video::exitComplete : Video::exitNothing;
}

Video::Failure FailureOf(const JobResult& result, const std::string& before) {
    const bool isTheUsers = result.code == Video::exitUsage;
    const Video::Concern concern = result.health == Health::Unwritten || result.health == Health::Untold
                                       ? (isTheUsers ? Video::Concern::Place : Video::Concern::Output)
                                       : (isTheUsers ? Video::Concern::Usage : Video::Concern::Input);
    return {concern, before + result.trouble};
}

}  // namespace Scan
