// What disturbs the picture now, so that what a detector finds does not count?  The light, the camera, the lens, the
// weather: each told with its begin and end.  Used by hosts for every picture that they analyse, beside their detector.
//
//     Host::Disturbances disturbances(columns, rows);
//     disturbances.Look({.ycbcr = planes, .time = time, .labels = labels});      // for every picture, in order of time
//     if (disturbances.Began(Host::Disturbance::Covered)) ...
//     if (!disturbances.Suppresses()) Count(events);
//
// It errs on the side of the event: a bus that fills half of the picture, somebody close to the lens and dense traffic are
// not told as disturbances, at the price of some that are missed.  Events are never suppressed for longer than ten seconds
// after a disturbance began, but for shaking that nobody takes out. Light and rain are told and suppress nothing: somebody
// may have switched it on, or walk through it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "conditioning/StreamTime.h"

namespace Host {

enum class Disturbance : std::uint8_t {
    Light,     // the light on everything changes fast, by an eighth or more within a second
    Infrared,  // the camera changes to night mode or back: the colours go or come
    Shaking,   // the picture jumps to and fro, by half a pixel or more
    Moved,     // the camera points elsewhere than before
    Covered,   // the picture has collapsed: something before the lens, or darkness
    Frozen,    // the same picture to the bit, for ten seconds or more; told, never suppresses
    Rain       // many small places that move, all over the picture, new ones every time, and nothing large
};
inline constexpr std::size_t disturbanceCount = 7;

// "light", "infrared", "shaking", "moved", "covered", "frozen", "rain-like".
std::string_view NameOf(Disturbance kind);

// A picture and what others know about it.
struct PictureSigns {
    const std::uint8_t* ycbcr = nullptr;    // 3 * [block], before the brightness is balanced
    Ticks time = 0;                         // not before the last picture's; a step backwards starts afresh and ends nothing
    int shiftX16 = 0, shiftY16 = 0;         // 16ths of a pixel; against the camera's usual place, 0 where unknown
    bool isStabilised = false;              // the shift was taken out of the planes
    const std::uint16_t* labels = nullptr;  // [block] 0 or the place of the block's object; null: nothing is known of rain
};

// One disturbance of a kind: the last one, or the one that goes on.
struct DisturbanceSpell {
    Ticks begin = 0;  // the first picture that showed it; it is told later where only its lasting tells
    Ticks end = 0;    // the picture at which it was over; none while it goes on
    bool isRunning = false;
};

// All memory is taken by the constructor, 7 bytes a block and a few more.  Integers only.  One thread at a time.
class Disturbances {
public:
    // Stops the process where columns or rows are not in 1..9999.  Below 8 by 8 blocks only light and frozen are told.
    Disturbances(int columns, int rows);

    // The next picture that is analysed.  Copies what it needs of the planes and labels.
    void Look(const PictureSigns& signs);

    // Does the kind go on, and did the last picture begin or end it?
    bool IsRunning(Disturbance kind) const { return Of(kind).spell.isRunning; }
    bool Began(Disturbance kind) const { return Of(kind).began; }
    bool Ended(Disturbance kind) const { return Of(kind).ended; }
    const DisturbanceSpell& Last(Disturbance kind) const { return Of(kind).spell; }

    // Do events of the last picture not count?
    bool Suppresses() const { return _suppresses; }

private:
    // How long a kind is seen before it is told, and how long not before it is over.
    struct Patience {
        Ticks before, after;
    };
    struct Watch {
        DisturbanceSpell spell;
        bool began = false, ended = false;  // with the last picture
        bool isSeen = false;
        Ticks since = 0, lastSeen = 0;
    };

    // How a picture looks beside the reference.
    struct Appearance {
        bool isCollapsed;    // hardly any contrast is left
        bool isOtherColour;  // colours went or came
        bool isElsewhere;    // it has contrast, but its edges are elsewhere
        int colour;          // 16ths of a level; of the third most colourful ninth
    };

    const Watch& Of(Disturbance kind) const { return _watch[static_cast<std::size_t>(kind)]; }
    Watch& Of(Disturbance kind) { return _watch[static_cast<std::size_t>(kind)]; }
    void Judge(Disturbance kind, bool isSeen, Ticks time, bool mayBegin = true);

    void Restart(const PictureSigns& signs);
    void Adopt(const std::uint8_t* ycbcr);
    void LearnLuma(const std::uint8_t* luma);
    void KeepAnchors(const std::uint8_t* luma, Ticks time);

    Appearance AppearanceOf(const std::uint8_t* ycbcr) const;
    bool IsSteady(const std::uint8_t* luma) const;
    bool IsShaking(const PictureSigns& signs);
    bool IsLight(const std::uint8_t* luma) const;
    bool IsRain(const std::uint16_t* labels);
    void DecideWhetherToSuppress(const PictureSigns& signs);

    const int _columns;
    const int _rows;
    const std::size_t _blockCount;
    bool _isFirst = true;
    Ticks _time = 0;                       // of the last picture
    std::vector<std::uint8_t> _last;       // 3 * [block]; the last picture
    std::vector<std::uint8_t> _reference;  // [block] luma; follows slowly
    std::vector<std::uint8_t> _anchor[2];  // [block] luma; half a second to a second ago, and up to half a second ago
    Ticks _anchorTime = 0;                 // of the newer anchor
    int _anchors = 0;                      // that are filled, up to 2
    int _learned = 0;                      // steps since the reference was adopted
    Ticks _learnTime = 0;                  // of the last step
    int _referenceSpread = 0;              // grey levels
    int _colour = 0;                       // 16ths of a level; the third most colourful ninth's, follows slowly
    int _jumpiness = 0;                    // 0..256: share of the last pictures that jumped
    int _lastShiftX16 = 0, _lastShiftY16 = 0;
    int _raininess = 0;                      // 0..256: share of the last pictures that looked like rain
    std::vector<std::uint8_t> _wasLabelled;  // [block] {0,1}
    std::vector<std::uint32_t> _objectSize;  // [block + 1] blocks by place; scratch
    std::array<Watch, disturbanceCount> _watch;
    bool _suppresses = false;
};

}  // namespace Host
