// How are OpenCV's background subtractors shown a sequence?
#include "PeerSubjects.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include <opencv2/bgsegm.hpp>
#include <opencv2/core.hpp>
#include <opencv2/core/ocl.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/video/background_segm.hpp>

#include "PictureFile.h"
#include "video/media/Libav.h"

namespace Accuracy {

namespace {

using NewSubtractor = std::function<cv::Ptr<cv::BackgroundSubtractor>()>;

// One subtractor, asked by the subject that opens its masks and by the one that does not.
struct Model {
    cv::Ptr<cv::BackgroundSubtractor> subtractor;
    Video::Ticks time = -1;
    cv::Mat foreground;

    const cv::Mat& At(const AVFrame& picture, Video::Ticks at) {
        if (time != at) {
            const Video::FramePointer bgr = Converted(picture, AV_PIX_FMT_BGR24);  // as OpenCV's own readers give it
            const cv::Mat colours(bgr->height, bgr->width, CV_8UC3, bgr->data[0],
                                  static_cast<std::size_t>(bgr->linesize[0]));
            cv::Mat mask;
            subtractor->apply(colours, mask);
            foreground = mask == 255;  // shadows are told as 127
            time = at;
        }
        return foreground;
    }
};

class PeerSubject : public Subject {
public:
    PeerSubject(std::shared_ptr<Model> model, std::int64_t every, bool opened, OnMask onMask)
        : _model(std::move(model)), _every(every), _opened(opened), _onMask(std::move(onMask)) {}

    void Show(const AVFrame& picture, Video::Ticks time) override {
        if (_shown++ % _every != 0) {
            return;
        }
        cv::Mat foreground = _model->At(picture, time);
        if (_opened) {
            cv::Mat opened;
            cv::morphologyEx(foreground, opened, cv::MORPH_OPEN, cv::getStructuringElement(cv::MORPH_ELLIPSE, {3, 3}));
            foreground = opened;
        }
        Mask mask{foreground.cols, foreground.rows, 1, {}};
        for (int y = 0; y < foreground.rows; ++y) {
            mask.moving.insert(mask.moving.end(), foreground.ptr(y), foreground.ptr(y) + foreground.cols);
        }
        _onMask(time, mask);
    }

private:
    const std::shared_ptr<Model> _model;
    const std::int64_t _every;
    const bool _opened;
    const OnMask _onMask;
    std::int64_t _shown = 0;  // pictures
};

void AddCandidates(std::vector<Candidate>& candidates, const std::string& name, const NewSubtractor& make,
                   std::int64_t every) {
    const auto model = std::make_shared<std::weak_ptr<Model>>();  // of the sequence that is being shown
    for (const bool opened : {false, true}) {
        const auto subject = [=](Video::Ticks, const OnMask& onMask) {
            std::shared_ptr<Model> shared = model->lock();
            if (!shared) {
                shared = std::make_shared<Model>();
                shared->subtractor = make();
                *model = shared;
            }
            return std::make_unique<PeerSubject>(shared, every, opened, onMask);
        };
        candidates.push_back(
            {name + (every > 1 ? ", every fourth" : "") + (opened ? ", opened" : ""), {0.25, 0.5}, subject});
    }
}

}  // namespace

std::vector<Candidate> Peers() {
    cv::setNumThreads(1);
    cv::ocl::setUseOpenCL(false);
    const std::vector<std::pair<std::string, NewSubtractor>> makers = {
        {"MOG2", [] { return cv::createBackgroundSubtractorMOG2(); }},
        {"KNN", [] { return cv::createBackgroundSubtractorKNN(); }},
        {"CNT", [] { return cv::bgsegm::createBackgroundSubtractorCNT(); }},
        {"GSOC", [] { return cv::bgsegm::createBackgroundSubtractorGSOC(); }}};
    std::vector<Candidate> candidates;
    for (const auto& [name, make] : makers) {
        for (const std::int64_t every : {1, 4}) {
            AddCandidates(candidates, name, make, every);
        }
    }
    return candidates;
}

}  // namespace Accuracy
