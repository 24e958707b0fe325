// How is the newest result read?  Called by the binding of the detector through FrameResult.h.
#include "FrameResult.h"

namespace Python {

Frame ReadFrame(const std::shared_ptr<HeldDetector>& held, coremd::Detector& detector) {
    Frame frame{.isReady = detector.Summary().isReady, .objects = {}, .labels = nullptr, .states = nullptr};
    const Shown shown(held);
    for (const coremd::ZoneResult& zones : detector.ZoneResults()) {  // one: the zones' results are merged
        const int rows = detector.Rows(), columns = detector.Columns();
        frame.labels = std::make_shared<BlockMap<std::uint16_t>>(shown, zones.Labels().data(), rows, columns);
        frame.states = std::make_shared<BlockMap<std::uint8_t>>(shown, zones.States().data(), rows, columns);
        for (const coremd::Object& object : zones.Objects()) {
            frame.objects.emplace_back(shown, object);
        }
    }
    return frame;
}

}  // namespace Python
