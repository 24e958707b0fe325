// How does a detector become bytes, and bytes a detector?  Saving, measuring, checking and loading walk the same lists.
#include "detector/DetectorState.h"

#include <algorithm>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "detector/MotionDetector.h"
#include "detector/StateLists.h"
#include "utils/Buffers.h"
#include "utils/StandardGaps.h"
#include "zones/LeanObjects.h"

namespace MD {
namespace {

using namespace StateLists;

constexpr std::string_view magic = "coreMDst";
constexpr std::uint32_t formatVersion = 1;
constexpr std::size_t checksumPlace = 32, headerSize = 40;  // bytes
constexpr int largestGridSize = 9999;                       // blocks, as Detect asserts

// ---- Zones -------------------------------------------------------------------------------------------------------------

struct ZoneShape {
    int mapWidth, mapHeight;            // cells, as a host gave them
    int pixelMapWidth, pixelMapHeight;  // blocks; 0 until fitted
    float minObjectWidth, minObjectHeight, zoneValue;
};
constexpr std::tuple zoneValues{
    Any(&ZoneShape::mapWidth),
    Any(&ZoneShape::mapHeight),
    Within(&ZoneShape::pixelMapWidth, 0, largestGridSize),
    Within(&ZoneShape::pixelMapHeight, 0, largestGridSize),
    Any(&ZoneShape::minObjectWidth),
    Any(&ZoneShape::minObjectHeight),
    Any(&ZoneShape::zoneValue),
};

std::int64_t CellCount(int width, int height) { return static_cast<std::int64_t>(width) * height; }

// ---- Bytes --------------------------------------------------------------------------------------------------------------

// The unsigned number that stands for a value.
template <class T>
constexpr auto BitsOf(T value) {
    if constexpr (std::is_same_v<T, float>) return BitCast<std::uint32_t>(value);
    else if constexpr (std::is_same_v<T, double>) return BitCast<std::uint64_t>(value);
    else if constexpr (std::is_same_v<T, bool>) return static_cast<std::uint8_t>(value);
    else return static_cast<std::make_unsigned_t<T>>(value);
}
template <class T>
using Bits = decltype(BitsOf(T{}));

template <class T>
constexpr T ValueOf(Bits<T> bits) {
    if constexpr (std::is_floating_point_v<T>) return BitCast<T>(bits);
    else return static_cast<T>(bits);
}

template <class T>
void Store(T value, std::uint8_t* place) {
    for (std::size_t i = 0; i < sizeof(Bits<T>); ++i)
        place[i] = static_cast<std::uint8_t>(std::uint64_t{BitsOf(value)} >> (8 * i));
}

template <class T>
T Fetch(const std::uint8_t* place) {
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < sizeof(Bits<T>); ++i) bits |= std::uint64_t{place[i]} << (8 * i);
    return ValueOf<T>(static_cast<Bits<T>>(bits));
}

// FNV-1a, 64 bits, over all but the checksum: any single byte that changes changes it.
std::uint64_t Checksum(std::span<const std::uint8_t> bytes) {
    std::uint64_t sum = 0xCBF29CE484222325u;
    for (const std::uint8_t byte : bytes.first(checksumPlace)) sum = (sum ^ byte) * 0x100000001B3u;
    for (const std::uint8_t byte : bytes.subspan(headerSize)) sum = (sum ^ byte) * 0x100000001B3u;
    return sum;
}

struct CountingSink {
    std::size_t count = 0;

    template <class T>
    void Put(T) {
        count += sizeof(Bits<T>);
    }
    template <class T>
    void PutArray(const T*, std::size_t length) {
        count += length * sizeof(Bits<T>);
    }
};

struct WritingSink {
    std::uint8_t* next;

    template <class T>
    void Put(T value) {
        Store(value, next);
        next += sizeof(Bits<T>);
    }
    template <class T>
    void PutArray(const T* values, std::size_t length) {
        for (std::size_t i = 0; i < length; ++i) Put(values[i]);
    }
};

// Bytes that may be anything. Once they end early, they have ended.
class Source {
public:
    explicit Source(std::span<const std::uint8_t> bytes) : _rest(bytes) {}

    std::span<const std::uint8_t> Rest() const { return _rest; }

