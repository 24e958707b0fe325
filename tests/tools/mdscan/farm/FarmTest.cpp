// Does a farm give the bytes of one scan, forgive what machines do, and let nobody do more than he may?  With a server that
// this program starts.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "FarmFixture.h"
#include "ScanRun.h"
#include "StubJobs.h"
#include "farm/FarmQueue.h"
#include "farm/FarmResults.h"
#include "farm/FarmSchema.h"
#include "farm/FarmStatus.h"
#include "run/StateLine.h"
#include "video/base/Interruption.h"

namespace Scan {
namespace {

namespace fs = std::filesystem;

using Words = std::vector<std::string>;

// What a result may be, of no video.
std::string LineFor(const PlannedJob& job) { return StateLine(job.key, job.identity, {}); }

class FarmTest : public FarmFixture {
protected:
    void MakeFarm(int jobs, double lease = 60) { CreateFarm(Owner(), "march", PlanOfStubs(jobs), lease); }

    // From now on, whoever is silent is dead.
    void EndLeases() {
        Say("WITH l AS (UPDATE mdscan.farms SET lease = interval '0') UPDATE mdscan.workers SET lease = now()");
    }

    // What it says when it fails; empty: it does not.
    template <typename Do>
    static std::string Failing(Do&& act) {
        try {
            act();
        } catch (const Video::Failure& failure) {
            return failure.what();
        }
        return "";
    }

