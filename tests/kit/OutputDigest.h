// Are two runs equal in everything that a host can read?  One 64-bit number for all of it: statuses, records, maps, the
// blocks and boxes of the objects, the background picture and its mask, read through the C interface.
//
//     OutputDigest digest;
//     h13(&handle, &info);
//     digest.AddFrame(&handle, info.width * info.height);      // after every frame
//     digest.Value();
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "coreMD.h"

namespace Kit {

class OutputDigest {
public:
    std::uint64_t Value() const { return _state; }

    void Add(std::int64_t value) {
        _state = (_state ^ static_cast<std::uint64_t>(value)) * 0x100000001B3u;  // FNV-1a, a whole word at a time,
        _state ^= _state >> 29;                                                  // hence high bits brought down
    }

    template <class T>
    void AddArray(const T* values, std::size_t count) {
        Add(static_cast<std::int64_t>(count));
        for (std::size_t i = 0; i < count; ++i) Add(static_cast<std::int64_t>(values[i]));
    }

    void AddFrame(DetectorHandle* handle, int blockCount) {
        const auto blocks = static_cast<std::size_t>(blockCount);
        MDResultInfo summary{};
        Add(h17(handle, &summary));
        Add(summary.zoneResultsCount);
        Add(summary.isIFrame);
        Add(summary.passThroughFlag);

        MDZoneDetectionInfo zone{};
        const int status = h19(handle, &zone);
        Add(status);
        if (status == COREMD_DELIVERED) {
            Add(zone.objectsCount);
            AddArray(zone.objectsMap, blocks);
            AddArray(zone.zoneMap, blocks);
            AddObjects(handle);
        }

        _image.resize(3 * blocks);
        _mask.resize(blocks);
        Add(h33(handle, _image.data(), _mask.data()));
        AddArray(_image.data(), _image.size());
        AddArray(_mask.data(), _mask.size());
    }

private:
    void AddObjects(DetectorHandle* handle) {
        MDObjectInfo object{};
        int status;
        while ((status = h18(handle, &object)) == COREMD_DELIVERED) {
            AddArray(object.pixelsX, static_cast<std::size_t>(object.pixelsCount));
            AddArray(object.pixelsY, static_cast<std::size_t>(object.pixelsCount));
            Add(object.index);
            Add(object.secondIndex);
            Add(object.left);
            Add(object.right);
            Add(object.top);
            Add(object.bottom);
        }
        Add(status);
    }

    std::uint64_t _state = 0xCBF29CE484222325u;
    std::vector<std::uint8_t> _image;
    std::vector<std::int32_t> _mask;
};

}  // namespace Kit
