// Does the header need nothing but itself, and may it be included twice?  Compiled as C++17 and as C++20, never run.
#include "coreMD.h"
#include "coreMD.h"

#include "RecordLayout.h"

#include <type_traits>

// Plain records: a host may copy them as bytes.
static_assert(std::is_trivial_v<DetectionInfo> && std::is_standard_layout_v<DetectionInfo>);
static_assert(std::is_trivial_v<MDZoneInfo> && std::is_standard_layout_v<MDZoneInfo>);
static_assert(std::is_trivial_v<MDResultInfo> && std::is_standard_layout_v<MDResultInfo>);
static_assert(std::is_trivial_v<MDZoneDetectionInfo> && std::is_standard_layout_v<MDZoneDetectionInfo>);
static_assert(std::is_trivial_v<MDObjectInfo> && std::is_standard_layout_v<MDObjectInfo>);

static_assert(COREMD_VERSION == COREMD_VERSION_OF(COREMD_VERSION_MAJOR, COREMD_VERSION_MINOR, COREMD_VERSION_PATCH));
static_assert(COREMD_VERSION_OF(1, 2, 3) == 10203 && COREMD_VERSION_MINOR < 100 && COREMD_VERSION_PATCH < 100);

static_assert(COREMD_DELIVERED == 0 && COREMD_EXHAUSTED == 1 && COREMD_NOT_READY == 2);
static_assert(COREMD_STATE_DONE == 0 && COREMD_STATE_NO_ROOM == 1 && COREMD_STATE_FOREIGN == 2);
static_assert(COREMD_STATE_OTHER_VERSION == 3 && COREMD_STATE_DAMAGED == 4 && COREMD_STATE_IMPOSSIBLE == 5);

static_assert(std::is_same_v<decltype(h11), int32_t(DetectorHandle*)>);
static_assert(std::is_same_v<decltype(h12), int32_t(DetectorHandle*, MDZoneInfo*)>);
static_assert(std::is_same_v<decltype(h13), void(DetectorHandle*, DetectionInfo*)>);
static_assert(std::is_same_v<decltype(h14), void(DetectorHandle*)>);
static_assert(std::is_same_v<decltype(h15), int32_t(DetectorHandle*)>);
static_assert(std::is_same_v<decltype(h16), int32_t()>);
static_assert(std::is_same_v<decltype(h17), int32_t(DetectorHandle*, MDResultInfo*)>);
static_assert(std::is_same_v<decltype(h18), int32_t(DetectorHandle*, MDObjectInfo*)>);
static_assert(std::is_same_v<decltype(h19), int32_t(DetectorHandle*, MDZoneDetectionInfo*)>);
static_assert(std::is_same_v<decltype(h20), void*(const void*, void*, int32_t)>);
static_assert(std::is_same_v<decltype(h33), int32_t(DetectorHandle*, uint8_t*, int32_t*)>);
static_assert(std::is_same_v<decltype(h34), void()>);
static_assert(std::is_same_v<decltype(h35), void(DetectorHandle*, int32_t)>);
static_assert(std::is_same_v<decltype(h36), void(DetectorHandle*, int32_t)>);
static_assert(std::is_same_v<decltype(coreMD_Version), int32_t()>);
static_assert(std::is_same_v<decltype(coreMD_CheckHandle), const char*(DetectorHandle*)>);
static_assert(std::is_same_v<decltype(coreMD_CheckZone), const char*(DetectorHandle*, const MDZoneInfo*)>);
static_assert(std::is_same_v<decltype(coreMD_CheckFrame), const char*(DetectorHandle*, const DetectionInfo*)>);
static_assert(std::is_same_v<decltype(coreMD_CheckObject), const char*(DetectorHandle*)>);
static_assert(std::is_same_v<decltype(coreMD_SetFailureHandler), void(coreMD_FailureHandler, void*)>);
static_assert(std::is_same_v<coreMD_FailureHandler, void (*)(void*, const char*, const char*, int32_t line, const char*)>);
static_assert(std::is_same_v<decltype(coreMD_StateSize), int64_t(DetectorHandle*)>);
static_assert(std::is_same_v<decltype(coreMD_SaveState), int32_t(DetectorHandle*, uint8_t*, int64_t)>);
static_assert(std::is_same_v<decltype(coreMD_ReadBlocks), int32_t(DetectorHandle*, uint8_t*, uint8_t*, uint8_t*, int64_t)>);
static_assert(
    std::is_same_v<decltype(coreMD_ReplaceZones), int32_t(DetectorHandle*, const MDZoneInfo*, int32_t, DetectorHandle*)>);
static_assert(
    std::is_same_v<decltype(coreMD_LoadState), int32_t(DetectorHandle*, const uint8_t*, int64_t, int32_t*, int32_t*)>);
static_assert(std::is_same_v<decltype(GetDetector), MD::MotionDetector*(void**)>);
