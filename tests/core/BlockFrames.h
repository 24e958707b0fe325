// What does a host hand over?  A handle with its detector, and frames of plain blocks, 0.2 s apart at 25 frames a second:
// far enough apart that no frame is skipped. Used by the tests of the C interface.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "coreMD.h"

namespace CoreKit {

struct Handle {
    DetectorHandle variable = nullptr;

    Handle() { h15(&variable); }
    ~Handle() { h14(&variable); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    operator DetectorHandle*() { return &variable; }  // what every function takes

    void AddWholeFrame() {
        std::uint8_t cell = 1;
        MDZoneInfo zone = {&cell, 1, 1, 0.3f, 0.0f, 0.0f};
        h12(&variable, &zone);
    }
};

// Grey blocks of luma 100 until something is drawn.
class Frames {
public:
    Frames(int columns, int rows)
        : _planeSize(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows)),
          _planes(3 * _planeSize),
          _bgr(3 * _planeSize) {
        info.width = columns;
        info.height = rows;
        info.bgr24stride = 3 * columns;
        info.bgr24ForEachBlock = _bgr.data();
        info.ycbcrForEachBlock = _planes.data();
        info.fps = 25.0;
        std::fill(_planes.begin(), _planes.end(), std::uint8_t{128});
        Fill(0, 0, columns, rows, 100);
    }

    void Fill(int left, int top, int columns, int rows, int value) {
        for (int y = top; y < top + rows; ++y)
            std::fill_n(_planes.begin() + y * info.width + left, columns, static_cast<std::uint8_t>(value));
    }

    void Feed(DetectorHandle* handle, int times = 1) {
        for (int i = 0; i < times; ++i) {
            info.timestamp += 2000000;
            h13(handle, &info);
        }
    }

    DetectionInfo info = {};

private:
    std::size_t _planeSize;  // bytes
    std::vector<std::uint8_t> _planes;
    std::vector<std::uint8_t> _bgr;
};

// The objects of the last frame; the summary and the zone result are asked for as a host does.
inline std::vector<MDObjectInfo> ObjectsOf(DetectorHandle* handle) {
    MDResultInfo summary = {};
    MDZoneDetectionInfo zone = {};
    std::vector<MDObjectInfo> objects;
    if (h17(handle, &summary) != COREMD_DELIVERED || h19(handle, &zone) != COREMD_DELIVERED) return objects;
    MDObjectInfo object = {};
    while (h18(handle, &object) == COREMD_DELIVERED) objects.push_back(object);
    return objects;
}

}  // namespace CoreKit
