// How does a test give every block its own past?  One history per block, the clock set by hand.
#pragma once

#include <array>
#include <initializer_list>

#include "DetectorFixture.h"

namespace DetectorKit {

using History = std::array<std::uint8_t, 11>;  // luma of the ages 0 to 10

inline constexpr History flat{100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100};

class BackgroundFixture : public DetectorTest {
protected:
    // A grid of one row, block i with the i-th history; nothing learned yet, time 0.
    void UseHistories(std::initializer_list<History> histories) {
        UseGridOf(histories, static_cast<int>(histories.size()), 1);
    }

    void UseGridOf(std::initializer_list<History> histories, int columns, int rows) {
        if (!detector._zones._first) AddFullZone();
        detector.ReleaseBuffers();
        detector._currentTime = 0;
        for (std::size_t age = 11; age-- > 0;) {
            Frame frame(columns, rows, 0, newestCb, newestCr);
            std::size_t block = 0;
            for (const History& history : histories) frame.Y()[block++] = history[age];
            detector.Detect(frame.At(0), false);
        }
    }

    bool UpdateAt(std::int64_t ticks, std::uint8_t* mask = nullptr, int rowLength = 0) {
        detector._currentTime = ticks;
        return detector.UpdateBackground(mask, rowLength);
    }

    static constexpr std::uint8_t newestCb = 110, newestCr = 140;
};

}  // namespace DetectorKit
