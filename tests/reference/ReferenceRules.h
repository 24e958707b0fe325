// With which numbers does the model decide?  Every limit, factor and reach of the pipeline as a plain value, so that a test
// can plant a fault by changing one of them.  The defaults are the contract; none comes from the library's constants.
#pragma once

#include <cstdint>

namespace Reference {

using Ticks = std::int64_t;  // 100 ns

struct Rules {
    // frame skipping
    int framesPerPhase = 66;
    int phases = 6;
    double skipUpTo = 1.0;  // nominal frame intervals, inclusive

    // stability and noise of a block
    float sumLimit = 5.0f;         // inclusive
    float dispersionLimit = 0.8f;  // inclusive
    float startNoise = 21.0f;
    float extremesFactor = 1.5f, extremesOffset = 12.0f;
    float flatBelow = 2.0f, flatNoise = 10.0f;
    float spreadFactor = 3.0f, spreadOffset = 4.0f;

    // change test
    double changeFactor = 0.7;
    int changeAges[3] = {1, 2, 4};

    // background learning
    float meanLimit = 1.0f;  // inclusive
    float rounding = 0.5f;
    Ticks longRefreshInterval = 20'000'000;
    Ticks sampleInterval = 10'000'000;
    Ticks quietTime = 50'000'000;
    Ticks sampleLifetime = 49'999'999;
    Ticks backgroundLifetime = 600'000'000;
    float partialSpreadLimit = 64.0f;  // inclusive
    Ticks partialQuietTime = 150'000'000, partialLongQuietTime = 300'000'000;

    // foreground
    int chromaLimit = 10;
    int darkest = 40, brightest = 190;  // both in range
    float backgroundLimit = 12.0f, backgroundOutOfRangeLimit = 36.0f;
    float interframeLimit = 15.0f, interframeOutOfRangeLimit = 15.0f * 2.1f;

    // when I-frames of a partial H.264 stream are analysed
    Ticks iFrameLimit = 100'000'000;
    Ticks noMotionLimit = 400'000'000;
    int pFrameMotionLimit = 120;

    // shadow
    float textureWeight = 75.0f, colourWeight = 150.0f;
    float shadowBelow = 100.0f;
    int chromaDeadZone = 6;
    float chromaScale = 0.01f;

    // objects
    int reachOnRow = 2, reachOnNextRow = 1;  // blocks to either side
    int rowsReached = 1;                     // rows above and below
    bool neighboursBottomUp = false;         // rows are visited from above
    int touchingDistance = 1;                // blocks between the borders of two boxes that still count as touching
    bool lastTakerWins = false;              // the first object that touches takes the other in

    // formulas: other orders that mathematics allows and rounding does not
    bool meanInOneStep = false;          // both sums first, then one factor
    bool dispersionFactorFirst = false;  // the sum times its own fifth

    // behaviour that looks like a mistake and is not
    bool standardWritesMotion = false;       // the standard foreground leaves the motion mask alone
    bool windowIncludesLast = false;         // the shadow window ends before its last row and column
    bool partialRounds = false;              // the partial-H.264 background is truncated
    bool partialTimeoutResetsNoise = false;  // the partial-H.264 timeout clears the flag only
    bool longTimesRunCandidate = false;      // with long times a background block is not a candidate
    bool smallClearsResultMap = false;       // small objects leave the label map only
    bool restartResetsSkipping = false;      // the skip phase lives on when the buffers are made anew
    bool restartResetsFrameMachine = false;  // and so does the I/P-frame machine
    bool timeoutKeepsNoise = false;          // the standard timeout resets the noise level
    bool candidateOnlyWhenLearning = false;  // a background block stays a candidate
    bool partialSetsChroma = false;          // the partial-H.264 background has no colour of its own
    bool wrapKeepsBackground = false;        // MPEG-4: the background is wiped when the phases start again
    bool noReferenceClears = false;          // MPEG-4: without a reference the masks stay as they are
    bool ignoredIFrameClears = false;        // an I-frame that is not analysed leaves the masks as they are
    bool discardKeepsResultMap = false;      // objects without motion leave both maps
    bool trimKeepsResultMap = false;         // and so do blocks outside the box
    bool mergeKeepsZonesWhole = false;       // objects of one zone are joined, too
};

}  // namespace Reference
