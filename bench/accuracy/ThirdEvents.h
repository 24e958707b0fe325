// Are events found where they are?  Counts those in the left, the middle and the right third of the picture, each third as
// if it were a picture of its own.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "LabelRules.h"
#include "video/time/TickTime.h"
#include "video/watch/Events.h"

namespace Accuracy {

struct EventCount {
    int real = 0;        // by the labels
    int found = 0;       // of these: something was found meanwhile
    int falseFound = 0;  // found while there was none
};

class ThirdEvents {
public:
    // A picture that counts, later than the one before. Both are [scored block], in so many columns.
    void Add(Video::Ticks time, int columns, const std::vector<Truth>& truth, const std::vector<std::uint8_t>& found);

    // Ends what is running. Once.
    std::array<EventCount, 3> Close();

private:
    // The events of one third by one opinion, with mdscan's defaults of what an event is.
    struct Opinion {
        Opinion();
        void Add(Video::Ticks time, bool moves);

        Video::EventLog log;
        std::vector<Video::Event> events;
    };

    std::array<Opinion, 3> _real, _found;
};

// Takes pictures that move or do not; mdscan's defaults say what an event is.
Video::EventRules UsualEvents();

}  // namespace Accuracy