    // False: there are not so many.
    bool Take(std::uint64_t count, std::span<const std::uint8_t>& taken) {
        if (count > _rest.size()) return false;
        taken = _rest.first(static_cast<std::size_t>(count));
        _rest = _rest.subspan(static_cast<std::size_t>(count));
        return true;
    }
    template <class T>
    bool Take(T& value) {
        std::span<const std::uint8_t> bytes;
        if (!Take(sizeof(Bits<T>), bytes)) return false;
        value = Fetch<T>(bytes.data());
        return !std::is_same_v<T, bool> || bytes[0] <= 1;
    }

private:
    std::span<const std::uint8_t> _rest;
};

// ---- Saving -------------------------------------------------------------------------------------------------------------

template <class Sink, class Values, class Owner>
void PutValues(Sink& sink, const Values& values, const Owner& owner) {
    std::apply([&](const auto&... value) { (sink.Put(owner.*value.member), ...); }, values);
}

template <class Sink, class Planes, class Owner>
void PutPlanes(Sink& sink, const Planes& planes, const Owner& owner, std::size_t blocks) {
    std::apply([&](const auto&... plane) { (sink.PutArray(owner.*plane.member, plane.perBlock * blocks), ...); }, planes);
}

template <class Sink>
void PutZones(Sink& sink, const MDZoneList& zones) {
    sink.Put(static_cast<std::uint32_t>(zones._count));
    for (const MDZone* zone = zones._first; zone; zone = zone->next) {
        const ZoneShape shape{zone->mapWidth,       zone->mapHeight,       zone->pixelMapWidth, zone->pixelMapHeight,
                              zone->minObjectWidth, zone->minObjectHeight, zone->zoneValue};
        PutValues(sink, zoneValues, shape);
        sink.PutArray(zone->map, static_cast<std::size_t>(CellCount(shape.mapWidth, shape.mapHeight)));
        sink.PutArray(zone->pixelMap, static_cast<std::size_t>(CellCount(shape.pixelMapWidth, shape.pixelMapHeight)));
    }
}

template <class Sink>
void PutObjects(Sink& sink, const MotionObjectList& objects) {
    sink.Put(static_cast<std::uint32_t>(objects._objectsCount));
    for (const MotionObject* object = objects._first; object; object = object->next) {
        const auto blocks = static_cast<std::uint32_t>(object->objectPixelsCount);
        sink.Put(blocks);
        sink.PutArray(object->motionX, blocks);
        sink.PutArray(object->motionY, blocks);
    }
}

template <class Sink>
void PutEverything(Sink& sink, const MotionDetector& detector) {
    const auto blocks = static_cast<std::size_t>(detector.blockCount);
    PutValues(sink, detectorValues, detector);
    PutValues(sink, statisticsValues, detector._frameStatistics);
    PutValues(sink, machineValues, detector._h264PartlyStatistic);
    PutZones(sink, detector._zones);
    PutPlanes(sink, detectorPlanes, detector, blocks);
    PutPlanes(sink, statisticsPlanes, detector._frameStatistics, blocks);
    PutObjects(sink, detector._mergedPool._busyList);
}

// ---- Loading ------------------------------------------------------------------------------------------------------------

// Every reader below says whether the bytes are possible, and stores them where there is somebody to store them in.

template <class Values, class Owner>
bool TakeValues(Source& source, const Values& values, Owner* into) {
    const auto take = [&](const auto& value) {
        std::remove_const_t<decltype(value.least)> taken{};
        if (!source.Take(taken) || taken < value.least || taken > value.most) return false;
        if (into) into->*value.member = taken;
        return true;
    };
    return std::apply([&](const auto&... value) { return (take(value) && ...); }, values);
}

template <class Planes, class Owner>
bool TakePlanes(Source& source, const Planes& planes, Owner* into, std::size_t blocks) {
    const auto take = [&](const auto& plane) {
        using T = std::remove_const_t<decltype(plane.least)>;
        const std::size_t length = plane.perBlock * blocks;
        std::span<const std::uint8_t> bytes;
        if (!source.Take(std::uint64_t{length} * sizeof(T), bytes)) return false;
        bool arePossible = true;
        for (std::size_t i = 0; i < length; ++i) {
            const T value = Fetch<T>(bytes.data() + i * sizeof(T));
            arePossible = arePossible && value >= plane.least && value <= plane.most;
            if (into) (into->*plane.member)[i] = value;
        }
        return arePossible;
    };
    return std::apply([&](const auto&... plane) { return (take(plane) && ...); }, planes);
}

// A zone is fitted to the grid or not at all; a detector without buffers may have met others before.
bool IsFitPossible(const ZoneShape& shape, int columns, int rows) {
    const int width = shape.pixelMapWidth, height = shape.pixelMapHeight;
    if ((width == 0) != (height == 0)) return false;
    return columns == 0 || width == 0 || (width == columns && height == rows);
}

void AddZone(MDZoneList& zones, const ZoneShape& shape, std::span<const std::uint8_t> map,
             std::span<const std::uint8_t> pixelMap) {
    MDZoneInfo info{const_cast<std::uint8_t*>(map.data()),  // which is read only
                    shape.mapWidth,
                    shape.mapHeight,
                    shape.zoneValue,
                    shape.minObjectWidth,
                    shape.minObjectHeight};
    zones.Add(&info);
    MDZone& zone = *zones._last;
    if (pixelMap.empty()) return;
    Utils::AllocBuff(&zone.pixelMap, static_cast<std::int64_t>(pixelMap.size()));
    Utils::CopyBuff(pixelMap.data(), zone.pixelMap, static_cast<std::int64_t>(pixelMap.size()));
    zone.pixelMapWidth = shape.pixelMapWidth;
    zone.pixelMapHeight = shape.pixelMapHeight;
}

bool TakeZones(Source& source, int columns, int rows, MDZoneList* into) {
    std::uint32_t count = 0;
    if (!source.Take(count)) return false;
    for (; count > 0; --count) {
        ZoneShape shape{};
        std::span<const std::uint8_t> map, pixelMap;
        if (!TakeValues(source, zoneValues, &shape) || !IsFitPossible(shape, columns, rows)) return false;
        const std::int64_t cells = CellCount(shape.mapWidth, shape.mapHeight);
        const std::int64_t blocks = CellCount(shape.pixelMapWidth, shape.pixelMapHeight);
        if (cells < 0 || !source.Take(static_cast<std::uint64_t>(cells), map)) return false;
        if (!source.Take(static_cast<std::uint64_t>(blocks), pixelMap)) return false;
        if (into) AddZone(*into, shape, map, pixelMap);
    }
    return true;
}

bool TakeObjects(Source& source, int columns, int rows, MotionObjectPool* into) {
    const auto isWithin = [](const std::vector<short>& places, int extent) {
        return std::all_of(places.begin(), places.end(), [=](short place) { return place >= 0 && place < extent; });
    };
    std::uint32_t count = 0;
    if (!source.Take(count)) return false;
    std::vector<short> xs, ys;
    for (; count > 0; --count) {
        std::uint32_t blocks = 0;
        std::span<const std::uint8_t> bytes;
        if (!source.Take(blocks) || blocks == 0 || !source.Take(std::uint64_t{blocks} * 4, bytes)) return false;
        for (std::vector<short>* places : {&xs, &ys}) {
            places->resize(blocks);
            for (std::size_t i = 0; i < blocks; ++i) (*places)[i] = Fetch<short>(bytes.data() + 2 * i);
            bytes = bytes.subspan(2 * std::size_t{blocks});
        }
        if (!isWithin(xs, columns) || !isWithin(ys, rows)) return false;
        const int length = static_cast<int>(blocks);
        if (into) LeanObjects::Add(*into, xs.data(), ys.data(), length, std::max(length, columns * rows));
    }
    return true;
}

// Where the parts of a state begin.
struct Parts {
    int columns, rows;
    std::span<const std::uint8_t> values, zones, planes, objects;

