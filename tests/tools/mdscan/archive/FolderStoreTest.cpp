// Do those who share a folder take each job once, lose none, and believe no result that is not whole?
#include "archive/FolderStore.h"

#include <gtest/gtest.h>

#include <csignal>
#include <set>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "FolderFixture.h"
#include "video/base/Failure.h"

namespace Scan {
namespace {

class FolderStoreTest : public Kit::FolderFixture {
protected:
    FolderStore _store{Folder()};
    FolderStore _other{Folder()};
};

TEST_F(FolderStoreTest, AJobHasOneTaker) {
    EXPECT_EQ(_store.Take("aa"), Taking::Taken);
    EXPECT_EQ(_other.Take("aa"), Taking::Held);
    EXPECT_EQ(_other.Take("bb"), Taking::Taken);
    _store.GiveBack("aa");
    EXPECT_EQ(_other.Take("aa"), Taking::Taken);
    EXPECT_EQ(_store.Take("aa"), Taking::Held);
    EXPECT_TRUE(_store.List().empty()) << "none is done";
}

TEST_F(FolderStoreTest, AKeptResultIsThereForAll) {
    ASSERT_EQ(_store.Take("aa"), Taking::Taken);
    EXPECT_FALSE(_other.Read("aa"));
    _store.Keep("aa", "line");
    EXPECT_EQ(_other.Read("aa"), "line");
    EXPECT_EQ(_other.Take("aa"), Taking::Done);
    EXPECT_EQ(_store.Take("aa"), Taking::Done);
    EXPECT_EQ(_other.List(), std::set<std::string>{"aa"});
    EXPECT_EQ(FilesInFolder(), std::vector<std::string>{"aa.result"}) << "nothing is left of the work";
    _other.Discard("aa");
    EXPECT_EQ(_store.Take("aa"), Taking::Taken) << "to be done again";
}

TEST_F(FolderStoreTest, WhoeverEndsLetsGo) {
    {
        FolderStore brief{Folder()};
        ASSERT_EQ(brief.Take("aa"), Taking::Taken);
        ASSERT_EQ(brief.Take("bb"), Taking::Taken);
    }
    EXPECT_TRUE(FilesInFolder().empty());
    int ready[2] = {};
    ASSERT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    if (child == 0) {
        FolderStore killed{Folder()};
        const char taken = killed.Take("aa") == Taking::Taken ? 'y' : 'n';
        while (write(ready[1], &taken, 1) != 1 || pause() != 0) {
        }
        _exit(0);
    }
    char taken = 0;
    ASSERT_EQ(read(ready[0], &taken, 1), 1);
    EXPECT_EQ(taken, 'y');
    EXPECT_EQ(_store.Take("aa"), Taking::Held);
    Write("aa.part", "half of a long line, which its writer never completed");
    kill(child, SIGKILL);
    ASSERT_EQ(waitpid(child, nullptr, 0), child);
    close(ready[0]);
    close(ready[1]);
    ASSERT_EQ(_store.Take("aa"), Taking::Taken) << "what it left behind is taken over";
    _store.Keep("aa", "line");
    EXPECT_EQ(_store.Read("aa"), "line") << "nothing of the half is left";
}

// Whoever waits for the lock of a file that is finished or removed meanwhile holds a file without a name.
TEST_F(FolderStoreTest, ALockOfAFileThatIsGoneIsNone) {
    ASSERT_EQ(_store.Take("aa"), Taking::Taken);
    ASSERT_EQ(unlink(In("aa.part").c_str()), 0);
    ASSERT_EQ(_other.Take("aa"), Taking::Taken) << "of a new file";
    FolderStore third{Folder()};
    EXPECT_EQ(third.Take("aa"), Taking::Held);
}

TEST_F(FolderStoreTest, AFullDiskTakesNothingWithIt) {
    ASSERT_EQ(_other.Take("bb"), Taking::Taken);
    _other.Keep("bb", "kept before");
    const pid_t child = fork();
    if (child == 0) {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit few{100, 100};
        setrlimit(RLIMIT_FSIZE, &few);
        FolderStore full{Folder()};
        bool failed = false;
        try {
            full.Take("aa");
            full.Keep("aa", std::string(1000, 'x'));
        } catch (const Video::Failure& failure) {
            failed = failure.EndsRun();
        }
        _exit(failed ? 0 : 1);
    }
    int status = 1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << "the failure has to be told";
    EXPECT_EQ(FilesInFolder(), std::vector<std::string>{"bb.result"});
    EXPECT_EQ(_store.Take("aa"), Taking::Taken) << "given back";
}

// It may be mounted later: nobody has asked for what cannot be.
TEST_F(FolderStoreTest, AFolderThatIsNotThereIsAFailure) {
    try {
        FolderStore none{In("none")};
        FAIL();
    } catch (const Video::Failure& failure) {
        EXPECT_EQ(failure.Code(), Video::exitFailed);
    }
}

}  // namespace
}  // namespace Scan
