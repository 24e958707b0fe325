// What is judged?  Something that is shown a sequence picture by picture, as a host decodes it, and says which blocks move.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "BlockMasks.h"
#include "conditioning/Disturbances.h"
#include "video/media/Libav.h"
#include "video/time/TickTime.h"

namespace Accuracy {

// Called once for every picture that a subject analyses, in their order. The time tells which one; it may have been shown
// long before.
using OnMask = std::function<void(Video::Ticks time, const Mask& mask)>;

class Subject {
public:
    virtual ~Subject() = default;

    // The next picture, at a time later than the one before; all are of one size and layout. Throws Video::Failure.
    virtual void Show(const AVFrame& picture, Video::Ticks time) = 0;

    // Nothing more is shown: masks that are still owed are told now.
    virtual void End() {}

    // What disturbs the picture whose mask is being told; null where the subject does not look for it.
    virtual const Host::Disturbances* Disturbances() const { return nullptr; }
};

// One for each sequence, which knows nothing of others. interval: between two pictures.
using NewSubject = std::function<std::unique_ptr<Subject>(Video::Ticks interval, const OnMask& onMask)>;

}  // namespace Accuracy
