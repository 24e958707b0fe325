// Does a host get what the checks say that calls anything?  Random calls of six handles, good and bad; those that their
// check lets through are made, a sample of the others ends a child.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "CallsEnd.h"
#include "HostModel.h"
#include "SeededRandom.h"
#include "coreMD.h"

namespace Kit {

// A handle of the host's with what is known of the detector behind it.
struct Known {
    DetectorHandle handle = nullptr;
    HostModel model;
};

class RandomHost {
public:
    explicit RandomHost(std::uint64_t seed) : _random(seed), _planes(3 * 10000) {
        for (std::uint8_t& value : _planes) value = _random.Byte();
    }
    ~RandomHost() {
        for (Known& known : _known) h14(&known.handle);
    }
    RandomHost(const RandomHost&) = delete;
    RandomHost& operator=(const RandomHost&) = delete;

    void Call() {
        Known& known = _known[static_cast<std::size_t>(_random.Below(6))];
        const int kind = _random.Below(100);
        if (kind < 80) Show(known);
        else if (kind < 90) AddZone(known);
        else if (kind < 94) ReadObject(known);
        else if (kind < 97) Remove(known);
        else if (kind < 98) CreateOrDestroy(known);
        else Touch(known);
    }

    std::map<std::string, int> counts;  // of calls by the condition that they would break

private:
    // Some calls come without a handle.
    DetectorHandle* HandleOf(Known& known) {
        if (_random.OneIn(200)) return nullptr;
        if (_random.OneIn(200)) return &_hollow;
        return &known.handle;
    }
    std::string OfHandle(const DetectorHandle* handle) const {
        if (!handle) return "ptr";
        if (!*handle) return "*ptr";
        return *handle == _hollow ? "res" : "";
    }

    // What the check says is what the model expects and what the call does: those that go through are made here, of the
    // others a sample in a child.
    bool Compare(const char* said, const std::string& expected, const std::function<void()>& call) {
        EXPECT_EQ(Text(said), expected);
        return GoesThrough(Text(said), call);
    }
    bool GoesThrough(const std::string& condition, const std::function<void()>& call) {
        const int count = ++counts[condition];
        if (condition.empty()) {
            call();
            return true;
        }
        if (count <= 2 || count % 20000 == 0) {
            EXPECT_TRUE(EndsWith(condition, call));
        }
        return false;
    }

    void Show(Known& known) {
        DetectorHandle* const handle = HandleOf(known);
        DetectionInfo info = RandomFrame(known);
        DetectionInfo* const record = _random.OneIn(500) ? nullptr : &info;
        const std::string ofHandle = OfHandle(handle);
        const std::string expected = ofHandle.empty() ? known.model.OfFrame(record) : ofHandle;
        const char* const said = coreMD_CheckFrame(handle, record);
        const auto call = [&] { h13(handle, record); };
        const bool isOpen = ofHandle.empty() && record && (expected.empty() || expected.starts_with("currentZone")) &&
                            known.model.DependsOnPictures(info);
        if (isOpen && Text(said).starts_with("mOBlocksCount")) {
            GoesThrough(said, call);
            return;
        }
        if (Compare(said, expected, call)) known.model.ShowFrame(info);
    }

    DetectionInfo RandomFrame(const Known&) {
        constexpr int badSizes[] = {0, -1, 10000, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()};
        constexpr int badStrides[] = {0, -1, std::numeric_limits<int>::min()};
        constexpr std::int64_t oddTimes[] = {std::numeric_limits<std::int64_t>::min(), -1, 0, 1,
                                             std::numeric_limits<std::int64_t>::max()};
        constexpr double rates[] = {25.0, 5.0, 0.0, -1.0, NAN, INFINITY};
        if (_random.OneIn(40)) _columns = _random.Between(1, 5), _rows = _random.Between(1, 4);
        _time += _random.OneIn(60) ? -50000000 : _random.Between(0, 4000000);
        DetectionInfo info{};
        info.width = _random.OneIn(40) ? _random.Pick(badSizes) : _columns;
        info.height = _random.OneIn(40) ? _random.Pick(badSizes) : _rows;
        if (_random.OneIn(5000)) info.width = 9999, info.height = 1;
        info.bgr24stride = _random.OneIn(40) ? _random.Pick(badStrides) : _random.Between(1, 100000);
        info.timestamp = _random.OneIn(500) ? _random.Pick(oddTimes) : _time;
        info.bgr24ForEachBlock = _random.OneIn(40) ? nullptr : _planes.data();
        // Anywhere in the noise, or one grey for all blocks.
        std::uint8_t* const planes = _planes.data() + (info.width == 9999 ? 0 : _random.Below(900));
        if (_random.OneIn(3) && info.width != 9999) std::fill_n(planes, 20, _random.Byte());
        info.ycbcrForEachBlock = _random.OneIn(40) ? nullptr : planes;
        info.mpeg4ReferenceLuma = _random.OneIn(2) ? nullptr : _planes.data();
        info.fps = _random.Pick(rates);
        info.isIFrame = _random.Below(2);
        info.passThroughFlag = _random.Between(-5, 5);
        info.detectShadow = _random.Below(2);
        info.isMPEG4 = _random.Below(2);
        info.isH264Partly = _random.OneIn(4);
        info.isH264PartlyIFrame = _random.Below(2);
        info.reserved = _random.Between(-5, 5);
        return info;
    }

