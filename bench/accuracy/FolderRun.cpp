// How does a sequence meet its subjects?
#include "FolderRun.h"

#include <cstddef>
#include <map>
#include <memory>
#include <utility>

#include "CpuClock.h"
#include "PictureFile.h"
#include "video/base/Failure.h"

namespace Accuracy {

namespace {

// The labels of one picture are asked for by several subjects, and perhaps long after it was shown.
class Truths {
public:
    explicit Truths(const LabelledFolder& folder) : _folder(folder) {}

    bool Has(std::size_t place) const { return !_folder.pictures[place].labels.empty(); }

    // [scored block] Of a picture of this size. Throws Video::Failure where the labels have another one.
    const std::vector<Truth>& At(std::size_t place, int width, int height) {
        auto known = _truths.find(place);
        if (known == _truths.end()) {
            const std::string& file = _folder.pictures[place].labels;
            const GreyPicture labels = ReadLabels(file);
            if (labels.width != width || labels.height != height) {
                throw Video::Failure(Video::Concern::Input, file + ": not of the size of its picture");
            }
            known = _truths.emplace(place, TruthOf(labels)).first;
        }
        return known->second;
    }

private:
    const LabelledFolder& _folder;
    std::map<std::size_t, std::vector<Truth>> _truths;
};

void CheckSize(const AVFrame& picture, int width, int height, const std::string& file) {
    if (picture.width != width || picture.height != height) {
        throw Video::Failure(Video::Concern::Input, file + ": not of the size of the first picture");
    }
}

}  // namespace

std::vector<Outcome> Judge(const LabelledFolder& folder, const std::vector<Candidate>& candidates) {
    std::vector<Outcome> outcomes(candidates.size());
    std::vector<CpuClock> clocks(candidates.size());
    std::vector<ThirdEvents> events(candidates.size());
    std::vector<std::unique_ptr<Subject>> subjects;
    Truths truths(folder);
    for (std::size_t i = 0; i < candidates.size(); ++i) {
        outcomes[i].scores.resize(candidates[i].shares.size());
        outcomes[i].settled.resize(candidates[i].shares.size());
        const auto onMask = [&, i](Video::Ticks time, const Mask& mask) {
            clocks[i].Except([&] {
                const auto place = static_cast<std::size_t>(time / pictureInterval);
                ++outcomes[i].analysed;
                if (!truths.Has(place)) {
                    return;
                }
                const std::vector<Truth>& truth = truths.At(place, mask.width, mask.height);
                for (std::size_t k = candidates[i].shares.size(); k-- > 0;) {
                    std::vector<std::uint8_t> found = Reduced(mask, candidates[i].shares[k]);
                    outcomes[i].scores[k].Add(truth, found);
                    if (place >= FirstScored(folder.pictures.size())) {
                        outcomes[i].settled[k].Add(truth, found);
                    }
                    if (k == 0) {
                        events[i].Add(time, (mask.width + scoredBlock - 1) / scoredBlock, truth, found);
                        outcomes[i].found.emplace(place, std::move(found));
                    }
                }
            });
        };
        subjects.push_back(candidates[i].make(pictureInterval, onMask));
    }
    int width = 0, height = 0;
    for (std::size_t place = 0; place < folder.pictures.size(); ++place) {
        const std::string& file = folder.pictures[place].file;
        const Video::FramePointer picture = ReadPicture(file);
        if (place == 0) {
            width = picture->width;
            height = picture->height;
        }
        CheckSize(*picture, width, height, file);
        for (std::size_t i = 0; i < subjects.size(); ++i) {
            clocks[i].Time([&] { subjects[i]->Show(*picture, static_cast<Video::Ticks>(place) * pictureInterval); });
        }
    }
    for (std::size_t i = 0; i < subjects.size(); ++i) {
        clocks[i].Time([&] { subjects[i]->End(); });
        outcomes[i].thirds = events[i].Close();
        outcomes[i].cpu = clocks[i].Seconds();
    }
    return outcomes;
}

}  // namespace Accuracy
