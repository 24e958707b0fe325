// How is a learned background saved, put back and forgotten?  Called by hosts only.
#include <memory>

#include "detector/MotionDetector.h"
#include "detector/SnapshotArrays.h"
#include "utils/Assert.h"
#include "utils/Buffers.h"

namespace MD {

BackgroundStorage* MotionDetector::AllocateBackgroundStorage() {
    auto res = std::make_unique<BackgroundStorage>();
    ForEachSnapshotArray([&](auto array) { Utils::AllocBuff(&((*res).*array.saved), blockCount); });
    assert(!res->mask);
    res->blockCountX = blockCountX;
    res->blockCountY = blockCountY;
    return res.release();
}

void MotionDetector::FillBackgroundStorage(BackgroundStorage* storage, unsigned char* mask, int maskWidthStep) {
    assert(mask);
    assert(maskWidthStep >= blockCountX);
    assert(storage);
    assert(storage->Suits(blockCountX, blockCountY));
    ForEachSnapshotArray([&](auto array) { Utils::CopyBuff(this->*array.live, storage->*array.saved, blockCount); });

    const std::int64_t maskSize = static_cast<std::int64_t>(maskWidthStep) * blockCountY;
    if (storage->maskWidthStep != maskWidthStep) {
        storage->maskWidthStep = -1;  // stays so if the allocation throws: the snapshot then counts as never filled
        Utils::SafeReleaseBuff(&storage->mask);
        Utils::AllocBuff(&storage->mask, maskSize);
        storage->maskWidthStep = maskWidthStep;
    }
    Utils::CopyBuff(mask, storage->mask, maskSize);
}

void MotionDetector::RestoreBackground(BackgroundStorage* storage) {
    assert(storage);
    const int maskWidthStep = storage->maskWidthStep;
    assert(maskWidthStep >= blockCountX);
    assert(storage->Suits(blockCountX, blockCountY));
    bool holdsAllArrays = storage->mask != nullptr;
    ForEachSnapshotArray([&](auto array) { holdsAllArrays = holdsAllArrays && storage->*array.saved; });
    assert(holdsAllArrays);
    for (std::ptrdiff_t y = 0, i = 0; y < blockCountY; ++y) {
        const unsigned char* const isMeant = storage->mask + y * maskWidthStep;
        for (std::ptrdiff_t x = 0; x < blockCountX; ++x, ++i) {
            if (!isMeant[x]) continue;
            if (storage->_isStable[i]) {
                _isStable[i] = storage->_isStable[i];
                _sampleValue[i] = storage->_sampleValue[i];
                _sampleTime[i] = storage->_sampleTime[i];
            }
            if (storage->_isBackground[i]) {
                _backgroundY[i] = storage->_backgroundY[i];
                _backgroundCb[i] = storage->_backgroundCb[i];
                _backgroundCr[i] = storage->_backgroundCr[i];
                _isBackground[i] = storage->_isBackground[i];
                _noiseLevel[i] = storage->_noiseLevel[i];
                _backgroundTime[i] = storage->_backgroundTime[i];
            }
        }
    }
}

void MotionDetector::FreeBackgroundStorage(BackgroundStorage** storage) {
    assert(storage);
    delete *storage;
    *storage = nullptr;
}

void MotionDetector::FlushBackground(unsigned char* mask, int maskWidthStep) {
    assert(mask);
    assert(maskWidthStep);
    assert(maskWidthStep >= blockCountX);
    for (std::ptrdiff_t y = 0, i = 0; y < blockCountY; ++y) {
        const unsigned char* const isMeant = mask + y * maskWidthStep;
        for (std::ptrdiff_t x = 0; x < blockCountX; ++x, ++i) {
            if (!isMeant[x]) continue;
            _isBackground[i] = 0;
            _isStable[i] = 0;
        }
    }
}

}  // namespace MD
