// Which rules did a run take, and how often?  One named counter per branch of the reference model.
// Caller: the model counts, the differential test sums the counters up, prints them and demands that none stayed small.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <ostream>

namespace Reference {

// Every branch that a stream can reach.  Borders are cases in which a value was exactly its limit.
#define REFERENCE_RULES(RULE)                                                                     \
    RULE(buffersKept, "buffers: kept")                                                            \
    RULE(buffersNewGrid, "buffers: made anew for another grid")                                   \
    RULE(buffersTimeBackward, "buffers: made anew, time ran backwards")                           \
    RULE(buffersEqualTime, "buffers: kept, equal time")                                           \
    RULE(buffersSettingsIgnored, "buffers: kept, other fps, shadow or MPEG-4 flag ignored")       \
    RULE(timeBelowZero, "time: difference below zero")                                            \
    RULE(timeWraps, "time: difference wraps around")                                              \
    RULE(historyNotFilled, "history: fewer than 11 frames")                                       \
    RULE(historyFilled, "history: filled")                                                        \
    RULE(historyKeptOut, "history: P-frame kept out")                                             \
    RULE(historyStandardRebuild, "history: rebuilt, standard after partial H.264")                \
    RULE(historyPartialRebuild, "history: rebuilt, partial H.264 after standard")                 \
    RULE(historyStandardStep, "history: standard step")                                           \
    RULE(historyPartialStep, "history: partial-H.264 step")                                       \
    RULE(skipPhaseZeroCounts, "skip: phase 0 counts")                                             \
    RULE(skipPhaseZeroEnds, "skip: phase 0 ends")                                                 \
    RULE(skipTooSoon, "skip: frame skipped, less than one interval")                              \
    RULE(skipExactInterval, "skip: border, exactly one interval")                                 \
    RULE(skipNotANumber, "skip: interval is not a number, frame passes")                          \
    RULE(skipLaterPhaseCounts, "skip: later phase counts")                                        \
    RULE(skipShadowPhaseZero, "skip: phase 0 with shadow detection")                              \
    RULE(skipPhaseOne, "skip: phase 1 begins")                                                    \
    RULE(skipPhaseTwo, "skip: phase 2 begins")                                                    \
    RULE(skipPhaseThree, "skip: phase 3 begins")                                                  \
    RULE(skipPhaseFour, "skip: phase 4 begins")                                                   \
    RULE(skipPhaseFive, "skip: phase 5 begins")                                                   \
    RULE(skipPhaseWrap, "skip: phase wrap")                                                       \
    RULE(skipIFrameForcedOff, "skip: MPEG-4 I-frame flag forced off")                             \
    RULE(skipIFrameForcedOn, "skip: MPEG-4 I-frame flag forced on, background wiped")             \
    RULE(stable, "stability: stable")                                                             \
    RULE(unstableSumFirstSecond, "stability: sums of first and second window differ")             \
    RULE(unstableSumSecondCenter, "stability: sums of second and center window differ")           \
    RULE(unstableSumCenterFirst, "stability: sums of center and first window differ")             \
    RULE(unstableSpreadFirstSecond, "stability: dispersions of first and second window differ")   \
    RULE(unstableSpreadSecondCenter, "stability: dispersions of second and center window differ") \
    RULE(unstableSpreadCenterFirst, "stability: dispersions of center and first window differ")   \
    RULE(stableSumBorder, "stability: border, sums differ by exactly 5")                          \
    RULE(noiseFromExtremes, "noise: from the extremes")                                           \
    RULE(noiseFromSpread, "noise: from the dispersion")                                           \
    RULE(noiseFlat, "noise: flat block with shadow detection")                                    \
    RULE(changedSinceAge1, "change: since age 1")                                                 \
    RULE(changedSinceAge2, "change: since age 2")                                                 \
    RULE(changedSinceAge4, "change: since age 4")                                                 \
    RULE(unchanged, "change: none")                                                               \
    RULE(changeOnlyAtAge3, "change: only at age 3, which is not compared")                        \
    RULE(changeBorder, "change: border, difference equal to its limit")                           \
    RULE(backgroundRefreshed, "background: refreshed")                                            \
    RULE(backgroundTooFar, "background: not refreshed, mean too far")                             \
    RULE(backgroundMeanBorder, "background: border, mean off by exactly 1")                       \
    RULE(backgroundLongRefreshed, "background: refreshed, long times")                            \
    RULE(backgroundLongTooEarly, "background: not refreshed before 2 s, long times")              \
    RULE(backgroundLongTooFar, "background: not refreshed, mean too far, long times")             \
    RULE(backgroundLongSampled, "background: sample renewed, long times")                         \
    RULE(candidateSampleOld, "background: candidate, sample too old")                             \
    RULE(candidateSampleOldBorder, "background: border, sample 5 s old to the tick")              \
    RULE(candidateQuietBorder, "background: border, quiet for 5 s to the tick")                   \
    RULE(candidateConfirmed, "background: confirmed by candidate rule")                           \
    RULE(candidateConfirmedYoung, "background: confirmed with a sample of at most 1 s")           \
    RULE(candidateConfirmedAgain, "background: background block confirmed again")                 \
    RULE(candidateReplaced, "background: background block confirmed with another value")          \
    RULE(candidateDisagrees, "background: candidate, mean disagrees with sample")                 \
    RULE(candidateNotQuiet, "background: candidate, not quiet for 5 s")                           \
    RULE(candidateSampled, "background: sample renewed")                                          \
    RULE(candidateSampleKept, "background: sample kept")                                          \
    RULE(backgroundTimeout, "background: timed out")                                              \
    RULE(backgroundTimeoutBorder, "background: border, 60 s old to the tick")                     \
    RULE(partialPFrameTeachesNothing, "background: partial H.264, P-frame teaches nothing")       \
    RULE(partialNoisy, "background: partial H.264, window too noisy")                             \
    RULE(partialNotQuiet, "background: partial H.264, not quiet long enough")                     \
    RULE(partialQuietBorder, "background: partial H.264, border, quiet to the tick")              \
    RULE(partialConfirmed, "background: partial H.264, confirmed")                                \
    RULE(partialConfirmedLong, "background: partial H.264, confirmed, long times")                \
    RULE(partialTimeout, "background: partial H.264, timed out")                                  \
    RULE(foregroundNotFilled, "foreground: none before the history is filled")                    \
    RULE(standardBackgroundLuma, "foreground: standard, luma off the background")                 \
    RULE(standardBackgroundCb, "foreground: standard, Cb off the background")                     \
    RULE(standardBackgroundCr, "foreground: standard, Cr off the background")                     \
    RULE(standardBackgroundNone, "foreground: standard, equal to the background")                 \
    RULE(standardPreviousLuma, "foreground: standard, luma off the previous frame")               \
    RULE(standardPreviousCb, "foreground: standard, Cb off the previous frame")                   \
    RULE(standardPreviousCr, "foreground: standard, Cr off the previous frame")                   \
    RULE(standardPreviousNone, "foreground: standard, equal to the previous frame")               \
    RULE(lumaBorder, "foreground: border, luma off by exactly the noise level")                   \
    RULE(chromaBorder, "foreground: border, chroma off by exactly 10")                            \
    RULE(mpeg4IFrame, "foreground: MPEG-4, I-frame takes the standard variant")                   \
    RULE(mpeg4NoReference, "foreground: MPEG-4, no reference, nothing written")                   \
    RULE(mpeg4BackgroundMoves, "foreground: MPEG-4, off the background")                          \
    RULE(mpeg4BackgroundRests, "foreground: MPEG-4, equal to the background")                     \
    RULE(mpeg4ReferenceMoves, "foreground: MPEG-4, off the reference")                            \
    RULE(mpeg4ReferenceRests, "foreground: MPEG-4, equal to the reference")                       \
    RULE(partialTooEarly, "H264: fewer than 2 frames of history")                                 \
    RULE(partialBeforeFilled, "H264: foreground before the history is filled")                    \
    RULE(partialInitialised, "H264: I/P-frame machine initialised")                               \
    RULE(iFrameIgnored, "H264: I-frame not analysed")                                             \
    RULE(iFrameAnalysed, "H264: I-frame analysed")                                                \
    RULE(iFrameLimitBorder, "H264: border, P-frame 10 s ago to the tick")                         \
    RULE(iFrameBackgroundMoves, "H264: I-frame, off the background")                              \
    RULE(iFrameBackgroundRests, "H264: I-frame, equal to the background")                         \
    RULE(iFrameBackgroundOutMoves, "H264: I-frame, off a background out of range")                \
    RULE(iFrameBackgroundOutRests, "H264: I-frame, equal to a background out of range")           \
    RULE(iFramePreviousMoves, "H264: I-frame, off the previous frame")                            \
    RULE(iFramePreviousRests, "H264: I-frame, equal to the previous frame")                       \
    RULE(iFramePreviousOutMoves, "H264: I-frame, off a previous frame out of range")              \
    RULE(iFramePreviousOutRests, "H264: I-frame, equal to a previous frame out of range")         \
    RULE(pFrameMoves, "H264: P-frame, block moves")                                               \
    RULE(pFrameRests, "H264: P-frame, block rests")                                               \
    RULE(pFrameOutMoves, "H264: P-frame, block out of range moves")                               \
    RULE(pFrameOutRests, "H264: P-frame, block out of range rests")                               \
    RULE(pFrameRangeBorder, "H264: reference on the border of the brightness range")              \
    RULE(pFrameStill, "H264: P-frame without motion")                                             \
    RULE(pFrameMotion, "H264: P-frame with motion")                                               \
    RULE(pFrameMotionCounted, "H264: P-frame with motion counted")                                \
    RULE(noMotionLimitBorder, "H264: border, motion 40 s ago to the tick")                        \
    RULE(turnedOnByIFrames, "H264: I-frame analysis turned on by I-frames")                       \
    RULE(turnedOnByPFrames, "H264: I-frame analysis turned on by P-frames")                       \
    RULE(turnedOff, "H264: I-frame analysis turned off")                                          \
    RULE(shadowNotFilled, "shadow: not before the history is filled")                             \
    RULE(shadowNotPartial, "shadow: not for partial H.264")                                       \
    RULE(shadowNoBackground, "shadow: foreground without background stays")                       \
    RULE(shadowNoForeground, "shadow: block without foreground")                                  \
    RULE(shadowEmptyWindow, "shadow: empty window")                                               \
    RULE(shadowFound, "shadow: found")                                                            \
    RULE(shadowRejected, "shadow: rejected")                                                      \
    RULE(shadowRejectedClamped, "shadow: rejected, score above 255")                              \
    RULE(shadowChromaLow, "shadow: chroma inside the dead zone")                                  \
    RULE(shadowChromaBorder, "shadow: border, chroma off by exactly 6")                           \
    RULE(shadowChromaHigh, "shadow: chroma beyond the dead zone")                                 \
    RULE(shadowLastColumn, "shadow: gradient of the last column")                                 \
    RULE(shadowLastRow, "shadow: gradient of the last row")                                       \
    RULE(zoneFitted, "zone: mask fitted to the grid")                                             \
    RULE(zoneFitKept, "zone: earlier fit kept")                                                   \
    RULE(zoneStill, "zone: no moving block")                                                      \
    RULE(zoneMoving, "zone: moving blocks")                                                       \
    RULE(zoneNone, "zone: frame without zones")                                                   \
    RULE(growAcrossGap, "object: grown across a gap of one column")                               \
    RULE(growDiagonal, "object: grown diagonally")                                                \
    RULE(growBlocked, "object: neighbour already taken")                                          \
    RULE(boxOfMotion, "object: box over moving blocks")                                           \
    RULE(boxOfAllLong, "object: box over all blocks, long times")                                 \
    RULE(boxOfAllUnlimited, "object: box over all blocks, no limit")                              \
    RULE(objectDiscarded, "object: discarded, nothing moved")                                     \
    RULE(objectTrimmed, "object: block trimmed")                                                  \
    RULE(objectKept, "object: kept")                                                              \
    RULE(smallNoMinimum, "small: zone without minimum")                                           \
    RULE(smallNotANumber, "small: minimum is not a number")                                       \
    RULE(smallKept, "small: object large enough")                                                 \
    RULE(smallBorder, "small: border, extent equal to the minimum")                               \
    RULE(smallWidth, "small: object too narrow")                                                  \
    RULE(smallHeight, "small: object too low")                                                    \
    RULE(smallRenumbered, "small: later object renumbered")                                       \
    RULE(mergeApart, "merge: apart")                                                              \
    RULE(mergeAbsorbed, "merge: absorbed")                                                        \
    RULE(mergeSameZone, "merge: absorbed within one zone")                                        \
    RULE(mergeSharedBlock, "merge: block listed twice")                                           \
    RULE(mergeSecondSweep, "merge: absorbed in a later sweep")                                    \
    RULE(summaryNotReady, "summary: not ready")                                                   \
    RULE(summaryReady, "summary: ready")                                                          \
    RULE(readAfterRemoval, "result: read after the zones were removed")                           \
    RULE(resultEmpty, "result: no object")                                                        \
    RULE(resultOne, "result: one object")                                                         \
    RULE(resultSeveral, "result: several objects")                                                \
    RULE(pictureNone, "picture: none before the first frame")                                     \
    RULE(pictureUnknown, "picture: magenta block")                                                \
    RULE(pictureKnown, "picture: background block")                                               \
    RULE(pictureClampedLow, "picture: colour clamped to 0")                                       \
    RULE(pictureClampedHigh, "picture: colour clamped to 255")                                    \
    RULE(limitOn, "setter: limit turned on")                                                      \
    RULE(limitOff, "setter: limit turned off")                                                    \
    RULE(longTimesOn, "setter: long times turned on")                                             \
    RULE(longTimesOff, "setter: long times turned off")

enum class Rule : std::size_t {
#define REFERENCE_RULE_NAME(name, text) name,
    REFERENCE_RULES(REFERENCE_RULE_NAME)
#undef REFERENCE_RULE_NAME
        count
};

inline constexpr std::size_t ruleCount = static_cast<std::size_t>(Rule::count);

class RuleCounters {
public:
    void Count(Rule rule) { ++_counts[static_cast<std::size_t>(rule)]; }
    std::uint64_t Of(Rule rule) const { return _counts[static_cast<std::size_t>(rule)]; }
    void Add(const RuleCounters& other);

    static const char* TextOf(Rule rule);

private:
    std::array<std::uint64_t, ruleCount> _counts{};
};

// The whole table, one line per rule.
std::ostream& operator<<(std::ostream& out, const RuleCounters& counters);

}  // namespace Reference
