// Is anything lost or told twice when workers are killed, stopped and interrupted at any moment?
//
// Jobs are short waits whose results follow from their keys. COREMD_CHAOS_KILLS, _WORKERS, _JOBS, _MS and _EVERY_MS make it
// longer: killed workers in all, workers at a time, jobs of a round, milliseconds of a job, and from one kill to the next.
// It prints what it did.
#include "archive/Working.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "FolderFixture.h"
#include "StubJobs.h"
#include "archive/FolderStore.h"
#include "archive/Gathering.h"
#include "video/base/Interruption.h"

namespace Scan {
namespace {

namespace fs = std::filesystem;

class ArchiveChaosTest : public Kit::FolderFixture {
protected:
    // Returns the exit code.
    int Do(const Plan& plan, const std::string& folder, int milliseconds) const {
        FolderStore store(In(folder));
        StubLauncher launcher(milliseconds, In(folder + ".log"));
        return WorkOn(plan, store, launcher, TwoAtATime());
    }

    pid_t StartWorker(const Plan& plan, const std::string& folder, int milliseconds) const {
        const pid_t worker = fork();
        if (worker == 0) {
            const int nowhere = open("/dev/null", O_WRONLY);
            dup2(nowhere, STDERR_FILENO);
            Video::LeaveOrderly();
            _exit(Do(plan, folder, milliseconds));
        }
        return worker;
    }

    std::string Gathered(const Plan& plan, const std::string& folder) const {
        FolderStore store(In(folder));
        OutputSettings outputs;
        outputs.lines = In(folder + ".jsonl");
        EXPECT_EQ(Gather(plan, store, {}, outputs, true), Video::exitComplete);
        return Read(folder + ".jsonl");
    }
};

TEST_F(ArchiveChaosTest, NothingIsLostAndNothingTwice) {
    const int kills = Setting("COREMD_CHAOS_KILLS", 6), jobs = Setting("COREMD_CHAOS_JOBS", 40),
              milliseconds = Setting("COREMD_CHAOS_MS", 15), every = Setting("COREMD_CHAOS_EVERY_MS", 60);
    const auto workerCount = static_cast<std::size_t>(Setting("COREMD_CHAOS_WORKERS", 4));
    const Plan plan = PlanOfStubs(jobs);
    fs::create_directory(In("calm"));
    ASSERT_EQ(Do(plan, "calm", 0), Video::exitComplete);
    const std::string expected = Gathered(plan, "calm");

    std::mt19937 random(1);
    int killed = 0, stopped = 0, interrupted = 0, rounds = 0;
    std::size_t again = 0;
    for (; killed < kills; ++rounds) {
        const std::string folder = "round" + std::to_string(rounds);
        fs::create_directory(In(folder));
        std::vector<pid_t> workers(workerCount, 0);
        FolderStore store(In(folder));
        while (store.List().size() < plan.jobs.size()) {
            for (pid_t& worker : workers) {
                if (worker == 0 || waitpid(worker, nullptr, WNOHANG) == worker) {
                    worker = StartWorker(plan, folder, milliseconds);
                }
            }
            Pause(every);
            if (killed >= kills) {
                continue;
            }
            const pid_t victim = workers[random() % workerCount];
            switch (random() % 8) {
                case 0:
                    kill(victim, SIGTERM);
                    ++interrupted;
                    break;
                case 1:  // longer than others need for everything else, as far as it was told
                    kill(victim, SIGSTOP);
                    Pause(every);
                    kill(victim, SIGCONT);
                    ++stopped;
                    break;
                default: kill(victim, SIGKILL); ++killed;
            }
        }
        for (const pid_t worker : workers) {
            kill(worker, SIGTERM);
        }
        for (const pid_t worker : workers) {
            waitpid(worker, nullptr, 0);
        }
        ASSERT_EQ(Gathered(plan, folder), expected) << "round " << rounds;
        again += fs::file_size(In(folder + ".log")) - plan.jobs.size();
        fs::remove_all(In(folder));
    }
    const double share = 100.0 * static_cast<double>(again) / (static_cast<double>(rounds) * jobs);
    std::printf("%d rounds of %d jobs, %zu workers: %d killed, %d stopped, %d interrupted; %zu jobs done again (%.1f %%)\n",
                rounds, jobs, workerCount, killed, stopped, interrupted, again, share);
}

}  // namespace
}  // namespace Scan
