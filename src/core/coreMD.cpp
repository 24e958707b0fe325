// How does a host reach the detector?  Handle checks, then one forward per function; checks alone, before a call.
#include "coreMD.h"

#include <cstring>
#include <memory>

#include "detector/CallCheck.h"
#include "detector/DetectorState.h"
#include "detector/MotionDetector.h"
#include "utils/Assert.h"

using MD::MotionDetector;

namespace {

constexpr char getDetector[] = "MD::MotionDetector* GetDetector(void**)";  // asks the questions, as hosts know them

// The host's variable points to a heap cell, the cell to the detector: the variable never changes while it lives.
MotionDetector* InCell(void* cell) { return *static_cast<MotionDetector**>(cell); }

MD::Broken BrokenHandle(void** ptr) {
    MD_UNLESS(ptr, getDetector);
    MD_UNLESS(*ptr, getDetector);
    const MotionDetector* const res = InCell(*ptr);
    MD_UNLESS(res, getDetector);
    return {};
}

MotionDetector* Behind(void** ptr) {
    MD::Ensure(BrokenHandle(ptr));
    return InCell(*ptr);
}

}  // namespace

MotionDetector* GetDetector(void** ptr) {
    MotionDetector* const detector = Behind(ptr);
    detector->_isOutOfReach = false;  // from now on the host may write what it likes
    return detector;
}

int32_t h15(DetectorHandle* ptr) {
    assert(ptr);
    assert(!*ptr);
    auto detector = std::make_unique<MotionDetector>();
    *ptr = new MotionDetector*(detector.get());
    detector.release()->_isOutOfReach = true;
    return 0;
}

void h14(DetectorHandle* handle) {
    if (*handle) {
        MotionDetector** const cell = static_cast<MotionDetector**>(*handle);
        delete *cell;
        delete cell;
    }
    *handle = nullptr;
}

int32_t h12(DetectorHandle* handle, MDZoneInfo* zone) {
    Behind(handle)->AddMDZone(zone);
    return 0;
}

int32_t h11(DetectorHandle* handle) {
    Behind(handle)->RemoveAllZones();
    return 0;
}

void h13(DetectorHandle* handle, DetectionInfo* info) { Behind(handle)->Detect(info, true); }

int32_t h17(DetectorHandle* handle, MDResultInfo* result) { return Behind(handle)->GetResultInfo(result); }

int32_t h19(DetectorHandle* handle, MDZoneDetectionInfo* result) { return Behind(handle)->GetNextMDZoneResult(result); }

int32_t h18(DetectorHandle* handle, MDObjectInfo* object) { return Behind(handle)->GetNextMotionObject(object); }

int32_t h33(DetectorHandle* handle, uint8_t* image, int32_t* mask) { return Behind(handle)->GetBackground(image, mask); }

// Deliberate: 1 turns the limit off (CoreTest, H35SenseIsInverted), and what is stored is the byte itself, not 0 or 1.
void h35(DetectorHandle* handle, int32_t value) {
    Behind(handle)->_limitObjectsToMask = static_cast<uint8_t>(static_cast<uint32_t>(value) ^ 1u);
}

void h36(DetectorHandle* handle, int32_t value) {
    Behind(handle)->_longBackgroundTimes = static_cast<uint8_t>(static_cast<uint32_t>(value));
}

void* h20(const void* source, void* destination, int32_t length) {
    if (length > 0) std::memmove(destination, source, static_cast<std::size_t>(length));
    return destination;
}

int32_t h16(void) { return 0; }

void h34(void) {}

int32_t coreMD_Version(void) { return COREMD_VERSION; }

const char* coreMD_CheckHandle(DetectorHandle* handle) { return BrokenHandle(handle).text; }

const char* coreMD_CheckZone(DetectorHandle* handle, const MDZoneInfo* zone) {
    const char* const broken = coreMD_CheckHandle(handle);
    return broken ? broken : MD::CallCheck::OfZone(zone);
}

const char* coreMD_CheckFrame(DetectorHandle* handle, const DetectionInfo* info) {
    const char* const broken = coreMD_CheckHandle(handle);
    return broken ? broken : MD::CallCheck::OfFrame(*InCell(*handle), info);
}

const char* coreMD_CheckObject(DetectorHandle* handle) {
    const char* const broken = coreMD_CheckHandle(handle);
    return broken ? broken : MD::CallCheck::OfObject(*InCell(*handle));
}

void coreMD_SetFailureHandler(coreMD_FailureHandler handler, void* context) { MD::SetFailureListener({handler, context}); }

int32_t coreMD_ReadBlocks(DetectorHandle* handle, uint8_t* ycbcr, uint8_t* isKnown, uint8_t* isForeground, int64_t blocks) {
    const MotionDetector& detector = *Behind(handle);
    if (!detector._backgroundY || blocks != detector.blockCount) return -1;
    const auto copy = [&](const unsigned char* plane, uint8_t* to) {
        std::memcpy(to, plane, static_cast<std::size_t>(blocks));
    };
    if (ycbcr) {
        copy(detector._backgroundY, ycbcr);
        copy(detector._backgroundCb, ycbcr + blocks);
        copy(detector._backgroundCr, ycbcr + 2 * blocks);
    }
    if (isKnown) copy(detector._isBackground, isKnown);
    if (isForeground) copy(detector._isObject, isForeground);
    return 0;
}

int64_t coreMD_StateSize(DetectorHandle* handle) { return static_cast<int64_t>(MD::DetectorState::Size(*Behind(handle))); }

int32_t coreMD_SaveState(DetectorHandle* handle, uint8_t* state, int64_t size) {
    const MotionDetector& detector = *Behind(handle);
    if (size < static_cast<int64_t>(MD::DetectorState::Size(detector))) return COREMD_STATE_NO_ROOM;
    assert(state);
    MD::DetectorState::Save(detector, state);
    return COREMD_STATE_DONE;
}

int32_t coreMD_ReplaceZones(DetectorHandle* handle, const MDZoneInfo* zones, int32_t count, DetectorHandle* successor) {
    const MotionDetector& detector = *Behind(handle);
    assert(zones);
    assert(count > 0);
    assert(successor);
    assert(!*successor);
    auto next = MD::DetectorState::WithZones(detector, {zones, static_cast<std::size_t>(count)});
    *successor = new MotionDetector*(next.get());
    next.release();
    return 0;
}

int32_t coreMD_LoadState(DetectorHandle* handle, const uint8_t* state, int64_t size, int32_t* width, int32_t* height) {
    MotionDetector& detector = *Behind(handle);
    if (!state || size < 0) return COREMD_STATE_FOREIGN;
    const int32_t status = MD::DetectorState::Load(detector, {state, static_cast<std::size_t>(size)});
    if (status != COREMD_STATE_DONE) return status;
    if (width) *width = detector.blockCountX;
    if (height) *height = detector.blockCountY;
    return status;
}
