// What would a host expect of a call?  The preconditions of the C interface as the manual states them, with as much of a
// detector as they speak of: zones, grid, time, history. Knows nothing of the library; compared with its checks.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "coreMD.h"

namespace Kit {

class HostModel {
public:
    // Empty: the call goes through. Pictures decide where `DependsOnPictures`; that is not foreseen here.
    std::string OfFrame(const DetectionInfo* info) const {
        if (!info) return "info";
        if (info->width <= 0 || info->width >= 10000) return "info->width > 0 && info->width < 10000";
        if (info->height <= 0 || info->height >= 10000) return "info->height > 0 && info->height < 10000";
        if (info->bgr24stride <= 0) return "info->bgr24stride > 0";
        if (!info->bgr24ForEachBlock) return "info->bgr24ForEachBlock";
        if (IsAfresh(*info) && _zones.empty()) return "first";
        if (!info->ycbcrForEachBlock) return "source";
        if (WillBeReady(*info))
            for (const Zone& zone : _zones)
                if (!zone.isFitted) return "currentZone->pixelMapWidth == blockCountX";
        return "";
    }

    // An object that fills the grid may be too small for its zone, if history is there by then.
    bool DependsOnPictures(const DetectionInfo& info) const {
        bool isLargeAskedFor = false;
        for (const Zone& zone : _zones)
            isLargeAskedFor = isLargeAskedFor ||
                              zone.minWidth * static_cast<float>(_columns) >= static_cast<float>(_columns + 1) ||
                              zone.minHeight * static_cast<float>(_rows) >= static_cast<float>(_rows + 1);
        return isLargeAskedFor && WillBeReady(info);
    }

    static std::string OfZone(const MDZoneInfo* zone) {
        if (!zone) return "zone";
        if ((zone->maskWidth < 0 && zone->maskHeight > 0) || (zone->maskWidth > 0 && zone->maskHeight < 0))
            return "maskWidth * maskHeight >= 0";
        return zone->mask ? "" : "source";
    }

    std::string OfObject() const { return _columns == 0 ? "_isObject" : ""; }

    void Create() { *this = HostModel(); }
    void AddZone(const MDZoneInfo& zone) { _zones.push_back({false, zone.minObjectWidth, zone.minObjectHeight}); }
    void RemoveZones() { _zones.clear(); }
    int ZoneCount() const { return static_cast<int>(_zones.size()); }

    void ShowFrame(const DetectionInfo& info) {
        if (IsAfresh(info)) {
            _framesInRing = 0;
            for (Zone& zone : _zones) zone.isFitted = true;
        }
        if (Enters(info)) ++_framesInRing;
        _columns = info.width;
        _rows = info.height;
        _time = info.timestamp;
    }

private:
    struct Zone {
        bool isFitted;
        float minWidth, minHeight;
    };

    bool IsAfresh(const DetectionInfo& info) const {
        return info.width != _columns || info.height != _rows || info.timestamp < _time;
    }
    // P-frames of a partial decode do not.
    static bool Enters(const DetectionInfo& info) { return !info.isH264Partly || info.isH264PartlyIFrame; }
    bool WillBeReady(const DetectionInfo& info) const { return !IsAfresh(info) && _framesInRing + Enters(info) >= 11; }

    std::vector<Zone> _zones;
    int _columns = 0, _rows = 0;
    std::int64_t _time = 0, _framesInRing = 0;
};

}  // namespace Kit
