// Does a host reach everything installed?  The C++ face, the classes and the block reducer, by their installed names.
#include <coreMD.hpp>
#include <coreMD/detector/MotionDetector.h>
#include <coreMD/host/BlockReducer.h>

#include <cstdint>
#include <vector>

int main() {
    const std::vector<std::uint8_t> grey(64 * 48, 100);
    Host::BlockReducer reducer({.width = 64, .height = 48, .format = Host::PixelFormat::Grey, .blockSize = 4});
    reducer.Reduce({.plane = {grey.data()}, .stride = {64}});
    coremd::Detector detector;
    detector.AddWholePicture();
    for (int frame = 0; frame < 12; ++frame)
        detector.Detect({.columns = reducer.Columns(),
                         .rows = reducer.Rows(),
                         .ycbcr = {reducer.Ycbcr(), 3 * 16 * 12},
                         .time = coremd::Ticks(frame * 1'000'000)});
    return detector.Summary().isReady && detector.Classes().blockCount == 16 * 12 ? 0 : 1;
}
