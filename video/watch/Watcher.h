// What moves in this picture?  One detector for pictures of one size and layout: reduces a picture to blocks, feeds the
// detector, reads its objects back. A picture of another size or layout needs a new one, which starts learning afresh.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "BlockReducer.h"
#include "coreMD.hpp"
#include "video/base/BgrPicture.h"
#include "video/base/BlockMark.h"
#include "video/base/Box.h"
#include "video/base/Findings.h"
#include "video/base/PictureGrid.h"
#include "conditioning/Conditioner.h"
#include "conditioning/Priming.h"
#include "conditioning/SteadyReduction.h"
#include "video/time/TickTime.h"
#include "video/watch/BlockPicture.h"
#include "video/watch/Conditioning.h"
#include "video/watch/HeatMap.h"
#include "video/zones/ObjectSizes.h"
#include "video/zones/Zone.h"

namespace Video {

struct WatchRules {
    double framesPerSecond;         // of the video
    bool shadows;                   // drop them
    std::optional<double> minSize;  // smallest object, a fraction of the picture's width and height; absent: as is usual
    std::vector<Zone> zones;        // none to watch: the whole picture, without what is excluded
    double maxSize = 1;             // largest object, likewise; all that is larger is not told
    bool heat = false;              // count how often each block moves
    ConditioningRules conditioning = {};
};

// A zone to watch on the grid.
struct WatchedZone {
    std::string name;                // empty: the whole picture
    std::vector<std::uint8_t> mask;  // [block] 1 where it is watched
    float minSize;                   // smallest object, as a fraction of the grid's width and height
    Extent largest;                  // object, in blocks
};

// Of objects, where a zone states none of its own.
ObjectSizes SizesOf(const WatchRules& rules);

// An object that is not told because it is larger than every zone allows in which it lies.
struct LargeObject {
    Extent extent;
    Extent largest;  // that would be told
};

// wish: block size in pixels, 0: chosen, by how the detector is conditioned. Throws Failure when the grid has more blocks
// than the detector can label.
PictureGrid GridOf(int pictureWidth, int pictureHeight, int wish, const ConditioningRules& conditioning = {});

// An object's box in pixels, within the picture.
Box PixelBox(const coremd::Box& blocks, const PictureGrid& grid);

// In a flash, nearly everything gets brighter at once, or darker: so many percent of the picture's blocks, and by so many
// grey levels of luma or more from one frame to the next.
inline constexpr int flashPercent = 75;
inline constexpr int flashLevels = 8;

class Watcher {
public:
    // picture: its block size is taken from the grid.
    Watcher(const Host::PictureFormat& picture, const PictureGrid& grid, const WatchRules& rules);

    // Before the first picture is judged: what is to be seen in the first seconds. Without it a conditioned detector learns
    // as fast as it can. Preconditions: there is a picture, and the watcher conditions.
    // remembered: 3 * [block] what the camera looked like before, which then counts; of the first seconds only what is
    // restless.
    // backgroundPictures: of the first so many the background is made; 0: of all.
    void Prime(const Host::Priming& firstSeconds, const std::optional<std::vector<std::uint8_t>>& remembered = {},
               int backgroundPictures = 0);
    // Where only that is known.
    void Prime(const std::vector<std::uint8_t>& remembered);

    // A picture of the size and layout that the watcher was made for. Valid until the next call.
    BlockPicture Reduce(const Host::PictureView& picture);

    // What moves there, at a time later than the one before.
    Findings Judge(const BlockPicture& picture, Ticks time);

    Findings Watch(const Host::PictureView& picture, Ticks time) { return Judge(Reduce(picture), time); }

    // The background learned so far, one pixel per block; magenta where it is not known. Precondition: a picture was judged.
    BgrPicture Background();

    // [block] What the newest picture's blocks are, within what is watched. Shadows are told where they are dropped.
    // Precondition: a picture was judged.
    std::vector<BlockMark> Marks();

