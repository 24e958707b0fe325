// Is a result that reads as whole never short, whatever a machine that loses its power had not brought to the disk yet?
//
// The calls that write are those of this file: they know what was forced to the disk. At the loss, everything else goes.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "FolderFixture.h"
#include "archive/FolderStore.h"
#include "run/StateLine.h"

namespace {

constexpr int lost = 100;  // exit code

// What a machine would find after it has lost its power.
struct Disk {
    struct Written {
        int file;      // a descriptor of its own
        off_t synced;  // bytes
    };
    struct Renamed {
        std::string from, to;
    };

    int callsLeft = -1;     // until the loss; negative: there is none
    bool namesLast = true;  // names reach the disk at once; false: with the folder only
    bool isIdle = false;    // forces nothing, and says it had
    std::map<ino_t, Written> written;
    std::vector<Renamed> renamed;

    void Lose() {
        for (const auto& [number, one] : written) {
            if (ftruncate(one.file, one.synced) != 0) {
                _exit(1);
            }
        }
        for (const Renamed& one : renamed) {
            if (!namesLast && syscall(SYS_rename, one.to.c_str(), one.from.c_str()) != 0) {
                _exit(1);
            }
        }
        _exit(lost);
    }

    void Count() {
        if (callsLeft > 0 && --callsLeft == 0) {
            Lose();
        }
    }
};

Disk disk;

struct stat StatusOf(int file) {
    struct stat status = {};
    fstat(file, &status);
    return status;
}

}  // namespace

extern "C" {

ssize_t write(int file, const void* bytes, size_t size) {
    const struct stat status = StatusOf(file);
    const bool counts = disk.callsLeft > 0 && S_ISREG(status.st_mode);
    if (counts && !disk.written.contains(status.st_ino)) {
        disk.written[status.st_ino] = {dup(file), 0};
    }
    const ssize_t written = syscall(SYS_write, file, bytes, size);
    if (counts) {
        disk.Count();
    }
    return written;
}

int fsync(int file) {
    if (disk.callsLeft > 0) {
        const struct stat status = StatusOf(file);
        if (disk.isIdle) {
        } else if (S_ISREG(status.st_mode)) {
            disk.written.at(status.st_ino).synced = status.st_size;
        } else {  // a folder
            disk.renamed.clear();
        }
        disk.Count();
    }
    return static_cast<int>(syscall(SYS_fsync, file));
}

int rename(const char* from, const char* to) noexcept {
    const int result = static_cast<int>(syscall(SYS_rename, from, to));
    if (disk.callsLeft > 0) {
        disk.renamed.push_back({from, to});
        disk.Count();
    }
    return result;
}
}

namespace Scan {
namespace {

class PowerLossTest : public Kit::FolderFixture {
protected:
    // Keeps a result in a process whose machine loses its power after so many calls. True: it had been told that it is kept.
    bool KeptBefore(int calls, bool namesLast, const std::string& line, bool isIdle = false) const {
        int told[2] = {};
        EXPECT_EQ(pipe(told), 0);
        const pid_t child = fork();
        if (child == 0) {
            FolderStore store{Folder()};
            store.Take("aa");
            disk = {.callsLeft = calls, .namesLast = namesLast, .isIdle = isIdle, .written = {}, .renamed = {}};
            store.Keep("aa", line);
            const char yes = 'y';
            syscall(SYS_write, told[1], &yes, 1);
            disk.Lose();
        }
        close(told[1]);
        char answer = 0;
        const bool kept = read(told[0], &answer, 1) == 1;
        close(told[0]);
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(WEXITSTATUS(status), lost);
        return kept;
    }
};

TEST_F(PowerLossTest, AResultIsWholeOrNotThere) {
    const std::string line = StateLine("aa", {1, 2}, {});
    int kept = 0, absent = 0;
    for (const bool namesLast : {true, false}) {
        for (int calls = 1; calls <= 6; ++calls) {
            const bool wasKept = KeptBefore(calls, namesLast, line);
            FolderStore store{Folder()};
            const std::optional<std::string> result = store.Read("aa");
            kept += wasKept ? 1 : 0;
            absent += result ? 0 : 1;
            EXPECT_TRUE(!result || *result == line) << calls << ": " << result->size() << " of " << line.size() << " bytes";
            EXPECT_TRUE(result || !wasKept) << calls << ": what was kept is gone";
            EXPECT_EQ(store.Take("aa"), result ? Taking::Done : Taking::Taken) << calls;
            store.GiveBack("aa");
            store.Discard("aa");
        }
    }
    EXPECT_EQ(kept, 4) << "after a write, two calls for the disk and a name between them, each time";
    EXPECT_EQ(absent, 5) << "two before the name, three where names do not last";
}

// The test of the test: a disk that forces nothing is as bad as a program that does not ask it to.
TEST_F(PowerLossTest, AnIdleDiskIsNoticed) {
    const std::string line = StateLine("aa", {1, 2}, {});
    FolderStore store{Folder()};
    EXPECT_TRUE(KeptBefore(6, true, line, true));
    EXPECT_EQ(store.Read("aa"), "") << "a name without its bytes";
    store.Discard("aa");
    EXPECT_TRUE(KeptBefore(6, false, line, true));
    EXPECT_FALSE(store.Read("aa")) << "kept, and gone";
}

}  // namespace
}  // namespace Scan
