// How are a few pictures of a video come by?
#include "video/pictures/Samples.h"

#include <memory>
#include <utility>

#include "video/base/Failure.h"
#include "video/media/Decoder.h"
#include "video/media/PacketSource.h"
#include "video/pictures/Thumbnail.h"

namespace Video {

namespace {

Sample SampleOf(const Decoder& decoder, int widest) {
    Sample sample{decoder.Time(), JpegOf(decoder.Frame(), widest)};
    if (sample.jpeg.empty()) {
        throw Failure(Concern::Output, "FFmpeg cannot make a JPEG of the video's picture");
    }
    return sample;
}

}  // namespace

std::vector<Sample> SamplesOf(const std::string& path, const Decoder& begun, int most, int widest) {
    std::vector<Sample> samples = {SampleOf(begun, widest)};
    for (int i = 1; i < most && begun.SeekableLength() > 0; ++i) {
        std::unique_ptr<PacketSource> source = OpenSource(path);
        if (!source->Seek(begun.SeekableLength() / most * i)) {
            break;
        }
        Decoder decoder(std::move(source), 1);  // one picture is decoded: threads cost more than they gain
        if (decoder.Next() && decoder.Time() > samples.back().time) {
            samples.push_back(SampleOf(decoder, widest));
        }
    }
    return samples;
}

}  // namespace Video
