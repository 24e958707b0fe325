// What becomes of a host of the classes that gives them what does not fit: sizes, nulls, indices, orders?  Each reading or
// writing beyond a buffer ends the process before it happens, with a condition that says why; all else does nothing.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <vector>

#include "DetectorFixture.h"
#include "utils/Utils.h"
#include "zones/ObjectMerger.h"

using DetectorKit::Frame;

namespace {

using Bytes = std::vector<std::uint8_t>;
constexpr int most = std::numeric_limits<int>::max(), least = std::numeric_limits<int>::min();

MDZoneInfo wholeFrame() {
    static std::uint8_t cell = 1;
    return {&cell, 1, 1, 0.3f, 0.0f, 0.0f};
}

// A detector whose history is filled, on a grid of 8 by 4.
class MisuseTest : public testing::Test {
protected:
    static constexpr int columns = 8, rows = 4, blocks = columns * rows;

    MisuseTest() {
        MDZoneInfo zone = wholeFrame();
        detector.AddMDZone(&zone);
        for (int i = 1; i <= 12; ++i) detector.Detect(frame.At(i * DetectorKit::second), true);
    }

    Frame frame{columns, rows};
    MD::MotionDetector detector;
    Bytes mask = Bytes(blocks, 1);
};
using MisuseDeathTest = MisuseTest;

}  // namespace

// ---- What would read or write beyond ------------------------------------------------------------------------------------

TEST_F(MisuseDeathTest, RectanglesBeyondTheGrid) {
    const auto ask = [&](int x0, int x1, int y0, int y1) {
        return detector.GetDiffState(mask.data(), columns, x0, x1, y0, y1);
    };
    constexpr char text[] = "firstBlock >= 0 && endBlock <= blockCount";
    EXPECT_ASSERTION(ask(0, columns, 0, rows + 1), text);
    EXPECT_ASSERTION(ask(-1, columns, 0, rows), text);
    EXPECT_ASSERTION(ask(0, most, 0, 1), text);
    EXPECT_ASSERTION(ask(least, 0, 0, 1), text);
    EXPECT_EQ(ask(0, columns, 0, rows), 0.0);
    EXPECT_EQ(ask(columns - 1, columns + 1, 0, 1), 0.0);  // into the next row, not beyond the grid
    EXPECT_EQ(ask(most, least, 0, rows), 255.0);          // nothing
    MD::MotionDetector fresh;
    EXPECT_ASSERTION(fresh.GetDiffState(mask.data(), columns, 0, 1, 0, 1), text);
}

TEST_F(MisuseDeathTest, ZonesThatDoNotFit) {
    MD::MDZone unfitted, other;
    other.InitPixelMap(columns, rows - 1);
    EXPECT_ASSERTION(detector.FindMovingInPixels(nullptr), "zone");
    EXPECT_ASSERTION(detector.FindMovingInPixels(&unfitted), "zone->pixelMapWidth == blockCountX");
    EXPECT_ASSERTION(detector.FindMovingInPixels(&other), "zone->pixelMapHeight == blockCountY");
    detector._zones._first->InitPixelMap(columns + 1, rows);
    EXPECT_ASSERTION(detector.Detect(frame.At(13 * DetectorKit::second), true), "currentZone->pixelMapWidth == blockCountX");
}

TEST_F(MisuseDeathTest, ObjectsThatAreNotThere) {
    const auto grow = [&](int processed, int count) { detector.BuildCurrentMovingObject(processed, count, 1); };
    constexpr char text[] = "processed >= 0 && count <= blockCount";
    EXPECT_ASSERTION(grow(-1, 1), text);
    EXPECT_ASSERTION(grow(0, blocks + 1), text);
    grow(most, least);  // nothing
    grow(5, 5);
    detector.ReleaseBuffers();
    EXPECT_ASSERTION(grow(0, 1), text);
}

