// Which foreground blocks are only shadows?  Runs after foreground extraction, when shadow detection is on.
// Reads the background and the newest frame; clears shadow blocks in _isObject, marks them 2 in _zoneResultMap.
#include <initializer_list>

#include "detector/MotionDetector.h"
#include "detector/kernels/Shadow.h"
#include "utils/Assert.h"
#include "utils/Utils.h"

namespace MD {

// Whatever they held. Of a detector that nobody reached since it was made, that is known: zeros but for the rows of the last
// examination (ShadowReachTest, PlanesOfADetectorOutOfReachAreClearedToo).
void MotionDetector::ClearShadowPlanes() {
    const int first = _isOutOfReach ? _shadowRowFirst : 0, last = _isOutOfReach ? _shadowRowLast : blockCountY;
    const std::ptrdiff_t start = static_cast<std::ptrdiff_t>(first) * blockCountX;
    for (float* plane : {_backgroundLogGradientX, _backgroundLogGradientY, _currentLogGradientX, _currentLogGradientY,
                         _shadowGradientSum, _shadowCbDifference, _shadowCrDifference, _shadowChromaSum})
        Utils::ImageClear(plane + start, (last - first) * blockCountX);
}

void MotionDetector::DetectShadow(DetectionInfo*) {
    if (!_frameStatistics._isFilled || _h264PartlyIsOptimized) return;
    assert(_frameStatistics._blockCount == blockCount);
    ClearShadowPlanes();
    const unsigned char* const frame = _frameStatistics.FrameOfAge(0);
    const Kernels::RowRange searched = Kernels::MarkShadowSearch(_isObject, _zoneResultMap, _shadowSearchMask, BlockGrid());
    _shadowRowFirst = searched.first;
    _shadowRowLast = searched.last;
    Kernels::MeasureShadowFeatures({.searchMask = _shadowSearchMask,
                                    .isBackground = _isBackground,
                                    .backgroundY = _backgroundY,
                                    .backgroundCb = _backgroundCb,
                                    .backgroundCr = _backgroundCr,
                                    .currentY = frame,
                                    .currentCb = frame + _frameStatistics._secondPlaneOffset,
                                    .currentCr = frame + _frameStatistics._thirdPlaneOffset,
                                    .backgroundGradientX = _backgroundLogGradientX,
                                    .backgroundGradientY = _backgroundLogGradientY,
                                    .currentGradientX = _currentLogGradientX,
                                    .currentGradientY = _currentLogGradientY,
                                    .cbDifference = _shadowCbDifference,
                                    .crDifference = _shadowCrDifference},
                                   BlockGrid());
    Kernels::DecideShadows({.isBackground = _isBackground,
                            .backgroundGradientX = _backgroundLogGradientX,
                            .backgroundGradientY = _backgroundLogGradientY,
                            .currentGradientX = _currentLogGradientX,
                            .currentGradientY = _currentLogGradientY,
                            .cbDifference = _shadowCbDifference,
                            .crDifference = _shadowCrDifference,
                            .gradientSum = _shadowGradientSum,
                            .chromaSum = _shadowChromaSum,
                            .isObject = _isObject,
                            .zoneResultMap = _zoneResultMap},
                           ShadowThreashold, BlockGrid());
}

}  // namespace MD
