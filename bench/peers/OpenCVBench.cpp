// What do others cost on the same grid?  OpenCV's background subtractors and object stages, one thread, on the very frames
// that the detector sees. Names: peer/<subtractor>/<scene>/<grid> and peer/<object stage>/moving/<grid>.
//
// MOG2 and KNN see three channels, as the detector does; CNT and the running average see the luma only.
#include <functional>

#include <opencv2/bgsegm.hpp>
#include <opencv2/core.hpp>
#include <opencv2/core/ocl.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/video/background_segm.hpp>

#include "Measure.h"
#include "Scenes.h"

namespace Bench {
namespace {

constexpr int timedFrames = 50;
constexpr int calmFrames = 100;  // before: the models are filled

cv::Mat Luma(const Scene::Frame& frame, GridSize grid) {
    return cv::Mat(grid.rows, grid.columns, CV_8UC1, const_cast<std::uint8_t*>(frame.data())).clone();
}

cv::Mat ThreeChannels(const Scene::Frame& frame, GridSize grid) {
    cv::Mat planes[3], picture;
    for (std::size_t plane = 0; plane < 3; ++plane)
        planes[plane] =
            cv::Mat(grid.rows, grid.columns, CV_8UC1, const_cast<std::uint8_t*>(frame.data()) + plane * grid.Blocks());
    cv::merge(planes, 3, picture);
    return picture;
}

// Takes a picture, fills the foreground.
using Subtract = std::function<void(const cv::Mat& picture, cv::Mat& foreground)>;

Subtract Subtractor(cv::Ptr<cv::BackgroundSubtractor> subtractor) {
    return [subtractor](const cv::Mat& picture, cv::Mat& foreground) { subtractor->apply(picture, foreground); };
}

Subtract RunningAverage() {
    struct Model {
        cv::Mat average, background, difference;
    };
    return [model = std::make_shared<Model>()](const cv::Mat& picture, cv::Mat& foreground) {
        if (model->average.empty()) picture.convertTo(model->average, CV_32F);
        model->average.convertTo(model->background, CV_8U);
        cv::absdiff(picture, model->background, model->difference);
        cv::threshold(model->difference, foreground, 21, 255, cv::THRESH_BINARY);
        cv::accumulateWeighted(picture, model->average, 0.02);
    };
}

struct Peer {
    const char* name;
    bool isLumaOnly;
    std::function<Subtract()> make;
};

const Peer peers[] = {
    {"mog2", false, [] { return Subtractor(cv::createBackgroundSubtractorMOG2(500, 16, true)); }},
    {"mog2-no-shadow", false, [] { return Subtractor(cv::createBackgroundSubtractorMOG2(500, 16, false)); }},
    {"knn", false, [] { return Subtractor(cv::createBackgroundSubtractorKNN(500, 400, true)); }},
    {"knn-no-shadow", false, [] { return Subtractor(cv::createBackgroundSubtractorKNN(500, 400, false)); }},
    {"cnt", true, [] { return Subtractor(cv::bgsegm::createBackgroundSubtractorCNT(15, true, 15 * 60, false)); }},
    {"average", true, [] { return RunningAverage(); }},
};

void UseOneThread() {
    cv::setNumThreads(1);
    cv::ocl::setUseOpenCL(false);
}

void MeasurePeer(benchmark::State& state, const Peer& peer, SceneKind kind, GridSize grid) {
    UseOneThread();
    Scene& scene = SceneFor(kind, grid);
    const auto convert = peer.isLumaOnly ? Luma : ThreeChannels;
    std::vector<cv::Mat> pictures;
    for (std::size_t n = 0; n < scene.CycleLength(); ++n) pictures.push_back(convert(scene.EventFrame(n), grid));
    const Subtract subtract = peer.make();
    cv::Mat foreground;
    for (int n = 0; n < calmFrames; ++n) subtract(convert(scene.CalmFrame(), grid), foreground);
    std::size_t next = 0;
    MeasureCalls(state, grid.Blocks(), timedFrames, [&] { subtract(pictures[next++ % pictures.size()], foreground); });
}

// Takes a foreground of 0 and 255, which it may change; returns the number of objects.
using ObjectStage = std::size_t (*)(const cv::Mat& foreground);

std::size_t ContoursWithBoxes(const cv::Mat& foreground) {
    std::vector<std::vector<cv::Point>> contours;
    cv::findContours(foreground, contours, cv::RETR_EXTERNAL, cv::CHAIN_APPROX_SIMPLE);
    for (const auto& contour : contours) benchmark::DoNotOptimize(cv::boundingRect(contour));
    return contours.size();
}

std::size_t Labels(const cv::Mat& foreground) {
    cv::Mat labels;
    return static_cast<std::size_t>(cv::connectedComponents(foreground, labels, 8, CV_32S)) - 1;
}

std::size_t ComponentsWithStatistics(const cv::Mat& foreground) {
    cv::Mat labels, statistics, centroids;
    return static_cast<std::size_t>(cv::connectedComponentsWithStats(foreground, labels, statistics, centroids, 8, CV_32S)) -
           1;
}

void MeasureObjectStage(benchmark::State& state, ObjectStage stage, GridSize grid) {
    UseOneThread();
    Scene& scene = SceneFor(SceneKind::Moving, grid);
    std::vector<cv::Mat> masks;
    for (std::size_t n = 0; n < scene.CycleLength(); ++n)
        masks.push_back(Luma(scene.EventFrame(n), grid) > 170);  // the squares
    std::size_t next = 0, objects = 0;
    MeasureCalls(state, grid.Blocks(), timedFrames, [&] { objects = stage(masks[next++ % masks.size()]); });
    Require(objects == 5, "peers", "the object stage does not find the five squares");
    state.counters["objects"] = static_cast<double>(objects);
}

[[maybe_unused]] const bool registered = [] {
    for (const SceneKind kind : {SceneKind::Still, SceneKind::Noise, SceneKind::Moving})
        for (const Peer& peer : peers)
            Register(std::string("peer/") + peer.name + "/" + NameOf(kind) + "/" + usualGrid.Name(), 5,
                     [=, &peer](benchmark::State& state) { MeasurePeer(state, peer, kind, usualGrid); });
    const std::pair<const char*, ObjectStage> stages[] = {
        {"contours", ContoursWithBoxes}, {"labels", Labels}, {"components", ComponentsWithStatistics}};
    for (const auto& [name, stage] : stages)
        Register(std::string("peer/") + name + "/moving/" + usualGrid.Name(), 5,
                 [stage = stage](benchmark::State& state) { MeasureObjectStage(state, stage, usualGrid); });
    return true;
}();

}  // namespace
}  // namespace Bench
