// What does a saved background hold?
#include "detector/BackgroundStorage.h"

#include "utils/Buffers.h"

namespace MD {

BackgroundStorage::BackgroundStorage()
    : _noiseLevel(nullptr),
      _isStable(nullptr),
      _backgroundY(nullptr),
      _backgroundCb(nullptr),
      _backgroundCr(nullptr),
      _isBackground(nullptr),
      _sampleValue(nullptr),
      maskWidthStep(-1),
      mask(nullptr),
      _backgroundTime(nullptr),
      _sampleTime(nullptr) {}

BackgroundStorage::~BackgroundStorage() {
    Utils::SafeReleaseBuff(&_sampleValue);
    Utils::SafeReleaseBuff(&_backgroundY);
    Utils::SafeReleaseBuff(&_backgroundCb);
    Utils::SafeReleaseBuff(&_backgroundCr);
    Utils::SafeReleaseBuff(&_isBackground);
    Utils::SafeReleaseBuff(&_isStable);
    Utils::SafeReleaseBuff(&_noiseLevel);
    Utils::SafeReleaseBuff(&_backgroundTime);
    Utils::SafeReleaseBuff(&_sampleTime);
    Utils::SafeReleaseBuff(&mask);
}

}  // namespace MD