    void AddZone(Known& known) {
        constexpr int sizes[] = {0, 1, 2, 7, -1, -3, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()};
        constexpr float fractions[] = {0.0f, -1.0f, 0.3f, 1.0f, NAN};
        DetectorHandle* const handle = HandleOf(known);
        MDZoneInfo zone{_planes.data(), _random.Pick(sizes), _random.Pick(sizes), 0.3f, 0.0f, 0.0f};
        const std::int64_t cells = std::int64_t{zone.maskWidth} * zone.maskHeight;
        if (cells > 10000) zone.maskWidth = zone.maskHeight = 3;  // more than the host has
        if (_random.OneIn(6)) zone.mask = nullptr;
        if (_random.OneIn(3)) zone.minObjectWidth = _random.Pick(fractions);
        if (_random.OneIn(3)) zone.minObjectHeight = _random.Pick(fractions);
        if (_random.OneIn(100)) zone.minObjectWidth = 1.5f;
        MDZoneInfo* const record = _random.OneIn(50) ? nullptr : &zone;
        const std::string ofHandle = OfHandle(handle);
        const std::string expected = ofHandle.empty() ? HostModel::OfZone(record) : ofHandle;
        if (!Compare(coreMD_CheckZone(handle, record), expected, [&] { h12(handle, record); })) return;
        known.model.AddZone(zone);
        if (known.model.ZoneCount() > 4) Remove(known);
    }

    void ReadObject(Known& known) {
        DetectorHandle* const handle = HandleOf(known);
        const std::string ofHandle = OfHandle(handle);
        const std::string expected = ofHandle.empty() ? known.model.OfObject() : ofHandle;
        MDObjectInfo object;
        Compare(coreMD_CheckObject(handle), expected, [&] { h18(handle, &object); });
    }

    void Remove(Known& known) {
        DetectorHandle* const handle = HandleOf(known);
        if (Compare(coreMD_CheckHandle(handle), OfHandle(handle), [&] { h11(handle); })) known.model.RemoveZones();
    }

    void CreateOrDestroy(Known& known) {
        const bool isCreation = _random.OneIn(2);
        if (!isCreation && !_random.OneIn(3)) return;  // most of them live for a while
        if (!isCreation) {
            h14(&known.handle);
            known.model.Create();
            return;
        }
        const std::string said = Text(coreMD_CheckHandle(&known.handle));
        EXPECT_EQ(said, known.handle ? "" : "*ptr");
        if (GoesThrough(said == "*ptr" ? "" : "!*ptr", [&] { h15(&known.handle); })) known.model.Create();
    }

    void Touch(Known& known) {
        DetectorHandle* const handle = HandleOf(known);
        const int value = _random.Between(0, 2);
        Compare(coreMD_CheckHandle(handle), OfHandle(handle), [&] {
            MDResultInfo summary;
            MDZoneDetectionInfo result;
            h35(handle, value);
            h36(handle, value);
            h17(handle, &summary);
            h19(handle, &result);
        });
    }

    SeededRandom _random;
    std::vector<std::uint8_t> _planes;
    void* _noDetector = nullptr;
    DetectorHandle _hollow = &_noDetector;
    Known _known[6];
    int _columns = 3, _rows = 2;
    std::int64_t _time = 0;
};

}  // namespace Kit
