// Is anything lost or told twice when workers, their server and their connections die at any moment?
//
// Jobs are short waits whose results follow from their keys. COREMD_CHAOS_KILLS, _WORKERS, _JOBS, _MS and _EVERY_MS make it
// longer, as those of a folder's; the server is killed after every tenth disturbance. It prints what it did.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "FarmFixture.h"
#include "StubJobs.h"
#include "archive/FolderStore.h"
#include "archive/Gathering.h"
#include "farm/FarmQueue.h"
#include "farm/FarmResults.h"
#include "farm/FarmStatus.h"
#include "video/base/Interruption.h"

namespace Scan {
namespace {

namespace fs = std::filesystem;

class FarmChaosTest : public FarmFixture {
protected:
    pid_t StartWorker(const std::string& farm, int milliseconds) const {
        const pid_t worker = fork();
        if (worker == 0) {
            const int nowhere = open("/dev/null", O_WRONLY);
            dup2(nowhere, STDERR_FILENO);
            Video::LeaveOrderly();
            int code = 1;
            try {
                FarmQueue queue(Address(), farm, "1", 2);
                StubLauncher launcher(milliseconds, In(farm + ".log"));
                code = WorkOn(queue, launcher, TwoAtATime());
            } catch (const std::exception&) {
            }
            _exit(code);
        }
        return worker;
    }

    std::string Gathered(const Plan& plan, KeptResults& results) const {
        OutputSettings outputs;
        outputs.lines = In("gathered.jsonl");
        EXPECT_EQ(Gather(plan, results, {}, outputs, true), Video::exitComplete);
        return Read("gathered.jsonl");
    }

    std::string OfOneProcess(const Plan& plan) const {
        fs::create_directory(In("calm"));
        FolderStore store(In("calm"));
        StubLauncher launcher(0, "");
        EXPECT_EQ(WorkOn(plan, store, launcher, TwoAtATime()), Video::exitComplete);
        return Gathered(plan, store);
    }
};

TEST_F(FarmChaosTest, NothingIsLostAndNothingTwice) {
    const int kills = Setting("COREMD_CHAOS_KILLS", 12), jobs = Setting("COREMD_CHAOS_JOBS", 60),
              milliseconds = Setting("COREMD_CHAOS_MS", 40), every = Setting("COREMD_CHAOS_EVERY_MS", 100);
    const auto workerCount = static_cast<std::size_t>(Setting("COREMD_CHAOS_WORKERS", 4));
    const Plan plan = PlanOfStubs(jobs);
    const std::string expected = OfOneProcess(plan);

    std::mt19937 random(1);
    std::map<std::string, int> did;
    int rounds = 0, disturbed = 0;
    std::int64_t retried = 0;
    std::size_t again = 0;
    for (; did["workers killed"] < kills; ++rounds) {
        const std::string farm = "round" + std::to_string(rounds);
        CreateFarm(Owner(), farm, plan, 1);
        std::vector<pid_t> workers(workerCount, 0);
        for (bool isOver = false; !isOver;) {
            for (pid_t& worker : workers) {
                if (worker == 0 || waitpid(worker, nullptr, WNOHANG) == worker) {
                    worker = StartWorker(farm, milliseconds);
                }
            }
            Pause(every);
            const FarmStatus status = StatusOf(Owner(), farm);
            isOver = status.IsOver() && status.failed == 0;
            if (status.failed > 0) {
                retried += RetryFarm(Owner(), farm);
            }
            if (isOver || did["workers killed"] >= kills) {
                continue;
            }
            const pid_t victim = workers[random() % workerCount];
            if (++disturbed % 10 == 0) {
                Server().Kill();
                Server().Start();
                ++did["servers killed"];
                continue;
            }
            switch (random() % 8) {
                case 0:
                    kill(victim, SIGTERM);
                    ++did["workers interrupted"];
                    break;
                case 1:  // longer than its lease, in the end
                    kill(victim, SIGSTOP);
                    Pause(random() % 2 == 0 ? 1500 : every);
                    kill(victim, SIGCONT);
                    ++did["workers stopped"];
                    break;
                case 2:
                    Say("SELECT count(pg_terminate_backend(pid))::text FROM pg_stat_activity "
                        "WHERE pid <> pg_backend_pid() AND application_name = 'mdscan'");
                    ++did["times all connections cut"];
                    break;
                default: kill(victim, SIGKILL); ++did["workers killed"];
            }
        }
        for (const pid_t worker : workers) {
            kill(worker, SIGTERM);
        }
        for (const pid_t worker : workers) {
            waitpid(worker, nullptr, 0);
        }
        EXPECT_EQ(Ask("SELECT count(*)::text FROM mdscan.results"), std::to_string(jobs)) << "round " << rounds;
        EXPECT_EQ(States(), std::to_string(jobs) + " done") << "round " << rounds;
        FarmResults results(Owner(), farm, plan);
        ASSERT_EQ(Gathered(plan, results), expected) << "round " << rounds;
        again += fs::file_size(In(farm + ".log")) - plan.jobs.size();
        DropFarm(Owner(), farm);
        EXPECT_EQ(Ask("SELECT count(*)::text FROM mdscan.results"), "0");
    }
    std::printf("%d rounds of %d jobs, %zu workers:", rounds, jobs, workerCount);
    for (const auto& [what, times] : did) {
        std::printf(" %d %s,", times, what.c_str());
    }
    std::printf(" %zu jobs done again (%.1f %%), %d given up and tried again\n", again,
                100.0 * static_cast<double>(again) / (static_cast<double>(rounds) * jobs), static_cast<int>(retried));
}

}  // namespace
}  // namespace Scan