    bool HasGrid() const { return columns > 0; }
    std::size_t BlockCount() const { return static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows); }
};

bool IsGridPossible(int columns, int rows) {
    if (columns == 0 && rows == 0) return true;
    return columns > 0 && columns <= largestGridSize && rows > 0 && rows <= largestGridSize;
}

bool TakeAllValues(Source& source, bool hasGrid, MotionDetector* into) {
    FrameStatistics* const statistics = into ? &into->_frameStatistics : nullptr;
    H264PartlyStatistic* const machine = into ? &into->_h264PartlyStatistic : nullptr;
    if (!TakeValues(source, detectorValues, into)) return false;
    Source filled = source;
    bool isFilled = false;
    if (!TakeValues(source, statisticsValues, statistics) || !TakeValues(source, machineValues, machine)) return false;
    return filled.Take(isFilled) && (hasGrid || !isFilled);  // the first of the statistics; no history without buffers
}

bool TakeAllPlanes(Source& source, std::size_t blocks, MotionDetector* into) {
    FrameStatistics* const statistics = into ? &into->_frameStatistics : nullptr;
    return TakePlanes(source, detectorPlanes, into, blocks) && TakePlanes(source, statisticsPlanes, statistics, blocks);
}

// Behind the header. False: no detector holds this.
bool FindParts(std::span<const std::uint8_t> bytes, Parts& parts) {
    Source source(bytes);
    if (!IsGridPossible(parts.columns, parts.rows)) return false;
    parts.values = source.Rest();
    if (!TakeAllValues(source, parts.HasGrid(), nullptr)) return false;
    parts.zones = source.Rest();
    if (!TakeZones(source, parts.columns, parts.rows, nullptr)) return false;
    parts.planes = source.Rest();
    if (!TakeAllPlanes(source, parts.BlockCount(), nullptr)) return false;
    parts.objects = source.Rest();
    return TakeObjects(source, parts.columns, parts.rows, nullptr) && source.Rest().empty();
}

