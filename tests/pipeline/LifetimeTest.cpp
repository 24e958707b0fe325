// Who owns which memory, and for how long?  Buffers keep their address from frame to frame, are made anew for a new grid or
// when time runs backwards, and nothing is left behind by hundreds of such fresh starts.
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include <gtest/gtest.h>
#include <malloc.h>

#include "DetectorHost.h"
#include "ScriptedStream.h"
#include "detector/MotionDetector.h"

using Kit::InputKind;
using Kit::oneSecond;

namespace {

std::vector<void*> BufferAddresses(DetectorHandle* handle) {
    const MD::MotionDetector& detector = *GetDetector(handle);
    std::vector<void*> addresses;
    for (int i = 0; i < MD::MotionDetector::AllBuffersCount; ++i) {
        void* buffer = nullptr;
        std::memcpy(&buffer, detector._buffers[i].member, sizeof buffer);  // the member is a pointer to its own type
        addresses.push_back(buffer);
    }
    addresses.push_back(detector._frameStatistics._frames);
    addresses.push_back(detector._frameStatistics._currentFrame);
    return addresses;
}

// Bytes in use on the heap; 0 where an own allocator is in place, as under the address sanitizer.
std::size_t HeapInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

Kit::StreamScript Script(InputKind kind, int columns, int rows) {
    return {.kind = kind, .columns = columns, .rows = rows, .seed = 77, .things = 3};
}

void Play(Kit::DetectorHost& host, Kit::ScriptedStream& stream, int frames) {
    for (int i = 0; i < frames; ++i) host.Detect(stream.Next());
}

}  // namespace

TEST(Lifetime, BuffersKeepTheirAddressBetweenFrames) {
    for (const InputKind kind :
         {InputKind::Standard, InputKind::MPEG4, InputKind::PartlyH264, InputKind::StandardWithShadows}) {
        Kit::DetectorHost host;
        host.AddWholeFrame();
        Kit::ScriptedStream stream(Script(kind, 24, 18));
        Play(host, stream, 1);
        const std::vector<void*> addresses = BufferAddresses(host.Handle());
        for (void* address : addresses) EXPECT_NE(address, nullptr);
        for (int frame = 1; frame < 200; ++frame) {
            Play(host, stream, 1);
            ASSERT_EQ(BufferAddresses(host.Handle()), addresses) << frame;
        }
    }
}

TEST(Lifetime, ResultsAreTheDetectorsOwnArrays) {
    Kit::DetectorHost host;
    host.AddWholeFrame();
    Kit::ScriptedStream stream(Script(InputKind::Standard, 24, 18));
    Play(host, stream, 60);
    int objects = 0;
    for (int frame = 0; frame < 60; ++frame) {
        DetectionInfo info = stream.Next();
        h13(host.Handle(), &info);
        const MD::MotionDetector& detector = *GetDetector(host.Handle());
        MDResultInfo summary{};
        MDZoneDetectionInfo zone{};
        ASSERT_EQ(h17(host.Handle(), &summary), COREMD_DELIVERED);
        ASSERT_EQ(h19(host.Handle(), &zone), COREMD_DELIVERED);
        EXPECT_EQ(zone.objectsMap, detector._objectsMap);
        EXPECT_EQ(zone.zoneMap, detector._zoneResultMap);
        const MD::MotionObject* own = detector._mergedPool._busyList._first;
        for (MDObjectInfo object{}; h18(host.Handle(), &object) == COREMD_DELIVERED; own = own->next, ++objects) {
            EXPECT_EQ(object.pixelsX, own->motionX);
            EXPECT_EQ(object.pixelsY, own->motionY);
        }
        EXPECT_EQ(own, nullptr);
    }
    EXPECT_GT(objects, 20);
}

// Whatever else the host reads, the arrays of an object stay until the next frame.
TEST(Lifetime, ObjectsOutliveOtherReadsOfTheFrame) {
    Kit::DetectorHost host;
    host.AddWholeFrame();
    Kit::ScriptedStream stream(Script(InputKind::Standard, 24, 18));
    int objects = 0;
    for (int frame = 0; frame < 110; ++frame) {
        const Kit::FrameResult first = host.Detect(stream.Next());
        if (first.objects.empty()) continue;
        MDZoneDetectionInfo zone{};
        MDObjectInfo object{};
        h19(host.Handle(), &zone);
        h18(host.Handle(), &object);
        host.Background();
        host.Read();
        EXPECT_EQ(std::vector<std::int16_t>(object.pixelsX, object.pixelsX + object.pixelsCount), first.objects[0].xs);
        EXPECT_EQ(std::vector<std::int16_t>(object.pixelsY, object.pixelsY + object.pixelsCount), first.objects[0].ys);
        ++objects;
    }
    EXPECT_GT(objects, 20);
}

