// How many workers does a database feed, and what do a hundred thousand jobs cost?
//
// The server forces all that it acknowledges to the disk. COREMD_SCALE_WORKERS (a list), _MS (a job), _EACH (jobs per
// worker) and _JOBS (of the archive) make it larger; _AT is another address by which the server is reached. It prints what
// it measured.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "FarmFixture.h"
#include "StubJobs.h"
#include "archive/Gathering.h"
#include "farm/FarmQueue.h"
#include "farm/FarmResults.h"
#include "run/StateLine.h"
#include "video/base/Interruption.h"

namespace Scan {
namespace {

std::string Setting(const char* name, const char* usual) {
    const char* text = std::getenv(name);
    return text ? text : usual;
}

class FarmScaleTest : public FarmFixture {
protected:
    static void SetUpTestSuite() { StartServer("-c fsync=on"); }

    DatabaseAddress WorkersAddress() const {
        const std::string other = Setting("COREMD_SCALE_AT", "");
        return other.empty() ? Address() : ReadAddress(other, nullptr);
    }

    static double SecondsSince(std::chrono::steady_clock::time_point begin) {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    }

    // Seconds that so many processes take which all do this.
    static double Together(int count, const std::function<void()>& act) {
        const auto begin = std::chrono::steady_clock::now();
        std::fflush(stdout);
        std::vector<pid_t> workers;
        for (int i = 0; i < count; ++i) {
            workers.push_back(fork());
            if (workers.back() == 0) {
                try {
                    act();
                } catch (const std::exception& failure) {
                    std::fprintf(stderr, "%s\n", failure.what());
                    _exit(1);
                }
                _exit(0);
            }
        }
        for (const pid_t worker : workers) {
            int status = 0;
            waitpid(worker, &status, 0);
            EXPECT_EQ(status, 0);
        }
        return SecondsSince(begin);
    }
};

TEST_F(FarmScaleTest, WorkersHaveWork) {
    const int milliseconds = std::stoi(Setting("COREMD_SCALE_MS", "200"));
    const int each = std::stoi(Setting("COREMD_SCALE_EACH", "5"));
    std::istringstream counts(Setting("COREMD_SCALE_WORKERS", "4 8"));
    for (int workers = 0; counts >> workers;) {
        const int jobs = workers * each;
        CreateFarm(Owner(), "many", PlanOfStubs(jobs), 60);
        const double seconds = Together(workers, [&] {
            dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);
            RunSettings run;
            run.quiet = true;
            StubLauncher launcher(milliseconds, In("begun"));
            WorkOn(*std::make_unique<FarmQueue>(WorkersAddress(), "many", "1", 1), launcher, run);
        });
        EXPECT_EQ(States(), std::to_string(jobs) + " done");
        EXPECT_EQ(Read("begun").size(), static_cast<std::size_t>(jobs)) << "each once";
        std::printf("%d workers, %d jobs of %d ms: %.1f s, efficiency %.3f\n", workers, jobs, milliseconds, seconds,
                    each * milliseconds / 1000.0 / seconds);
        DropFarm(Owner(), "many");
        Write("begun", "");
    }
}

// Empty jobs: what remains is what the database costs.
TEST_F(FarmScaleTest, ALargeArchive) {
    const int jobs = std::stoi(Setting("COREMD_SCALE_JOBS", "20000"));
    const Plan plan = PlanOfStubs(jobs);
    auto begin = std::chrono::steady_clock::now();
    CreateFarm(Owner(), "large", plan, 60);
    std::printf("%d jobs: created in %.1f s", jobs, SecondsSince(begin));
    const double working = Together(8, [&] {
        FarmQueue queue(WorkersAddress(), "large", "1", 1);
        while (const std::optional<PlannedJob> job = queue.Take()) {
            queue.Tend();
            queue.Keep(*job, StateLine(job->key, job->identity, {{}, {EventRecord{.number = 1, .frames = 7}}}));
        }
    });
    EXPECT_EQ(States(), std::to_string(jobs) + " done");
    std::printf(", taken and kept by 8 workers in %.1f s (%.0f per second)", working, jobs / working);
    std::fflush(stdout);
    const int rowsRead = std::stoi(Ask("SELECT seq_tup_read::text FROM pg_stat_user_tables WHERE relname = 'jobs'"));
    EXPECT_LT(rowsRead, 100 * jobs) << "whoever looks through all of them for each costs the square of them";
    const double gathering = Together(1, [&] {
        std::string name = "large";
        Database database(Address(), Database::Patience::Short);
        const Plan stored = PlanOfFarm(database, name);
        FarmResults results(database, name, stored);
        OutputSettings outputs;
        outputs.lines = In("large.jsonl");
        if (Gather(stored, results, {}, outputs, true) != Video::exitComplete && stored.jobs.size() != plan.jobs.size()) {
            _exit(2);
        }
        rusage used = {};
        getrusage(RUSAGE_SELF, &used);
        std::printf(", gathered with %.0f MB", static_cast<double>(used.ru_maxrss) / 1024);
        std::fflush(stdout);
    });
    std::printf(" in %.1f s\n", gathering);
    const std::string lines = Read("large.jsonl");
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 1 + 2 * jobs) << "an event and an end of each";
    begin = std::chrono::steady_clock::now();
    DropFarm(Owner(), "large");
    std::printf("dropped in %.1f s\n", SecondsSince(begin));
}

}  // namespace
}  // namespace Scan
