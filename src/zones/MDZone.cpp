// Where is motion looked for?
#include "zones/MDZone.h"

#include <cmath>
#include <cstddef>
#include <cstring>
#include <new>

#include "utils/Assert.h"
#include "utils/Buffers.h"

namespace MD {
namespace {

// Bytes of a mask. Sizes are the host's and not checked: the product must not overflow, whatever they are.
std::int64_t CellCount(int width, int height) { return static_cast<std::int64_t>(width) * height; }

// The blocks, first to last - 1, that cell `cell` of `cells` overlaps at all on an axis of `blocks` blocks.
struct Span {
    int first;
    int last;
};

Span OverlappedBlocks(int cell, int cells, int blocks) {
    return {static_cast<int>(std::floor(static_cast<double>(cell) * blocks / cells)),
            static_cast<int>(std::ceil((static_cast<double>(cell) + 1.0) * blocks / cells))};
}

}  // namespace

MDZone::MDZone(unsigned char* source, int width, int height, float value, float minWidth, float minHeight) {
    Inic();
    mapWidth = width;
    mapHeight = height;
    Utils::AllocBuff(&map, CellCount(width, height));
    Utils::CopyBuff(source, map, CellCount(width, height));
    zoneValue = value;
    minObjectWidth = minWidth;
    minObjectHeight = minHeight;
}

MDZone::MDZone() {
    Inic();
    SetMapToFullFrame();
    SetStandartParameters();
}

MDZone::MDZone(float value, float minWidth, float minHeight) {
    Inic();
    SetMapToFullFrame();
    zoneValue = value;
    minObjectWidth = minWidth;
    minObjectHeight = minHeight;
}

MDZone::~MDZone() {
    Utils::SafeReleaseBuff(&map);
    Utils::SafeReleaseBuff(&pixelMap);
}

void MDZone::Inic() {
    prev = next = nullptr;
    map = pixelMap = nullptr;
    mapWidth = mapHeight = 0;
    pixelMapWidth = pixelMapHeight = 0;
}

void MDZone::SetStandartParameters() {
    minObjectHeight = 0.0f;
    minObjectWidth = 0.0f;
    zoneValue = 0.3f;
}

void MDZone::SetMapToFullFrame() {
    Utils::SafeReleaseBuff(&map);
    mapWidth = mapHeight = 0;  // stays so if the allocation throws
    Utils::AllocBuff(&map, 1);
    mapWidth = mapHeight = 1;
    FillMap();
}

void MDZone::ClearMap() {
    if (CellCount(mapWidth, mapHeight) > 0) std::memset(map, 0, static_cast<std::size_t>(CellCount(mapWidth, mapHeight)));
}

void MDZone::FillMap() {
    if (CellCount(mapWidth, mapHeight) > 0) std::memset(map, 1, static_cast<std::size_t>(CellCount(mapWidth, mapHeight)));
}

void MDZone::InitPixelMap(int width, int height) {
    if (pixelMapWidth == width && pixelMapHeight == height) return;
    Utils::SafeReleaseBuff(&pixelMap);
    pixelMapWidth = pixelMapHeight = 0;  // stays so if the allocation throws: the next call then fits the mask anew
    if (width < 0 || height < 0) throw std::bad_array_new_length();  // whatever their product is
    Utils::AllocBuff(&pixelMap, CellCount(width, height));
    pixelMapWidth = width;
    pixelMapHeight = height;

    if (mapWidth <= 0) return;  // a height of any size then, of no cells
    for (int row = 0; row < mapHeight; ++row) {
        const unsigned char* cells = map + static_cast<std::ptrdiff_t>(row) * mapWidth;
        const Span y = OverlappedBlocks(row, mapHeight, pixelMapHeight);
        for (int column = 0; column < mapWidth; ++column) {
            if (!cells[column]) continue;
            const Span x = OverlappedBlocks(column, mapWidth, pixelMapWidth);
            if (x.first >= x.last) continue;
            for (int blockRow = y.first; blockRow < y.last; ++blockRow)
                std::memset(pixelMap + static_cast<std::ptrdiff_t>(blockRow) * pixelMapWidth + x.first, 1,
                            static_cast<std::size_t>(x.last - x.first));
        }
    }
}

MDZoneList::MDZoneList() : _first(nullptr), _last(nullptr), _count(0) {}

Broken MDZoneList::BrokenRecord(const MDZoneInfo* zone) {
    MD_UNLESS(zone, "void MD::MDZoneList::Add(MDZoneInfo*)");
    return {};
}

// What else ends Add, in the order in which it is found: a size that no mask has is an exception of the allocation.
Broken MDZoneList::BrokenMask(const MDZoneInfo& zone) {
    const auto& [mask, maskWidth, maskHeight, zoneValue, minObjectWidth, minObjectHeight] = zone;
    if (!Utils::IsArrayLength<unsigned char>(CellCount(maskWidth, maskHeight)))
        return {.text = "maskWidth * maskHeight >= 0"};
    return Utils::BrokenSource(mask, "");
}

void MDZoneList::Add(MDZoneInfo* info) {
    Ensure(BrokenRecord(info));
    MDZone* zone = new MDZone(info->mask, info->maskWidth, info->maskHeight, info->zoneValue, info->minObjectWidth,
                              info->minObjectHeight);
    zone->prev = _last;
    if (_last) _last->next = zone;
    else _first = zone;
    _last = zone;
    ++_count;
}

void MDZoneList::Release() {
    for (MDZone* zone = _first; zone;) {
        MDZone* const successor = zone->next;
        --_count;
        delete zone;
        zone = successor;
    }
    _first = _last = nullptr;
    assert(_count == 0);
}

}  // namespace MD
