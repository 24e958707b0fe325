// How does a host in C condition its detector?  coreMD-host.h states what is promised.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "c/Border.h"
#include "c/PrimingHandle.h"
#include "conditioning/Conditioner.h"
#include "conditioning/Disturbances.h"
#include "conditioning/ShiftedReduction.h"
#include "coreMD-host.h"

using namespace Host;
using namespace Host::InC;

namespace {

constexpr Ticks timeLimit = Ticks{1} << 62;

static_assert(static_cast<int>(Sensitivity::High) == COREMD_HIGH_SENSITIVITY);
static_assert(static_cast<int>(Disturbance::Rain) == COREMD_RAIN && disturbanceCount == COREMD_RAIN + 1);

bool IsKind(std::int32_t kind) { return kind >= 0 && kind < static_cast<std::int32_t>(disturbanceCount); }

bool IsShift(std::int32_t sixteenths) {
    return sixteenths >= -ShiftedReduction::largestShift && sixteenths <= ShiftedReduction::largestShift;
}

}  // namespace

struct coreMD_Conditioner {
    coreMD_Conditioner(std::int32_t columnCount, std::int32_t rowCount, ColourRange range, Sensitivity sensitivity)
        : columns(columnCount),
          rows(rowCount),
          picture(static_cast<std::size_t>(3 * BlocksOf(columnCount, rowCount))),
          conditioner(columnCount, rowCount, range, sensitivity) {}

    std::int64_t Blocks() const { return BlocksOf(columns, rows); }
    bool CanTell() const { return isAnswered && !isBusy; }

    const std::int32_t columns, rows;
    std::vector<std::uint8_t> picture;  // 3 * [block]; the newest one, which the answer is compared with
    std::optional<Ticks> time;          // of it
    bool isAsked = false;               // it waits for its answer
    bool isAnswered = false;            // it was answered: what is told is of it
    bool isBusy = false;                // a host's function is being called
    Conditioner conditioner;
};

namespace {

// Runs a call that shows pictures; others are refused meanwhile.
template <class Call>
std::int32_t Showing(coreMD_Conditioner& handle, Call call) {
    struct Busy {
        explicit Busy(bool& flag) : isBusy(flag) { isBusy = true; }
        ~Busy() { isBusy = false; }
        bool& isBusy;
    } busy(handle.isBusy);
    return Guarded(call);
}

// The planes are the conditioner's scratch: nothing is read there after the call.
Conditioner::Show ShownBy(coreMD_Show show, void* context) {
    return [=](const std::uint8_t* ycbcr, Ticks stamp) { show(context, const_cast<std::uint8_t*>(ycbcr), stamp); };
}

}  // namespace

int32_t coreMD_CreateConditioner(int32_t columns, int32_t rows, int32_t range, int32_t sensitivity,
                                 coreMD_Conditioner** conditioner) {
    if (!conditioner) return COREMD_HOST_NULL;
    *conditioner = nullptr;
    if (!IsGridSize(columns) || !IsGridSize(rows) || !IsRange(range) || sensitivity < COREMD_LOW_SENSITIVITY ||
        sensitivity > COREMD_HIGH_SENSITIVITY)
        return COREMD_HOST_OUT_OF_RANGE;
    // Seventy bytes a block at least, which 32 bits cannot address of every grid.
    if (BlocksOf(columns, rows) > std::numeric_limits<std::ptrdiff_t>::max() / 128) return COREMD_HOST_NO_MEMORY;
    return Guarded([&] {
        *conditioner =
            std::make_unique<coreMD_Conditioner>(columns, rows, RangeOf(range), static_cast<Sensitivity>(sensitivity))
                .release();
        return COREMD_HOST_DONE;
    });
}

void coreMD_DestroyConditioner(coreMD_Conditioner** conditioner) {
    if (!conditioner || (*conditioner && (*conditioner)->isBusy)) return;
    delete *conditioner;
    *conditioner = nullptr;
}

int32_t coreMD_PrimeConditioner(coreMD_Conditioner* conditioner, const uint8_t* background, int64_t size,
                                const coreMD_Priming* restless, coreMD_Show show, void* context) {
    if (!conditioner || !background || !show) return COREMD_HOST_NULL;
    if (conditioner->isBusy) return COREMD_HOST_WRONG_ORDER;
    const std::int64_t bytes = 3 * conditioner->Blocks();
    if (size < bytes) return COREMD_HOST_NO_ROOM;
    if (restless && (restless->columns != conditioner->columns || restless->rows != conditioner->rows))
        return COREMD_HOST_OTHER_GRID;
    return Showing(*conditioner, [&] {
        conditioner->conditioner.Prime({background, background + bytes}, ShownBy(show, context));
        if (restless) conditioner->conditioner.LearnRestlessness(restless->pictures);
        return COREMD_HOST_DONE;
    });
}

int32_t coreMD_ConditionPicture(coreMD_Conditioner* conditioner, const uint8_t* ycbcr, int64_t size,
                                const coreMD_Shift* shift, int64_t time, coreMD_Show show, void* context) {
    if (!conditioner || !ycbcr || !show) return COREMD_HOST_NULL;
    coreMD_Conditioner& handle = *conditioner;
    if (handle.isBusy || (handle.time && time < *handle.time)) return COREMD_HOST_WRONG_ORDER;
    const std::int64_t bytes = 3 * handle.Blocks();
    if (size < bytes) return COREMD_HOST_NO_ROOM;
    if (time <= -timeLimit || time >= timeLimit) return COREMD_HOST_OUT_OF_RANGE;
    if (shift && (!IsShift(shift->dx16) || !IsShift(shift->dy16))) return COREMD_HOST_OUT_OF_RANGE;
    std::copy_n(ycbcr, bytes, handle.picture.begin());
    handle.time = time;
    handle.isAsked = handle.isAnswered = false;
    const Shift takenBack = shift ? Shift{shift->dx16, shift->dy16} : Shift{};
    return Showing(handle, [&] {
        handle.conditioner.OnPicture(handle.picture.data(), takenBack, time, ShownBy(show, context));
        handle.isAsked = true;
        return COREMD_HOST_DONE;
    });
}

