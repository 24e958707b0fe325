// What does the detector get to see of a picture, and what is made of its answer?  The detector is what it is: how well it
// does depends on what it is shown.
//
//     planes -> brightness balanced -> dimmed -> detector -> label map -> held, holes filled, confirmed -> label map
//
// The settings are those that did best on labelled sequences: docs/accuracy.md.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "BlockReducer.h"
#include "conditioning/BrightnessBalance.h"
#include "conditioning/Disturbances.h"
#include "conditioning/MotionGate.h"
#include "conditioning/ObjectShape.h"
#include "conditioning/Priming.h"
#include "conditioning/Stabiliser.h"
#include "conditioning/StreamTime.h"

namespace Host {

// How little is told?
enum class Sensitivity {
    Low,     // large things of good contrast
    Normal,  //
    High     // small and faint ones, too
};

// The share of the luma that the detector gets to see, in tenths: its thresholds stay, so that less of it is found.
int DimmingOf(Sensitivity sensitivity);

class Conditioner {
public:
    // States of blocks, as the detector's zoneMap tells them: here is motion, and no shadow.
    static constexpr std::uint8_t stateMotion = 1;

    // What the detector is shown: three [block] planes, and when.
    using Show = std::function<void(const std::uint8_t* ycbcr, Ticks stamp)>;

    // columns, rows: 1..9999 blocks, else the process stops; range: of the pictures' samples.
    Conditioner(int columns, int rows, ColourRange range, Sensitivity sensitivity);

    // Before the first picture, or when the scene is another one: what it looks like when nothing happens, 3 * [block].
    void Prime(const std::vector<std::uint8_t>& background, const Show& show);

    // Where in these pictures, beside that background, is it restless?  Precondition: Prime was called.
    void LearnRestlessness(const Priming& seconds);

    // The next picture: three [block] planes, and the shift that was taken out of them, at a time between -2^62 and 2^62 and
    // not before that of the one before. The planes are looked at again with OnAnswer. show is called once; not at all where
    // there is nothing to be seen; more often where a new scene has to be learned. It may throw: the next picture goes on,
    // and a scene that was not shown to its end is learned again.
    void OnPicture(const std::uint8_t* ycbcr, Shift shift, Ticks time, const Show& show);

    // What the detector said of it: a label map, [block], 0 or the place of the block's object, from 1. Objects grow, stay
    // or are dropped.
    // states: [block] as in zoneMap; null: there is no answer yet.
    void OnAnswer(std::uint16_t* labels, const std::uint8_t* states, Ticks time);

    // [block] The newest label map, with objects that stopped longer ago than is told as motion.
    const std::uint16_t* WithStopped() const { return _withStopped.data(); }

    // Undoes the dimming in a picture of one pixel per block that the detector drew, for people to look at. bgr: 3 * [block]
    // bytes; isKnown: [block] not 0 where the picture shows what was learned.
    void Brighten(std::uint8_t* bgr, const std::int32_t* isKnown) const;

    // Was the detector shown the newest picture?
    bool WasShown() const { return _isAnswered; }

    // Is there nothing to be seen in the newest picture but darkness?
    bool IsDark() const { return _isDark; }

    const Host::Disturbances& Disturbances() const { return _disturbances; }

private:
    void ShowLearned(const Show& show);
    Ticks StampOf(Ticks time);
    const std::uint8_t* Dimmed(const std::uint8_t* ycbcr);
    void BeginHold(Ticks time);
    void DropNew(std::uint16_t* labels);
    void Confirm(std::uint16_t* labels);
    void DropUnless(const std::vector<std::uint8_t>& was, std::uint16_t* labels);
    void BeginNewScene();
    const std::uint16_t* EverySpot(const std::uint16_t* labels, const std::uint8_t* states);
    bool IsBlind(Ticks time);

    const std::size_t _blockCount;
    const int _black;                         // luma
    const int _dimming;                       // tenths of the luma that the detector gets to see
    const std::uint8_t* _picture = nullptr;   // 3 * [block] the newest one, borrowed
    Shift _shift;                             // that was taken out of it
    std::vector<std::uint8_t> _balanced;      // 3 * [block]
    std::vector<std::uint8_t> _dimmed;        // 3 * [block]
    std::vector<std::uint8_t> _learned;       // 3 * [block] the background that the detector is shown, balanced
    std::vector<std::uint16_t> _withStopped;  // [block] label map
    std::vector<std::uint16_t> _spots;        // [block] scratch
    std::vector<std::uint8_t> _isObject;      // [block] {0,1}
    std::vector<std::uint8_t> _wasObject;     // [block] {0,1}; in the picture before
    std::vector<std::uint8_t> _wasTold;       // [block] {0,1}; in the picture before
    std::vector<std::uint8_t> _isOld;         // [label] {0,1}; goes on from an object of the picture before
    BrightnessBalance _balance;
    MotionGate _gate;
    ObjectHold _hold;
    ObjectHold _motion;
    HoleFill _holes;
    Host::Disturbances _disturbances;
    QuickStart _quick;
    Priming _newScene;  // the pictures since a scene has changed for good, until there are enough to learn it
    bool _isNewScene = false;
    bool _isAnswered = false;  // the newest picture was shown to the detector
    bool _isDark = false;
    bool _isPrimed = false;
    std::optional<Ticks> _doubtfulSince;  // nothing is to be seen, and nobody says that the lens is covered
    Ticks _offset = 0;                    // of stamps, where primed
    std::optional<Ticks> _first;  // time of the stream's first picture, or of the first one after it was learned afresh
};

}  // namespace Host
