// Where does a test of the built program get a street scene from, and parts of it?  Rendered once, written raw.
#pragma once

#include <cmath>
#include <cstddef>
#include <fstream>
#include <sstream>
#include <string>

#include "Scene.h"
#include "SceneOutput.h"

namespace Scan {

// Persons and cars cross after nine seconds.
inline MdScene::Settings Street(double seconds) {
    return {.width = 320, .height = 180, .fps = 12, .frames = static_cast<int>(std::lround(12 * seconds)), .seed = 3};
}

// Nobody comes; from `begin` to `end` seconds, something is wrong.
inline MdScene::Settings Disturbed(double seconds, MdScene::DisturbanceKind kind, double begin, double end) {
    MdScene::Settings settings = Street(seconds);
    settings.seed = 1;
    settings.isEmpty = true;
    settings.disturbances[0] = {.kind = kind, .begin = begin, .end = end};
    return settings;
}

class StreetClip {
public:
    explicit StreetClip(const MdScene::Settings& settings) : _settings(settings) {
        const MdScene::Scene scene(settings);
        MdScene::Frame frame;
        std::ostringstream video;
        MdScene::WriteVideoHeader(settings, video);
        _header = video.str();
        for (int number = 0; number < settings.frames; ++number) {
            std::ostringstream picture;
            scene.Render(number, frame);
            MdScene::WriteVideoFrame(frame, picture);
            _frameSize = picture.str().size();
            _frames += picture.str();
        }
    }

    double Seconds() const { return _settings.frames / _settings.fps; }

    // What is to be seen from one second to another.
    void Write(const std::string& path, double from, double until) const {
        const auto offset = [&](double second) {
            return static_cast<std::size_t>(std::lround(second * _settings.fps)) * _frameSize;
        };
        std::ofstream(path, std::ios::binary) << _header << _frames.substr(offset(from), offset(until) - offset(from));
    }
    void Write(const std::string& path) const { Write(path, 0, Seconds()); }

private:
    const MdScene::Settings _settings;
    std::string _header, _frames;
    std::size_t _frameSize = 0;
};

}  // namespace Scan
