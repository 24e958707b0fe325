// Where is motion looked for?  A zone's mask at its own resolution and fitted to the block grid; the list of zones.
#pragma once

#include "coreMD.h"
#include "utils/Visibility.h"

namespace MD {

struct Broken;

class COREMD_API MDZone {
public:
    // Copies width * height mask bytes, row after row; `map` must not be null ("source"). The other arguments are stored.
    MDZone(unsigned char* map, int width, int height, float zoneValue, float minObjectWidth, float minObjectHeight);
    MDZone();                                                              // the whole frame, no object too small
    MDZone(float zoneValue, float minObjectWidth, float minObjectHeight);  // the whole frame
    ~MDZone();
    MDZone(const MDZone&) = delete;
    MDZone& operator=(const MDZone&) = delete;

    void Inic();                   // links, buffers and dimensions to null and 0, whatever they hold
    void SetStandartParameters();  // no object too small, zoneValue 0.3
    void SetMapToFullFrame();      // a mask of one set cell
    void ClearMap();
    void FillMap();

    // Fits the mask to a grid of width x height blocks: a block is 1 if a set cell overlaps it at all.
    // Deliberate: nothing happens at an unchanged size, even if `map` changed since (MDZoneTest, SameSizeKeepsPixelMap).
    void InitPixelMap(int width, int height);

    MDZone* prev;
    MDZone* next;
    unsigned char* map;       // mapWidth * mapHeight bytes, owned; non-zero: inside
    unsigned char* pixelMap;  // pixelMapWidth * pixelMapHeight bytes {0,1}, owned
    int mapWidth;
    int mapHeight;
    int pixelMapWidth;  // 0 until fitted
    int pixelMapHeight;
    float minObjectHeight;  // fraction of pixelMapHeight
    float minObjectWidth;   // fraction of pixelMapWidth
    float zoneValue;        // carried, not read
};

// Owns its zones.
class COREMD_API MDZoneList {
public:
    MDZoneList();

    void Add(MDZoneInfo* info);  // appends a zone built from the record; fatal "zone" where that is null
    void Release();              // destroys all zones; fatal "_count == 0" when the count disagrees with the links

    MDZone* _first;
    MDZone* _last;
    int _count;

private:
    friend class CallCheck;

    MD_INTERNAL static Broken BrokenRecord(const MDZoneInfo* zone);
    MD_INTERNAL static Broken BrokenMask(const MDZoneInfo& zone);
};

}  // namespace MD
