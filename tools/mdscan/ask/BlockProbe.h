// What does the detector know of one block, and what became of it?  Read from the detector's own arrays after a frame; where
// it keeps nothing, worked out by its own rules for one block, for dropped objects by those of docs/pipeline.md.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "video/base/Findings.h"
#include "video/base/PictureGrid.h"
#include "video/time/TickTime.h"
#include "video/watch/Watcher.h"

namespace Scan {

struct Place {
    int column;
    int row;
};

struct Levels {
    int y;
    int cb;
    int cr;
};

// Why a block does or does not belong to an object, in the order in which that is decided.
enum class Verdict {
    NotReady,  // fewer than eleven frames were seen
    Unseen,    // the frame was not shown to the detector
    Excluded,  // within a zone that is not to be watched
    Outside,   // in none of the zones to watch
    Still,     // does not differ from its reference
    Shadow,    // darkens the background only
    Unmoved,   // nothing of its object changed just now
    Trimmed,   // beside the part of its object that changed just now
    Small,     // its object is smaller than one has to be
    Dropped,   // the detector found its object, conditioning dropped it
    Large,     // its object is larger than one may be
    Motion     // part of an object
};

// The foreground around a block in one zone: what would be an object.
struct Candidate {
    std::string zone;  // name; empty: the whole picture
    int blocks;        // foreground that lies close together
    int moved;         // of these, blocks that changed just now
    coremd::Box box;   // around those that moved; around all where none did
    int leastColumns;  // of an object in this zone
    int leastRows;
    Verdict verdict;  // Unmoved or later
};

// All numbers are those by which the frame was judged.
struct BlockFacts {
    Video::PictureGrid grid = {};
    Place place = {};
    Verdict verdict = Verdict::NotReady;
    std::optional<Verdict> found = {};           // the detector's own verdict, where a conditioned one is asked
    std::vector<std::string> disturbances = {};  // that go on, there
    bool suppressed = false;                     // nothing counts, there
    Levels current = {};                         // of the newest frame that the detector was shown
    bool excluded = false;
    bool watched = false;                 // does any zone to watch hold it?
    std::vector<std::string> zones = {};  // names of these; none where all of the picture is watched

    // The rest but the object means nothing where the detector did not judge the frame.
    bool judged = false;
    bool known = false;              // is its background known?
    Levels reference = {};           // the background; the frame before where none is known
    double noise = 0;                // grey levels; luma must differ by more
    int chromaLimit = 0;             // levels; Cb or Cr must differ by more
    bool foreground = false;         // differs; shadows included
    Video::Ticks backgroundAge = 0;  // since it was learned or confirmed, where known
    Video::Ticks sampleAge = 0;      // since the last candidate for a background was taken
    double sample = 0;               // grey levels

    bool taught = true;  // did this frame teach the background? Else stability and change are older
    bool stable = false;
    std::array<double, 3> means = {};        // of ages 0 to 4, 2 to 6, 5 to 9
    std::array<double, 3> dispersions = {};  // sample variances of the same
    std::vector<int> history = {};           // luma of ages 0 to 10

    bool changed = false;          // differs from age 1, 2 or 4
    double changeLimit = 0;        // grey levels; by more than this
    Video::Ticks sinceChange = 0;  // since the last change, or since learning began

    bool shadowsDropped = false;             // is that asked for, or conditioned?
    std::optional<double> shadowScore = {};  // where it was examined
    double shadowLimit = 0;                  // below it is a shadow

    std::vector<Candidate> candidates = {};          // one for each of its zones, where it is foreground
    std::optional<Video::LargeObject> large = {};    // that it belongs to, and that is not told for that
    std::optional<Video::MovingObject> object = {};  // that it belongs to in the result
};

// Blocks whose place lies outside the grid are absent. Precondition: Watch was called; the library is the very version of
// the headers.
std::optional<BlockFacts> Probe(Video::Watcher& watcher, Place place);

}  // namespace Scan
