// Do the detector's answers fit together?
#include "ReadoutClaims.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "Claim.h"

namespace Fuzz {
namespace {

std::size_t BlockCount(const Expected& expected) {
    return static_cast<std::size_t>(expected.columns) * static_cast<std::size_t>(expected.rows);
}

// Bounds around all blocks, which lie in the grid; every block carries the object's label.
void ClaimObject(const MDObjectInfo& object, int label, const std::uint16_t* objectsMap, const Expected& expected,
                 std::vector<bool>& isListed) {
    FUZZ_CLAIM(object.pixelsCount > 0);
    FUZZ_CLAIM(object.index == 0 && object.secondIndex == 0);
    int left = object.pixelsX[0], right = left, top = object.pixelsY[0], bottom = top;
    for (int i = 0; i < object.pixelsCount; ++i) {
        const int x = object.pixelsX[i], y = object.pixelsY[i];
        FUZZ_CLAIM(x >= 0 && x < expected.columns && y >= 0 && y < expected.rows);
        left = std::min(left, x), right = std::max(right, x), top = std::min(top, y), bottom = std::max(bottom, y);
        const auto block = static_cast<std::size_t>(y * expected.columns + x);
        FUZZ_CLAIM(objectsMap[block] == label);
        isListed[block] = true;
    }
    FUZZ_CLAIM(object.left == left && object.right == right && object.top == top && object.bottom == bottom);
}

// Objects whose boxes touch, diagonally too, have been merged.
void ClaimApart(const std::vector<MDObjectInfo>& objects) {
    const std::size_t examined = std::min<std::size_t>(objects.size(), 200);  // of many, some: pairs cost their square
    for (std::size_t i = 0; i < examined; ++i)
        for (std::size_t j = 0; j < i; ++j) {
            const MDObjectInfo &a = objects[i], &b = objects[j];
            FUZZ_CLAIM(b.right + 1 < a.left || b.left - 1 > a.right || b.bottom + 1 < a.top || b.top - 1 > a.bottom);
        }
}

void ClaimMaps(const MDZoneDetectionInfo& zone, const Expected& expected, const std::vector<bool>& isListed) {
    for (std::size_t block = 0; block < BlockCount(expected); ++block) {
        FUZZ_CLAIM((zone.objectsMap[block] != 0) == isListed[block]);
        FUZZ_CLAIM(zone.objectsMap[block] <= zone.objectsCount);
        FUZZ_CLAIM(zone.zoneMap[block] <= (expected.detectsShadow ? 2 : 0));
    }
}

}  // namespace

void ClaimSummary(DetectorHandle* handle, const Expected& expected) {
    MDResultInfo summary{-1, -1, -1};
    FUZZ_CLAIM(h17(handle, &summary) == (expected.isReady ? COREMD_DELIVERED : COREMD_NOT_READY));
    FUZZ_CLAIM(summary.zoneResultsCount == (expected.isReady ? 1 : 0));
    FUZZ_CLAIM(summary.isIFrame == 0 || summary.isIFrame == 1);
    FUZZ_CLAIM(summary.passThroughFlag == (expected.passThroughFlag ? 1 : 0));
}

void ClaimZoneResult(DetectorHandle* handle, const Expected& expected) {
    MDZoneDetectionInfo zone{-1, nullptr, nullptr};
    if (!expected.isReady) {
        FUZZ_CLAIM(h19(handle, &zone) == COREMD_NOT_READY);
        FUZZ_CLAIM(zone.objectsCount == -1 && !zone.objectsMap && !zone.zoneMap);
        return;
    }
    FUZZ_CLAIM(h19(handle, &zone) == COREMD_DELIVERED);
    FUZZ_CLAIM(zone.objectsCount >= 0 && zone.objectsMap && zone.zoneMap);
    std::vector<MDObjectInfo> objects;
    MDObjectInfo object{};
    while (h18(handle, &object) == COREMD_DELIVERED) objects.push_back(object);
    FUZZ_CLAIM(h18(handle, &object) == COREMD_EXHAUSTED);
    FUZZ_CLAIM(objects.size() == static_cast<std::size_t>(zone.objectsCount));
    std::vector<bool> isListed(BlockCount(expected), false);
    for (std::size_t i = 0; i < objects.size(); ++i)
        ClaimObject(objects[i], static_cast<int>(i) + 1, zone.objectsMap, expected, isListed);
    ClaimApart(objects);
    if (expected.hasZones) ClaimMaps(zone, expected, isListed);
}

void ClaimBackground(DetectorHandle* handle, const Expected& expected) {
    std::vector<std::uint8_t> image(3 * BlockCount(expected));
    std::vector<std::int32_t> mask(BlockCount(expected), -1);
    FUZZ_CLAIM(h33(handle, image.data(), mask.data()) == 0);
    for (std::size_t block = 0; block < mask.size(); ++block) {
        FUZZ_CLAIM(mask[block] == 0 || mask[block] == 255);
        const std::uint8_t* const pixel = image.data() + 3 * block;
        FUZZ_CLAIM(mask[block] != 0 || (pixel[0] == 255 && pixel[1] == 0 && pixel[2] == 255));
    }
}

}  // namespace Fuzz