int Check(std::span<const std::uint8_t> bytes, Parts& parts) {
    const std::size_t compared = std::min(bytes.size(), magic.size());
    if (compared == 0 || !std::equal(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(compared), magic.begin()))
        return COREMD_STATE_FOREIGN;
    if (bytes.size() < headerSize) return COREMD_STATE_DAMAGED;
    if (Fetch<std::uint32_t>(bytes.data() + 8) != formatVersion) return COREMD_STATE_OTHER_VERSION;
    if (Fetch<std::uint64_t>(bytes.data() + 24) != bytes.size()) return COREMD_STATE_DAMAGED;
    if (Fetch<std::uint64_t>(bytes.data() + checksumPlace) != Checksum(bytes)) return COREMD_STATE_DAMAGED;
    if (Fetch<int>(bytes.data() + 12) != COREMD_VERSION) return COREMD_STATE_OTHER_VERSION;
    parts.columns = Fetch<int>(bytes.data() + 16);
    parts.rows = Fetch<int>(bytes.data() + 20);
    return FindParts(bytes.subspan(headerSize), parts) ? COREMD_STATE_DONE : COREMD_STATE_IMPOSSIBLE;
}

struct OwnedZones {
    MDZoneList list;

    OwnedZones() = default;
    ~OwnedZones() { list.Release(); }
    OwnedZones(const OwnedZones&) = delete;
    OwnedZones& operator=(const OwnedZones&) = delete;
};

}  // namespace

std::size_t DetectorState::Size(const MotionDetector& detector) {
    CountingSink sink{headerSize};
    PutEverything(sink, detector);
    return sink.count;
}

void DetectorState::Save(const MotionDetector& detector, std::uint8_t* bytes) {
    WritingSink sink{bytes};
    sink.PutArray(magic.data(), magic.size());
    sink.Put(formatVersion);
    sink.Put(std::int32_t{COREMD_VERSION});
    sink.Put(detector.blockCountX);
    sink.Put(detector.blockCountY);
    const std::size_t size = Size(detector);
    sink.Put(std::uint64_t{size});
    sink.Put(std::uint64_t{0});
    PutEverything(sink, detector);
    Store(Checksum({bytes, size}), bytes + checksumPlace);
}

// What may fail comes first, and leaves no half of a state: buffers and objects, then nothing but copies.
int DetectorState::Load(MotionDetector& detector, std::span<const std::uint8_t> bytes) {
    Parts parts{};
    if (const int status = Check(bytes, parts); status != COREMD_STATE_DONE) return status;
    OwnedZones zones;
    Source zoneSource(parts.zones), valueSource(parts.values), planeSource(parts.planes);
    TakeZones(zoneSource, parts.columns, parts.rows, &zones.list);
    MakeRoom(detector, parts.columns, parts.rows, parts.objects);
    std::swap(detector._zones, zones.list);
    TakeAllValues(valueSource, parts.HasGrid(), &detector);
    TakeAllPlanes(planeSource, parts.BlockCount(), &detector);
    return COREMD_STATE_DONE;
}

// New buffers, and the objects of the last result.
void DetectorState::MakeRoom(MotionDetector& detector, int columns, int rows, std::span<const std::uint8_t> objects) {
    DetectionInfo info{};
    info.width = columns;
    info.height = rows;
    info.bgr24stride = 3 * columns;
    detector.ReleaseBuffers();
    try {
        if (columns > 0) detector.MakeArrays(&info);
        else detector._mergedPool.Inic(0, 0);
        Source source(objects);
        TakeObjects(source, columns, rows, &detector._mergedPool);
    } catch (...) {
        detector.ReleaseBuffers();
        detector._frameStatistics._isFilled = false;  // nothing to read: results answer "not ready" until the next frame
        throw;
    }
}

}  // namespace MD
