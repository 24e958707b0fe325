// How are many cameras watched in one process?  One detector per camera, a pool of threads that takes cameras in turn, one
// report at the end. Detectors share nothing: a camera needs a lock only if two threads could take it at once, which the
// pool's counter rules out. What one camera sends wrongly costs that camera a few frames, and the others nothing.
#include <coreMD.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <span>
#include <thread>
#include <vector>

namespace {

constexpr int columns = 80, rows = 45, blocks = columns * rows;
constexpr int cameraCount = 16, frameCount = 150, framesPerSecond = 10;

// A stand-in for a decoder: a grey picture that something bright crosses, later at every next camera. One camera's pictures
// are cut off for a while.
class Source {
public:
    explicit Source(int camera) : _entry(80 + camera), _row(2 * camera + 4), _isFaulty(camera == 5) {}

    std::span<const std::uint8_t> Decode(int frame) {
        std::fill_n(_planes.begin(), blocks, std::uint8_t{128});
        const int column = 2 * (frame - _entry);
        const bool isInside = column >= 0 && column < columns - 3;
        if (isInside) std::fill_n(_planes.begin() + _row * columns + column, 4, std::uint8_t{220});
        const bool isCutOff = _isFaulty && frame >= 60 && frame < 65;
        return std::span(_planes).first(isCutOff ? blocks : 3 * blocks);
    }

private:
    const int _entry, _row;
    const bool _isFaulty;
    std::vector<std::uint8_t> _planes = std::vector<std::uint8_t>(3 * blocks, 128);
};

// One camera with all that belongs to it. Threads may take turns with it.
class Camera {
public:
    explicit Camera(int number) : _source(number) { _detector.AddWholePicture(); }

    void Watch(int frame) {
        constexpr coremd::Ticks oneSecond = std::chrono::seconds(1);
        const coremd::Attempt attempt = _detector.TryDetect({.columns = columns,
                                                             .rows = rows,
                                                             .ycbcr = _source.Decode(frame),
                                                             .time = frame * oneSecond / framesPerSecond,
                                                             .fps = framesPerSecond});
        if (!attempt) {
            ++_refused;
            _reason = attempt.error();
            return;
        }
        for ([[maybe_unused]] const coremd::Object& object : _detector.Objects()) {
            if (!_firstMotion) _firstMotion = frame;
            _lastMotion = frame;
        }
    }

    void Report(int number) const {
        if (_firstMotion)
            std::printf("camera %2d: motion from %4.1f s to %4.1f s\n", number, 1.0 * *_firstMotion / framesPerSecond,
                        1.0 * _lastMotion / framesPerSecond);
        else std::printf("camera %2d: nothing moved\n", number);
        if (_refused > 0) std::printf("camera %2d: %d frames refused: %s\n", number, _refused, _reason);
    }

private:
    Source _source;
    coremd::Detector _detector;
    std::optional<int> _firstMotion;  // frame
    int _lastMotion = 0;
    int _refused = 0;  // frames
    const char* _reason = "";
};

}  // namespace

int main() {
    std::srand(1);  // each detector draws the phase of its frame cycle: the same in every run
    std::vector<Camera> cameras;
    for (int number = 0; number < cameraCount; ++number) cameras.emplace_back(number);

    // Who is free takes the next camera and watches a recording of it from beginning to end. With live cameras the unit of
    // work is a frame, and a queue per camera keeps frames in order.
    std::atomic<int> next = 0;
    const auto work = [&] {
        for (int taken = next++; taken < cameraCount; taken = next++)
            for (int frame = 0; frame < frameCount; ++frame) cameras[static_cast<std::size_t>(taken)].Watch(frame);
    };
    {
        std::vector<std::jthread> pool;
        for (unsigned i = 0; i < std::max(2u, std::thread::hardware_concurrency()); ++i) pool.emplace_back(work);
    }  // waits for all of them

    for (int number = 0; number < cameraCount; ++number) cameras[static_cast<std::size_t>(number)].Report(number);
}
