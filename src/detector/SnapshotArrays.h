// Which of the detector's arrays does a snapshot hold?  Each with its copy: the one list.
#pragma once

#include <tuple>

#include "detector/BackgroundStorage.h"
#include "detector/MotionDetector.h"

namespace MD {

template <class T>
struct SnapshotArray {
    T* BackgroundStorage::*saved;
    T* MotionDetector::*live;
};
template <class T>
SnapshotArray(T* BackgroundStorage::*, T* MotionDetector::*) -> SnapshotArray<T>;  // clang 14 does not deduce aggregates

inline constexpr std::tuple snapshotArrays{
    SnapshotArray{&BackgroundStorage::_sampleValue, &MotionDetector::_sampleValue},
    SnapshotArray{&BackgroundStorage::_backgroundY, &MotionDetector::_backgroundY},
    SnapshotArray{&BackgroundStorage::_backgroundCb, &MotionDetector::_backgroundCb},
    SnapshotArray{&BackgroundStorage::_backgroundCr, &MotionDetector::_backgroundCr},
    SnapshotArray{&BackgroundStorage::_isBackground, &MotionDetector::_isBackground},
    SnapshotArray{&BackgroundStorage::_isStable, &MotionDetector::_isStable},
    SnapshotArray{&BackgroundStorage::_noiseLevel, &MotionDetector::_noiseLevel},
    SnapshotArray{&BackgroundStorage::_backgroundTime, &MotionDetector::_backgroundTime},
    SnapshotArray{&BackgroundStorage::_sampleTime, &MotionDetector::_sampleTime},
};

// visit(SnapshotArray), one after another.
template <class Visit>
void ForEachSnapshotArray(Visit visit) {
    std::apply([&](auto... array) { (visit(array), ...); }, snapshotArrays);
}

}  // namespace MD