    // What disturbs the newest picture; null where nobody looks for it. Precondition: a picture was judged.
    const Host::Disturbances* Disturbances() const { return _conditioner ? &_conditioner->Disturbances() : nullptr; }

    // Is there nothing to be seen in the newest picture but darkness?  Not asked where nobody conditions.
    bool IsDark() const { return _conditioner && _conditioner->IsDark(); }

    // Was the newest picture shown to the detector?  One that conditions leaves out what shows nothing of the scene.
    bool WasShown() const { return !_conditioner || _conditioner->WasShown(); }

    // Of the objects told of the newest picture, the one that the block belongs to. Precondition: the watcher conditions.
    std::optional<MovingObject> ToldAt(std::size_t block) const;

    // Of the objects that are too large to be told, the one that the block belongs to. Precondition: a picture was judged.
    std::optional<LargeObject> TooLargeAt(std::size_t block) const;

    // Empty where it is not counted.
    const HeatMap& Heat() const { return _heat; }
    // Begins to count anew.
    void ForgetHeat() {
        std::fill(_heat.counts.begin(), _heat.counts.end(), 0u);
        _heat.frames = 0;
    }

    // Was it made for such pictures?
    bool Suits(const Host::PictureFormat& picture) const;

    // Has it seen enough to find anything?
    bool IsReady() { return _detector.Summary().isReady; }

    const PictureGrid& Grid() const { return _grid; }
    const std::vector<WatchedZone>& Watched() const { return _watched; }
    const std::vector<std::uint8_t>& Excluded() const { return _excluded; }  // [block] 1: not watched, whatever zones say

    // For a look at what the last Watch left in it. Its frames and zones are the watcher's business.
    coremd::Detector& Detector() { return _detector; }

private:
    void AddZones();
    bool CompareWithBefore(const std::uint8_t* luma);
    std::uint64_t ZonesOf(const coremd::Object& object) const;
    void CountBlocks(const coremd::Object& object);
    void Show(const std::uint8_t* ycbcr, Ticks stamp);
    void ShapeAnswer(Ticks time);
    void FindObjects(Findings& findings);
    void FindLabelled(Findings& findings);

    struct LabelledObject {
        coremd::Box bounds = {};
        int blocks = 0;
        std::uint64_t zones = 0;
    };
    void Outline(const std::uint16_t* labels, std::vector<LabelledObject>& objects) const;
    std::optional<LargeObject> Excess(const coremd::Box& bounds, std::uint64_t& zones) const;
    MovingObject Told(const LabelledObject& object) const;

    PictureGrid _grid;
    Host::PixelFormat _layout;
    WatchRules _rules;
    std::optional<Host::BlockReducer> _reducer;    // where no shift is taken back
    std::optional<Host::SteadyReduction> _steady;  // where one is
    coremd::Detector _detector;
    std::vector<WatchedZone> _watched;         // as many as the detector has
    std::vector<std::uint8_t> _excluded;       // [block]
    std::vector<std::uint8_t> _isWatched;      // [block] 1 where it lies in any zone
    std::vector<std::uint64_t> _zonesOfBlock;  // [block] bit i: it lies in the i-th watched zone; empty without zones
    std::optional<Host::Conditioner> _conditioner;
    std::vector<std::uint16_t> _labels;     // [block] of the objects that are told, where it conditions
    std::vector<LabelledObject> _labelled;  // [label]
    std::vector<LabelledObject> _stopped;   // [label] scratch
    std::vector<LargeObject> _large;        // of the newest picture
    std::vector<std::size_t> _largeOf;      // [block] 1 + its place there, 0: none; empty where no size is too large
    Host::Shift _shift;                     // of the newest picture
    std::vector<std::uint8_t> _before;      // [block] luma of the newest picture; empty: there was none
    std::vector<std::uint8_t> _hasChanged;  // [block] {0,1}; since the picture before it
    HeatMap _heat;
    std::vector<std::uint32_t> _countedAt;  // [block] last picture in which it was counted: zones may overlap
    std::uint32_t _pictures = 0;
};

}  // namespace Video
