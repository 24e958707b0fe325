// Is what a scan has found told, whatever ends it?
#include "run/Job.h"

#include <gtest/gtest.h>

#include <new>
#include <variant>
#include <vector>

#include "ScanFixture.h"
#include "results/JobResult.h"
#include "results/Records.h"
#include "results/ScanPictures.h"
#include "settings/JobSettings.h"
#include "video/base/Tally.h"

namespace Scan {
namespace {

// For which there is no more memory once so many pictures were seen.
class Forgetful : public JobListener {
public:
    explicit Forgetful(int pictures) : _pictures(pictures) {}

    void OnRecord(const Record& record) override { records.push_back(record); }
    void OnScanPicture(const ScanPicture&) override {}
    void OnPicture(double, const Video::Tally& tally) override {
        if (tally.pictures >= _pictures) {
            throw std::bad_alloc();
        }
    }

    std::vector<Record> records;

private:
    int _pictures;
};

class JobTest : public ScanFixture {};

TEST_F(JobTest, AnEventThatRunsWhenMemoryEndsIsTold) {
    const Video::SquareScene scene{.width = 160, .height = 120, .seconds = 8, .from = 3, .until = 7};
    JobSettings settings;
    settings.scan.condition = false;  // or the whole clip would be its opening
    Forgetful listener(60);           // of ten a second
    const JobResult result = RunJob(settings, RawClip(scene), "clip", listener);
    EXPECT_EQ(result.health, Health::Damaged);
    EXPECT_EQ(result.code, Video::exitFailed);
    EXPECT_EQ(result.trouble, "not enough memory");
    EXPECT_EQ(result.tally.events, 1);
    ASSERT_EQ(listener.records.size(), 1u);
    const EventRecord& event = std::get<EventRecord>(listener.records[0]);
    EXPECT_EQ(event.number, 1);
}

TEST_F(JobTest, MemoryThatNeverSufficedIsNoEvent) {
    Forgetful listener(1);
    const JobResult result = RunJob({}, RawClip({.width = 160, .height = 120, .seconds = 2}), "clip", listener);
    EXPECT_EQ(result.code, Video::exitFailed);
    EXPECT_EQ(result.trouble, "not enough memory");
    EXPECT_TRUE(listener.records.empty());
}

}  // namespace
}  // namespace Scan