// The statistics are the detector's to size.
TEST_F(MisuseDeathTest, StatisticsOfAnotherGrid) {
    constexpr char text[] = "_frameStatistics._blockCount == blockCount";
    detector._frameStatistics.ReleaseBuffers();
    detector._frameStatistics.AllocateBuffers(1);
    detector._frameStatistics._isFilled = true;
    EXPECT_ASSERTION(detector.Detect(frame.At(13 * DetectorKit::second), true), text);
    EXPECT_ASSERTION(detector.CopyImagesToInternalBuffers(&frame.info), text);
    EXPECT_ASSERTION(detector.UpdateBackground(nullptr, 0), text);
    EXPECT_ASSERTION(detector.FindDifferenceFromPreviousFrames(), text);
    EXPECT_ASSERTION(detector.FindForeground(&frame.info), text);
    EXPECT_ASSERTION(detector.FindForegroundStandart(), text);
    EXPECT_ASSERTION(detector.FindForegroundOptimyzedForMPEG4(&frame.info), text);
    EXPECT_ASSERTION(detector.DetectShadow(&frame.info), text);
    EXPECT_ASSERTION(detector.GetDiffState(mask.data(), columns, 0, columns, 0, rows), text);
    EXPECT_ASSERTION(detector.ProcessOneZone(), text);
    detector._h264PartlyIsOptimized = detector._h264PartlyIsIFrame = true;
    EXPECT_ASSERTION(detector.FindForegroundOptimyzedForH264Partly(), text);
    EXPECT_ASSERTION(detector.UpdateBackgroundOptimyzedForH264Partly(), text);
}

TEST_F(MisuseDeathTest, SnapshotsThatAreNone) {
    EXPECT_ASSERTION(detector.FillBackgroundStorage(nullptr, mask.data(), columns), "storage");
    EXPECT_ASSERTION(detector.RestoreBackground(nullptr), "storage");
    EXPECT_ASSERTION(detector.FreeBackgroundStorage(nullptr), "storage");
    MD::BackgroundStorage hollow;  // whose host says that it is filled
    hollow.maskWidthStep = columns;
    EXPECT_ASSERTION(detector.RestoreBackground(&hollow), "holdsAllArrays");
    Bytes maskOfHost(blocks, 1);
    hollow.mask = maskOfHost.data();
    EXPECT_ASSERTION(detector.RestoreBackground(&hollow), "holdsAllArrays");
    hollow.mask = nullptr;
}

TEST_F(MisuseDeathTest, PlanesThatAreNull) {
    Bytes plane(blocks);
    EXPECT_ASSERTION(detector.FindForegroundPFrames(nullptr, plane.data()), "blockCount == 0 || (current && reference)");
    EXPECT_ASSERTION(detector.FindForegroundPFrames(plane.data(), nullptr), "blockCount == 0 || (current && reference)");
    detector._h264PartlyStatistic.TurnOnIFramesForMotion();
    EXPECT_ASSERTION(detector.FindForegroundIFrames(nullptr, plane.data()), "blockCount == 0 || (current && previous)");
    EXPECT_ASSERTION(detector.FindForegroundIFrames(plane.data(), nullptr), "blockCount == 0 || (current && previous)");
    EXPECT_ASSERTION(detector.FindForegroundOptimyzedForMPEG4(nullptr), "info");
    EXPECT_ASSERTION(detector.CheckMemBuffers(nullptr), "info");
    EXPECT_ASSERTION(detector.AllocateBuffers(nullptr), "info");
    EXPECT_ASSERTION(detector.CopyImagesToInternalBuffers(nullptr), "info");
    std::vector<float> differences(blocks);
    MD::FrameStatistics& statistics = detector._frameStatistics;
    EXPECT_ASSERTION(statistics.CalculateFrameDiff(nullptr, plane.data(), differences.data(), differences.data()),
                     "_blockCount == 0 || (a && b && diff && diffSquare)");
    EXPECT_ASSERTION(statistics.CalculateFrameDiff(plane.data(), plane.data(), differences.data(), nullptr),
                     "_blockCount == 0 || (a && b && diff && diffSquare)");
}

TEST_F(MisuseDeathTest, ListsThatWouldBiteTheirTails) {
    MD::MotionObjectList list, other;
    auto* const first = new MD::MotionObject(4);
    auto* const second = new MD::MotionObject(4);
    list.Add(first);
    EXPECT_ASSERTION(list.Add(first), "!object->next && object != _last");
    list.Add(second);
    EXPECT_ASSERTION(list.Add(first), "!object->next && object != _last");
    EXPECT_ASSERTION(other.Add(first), "!object->next && object != _last");
    EXPECT_ASSERTION(other.Remove(first), "_first == object");
    EXPECT_ASSERTION(list.GetByIndex(-1), "false");
    EXPECT_ASSERTION(list.GetByIndex(2), "index < _objectsCount");
    list.Release();
}

