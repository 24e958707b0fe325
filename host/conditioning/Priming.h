// How does a detector know its background from the first picture on?
//
// Where pictures can be kept for a while, the most frequent value of every block is shown to it beforehand, and it starts
// with a background:
//
//     Host::Priming priming(columns, rows, 100);
//     while (there are pictures && priming.Pictures() < 100) priming.Add(planes);
//     priming.MostFrequent(4, background.data());
//     const Host::Ticks offset = Host::ShowBackground(background.data(), times[0], Detect);   // Detect(planes, time)
//     for (int i = 0; i < priming.Pictures(); ++i) Detect(priming.Picture(i), times[i] + offset);
//
// Where none can be kept, QuickStart lets stream time run faster at first, so that the detector learns sooner:
//
//     Host::QuickStart quick;
//     Detect(planes, quick.Stamp(time));                                                           // for every picture
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "conditioning/StreamTime.h"

namespace Host {

// Block planes of the first pictures, and what was most often to be seen in each of their blocks.
//
// The constructor takes the address space of all pictures, mostPictures * 3 * [block] bytes; a picture's memory becomes
// resident when it is added. Nothing else is allocated. One thread at a time.
class Priming {
public:
    // The most pictures: their weights, summed in any block, fit 16 bits.
    static constexpr int largestPictures = 13107;

    // Stops the process where columns or rows are not in 1..9999, or mostPictures not in 1..largestPictures.
    Priming(int columns, int rows, int mostPictures);

    // Keeps a copy. ycbcr: three [block] planes one after another. Stops the process when mostPictures are kept already.
    void Add(const std::uint8_t* ycbcr);

    // Forgets all pictures: the next Add is the first again.
    void Clear() { _pictures = 0; }

    int Pictures() const { return _pictures; }
    int MostPictures() const { return _mostPictures; }

    // The planes of a picture kept, 0 the first: for the host to go through again. Valid until Clear and the next Add.
    const std::uint8_t* Picture(int index) const;

    // Writes three [block] planes: what was most often to be seen in each block.
    //
    // Of all windows of 8 levels of luma, that one counts whose samples weigh most, the darkest among equals; the result is
    // the weighted mean of the samples inside, (sum + weights / 2) / weights in integers, of Y, Cb and Cr alike. A sample
    // weighs 5 where it is still, that is, not more than 3 levels of luma from the sample `ahead` pictures later, and 1
    // elsewhere. Where there is no such picture the one that many pictures earlier is asked, or the first.
    //
    // Something that moves passes many values for a short while each, so that what lies behind it prevails even where it
    // is seen less than half of the time. What stood still most of the time is background, whatever it is.
    //
    // ahead: at least 1; two thirds of a second are a good choice, 4 at 6.25 pictures a second. At least one picture has to
    // be kept. The cost grows with pictures * blocks, beside a small one per block.
    void MostFrequent(int ahead, std::uint8_t* ycbcr) const;

private:
    const std::uint8_t* PictureToCompare(int index, int ahead) const;

    const std::size_t _blockCount;
    const int _mostPictures;
    int _pictures = 0;
    const std::unique_ptr<std::uint8_t[]> _planes;  // 3 * [block] a picture
};

// How often a background is shown until a detector that learns at the usual pace knows every block: the ring of its newest
// pictures has to fill, and five quiet seconds have to pass.
inline constexpr int backgroundShowings = 14;
inline constexpr Ticks backgroundInterval = ticksPerSecond;

// Shows a background to a fresh detector before the picture with the stamp `first`: backgroundShowings times, a second of
// stream time apart, the last a second before it. show(planes, time) is called for each, in order of time.
//
// Returns what is to be added to the stamp of every picture that follows, that first one included: 0 where it is at least 14
// seconds; else the showings start at 0 and the offset moves the pictures behind them, so that no stamp is negative. Whoever
// tells a picture's time to others tells it without the offset. first: above -2^62.
template <class Show>
Ticks ShowBackground(const std::uint8_t* background, Ticks first, Show&& show) {
    constexpr Ticks length = backgroundShowings * backgroundInterval;
    const Ticks start = first < length ? 0 : first - length;
    for (int showing = 0; showing < backgroundShowings; ++showing) show(background, start + showing * backgroundInterval);
    return first < length ? length - first : 0;
}

// Stamps for a detector that is not primed: the time from each of its first 14 pictures to the next counts ten times, so
// that a background that would be learned in seven seconds is there when the history is full. Afterwards stamps go on at the
// usual pace, where they are by then.
//
// Show it the pictures that are analysed, and no others. A stamp rises by at least a tick, whatever the times do: no step
// backwards makes the detector start from nothing. Whoever tells a picture's time to others tells the time, not the stamp.
class QuickStart {
public:
    static constexpr int quickPictures = 14;
    static constexpr Ticks speed = 10;

    // The stamp of the picture that follows. Its first is the time itself. time: within 2^62 ticks of 0.
    Ticks Stamp(Ticks time);

    // How far the stamps are ahead of the times; does not change any more once 15 pictures have come in order.
    Ticks Ahead() const { return _stamp - _time; }

private:
    int _pictures = 0;  // seen; not counted beyond quickPictures + 1
    Ticks _time = 0;    // of the picture before
    Ticks _stamp = 0;   // of the picture before
};

}  // namespace Host
