// What does a host see of one detector?  A handle that frees itself, zones, one call per frame, and a copy of everything
// that can be read back. C interface only. Used by whole-scene tests.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "coreMD.h"

namespace Kit {

struct FoundObject {
    int left, right, top, bottom;  // inclusive
    int blocks;
    std::vector<std::int16_t> xs, ys;
};

struct FrameResult {
    int summaryStatus = 0, zoneStatus = 0;
    MDResultInfo summary{};
    std::vector<FoundObject> objects;
    std::vector<std::uint16_t> labels;  // [block]; empty before the history is filled
    std::vector<std::uint8_t> zoneMap;  // [block]; likewise
};

struct BackgroundPicture {
    std::vector<std::uint8_t> bgr;  // 3 bytes per block
    std::vector<std::int32_t> isKnown;

    int KnownBlocks() const {
        int known = 0;
        for (const std::int32_t flag : isKnown) known += flag != 0;
        return known;
    }
};

class DetectorHost {
public:
    DetectorHost() { h15(&_handle); }
    ~DetectorHost() { h14(&_handle); }
    DetectorHost(const DetectorHost&) = delete;
    DetectorHost& operator=(const DetectorHost&) = delete;

    DetectorHandle* Handle() { return &_handle; }

    void AddZone(std::span<std::uint8_t> mask, int columns, float minWidth = 0.0f, float minHeight = 0.0f) {
        MDZoneInfo zone{mask.data(), columns, static_cast<int>(mask.size()) / columns, 0.3f, minWidth, minHeight};
        h12(&_handle, &zone);
    }
    void AddWholeFrame() {
        std::uint8_t mask[] = {1};
        AddZone(mask, 1);
    }

    FrameResult Detect(DetectionInfo info) {
        _blockCount = static_cast<std::size_t>(info.width) * static_cast<std::size_t>(info.height);
        h13(&_handle, &info);
        return Read();
    }

    FrameResult Read() {
        FrameResult result;
        result.summaryStatus = h17(&_handle, &result.summary);
        MDZoneDetectionInfo zone{};
        result.zoneStatus = h19(&_handle, &zone);
        if (result.zoneStatus != COREMD_DELIVERED) return result;
        result.labels.assign(zone.objectsMap, zone.objectsMap + _blockCount);
        result.zoneMap.assign(zone.zoneMap, zone.zoneMap + _blockCount);
        for (MDObjectInfo object{}; h18(&_handle, &object) == COREMD_DELIVERED;)
            result.objects.push_back({object.left,
                                      object.right,
                                      object.top,
                                      object.bottom,
                                      object.pixelsCount,
                                      {object.pixelsX, object.pixelsX + object.pixelsCount},
                                      {object.pixelsY, object.pixelsY + object.pixelsCount}});
        return result;
    }

    BackgroundPicture Background() {
        BackgroundPicture background{std::vector<std::uint8_t>(3 * _blockCount), std::vector<std::int32_t>(_blockCount)};
        h33(&_handle, background.bgr.data(), background.isKnown.data());
        return background;
    }

private:
    DetectorHandle _handle = nullptr;
    std::size_t _blockCount = 0;  // of the last frame
};

}  // namespace Kit