    // Of a role with rights of its own.
    std::string Denied(const std::string& role, const char* sql) {
        try {
            Database(Address(role), Database::Patience::Short).Ask(sql);
        } catch (const Refused& refused) {
            return refused.State();
        }
        return "";
    }
};

TEST_F(FarmTest, GathersTheBytesOfOneScan) {
    const Video::Encoding avi{.codec = "mpeg4", .container = "avi"};
    fs::create_directories(In("video/gate/2026-03-01"));
    Video::WriteEncoded({{.width = 160, .height = 120, .seconds = 6, .from = 3, .until = 4.8}}, avi,
                        In("video/gate/2026-03-01/07-59-00.avi"));
    Video::WriteEncoded({{.width = 160, .height = 120, .seconds = 5, .from = 2, .until = 4}}, avi,
                        In("video/gate/2026-03-01/08-59-00.avi"));
    Write("video/gate/2026-03-01/09-59-00.avi", "no video");
    const Words zone{"--zone", "0,0,1,1"};
    setenv("MDSCAN_AT", Server().Address().c_str(), 1);
    EXPECT_EQ(MdscanSaying({"plan", In("video"), "--zone", "0,0,1,1", "-o", In("a.plan")}).code, 0);
    EXPECT_EQ(MdscanSaying({"farm", "create", "march", In("a.plan")}).err, "mdscan: march: 3 jobs\n");
    EXPECT_EQ(MdscanSaying({"farm", "create", "march", In("a.plan")}).err, "mdscan: there is a farm march already\n");
    Said other;
    std::thread beside([&] { other = MdscanSaying({"work", "march"}); });
    const Said work = MdscanSaying({"work", "-j", "2"});
    beside.join();
    EXPECT_EQ(work.code, 0) << work.err;
    EXPECT_EQ(other.code, 0) << other.err;
    const Said gathered = MdscanSaying({"gather", "march", "-o", In("a.jsonl"), "--csv", In("a.csv")});
    EXPECT_EQ(gathered.code, 1) << gathered.err;
    EXPECT_NE(gathered.err.find("3 inputs: 2 with motion, 1 failed"), std::string::npos) << gathered.err;
    EXPECT_EQ(MdscanSaying({In("video"), "--zone", "0,0,1,1", "-j", "64", "-o", In("b.jsonl"), "--csv", In("b.csv")}).code,
              1);
    EXPECT_FALSE(Read("a.jsonl").empty());
    EXPECT_EQ(Read("a.jsonl"), Read("b.jsonl"));
    EXPECT_EQ(Read("a.csv"), Read("b.csv"));

    EXPECT_EQ(Ask("SELECT string_agg(concat_ws(' ', event, zones, to_char(start_time AT TIME ZONE 'UTC', 'HH24:MI'), "
                  "jsonb_array_length(boxes) > 0), ', ' ORDER BY start_time) FROM mdscan.events WHERE camera LIKE '%/gate'"),
              R"(1 {"zone 1"} 07:59 t, 1 {"zone 1"} 08:59 t)");
    EXPECT_EQ(MdscanSaying({"farm", "create", "more", In("a.plan")}).err, "mdscan: more: 3 jobs, 3 of them done already\n");
    EXPECT_EQ(MdscanSaying({"work"}).err, "mdscan: which farm?  There are march, more\n");
    EXPECT_EQ(MdscanSaying({"work", "april"}).err, "mdscan: there is no farm april; there are march, more\n");
    EXPECT_EQ(MdscanSaying({"farm", "drop", "march"}).code, 0);
    EXPECT_EQ(Ask("SELECT count(*)::text FROM mdscan.results"), "3") << "shared";
    EXPECT_EQ(MdscanSaying({"farm", "drop", "more"}).code, 0);
    EXPECT_EQ(Ask("SELECT count(*)::text FROM mdscan.results"), "0");
    EXPECT_EQ(MdscanSaying({"farm", "dorp", "more"}).code, 2);
    unsetenv("MDSCAN_AT");
    EXPECT_EQ(MdscanSaying({"work"}).code, 2) << "neither folder nor database";
    EXPECT_EQ(MdscanSaying({"work", "x", "--into", "y", "--at", Server().Address()}).code, 2);
}

// Parts are jobs like any other.
TEST_F(FarmTest, PartsOfALongVideoAreJoined) {
    fs::create_directories(In("video"));
    const Video::SquareScene scene{.width = 128, .height = 96, .framesPerSecond = 6, .seconds = 8, .from = 0, .until = 8};
    Video::WriteEncoded({5, scene}, {.codec = "mpeg4", .container = "avi"}, In("video/long.avi"));
    setenv("MDSCAN_AT", Server().Address().c_str(), 1);
    EXPECT_EQ(MdscanSaying({"plan", In("video"), "--split", "20s", "-o", In("a.plan")}).code, 0);
    EXPECT_EQ(MdscanSaying({"farm", "create", "march", In("a.plan")}).err, "mdscan: march: 2 jobs\n");
    EXPECT_EQ(MdscanSaying({"work", "-j", "2"}).code, 0);
    EXPECT_EQ(MdscanSaying({"gather", "march", "-o", In("a.jsonl")}).err,
              "mdscan: 1 input: 1 with motion, 0 failed; 1 event in 40.0 s of video\n");
    EXPECT_EQ(MdscanSaying({"work", In("a.plan"), "--into", In("a.d")}).code, 0);
    EXPECT_EQ(MdscanSaying({"gather", In("a.plan"), "--from", In("a.d"), "-o", In("b.jsonl")}).code, 0);
    EXPECT_FALSE(Read("a.jsonl").empty());
    EXPECT_EQ(Read("a.jsonl"), Read("b.jsonl"));
    unsetenv("MDSCAN_AT");
}

TEST_F(FarmTest, NobodyIsToldAPassword) {
    const auto said = [](const Words& words) {
        const Said all = MdscanSaying(words);
        EXPECT_EQ(all.code, 2) << all.err;
        EXPECT_EQ((all.out + all.err).find("sesame"), std::string::npos) << all.err;
        return all.err;
    };
    MakeFarm(1);
    Say("DROP ROLE IF EXISTS guarded");
    Say("CREATE ROLE guarded LOGIN SUPERUSER PASSWORD 'sesame'");
    const std::string plain = Server().Address("guarded");
    std::string address = plain;
    address.replace(address.find("guarded@"), 8, "guarded:sesame@");
    EXPECT_NE(said({"work", "--at", address}).find("put it into ~/.pgpass"), std::string::npos) << "seen by all";
    EXPECT_NE(said({"work", "--at", plain + "&password=sesame"}).find("put it into ~/.pgpass"), std::string::npos);
    EXPECT_NE(said({"work", "--at", "postgresql://guarded:sesame@[x/"}).find("is none that libpq knows"), std::string::npos);
    EXPECT_NE(said({"farm", "status", "--at", plain}).find("password"), std::string::npos);
    const Words status{"farm", "status", "--at", plain};
    for (const bool isRight : {false, true}) {
        setenv("PGPASSWORD", isRight ? "sesame" : "sesam", 1);
        EXPECT_EQ(MdscanSaying(status).code, isRight ? 0 : 2);
        EXPECT_EQ(MdscanSaying({"work", "--at", plain}).code, 2) << "at once, though it would wait for a server";
        unsetenv("PGPASSWORD");
        Write("pass", std::string("*:*:*:guarded:") + (isRight ? "sesame" : "sesam") + "\n");
        fs::permissions(In("pass"), fs::perms::owner_read);
        setenv("PGPASSFILE", In("pass").c_str(), 1);
        EXPECT_EQ(MdscanSaying(status).code, isRight ? 0 : 2);
        unsetenv("PGPASSFILE");
        fs::remove(In("pass"));
    }
    Write("service", "[farm]\nhost=" + Server().SocketFolder() + "\nuser=guarded\npassword=sesame\ndbname=postgres\n");
    setenv("PGSERVICEFILE", In("service").c_str(), 1);
    EXPECT_EQ(MdscanSaying({"farm", "status", "--at", "postgresql:///?service=farm"}).code, 0);
    unsetenv("PGSERVICEFILE");
    setenv("MDSCAN_AT", address.c_str(), 1);
    EXPECT_EQ(MdscanSaying({"farm", "status"}).code, 0) << "nobody else reads the environment";
    setenv("MDSCAN_AT", address.replace(address.find("sesame"), 6, "open sesame").c_str(), 1);
    said({"farm", "status"});
    unsetenv("MDSCAN_AT");
}

TEST_F(FarmTest, AWorkersRoleCanDoOnlyThat) {
    MakeFarm(3);
    Say("DROP ROLE IF EXISTS desk");
    Say("DROP ROLE IF EXISTS attic");
    Say("CREATE ROLE desk LOGIN");
    Say("CREATE ROLE attic LOGIN");
    EXPECT_NE(Failing([&] { FarmQueue(Address("desk"), "march", "1", 1); }), "") << "not admitted yet";
    AdmitWorker(Owner(), "desk");
    AdmitWorker(Owner(), "attic");
    FarmQueue desk(Address("desk"), "march", "1", 1);
    const std::optional<PlannedJob> job = desk.Take();
    ASSERT_TRUE(job);
    const char* takeIt = "SELECT mdscan.give_back((SELECT 1::bigint), 0, NULL, false)::text";
    EXPECT_EQ(Denied("attic", takeIt), "MD003") << "another's worker";
    EXPECT_EQ(States(), "2 open, 1 taken");
    desk.Keep(*job, LineFor(*job));
    EXPECT_EQ(States(), "1 done, 2 open");
    for (const char* sql :
         {"SELECT line FROM mdscan.jobs", "UPDATE mdscan.jobs SET state = 'done'", "DELETE FROM mdscan.results",
          "INSERT INTO mdscan.results (key, line, worker) VALUES ('a', '', '')", "SELECT head FROM mdscan.farms",
          "SELECT mdscan.bury(1)::text", "SELECT mdscan.admit('attic')::text", "DROP SCHEMA mdscan CASCADE",
          "CREATE TABLE mdscan.mine ()", "SELECT file FROM mdscan.events", "UPDATE mdscan.steps SET step = 9"}) {
        EXPECT_EQ(Denied("desk", sql), "42501") << sql;
    }
    Owner().Ask("DELETE FROM mdscan.workers");
}

TEST_F(FarmTest, ThreeDeathsAreEnough) {
    MakeFarm(1);
    for (const char* expected : {"1 open", "1 open", "1 failed"}) {
        FarmQueue queue(Address(), "march", "1", 1);
        const std::optional<PlannedJob> job = queue.Take();
        ASSERT_TRUE(job);
        queue.Refuse(*job, "ended by signal 9", true);
        EXPECT_FALSE(queue.Take()) << "another may try";
        EXPECT_TRUE(queue.IsOver());
        EXPECT_EQ(States(), expected);
    }
    setenv("MDSCAN_AT", Server().Address().c_str(), 1);
    const Said status = MdscanSaying({"farm", "status", "--json"});
    EXPECT_EQ(status.code, 1);
    const auto json = nlohmann::json::parse(status.out);
    EXPECT_EQ(json["failed"], 1);
    EXPECT_EQ(json["troubles"][0]["reason"], "ended by signal 9");
    const Plan plan = PlanOfStubs(1);
    EXPECT_EQ(FarmResults(Owner(), "march", plan).Absence(plan.jobs[0].key), "given up after 3 deaths: ended by signal 9");
    EXPECT_EQ(MdscanSaying({"farm", "retry", "march"}).err, "mdscan: march: 1 job to be tried again\n");
    unsetenv("MDSCAN_AT");
    EXPECT_EQ(States(), "1 open");
}

// A video that is not on this machine is no death, and somebody else's job.
TEST_F(FarmTest, WhatIsRefusedIsForOthers) {
    MakeFarm(2);
    FarmQueue one(Address(), "march", "1", 1), two(Address(), "march", "1", 1);
    for (int i = 0; i < 2; ++i) {
        const std::optional<PlannedJob> job = one.Take();
        ASSERT_TRUE(job);
        one.Refuse(*job, "there is no file", false);
    }
    EXPECT_FALSE(one.Take());
    EXPECT_TRUE(one.IsOver());
    EXPECT_EQ(StatusOf(Owner(), "").troubles.at(0).jobs, 2);
    EXPECT_TRUE(two.Take());
    EXPECT_EQ(Ask("SELECT max(deaths)::text FROM mdscan.jobs"), "0");
}

TEST_F(FarmTest, WhoeverIsSilentIsDead) {
    MakeFarm(2);
    FarmQueue stopped(Address(), "march", "1", 1);
    const std::optional<PlannedJob> job = stopped.Take();
    ASSERT_TRUE(job);
    EXPECT_EQ(StatusOf(Owner(), "").workers.at(0).jobs.at(0).file, "file0");
    EndLeases();
    FarmQueue next(Address(), "march", "1", 1);
    EXPECT_EQ(Ask("SELECT concat_ws(' ', state, deaths, reason) FROM mdscan.jobs WHERE number = 0"),
              "open 1 its worker ended without a word");
    Say("UPDATE mdscan.farms SET lease = interval '1 minute'");
    const std::optional<PlannedJob> same = next.Take();
    ASSERT_TRUE(same);
    EXPECT_EQ(same->key, job->key);

    stopped.Keep(*job, LineFor(*job));  // continued, and first
    next.Keep(*same, "a second one");
    EXPECT_EQ(States(), "1 done, 1 open");
    EXPECT_EQ(Ask("SELECT string_agg(convert_from(line, 'UTF8'), '') FROM mdscan.results"), LineFor(*job));
    EXPECT_TRUE(stopped.Take()) << "as another worker";
    EXPECT_FALSE(next.Take());
    EXPECT_FALSE(next.IsOver()) << "the other may die";
}

// The server's clock rules, and it was not there to hear anybody.
TEST_F(FarmTest, ARestartedServerGivesTime) {
    MakeFarm(1, 3600);
    FarmQueue queue(Address(), "march", "1", 1);
    ASSERT_TRUE(queue.Take());
    Say("UPDATE mdscan.workers SET lease = now() - interval '1 day'");
    FarmQueue(Address(), "march", "1", 1);
    EXPECT_EQ(States(), "1 taken") << "a server younger than a lease buries nobody";
}

TEST_F(FarmTest, CutConnectionsAreMadeAnew) {
    MakeFarm(3);
    const auto cut = [&] {
        Say("SELECT count(pg_terminate_backend(pid))::text FROM pg_stat_activity "
            "WHERE pid <> pg_backend_pid() AND application_name = 'mdscan'");
    };
    FarmQueue queue(Address(), "march", "1", 1);
    cut();
    const std::optional<PlannedJob> job = queue.Take();
    ASSERT_TRUE(job);
    Say("SELECT mdscan.take_job(max(id), '{}')::text FROM mdscan.workers");  // and the answer got lost
    EXPECT_EQ(States(), "1 open, 2 taken");
    cut();
    queue.Keep(*job, LineFor(*job));
    queue.Tend();
    EXPECT_EQ(States(), "1 done, 2 open") << "it says what it holds";
    EXPECT_EQ(Ask("SELECT sum(deaths)::text FROM mdscan.jobs"), "0");
}

TEST_F(FarmTest, AnIdleWorkerIsWoken) {
    MakeFarm(1, 3600);
    FarmQueue busy(Address(), "march", "1", 1), idle(Address(), "march", "1", 1);
    const std::optional<PlannedJob> job = busy.Take();
    ASSERT_TRUE(job);
    EXPECT_FALSE(idle.Take());
    EXPECT_FALSE(idle.IsOver());
    busy.GiveBack(*job);
    pollfd news = {idle.News(), POLLIN, 0};
    EXPECT_EQ(poll(&news, 1, 10'000), 1) << "long before it would say that it lives";
    idle.Tend();
    EXPECT_TRUE(idle.Take());
}

// Once: with hundreds who wait, each message costs the server as much as a job.
TEST_F(FarmTest, AnIdleWorkerHearsOfTheEnd) {
    MakeFarm(2, 3600);
    FarmQueue one(Address(), "march", "1", 1), two(Address(), "march", "1", 1), idle(Address(), "march", "1", 1);
    const std::optional<PlannedJob> first = one.Take(), last = two.Take();
    ASSERT_TRUE(first && last);
    EXPECT_FALSE(idle.Take());
    EXPECT_FALSE(idle.IsOver());
    one.Keep(*first, LineFor(*first));
    pollfd news = {idle.News(), POLLIN, 0};
    EXPECT_EQ(poll(&news, 1, 300), 0) << "one is under way";
    two.Keep(*last, LineFor(*last));
    EXPECT_EQ(poll(&news, 1, 10'000), 1);
    idle.Tend();
    Pause(450);  // it does not ask more often
    EXPECT_TRUE(idle.IsOver());
}

// Of two that are kept at once, neither is the last as long as it does not see the other.
TEST_F(FarmTest, ThereIsALastOneWheneverItIsKept) {
    for (int round = 0; round < 10; ++round) {
        MakeFarm(2, 3600);
        FarmQueue one(Address(), "march", "1", 1), two(Address(), "march", "1", 1), idle(Address(), "march", "1", 1);
        const std::optional<PlannedJob> first = one.Take(), last = two.Take();
        ASSERT_TRUE(first && last && !idle.Take());
        EXPECT_FALSE(idle.IsOver());
        std::thread beside([&] { one.Keep(*first, LineFor(*first)); });
        two.Keep(*last, LineFor(*last));
        beside.join();
        pollfd news = {idle.News(), POLLIN, 0};
        ASSERT_EQ(poll(&news, 1, 10'000), 1) << "round " << round;
        Pause(450);  // it does not ask more often
        idle.Tend();
        EXPECT_TRUE(idle.IsOver());
        DropFarm(Owner(), "march");
    }
}

// The server's disk, as it says itself.
TEST_F(FarmTest, AFullDiskStopsAWorkerAndNotTheFarm) {
    MakeFarm(2);
    Owner().Do("CREATE FUNCTION mdscan.full() RETURNS trigger LANGUAGE plpgsql AS $$ BEGIN RAISE EXCEPTION USING "
               "ERRCODE = 'disk_full', MESSAGE = 'no space left on device'; END $$;"
               "CREATE TRIGGER full_disk BEFORE INSERT ON mdscan.results FOR EACH ROW EXECUTE FUNCTION mdscan.full()");
    RunSettings run;
    run.quiet = true;
    StubLauncher launcher(0, "");
    const auto work = [&] {
        FarmQueue queue(Address(), "march", "1", 1);
        EXPECT_EQ(WorkOn(queue, launcher, run), Video::exitComplete);
    };
    EXPECT_EQ(Failing(work), "no space left on device");
    EXPECT_EQ(States(), "2 open");
    EXPECT_EQ(Ask("SELECT count(*)::text FROM mdscan.workers"), "0");
    Say("DROP TRIGGER full_disk ON mdscan.results");
    EXPECT_EQ(Failing(work), "");
    EXPECT_EQ(States(), "2 done");
}

TEST_F(FarmTest, OtherVersionsDoNotWork) {
    CreateFarm(Owner(), "march", PlanOfStubs(1, "mdscan 99\nFFmpeg 99"), 60);
    const Said work = MdscanSaying({"work", "--at", Server().Address()});
    EXPECT_EQ(work.code, 2);
    EXPECT_EQ(work.err, "mdscan: march was planned by another version of mdscan: mdscan 99\n");
    EXPECT_EQ(Ask("SELECT count(*)::text FROM mdscan.workers"), "0");
    EXPECT_EQ(MdscanSaying({"gather", "--at", Server().Address()}).code, 2);
}

// A worker knows one plan's options. What it scans must not be kept for another's.
TEST_F(FarmTest, AFarmThatIsMadeAnewIsAnotherOne) {
    MakeFarm(1);
    FarmQueue queue(Address(), "march", "1", 1);
    const std::optional<PlannedJob> job = queue.Take();
    ASSERT_TRUE(job);
    DropFarm(Owner(), "march");
    EXPECT_EQ(Failing([&] { queue.Keep(*job, LineFor(*job)); }), "the farm has been dropped");
    EXPECT_EQ(Failing([&] { queue.Tend(), queue.Take(); }), "there is no farm march");
    Plan other = PlanOfStubs(1);
    other.options = {"--rate=1"};
    CreateFarm(Owner(), "march", other, 60);
    EXPECT_EQ(Failing([&] { queue.Take(); }), "the farm march was dropped, and another one has its name");
}

TEST_F(FarmTest, AnInterruptedWorkerGivesBackItsJobsAtOnce) {
    MakeFarm(4);
    const pid_t worker = fork();
    if (worker == 0) {
        dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);
        Video::LeaveOrderly();
        RunSettings run;
        run.jobs = 2;
        StubLauncher launcher(1500, "");
        WorkOn(*std::make_unique<FarmQueue>(Address(), "march", "1", 2), launcher, run);
        _exit(0);
    }
    while (States() != "2 open, 2 taken") {
        Pause(10);
    }
    const auto begin = std::chrono::steady_clock::now();
    kill(worker, SIGTERM);
    while (States() != "4 open") {
        ASSERT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
        Pause(10);
    }
    int status = 0;
    EXPECT_EQ(waitpid(worker, &status, 0), worker);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
    EXPECT_EQ(Ask("SELECT sum(deaths)::text FROM mdscan.jobs"), "0");
    EXPECT_EQ(Ask("SELECT count(*)::text FROM mdscan.workers"), "0");
}

TEST_F(FarmTest, ADamagedResultIsDoneAgain) {
    MakeFarm(1);
    FarmQueue queue(Address(), "march", "1", 1);
    const std::optional<PlannedJob> job = queue.Take();
    ASSERT_TRUE(job);
    queue.Keep(*job, "no line of a result");
    EXPECT_EQ(States(), "1 done");
    const Plan plan = PlanOfStubs(1);
    FarmResults results(Owner(), "march", plan);
    EXPECT_EQ(results.Read(job->key), "no line of a result");
    results.Discard(job->key);
    EXPECT_EQ(States(), "1 open");
    EXPECT_FALSE(FarmResults(Owner(), "march", plan).Read(job->key));
}

TEST_F(FarmTest, TablesComeInSteps) {
    Migrate(Owner(), 1);
    EXPECT_NE(Failing([&] { ExpectSchema(Owner()); }).find("older"), std::string::npos);
    Say("INSERT INTO mdscan.farms (name, version, head, lease) VALUES ('old', '1', '', '1 s')");
    Say("INSERT INTO mdscan.jobs (farm, number, key, file, camera, line, state) VALUES (1, 0, 'a', 'f', 'c', '', 'done')");
    const EventRecord event{.number = 7, .start = Video::FromSeconds(1.5), .zones = Words{"gate"}};
    Owner().Ask("INSERT INTO mdscan.results (key, line, worker) VALUES ('a', $1, '')",
                {Database::Value::Bytes(StateLine("a", {1, 2}, {{}, {event}}))});
    Migrate(Owner(), SchemaSteps().size());
    Migrate(Owner(), SchemaSteps().size());
    EXPECT_EQ(Ask("SELECT concat_ws(' ', farm, camera, file, event, start, zones) FROM mdscan.events"),
              "old c f 7 1.5 {gate}");
    Say("INSERT INTO mdscan.steps (step) VALUES (99)");
    EXPECT_NE(Failing([&] { ExpectSchema(Owner()); }).find("newer"), std::string::npos);
    EXPECT_NE(Failing([&] { Migrate(Owner(), SchemaSteps().size()); }).find("newer"), std::string::npos);
}

// Each query of the manual finds something in a farm with events.
TEST_F(FarmTest, TheManualsQueriesAnswer) {
    MakeFarm(2);
    FarmQueue queue(Address(), "march", "1", 1);
    while (const std::optional<PlannedJob> job = queue.Take()) {
        std::vector<Record> records;
        for (int number = 1; number <= 2; ++number) {
            const Video::WallTicks at =
                Video::WallTimeOf("2026-03-01T22:15:00.000Z").value() + Video::FromSeconds(90.0 * number);
            records.push_back(EventRecord{.number = number,
                                          .start = Video::FromSeconds(90.0 * number),
                                          .end = Video::FromSeconds(90.0 * number + 30),
                                          .wall = {{at, at + Video::FromSeconds(30), at}},
                                          .zones = Words{"gate"},
                                          .boxes = {{{400, 20, 60, 170}, 40}}});
        }
        queue.Keep(*job, StateLine(job->key, job->identity, {{}, records}));
    }
    std::ifstream file(COREMD_DOCS "/farm.md");
    const std::string manual{std::istreambuf_iterator<char>(file), {}};
    const std::regex fence("```sql\n([^`]*)```");
    int queries = 0;
    for (std::sregex_iterator query(manual.begin(), manual.end(), fence), end; query != end; ++query, ++queries) {
        const std::string sql =
            "SELECT answer::text FROM (" + std::regex_replace((*query)[1].str(), std::regex(";\\s*$"), "") + ") AS answer";
        EXPECT_FALSE(Owner().Ask(sql.c_str()).empty()) << sql;
    }
    EXPECT_EQ(queries, 3);
}

TEST(FarmStatusTest, TellsPeopleAndPrograms) {
    const FarmStatus status{
        .farm = "ma\"rch",
        .jobs = 100,
        .done = 40,
        .open = 57,
        .taken = 2,
        .failed = 1,
        .perMinute = 29.5,
        .secondsLeft = 120.0,
        .workers = {{"nas:7", "desk", 2, 300, true, {{"a\x1b[2J.avi", 12.5}}}, {"pc:8", "desk", 1, 1, false, {}}},
        .troubles = {{"ended by signal 9", "x.avi", 1, true}, {"there is no file", "y.avi", 5, false}}};
    EXPECT_EQ(StatusText(status),
              "ma\"rch: 100 jobs, 40 done, 2 under way, 57 open, 1 failed\n29.5 jobs per minute, 2 min left\n"
              "worker nas:7 (desk), for 5 min, silent\n  a\\x1b[2J.avi, for 13 s\nworker pc:8 (desk), for 1 s: idle\n"
              "failed: 1 job, ended by signal 9 (x.avi)\nto be tried again: 5 jobs, there is no file (y.avi)\n");
    const auto json = nlohmann::json::parse(StatusJson(status));
    EXPECT_EQ(json["seconds_left"], 120.0);
    EXPECT_EQ(json["workers"][0]["jobs"][0]["seconds"], 12.5);
    EXPECT_EQ(json["troubles"][1]["jobs"], 5);
    EXPECT_NE(StatusMetrics(status).find("\nmdscan_jobs{farm=\"ma\\\"rch\",state=\"open\"} 57\n"), std::string::npos);
    EXPECT_NE(StatusMetrics({}).find("mdscan_seconds_left{farm=\"\"} NaN\n"), std::string::npos);
}

}  // namespace
}  // namespace Scan