TEST_F(MisuseDeathTest, PoolsOfNothing) {
    std::int16_t column = 1;
    MD::MotionObjectPool& pool = detector._zonePool;
    EXPECT_ASSERTION(pool.Copy(nullptr), "src");
    EXPECT_ASSERTION(pool.RemoveFromBusy(nullptr), "object");
    EXPECT_ASSERTION(pool.Add(&column, &column, 0, blocks), "currentPixelsCount > 0");
    EXPECT_ASSERTION(pool.Add(nullptr, &column, 1, blocks), "source");
    EXPECT_ASSERTION(pool.Add(&column, nullptr, 1, blocks), "source");
    EXPECT_ASSERTION(detector.RemoveSmallObjects(nullptr), "zone");
}

// Blocks of a host's objects, wherever they are said to lie.
TEST_F(MisuseDeathTest, BlocksBeyondTheGrid) {
    constexpr std::int16_t far[] = {-1, 0, columns, 32767, -32768};
    for (const std::int16_t y : {far[0], far[3], far[4]}) {
        std::int16_t xs[] = {0}, ys[] = {y};
        detector._zonePool.ReleaseBusyList();
        detector._zonePool.Add(xs, ys, 1, blocks);
        EXPECT_ASSERTION(detector.ResolveMotionObjectsMapIndex(detector._zonePool, -1),
                         y < 0 ? "offset >= 0" : "offset < blockCount");
    }
    detector._objectsMap[3] = 2;
    EXPECT_ASSERTION(detector.ResolveMotionObjects(1), "index < _objectsCount");
    detector._objectsMap[3] = 40000;
    EXPECT_ASSERTION(detector.ResolveMotionObjects(1), "*ptr > 0");
}

TEST_F(MisuseDeathTest, MasksOfTheUpdateThatAreTooNarrow) {
    detector._detectShadow = true;  // no frame is skipped
    EXPECT_ASSERTION(detector.UpdateBackground(mask.data(), -columns), "maskOffset < detectionMaskWidthStep * blockCountY");
    EXPECT_ASSERTION(detector.UpdateBackground(mask.data(), columns - 1),
                     "maskOffset < detectionMaskWidthStep * blockCountY");
    EXPECT_ASSERTION(detector.FlushBackground(mask.data(), columns - 1), "maskWidthStep >= blockCountX");
}

// ---- What does nothing --------------------------------------------------------------------------------------------------

// Every operation without arguments, and with such that mean nothing, before the first frame and without buffers.
TEST_F(MisuseTest, OperationsWithoutBuffersDoNothing) {
    MD::MotionDetector fresh;
    detector.ReleaseBuffers();
    for (MD::MotionDetector* d : {&fresh, &detector}) {
        d->ReleaseBuffers();
        d->ZeroDetectionArrays();
        d->SkipFrame();
        d->SolveForeground();
        d->MergeMDZonesResult();
        d->UpdateBackground(nullptr, 0);
        d->UpdateBackground(mask.data(), 0);
        d->FindDifferenceFromPreviousFrames();
        d->FlushNotConfirmedBackground();
        d->FlushBackground(mask.data(), 1);
        d->FindForeground(&frame.info);
        d->FindForegroundStandart();
        d->FindForegroundOptimyzedForMPEG4(&frame.info);
        d->FindForegroundIFrames(nullptr, nullptr);
        d->FindForegroundPFrames(nullptr, nullptr);
        d->DetectShadow(nullptr);
        d->ProcessOneZone();
        d->ResolveMotionObjectsMapIndex(d->_zonePool, least);
        d->ResolveMotionObjects(least);
        EXPECT_LT(d->GetBackground(nullptr, nullptr), 0);
        EXPECT_EQ(d->GetDiffState(mask.data(), 1, 0, 1, 0, 0), 255.0);
        d->_frameStatistics.Update(false);
        d->_frameStatistics.Update(true);
        d->_frameStatistics.UpdateStandart();
        d->_frameStatistics.UpdateH264();
        d->_frameStatistics.ReCalculate(false);
        d->_frameStatistics.ReCalculate(true);
        d->_frameStatistics.ShiftToNewFrame();
        d->_frameStatistics.CalculateFrameDiff(nullptr, nullptr, nullptr, nullptr);
        MD::BackgroundStorage* storage = d->AllocateBackgroundStorage();
        d->FreeBackgroundStorage(&storage);
        EXPECT_EQ(storage, nullptr);
        d->FreeBackgroundStorage(&storage);
    }
    EXPECT_EQ(detector._frameStatistics._blockCount, 0);
    detector.Detect(frame.At(20 * DetectorKit::second), true);  // starts afresh
    EXPECT_EQ(detector._frameStatistics._blockCount, blocks);
}

