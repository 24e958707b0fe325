// How does a change of the whole picture's brightness stay out of the detector?
//
//     Host::BrightnessBalance balance(columns, rows);
//     reducer.Reduce(picture);
//     if (balance.Balance(reducer.Ycbcr()) == Host::PictureState::Covered) ...      // then Detect, as always
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "BlockReducer.h"

namespace Host {

enum class PictureState {
    Normal,
    Light,     // much brighter or darker than the reference: a lamp, a cloud, an exposure that hunts
    Infrared,  // colours went, or came back, a few pictures ago
    Covered    // nothing is left of the scene's contrast, and nothing of its pattern
};

// Compares every picture's luma with a slow reference and takes the ratio of their brightness out. Luma only.
//
// The ratio is the median over all blocks, so that objects up to half of the picture do not count. Within a dead band of 1 %
// a picture is left alone, to the bit. The reference follows what is shown by half a level a picture; and while a ratio is
// being taken out, it grows brighter or darker by 1/1024 a picture, so that a change that stays is handed on to the detector
// in the end, more slowly than it can mistake for motion.
//
// The constructor takes all memory: 2 * [block] bytes and 60 KiB. One thread at a time.
class BrightnessBalance {
public:
    static constexpr int unit = 4096;            // of Ratio
    static constexpr int deadBand = unit / 100;  // 1 %: less than three levels of white, a fraction of the least noise level
    static constexpr int lightBand = unit / 20;  // 5 %: beyond it, State is Light
    static constexpr int settlingPictures = 6;   // a second or so, until a camera's exposure has followed its switch

    // range: of the pictures' samples; it says which luma is black. Stops the process where columns or rows are not in
    // 1..9999.
    BrightnessBalance(int columns, int rows, ColourRange range = ColourRange::Limited);

    // Looks at a picture, changes its luma in place, and returns State. ycbcr: three [block] planes one after another. The
    // first picture is the reference.
    PictureState Balance(std::uint8_t* ycbcr);

    PictureState State() const { return _state; }

    // What the newest picture's light was divided by, in 1/unit: unit where it was left alone. unit / 4 to unit * 4.
    int Ratio() const { return _ratio; }

    // Starts anew: the next picture is the reference.
    void Reset() { _hasReference = false; }

private:
    enum class Colours { Unclear, Present, Absent };

    Colours ColoursOf(const std::uint8_t* ycbcr) const;
    int MeasuredRatio(const std::uint8_t* luma);
    void TakeAsReference(const std::uint8_t* luma);
    PictureState Examine(std::uint8_t* ycbcr);

    const std::size_t _blockCount;
    const int _black;  // luma
    bool _hasReference = false;
    PictureState _state = PictureState::Normal;
    int _ratio = unit;
    Colours _colours = Colours::Unclear;    // last seen clearly
    int _settling = 0;                      // pictures for which a switch is still told
    std::vector<std::uint16_t> _reference;  // [block] luma, 1/128 level
    std::vector<std::uint32_t> _histogram;  // blocks by ratio
};

}  // namespace Host
