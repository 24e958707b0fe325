// How do loops over blocks ask for changes?  See ChangeTimes.h.
#include "conditioning/kernels/ChangeTimes.h"

#include "conditioning/kernels/ObjectLabels.h"
#include "kernels/ColumnLoop.h"

namespace Host::Kernels {

void MarkChanges(const std::uint8_t* luma, EarlierLuma earlier, std::uint8_t* isChanged, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint8_t now = luma[i];
        const bool sinceOne = IsChange(now, earlier.one[i]), sinceTwo = IsChange(now, earlier.two[i]),
                   sinceFour = IsChange(now, earlier.four[i]);
        const bool changed = sinceOne | sinceTwo | sinceFour;
        isChanged[i] = changed ? 255 : 0;
    }
}

void CollectChanges(const std::uint16_t* labels, const std::uint8_t* isChanged, const std::int64_t* lastChange,
                    std::int64_t time, std::int64_t* latest, std::size_t count) {
    ForEachLabelled(labels, count, [&](std::size_t i) {
        const std::int64_t ofBlock = isChanged[i] != 0 ? time : lastChange[i];
        std::int64_t& ofObject = latest[labels[i]];
        ofObject = ofBlock > ofObject ? ofBlock : ofObject;
    });
}

void SpreadChanges(std::uint16_t* labels, const std::int64_t* latest, std::int64_t* lastChange, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        lastChange[i] = latest[labels[i]];
        if (lastChange[i] == noChange) labels[i] = 0;
    }
}

}  // namespace Host::Kernels