TEST_F(MisuseTest, ZonesOfStrangeSizes) {
    std::uint8_t cells[] = {1, 0, 1, 1};
    MD::MDZone zone(cells, 2, 2, 0.3f, 0.0f, 0.0f), empty(cells, 0, 4, 0.3f, 0.0f, 0.0f);
    for (MD::MDZone* each : {&zone, &empty}) {
        each->InitPixelMap(0, 5);
        each->InitPixelMap(5, 0);
        EXPECT_THROW(each->InitPixelMap(-1, 5), std::bad_array_new_length);
        EXPECT_THROW(each->InitPixelMap(-3, -5), std::bad_array_new_length);
        EXPECT_EQ(each->pixelMapWidth, 0);
        each->ClearMap();
        each->FillMap();
        each->InitPixelMap(3, 3);
    }
    EXPECT_EQ(zone.pixelMap[8], 1);
    EXPECT_THROW(MD::MDZone(cells, -1, 1, 0.3f, 0.0f, 0.0f), std::bad_array_new_length);
    EXPECT_THROW(MD::MotionObject(-1), std::bad_array_new_length);
    MD::FrameStatistics statistics;
    EXPECT_THROW(statistics.AllocateBuffers(-1), std::bad_array_new_length);
}

TEST_F(MisuseTest, GridsOfStrangeSizes) {
    for (const auto& [width, height] : {std::pair{-2, -3}, {-1, 5}, {0, 0}, {0, 7}, {70000, 70000}}) {
        MD::MotionDetector fresh;
        MDZoneInfo zone = wholeFrame();
        fresh.AddMDZone(&zone);
        frame.info.width = width;
        frame.info.height = height;
        if (width == 0) fresh.AllocateBuffers(&frame.info);
        else EXPECT_THROW(fresh.AllocateBuffers(&frame.info), std::bad_array_new_length);
        EXPECT_EQ(fresh.blockCount, 0);
    }
}

// Boxes that are none, touch everything, or lie far away.
TEST_F(MisuseTest, ObjectsOfStrangeBoxes) {
    constexpr std::int16_t extremes[] = {-32768, -1, 0, 1, 32767};
    MD::MotionObjectPool pool;
    MD::ObjectMerger merger;
    for (int i = 0; i < 625; ++i) {
        std::int16_t xs[] = {0}, ys[] = {0};
        pool.Add(xs, ys, 1, 4);
        MD::MotionObject& object = *pool._busyList._last;
        object.minX = extremes[i % 5];
        object.maxX = extremes[i / 5 % 5];
        object.minY = extremes[i / 25 % 5];
        object.maxY = extremes[i / 125];
    }
    pool.AddWorkingObjects(3);
    merger.Merge(pool);
    EXPECT_LT(pool._busyList._objectsCount, 625);
    int count = 0;
    for (const MD::MotionObject* object = pool._busyList._first; object; object = object->next)
        count += object->objectPixelsCount;
    EXPECT_EQ(count, 625);
}

TEST_F(MisuseTest, ObjectsThatSwallowThemselves) {
    MD::MotionObject object(3);
    object.AddPixel(1, 2);
    object.AddPixel(-40000, 70000);
    object.CopyMotionPixels(&object);
    EXPECT_EQ(object.objectPixelsCount, 4);
    EXPECT_EQ(object.motionX[2], 1);
    MD::MotionObject nothing(0);
    nothing.CopyMotionPixels(&object);
    object.CopyMotionPixels(&nothing);
    EXPECT_EQ(nothing.objectPixelsCount, 4);
}

