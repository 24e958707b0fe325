// How are results printed?  JSON lines for machines, a line of progress and a last line for people; called by main.
#pragma once

#include <cstdint>
#include <string>

#include "Decoder.h"
#include "Events.h"
#include "ZoneMask.h"

namespace Scan {

inline constexpr std::size_t mostBoxesPerEvent = 8;

// One line each, without its end.
std::string EventLine(int number, const Event& event);
std::string FrameLine(std::int64_t pictureNumber, const Findings& frame);

// What a scan amounts to.
struct Tally {
    std::int64_t pictures = 0;     // decoded
    std::int64_t analysed = 0;
    Ticks length = 0;              // time of the last picture
    double elapsed = 0;            // seconds that the scan took
    int events = 0;
    int dropped = 0;               // too short
    PictureGrid grid = {};         // of the last picture analysed
};

// "795 pictures (79.4 s) ...": the last line's common part.
std::string TallyText(const Tally& tally);

// "damaged near 12.4 s: ...", one line.
std::string DamageText(const Damage& damage);

// Keeps one line of standard error up to date while it is a terminal, silent otherwise.
class Progress {
public:
    explicit Progress(bool visible) : _visible(visible) {}
    ~Progress() { Clear(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // done: 0 to 1. Draws at most a few times a second.
    void Show(double done, const Tally& tally);
    void Clear();

private:
    bool _visible;
    bool _drawn = false;
    double _lastDrawn = -1;        // seconds into the scan
};

}  // namespace Scan
