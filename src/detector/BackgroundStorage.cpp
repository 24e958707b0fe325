// What does a saved background hold?
#include "detector/BackgroundStorage.h"

#include "detector/SnapshotArrays.h"
#include "utils/Buffers.h"

namespace MD {

BackgroundStorage::BackgroundStorage() : maskWidthStep(-1), mask(nullptr), blockCountX(-1), blockCountY(-1) {
    ForEachSnapshotArray([this](auto array) { this->*array.saved = nullptr; });
}

BackgroundStorage::~BackgroundStorage() {
    ForEachSnapshotArray([this](auto array) { Utils::SafeReleaseBuff(&(this->*array.saved)); });
    Utils::SafeReleaseBuff(&mask);
}

}  // namespace MD
