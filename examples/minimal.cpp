// What is the least that a host in C++ does?  Shows a grey scene to a detector, lets something bright cross it, prints what
// moved.
#include <coreMD.hpp>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <vector>

int main() {
    using namespace std::chrono_literals;
    constexpr int columns = 80, rows = 45;
    coremd::Detector detector;
    detector.AddWholePicture();
    for (int frame = 0; frame < 120; ++frame) {
        std::vector<std::uint8_t> planes(3 * columns * rows, 128);  // Y, Cb, Cr: one value per block
        if (frame >= 80) planes[20 * columns + frame - 80] = 220;
        detector.Detect({.columns = columns, .rows = rows, .ycbcr = planes, .time = frame * 100ms, .fps = 10});
        for (const coremd::Object& object : detector.Objects())
            if (frame % 10 == 0) std::printf("%4.1f s: column %d\n", frame / 10.0, object.Bounds().right);
    }
}
