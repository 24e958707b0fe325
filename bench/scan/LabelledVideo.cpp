// How are labels read?  Called by RateBench through LabelledVideo.h.
#include "LabelledVideo.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "video/media/Decoder.h"
#include "video/media/PacketSource.h"
#include "video/base/Failure.h"
#include "video/media/PlainPicture.h"

namespace Bench {

namespace {

std::string Pattern(const std::string& folder, const char* name, const char* ending) {
    return folder + "/" + name + "%06d" + ending;
}

// Grey pictures come with a palette of their own, too: four bytes per entry, all grey.
bool IsGrey(const AVFrame& labels) { return labels.format == AV_PIX_FMT_GRAY8 || labels.format == AV_PIX_FMT_PAL8; }

int LabelOf(const AVFrame& labels, std::uint8_t sample) {
    return labels.format == AV_PIX_FMT_PAL8 ? labels.data[1][4 * sample + 1] : sample;
}

std::vector<Truth> TruthOf(const AVFrame& labels, int columns, int rows, int blockSize) {
    std::vector<int> pixels(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows)), known = pixels,
                                                                                                 moving = pixels;
    for (int y = 0; y < labels.height; ++y) {
        const std::uint8_t* row = labels.data[0] + std::ptrdiff_t{y} * labels.linesize[0];
        for (int x = 0; x < labels.width; ++x) {
            const auto block = static_cast<std::size_t>(y / blockSize * columns + x / blockSize);
            ++pixels[block];
            const int label = LabelOf(labels, row[x]);
            known[block] += label == 0 || label == 50 || label == 255;
            moving[block] += label == 255;
        }
    }
    std::vector<Truth> truth(pixels.size());
    for (std::size_t i = 0; i < truth.size(); ++i) {
        truth[i] = TruthOfBlock(pixels[i], known[i], moving[i]);
    }
    return truth;
}

}  // namespace

Truth TruthOfBlock(int pixels, int known, int moving) {
    if (2 * known < pixels) {
        return Truth::Unknown;
    }
    return 4 * moving >= known && moving > 0 ? Truth::Moving : Truth::Still;
}

bool LabelledPicture::Moves() const { return std::find(truth.begin(), truth.end(), Truth::Moving) != truth.end(); }

std::vector<LabelledPicture> ReadLabelledVideo(const std::string& folder, int blockSize) {
    std::ifstream region(folder + "/temporalROI.txt");
    int first = 0, last = 0;
    if (!(region >> first >> last)) {
        throw Video::Failure(Video::Concern::Input, folder + ": no temporalROI.txt");
    }
    int number = std::filesystem::exists(folder + "/groundtruth/gt000000.png") ? 0 : 1;
    Video::Decoder pictures(Video::OpenSource(Pattern(folder, "input/in", ".jpg")), 1);
    Video::Decoder labels(Video::OpenSource(Pattern(folder, "groundtruth/gt", ".png")), 1);
    Video::PlainPicture plain;
    std::vector<LabelledPicture> video;
    for (; pictures.Next(); ++number) {
        if (!labels.Next() || labels.Frame().width != pictures.Frame().width ||
            labels.Frame().height != pictures.Frame().height || !IsGrey(labels.Frame())) {
            throw Video::Failure(Video::Concern::Input, folder + ": labels of picture " + std::to_string(number) +
                                                            " are missing or of another kind");
        }
        plain.Take(pictures.Frame());
        Host::PictureFormat format = plain.Format();
        format.blockSize = blockSize;
        Host::BlockReducer reducer(format);
        reducer.Reduce(plain.View());
        LabelledPicture picture{reducer.Columns(), reducer.Rows(), {}, {}, number >= first && number <= last};
        picture.ycbcr.assign(reducer.Ycbcr(), reducer.Ycbcr() + 3 * reducer.BlockCount());
        picture.truth = TruthOf(labels.Frame(), picture.columns, picture.rows, blockSize);
        video.push_back(std::move(picture));
    }
    return video;
}

}  // namespace Bench
