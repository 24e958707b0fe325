// How are masks read that were written elsewhere?
#include "StoredMasks.h"

#include <cstdint>
#include <map>
#include <memory>
#include <utility>

#include "LabelledFolder.h"
#include "PictureFile.h"
#include "video/base/Failure.h"

namespace Accuracy {

namespace {

using Files = std::map<std::int64_t, std::string>;  // by number

class StoredSubject : public Subject {
public:
    StoredSubject(std::string folder, OnMask onMask)
        : _folder(std::move(folder)), _files(NumberedPictures(_folder)), _next(_files.begin()), _onMask(std::move(onMask)) {}

    void Show(const AVFrame& picture, Video::Ticks time) override {
        if (_next == _files.end()) {
            throw Video::Failure(Video::Concern::Input, _folder + ": fewer masks than pictures");
        }
        GreyPicture mask = ReadLabels(_next->second);
        if (mask.width != picture.width || mask.height != picture.height) {
            throw Video::Failure(Video::Concern::Input, _next->second + ": not of the size of its picture");
        }
        ++_next;
        _onMask(time, {mask.width, mask.height, 1, std::move(mask.values)});
    }

    void End() override {
        if (_next != _files.end()) {
            throw Video::Failure(Video::Concern::Input, _folder + ": more masks than pictures");
        }
    }

private:
    const std::string _folder;
    const Files _files;
    Files::const_iterator _next;
    const OnMask _onMask;
};

}  // namespace

Candidate StoredMasks(const std::string& name, const std::string& folder, double share) {
    return {
        name, {share}, [=](Video::Ticks, const OnMask& onMask) { return std::make_unique<StoredSubject>(folder, onMask); }};
}

}  // namespace Accuracy