TEST(Lifetime, NewGridStartsAfresh) {
    Kit::DetectorHost host;
    host.AddWholeFrame();
    Kit::ScriptedStream small(Script(InputKind::Standard, 8, 6));
    Play(host, small, 60);
    const MD::MotionDetector& detector = *GetDetector(host.Handle());
    EXPECT_GT(host.Background().KnownBlocks(), 0);

    Kit::ScriptedStream large(Script(InputKind::Standard, 40, 30), small.NextTime());
    const Kit::FrameResult result = host.Detect(large.Next());
    EXPECT_EQ(result.summaryStatus, COREMD_NOT_READY);
    EXPECT_EQ(detector.blockCountX, 40);
    EXPECT_EQ(detector.blockCountY, 30);
    for (std::size_t i = 0; i < 1200; ++i) {
        ASSERT_EQ(detector._isBackground[i], 0);
        ASSERT_EQ(detector._noiseLevel[i], 21.0f);
        ASSERT_EQ(detector._backgroundTime[i], detector._currentTime);
    }
    Play(host, large, 100);
    EXPECT_GT(host.Background().KnownBlocks(), 600);
}

TEST(Lifetime, TimeRunningBackwardsStartsAfreshAndEqualTimeDoesNot) {
    Kit::DetectorHost host;
    host.AddWholeFrame();
    Kit::ScriptedStream stream(Script(InputKind::Standard, 24, 18));
    Play(host, stream, 40);
    const int known = host.Background().KnownBlocks();
    EXPECT_GT(known, 300);
    DetectionInfo info = stream.Next();
    const std::int64_t time = info.timestamp;
    host.Detect(info);
    info = stream.Next();
    info.timestamp = time;
    EXPECT_EQ(host.Detect(info).summaryStatus, COREMD_DELIVERED);
    EXPECT_GE(host.Background().KnownBlocks(), known);
    info.timestamp = time - 1;
    EXPECT_EQ(host.Detect(info).summaryStatus, COREMD_NOT_READY);
    EXPECT_EQ(host.Background().KnownBlocks(), 0);
}

// Under the leak sanitizer a leak ends the program; without it, the heap tells: a leak of the smallest piece per fresh start
// would show. (What the C library keeps in its caches settles within some hundred bytes.)
TEST(Lifetime, HundredsOfFreshStartsLeaveNothingBehind) {
    constexpr int freshStarts = 150, plays = 4;
    constexpr std::size_t smallestPiece = 4 * sizeof(void*);  // of the GNU C library
    std::vector<std::unique_ptr<char>> hoard;
    const auto play = [&](bool leaksOneByte) {
        Kit::DetectorHost host;
        host.AddWholeFrame();
        std::uint8_t half[] = {1, 0};
        host.AddZone(half, 2);
        std::int64_t time = 0;
        for (int round = 0; round < freshStarts; ++round) {
            const InputKind kind = round % 3 == 0 ? InputKind::StandardWithShadows : InputKind::Standard;
            Kit::ScriptedStream stream(Script(kind, 5 + round % 11, 4 + round % 7), time);
            Play(host, stream, 16);
            time = round % 4 == 3 ? 0 : stream.NextTime();
            if (leaksOneByte) hoard.push_back(std::make_unique<char>());
            if (round % 10 != 9) continue;
            h11(host.Handle());
            host.AddWholeFrame();
        }
    };
    hoard.reserve(plays * freshStarts);
    const auto growthOf = [&](bool leaksOneByte) {
        const std::size_t before = HeapInUse();
        for (int i = 0; i < plays; ++i) play(leaksOneByte);
        const std::size_t after = HeapInUse();
        return after > before ? after - before : 0;
    };
    for (int i = 0; i < 3; ++i) play(false);
    if (HeapInUse() == 0) return;  // another allocator is in place: the sanitizer's, which looks for leaks at the end
    EXPECT_LT(growthOf(false), plays * freshStarts * smallestPiece / 2);
    EXPECT_GT(growthOf(true), plays * freshStarts * smallestPiece / 2);  // the measure itself
}

TEST(Lifetime, HandleCanBeUsedAgainAfterItsEnd) {
    DetectorHandle handle = nullptr;
    for (int round = 0; round < 20; ++round) {
        ASSERT_EQ(h15(&handle), 0);
        ASSERT_NE(handle, nullptr);
        h14(&handle);
        ASSERT_EQ(handle, nullptr);
    }
    h14(&handle);
    EXPECT_EQ(handle, nullptr);
}

// Detectors share nothing: two of them, fed in turn, give what each gives alone.
TEST(Lifetime, DetectorsSideBySideDoNotMeet) {
    const auto scripts = {Script(InputKind::Standard, 24, 18), Script(InputKind::MPEG4, 13, 9)};
    const auto labelsOf = [](Kit::DetectorHost& host, Kit::ScriptedStream& stream) {
        return host.Detect(stream.Next()).labels;
    };
    std::vector<std::vector<std::vector<std::uint16_t>>> alone;
    for (const Kit::StreamScript& script : scripts) {
        Kit::DetectorHost host;
        GetDetector(host.Handle())->_skipPhase = 0;
        host.AddWholeFrame();
        Kit::ScriptedStream stream(script);
        alone.emplace_back();
        for (int frame = 0; frame < 100; ++frame) alone.back().push_back(labelsOf(host, stream));
    }
    Kit::DetectorHost hosts[2];
    std::vector<Kit::ScriptedStream> streams;
    for (const Kit::StreamScript& script : scripts) streams.emplace_back(script);
    for (Kit::DetectorHost& host : hosts) {
        GetDetector(host.Handle())->_skipPhase = 0;
        host.AddWholeFrame();
    }
    for (std::size_t frame = 0; frame < 100; ++frame)
        for (std::size_t i : {0u, 1u}) ASSERT_EQ(labelsOf(hosts[i], streams[i]), alone[i][frame]) << frame;
}