int32_t coreMD_ConditionAnswer(coreMD_Conditioner* conditioner, const uint16_t* objectsMap, const uint8_t* zoneMap,
                               uint16_t* labels, int64_t blocks) {
    if (!conditioner || !labels || !objectsMap != !zoneMap) return COREMD_HOST_NULL;
    coreMD_Conditioner& handle = *conditioner;
    if (handle.isBusy || !handle.isAsked) return COREMD_HOST_WRONG_ORDER;
    const std::int64_t count = handle.Blocks();
    if (blocks < count) return COREMD_HOST_NO_ROOM;
    if (objectsMap && *std::max_element(objectsMap, objectsMap + count) > count) return COREMD_HOST_OUT_OF_RANGE;
    return Guarded([&] {
        if (!objectsMap) std::fill_n(labels, count, std::uint16_t{0});
        else if (objectsMap != labels) std::copy_n(objectsMap, count, labels);
        handle.isAsked = false;
        handle.conditioner.OnAnswer(labels, zoneMap, *handle.time);
        handle.isAnswered = true;
        return COREMD_HOST_DONE;
    });
}

int32_t coreMD_LabelsWithStopped(const coreMD_Conditioner* conditioner, uint16_t* labels, int64_t blocks) {
    if (!conditioner || !labels) return COREMD_HOST_NULL;
    if (!conditioner->CanTell()) return COREMD_HOST_WRONG_ORDER;
    if (blocks < conditioner->Blocks()) return COREMD_HOST_NO_ROOM;
    std::copy_n(conditioner->conditioner.WithStopped(), conditioner->Blocks(), labels);
    return COREMD_HOST_DONE;
}

int32_t coreMD_ConditionerState(const coreMD_Conditioner* conditioner, coreMD_PictureState* state) {
    if (!conditioner || !state) return COREMD_HOST_NULL;
    if (!conditioner->CanTell()) return COREMD_HOST_WRONG_ORDER;
    const Conditioner& inside = conditioner->conditioner;
    *state = {inside.WasShown(), inside.IsDark(), inside.Disturbances().Suppresses()};
    return COREMD_HOST_DONE;
}

int32_t coreMD_Disturbance(const coreMD_Conditioner* conditioner, int32_t kind, coreMD_DisturbanceSpell* spell) {
    if (!conditioner || !spell) return COREMD_HOST_NULL;
    if (!IsKind(kind)) return COREMD_HOST_OUT_OF_RANGE;
    if (!conditioner->CanTell()) return COREMD_HOST_WRONG_ORDER;
    const Disturbances& disturbances = conditioner->conditioner.Disturbances();
    const auto which = static_cast<Disturbance>(kind);
    const DisturbanceSpell& last = disturbances.Last(which);
    *spell = {last.begin, last.end, last.isRunning, disturbances.Began(which), disturbances.Ended(which), 0};
    return COREMD_HOST_DONE;
}

const char* coreMD_DisturbanceName(int32_t kind) {
    return IsKind(kind) ? NameOf(static_cast<Disturbance>(kind)).data() : "unknown";  // of a literal: it ends with a zero
}

int32_t coreMD_BrightenBackground(const coreMD_Conditioner* conditioner, uint8_t* bgr, const int32_t* isKnown,
                                  int64_t blocks) {
    if (!conditioner || !bgr || !isKnown) return COREMD_HOST_NULL;
    if (conditioner->isBusy) return COREMD_HOST_WRONG_ORDER;
    if (blocks < conditioner->Blocks()) return COREMD_HOST_NO_ROOM;
    conditioner->conditioner.Brighten(bgr, isKnown);
    return COREMD_HOST_DONE;
}

int32_t coreMD_OutlineLabels(const uint16_t* labels, int32_t columns, int32_t rows, coreMD_Outline* outlines, int64_t room,
                             int64_t* count) {
    if (!labels || !count || (!outlines && room > 0)) return COREMD_HOST_NULL;
    if (!IsGridSize(columns) || !IsGridSize(rows) || room < 0) return COREMD_HOST_OUT_OF_RANGE;
    return Guarded([&]() -> std::int32_t {
        const std::size_t places = std::size_t{*std::max_element(labels, labels + BlocksOf(columns, rows))} + 1;
        std::vector<coreMD_Outline> found(places, {0, 0, columns, rows, -1, -1});
        for (std::int32_t row = 0; row < rows; ++row) {
            for (std::int32_t column = 0; column < columns; ++column, ++labels) {
                coreMD_Outline& object = found[*labels];
                object = {*labels,
                          object.blocks + 1,
                          std::min(object.left, column),
                          std::min(object.top, row),
                          std::max(object.right, column),
                          row};
            }
        }
        std::int64_t written = 0;
        for (std::size_t label = 1; label < places; ++label) {
            if (found[label].blocks == 0) continue;
            if (written < room) outlines[written] = found[label];
            ++written;
        }
        *count = written;
        return written > room ? COREMD_HOST_NO_ROOM : COREMD_HOST_DONE;
    });
}