// Statuses, and not a byte written.
TEST_F(MisuseTest, PrimitivesOfStrangeLengths) {
    std::uint8_t bytes[1] = {7};
    float sums[1] = {7.0f};
    int numbers[1] = {7};
    for (const int length : {0, -1, least}) {
        EXPECT_LT(Utils::ImageClear(bytes, length), 0);
        EXPECT_LT(Utils::ImageClear(bytes, length, 1), 0);
        EXPECT_LT(Utils::ImageClear(sums, length), 0);
        EXPECT_LT(Utils::ImageAdd(bytes, sums, length), 0);
        EXPECT_LT(Utils::ImageAddSquare(bytes, sums, length), 0);
        EXPECT_LT(Utils::ImageAddFloat(sums, sums, length), 0);
        EXPECT_LT(Utils::ImageMax(bytes, bytes, length), 0);
        EXPECT_LT(Utils::ImageMin(bytes, bytes, length), 0);
        EXPECT_LT(Utils::InvertMask(bytes, bytes, length), 0);
        EXPECT_LT(Utils::ConvertByteMaskToInt(bytes, numbers, length), 0);
        EXPECT_LT(Utils::SetDefaultColor(bytes, length, 1, 3, 1, 2, 3, bytes), 0);
        EXPECT_LT(Utils::SetDefaultColor(bytes, 1, length, 3, 1, 2, 3, bytes), 0);
        EXPECT_LT(Utils::SetDefaultColor(bytes, 1, 1, length, 1, 2, 3, bytes), 0);
        EXPECT_LT(Utils::YCbCrToBGR(bytes, bytes, bytes, bytes, length, 1, 3), 0);
        EXPECT_LT(Utils::YCbCrToBGR(bytes, bytes, bytes, bytes, 1, length, 3), 0);
        EXPECT_LT(Utils::YCbCrToBGR(bytes, bytes, bytes, bytes, 1, 1, length), 0);
    }
    EXPECT_LT(Utils::ImageAdd(nullptr, sums, 1), 0);
    EXPECT_LT(Utils::YCbCrToBGR(bytes, nullptr, bytes, bytes, 1, 1, 3), 0);
    EXPECT_EQ(bytes[0], 7);
    EXPECT_EQ(sums[0], 7.0f);
    EXPECT_EQ(numbers[0], 7);
}

TEST_F(MisuseTest, TimesAndNumbersAtTheirEnds) {
    constexpr std::int64_t latest = std::numeric_limits<std::int64_t>::max(), earliest = -latest - 1;
    MD::H264PartlyStatistic machine;
    for (const std::int64_t time : {latest, earliest, std::int64_t{0}})
        for (const int number : {most, least, 0}) {
            machine.InitializeIFrameAlgorithm(number, time);
            machine.ExceededIFrameLimit(number, -time - 1);
            machine.ExceededNoMotionLimit(least, -time - 1);
            machine.UpdatePFrameData(number, time);
            machine.UpdatePFrameMotionData(number, time);
        }
    detector._lastFrameTime = earliest;
    detector._currentTime = latest;
    detector._skipPhase = 1;
    detector.UpdateBackground(nullptr, 0);
    EXPECT_EQ(detector._lastFrameTime, earliest);  // from there to `latest` it is -1 tick, modulo 2^64: the frame is skipped
}

TEST_F(MisuseTest, DumpsOfNothingAndToNowhere) {
    char nowhere[] = "/nonexistent/blocks.txt";
    detector.SaveBlocksArray(mask.data(), 0, nowhere);
    detector.SaveBlocksArrayV(mask.data(), 0, nowhere);
    detector.SaveBlocksArray(detector._noiseLevel, 0, nowhere);
    detector.SaveBlocksArray(mask.data(), 0, nullptr);
}

TEST_F(MisuseDeathTest, DumpsOfNull) {
    char path[] = "/dev/null";
    EXPECT_ASSERTION(detector.SaveBlocksArray(static_cast<unsigned char*>(nullptr), 0, path), "blocks || isEmpty");
    EXPECT_ASSERTION(detector.SaveBlocksArrayV(nullptr, 0, path), "blocks || isEmpty");
    EXPECT_ASSERTION(detector.SaveBlocksArray(static_cast<float*>(nullptr), 0, path), "blocks || isEmpty");
}
