// mdscene: how does a surveillance scene with known truth get into a file?  Reads the command line, writes one frame after
// another.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "Scene.h"
#include "SceneOutput.h"

namespace {

struct Options {
    MdScene::Settings settings;
    std::vector<std::string> disturbances;  // as they were told
    std::string outputPath = "-";           // "-": standard output
    std::string truthPath;                  // empty: none
    std::string maskFolder;                 // empty: none
};

// "640x360".  Returns an explanation when it is no such thing, as CLI11's validators do.
std::string ReadSize(const std::string& text, MdScene::Settings& settings) {
    int width = 0, height = 0, length = 0;
    const bool isRead = std::sscanf(text.c_str(), "%5dx%5d%n", &width, &height, &length) == 2;
    if (!isRead || static_cast<std::size_t>(length) != text.size()) return "must be WIDTHxHEIGHT, for example 640x360";
    if (width < 32 || width > 7680 || height < 32 || height > 4320) return "must lie between 32x32 and 7680x4320";
    settings.width = width;
    settings.height = height;
    return {};
}

// A number within bounds; unlike CLI11's own check it lets no "nan" pass.
CLI::Validator Within(double low, double high) {
    const auto check = [low, high](const std::string& text) {
        char* end = nullptr;
        const double value = std::strtod(text.c_str(), &end);
        const bool isNumber = end != text.c_str() && *end == '\0';
        if (isNumber && value >= low && value <= high) return std::string();
        std::ostringstream fault;
        fault.precision(10);
        fault << "must be a number from " << low << " to " << high;
        return fault.str();
    };
    return CLI::Validator(check, "", "");
}

void Describe(CLI::App& app, Options& options) {
    MdScene::Settings& settings = options.settings;
    app.add_option("--size", "Picture size in pixels, 32x32 to 7680x4320 [640x360]")
        ->type_name("WxH")
        ->check([&settings](const std::string& text) { return ReadSize(text, settings); });
    app.add_option("--frames", settings.frames, "Number of frames")->check(Within(0, 1'000'000))->capture_default_str();
    app.add_option("--fps", settings.fps, "Frames per second")->check(Within(0.1, 240))->capture_default_str();
    app.add_option("--seed", settings.seed, "Another number makes another scene")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    app.add_option("--quiet-seconds", settings.quietSeconds, "Nobody is to be seen before")
        ->check(Within(0, 1'000'000))
        ->capture_default_str();
    app.add_option("--pause-seconds", settings.pauseSeconds, "Least time between one and the next; below 0 they meet")
        ->check(Within(-60, 1'000'000))
        ->capture_default_str();
    app.add_option("--noise", settings.noise, "Standard deviation of the sensor's noise in grey levels")
        ->check(Within(0, 20))
        ->capture_default_str();
    app.add_option("--wind", settings.wind, "0: still air; 1: a light breeze in the tree")
        ->check(Within(0, 10))
        ->capture_default_str();
    app.add_option("--foliage", settings.foliage, "Share of the picture that leaves cover; they move with the wind")
        ->check(Within(0, 0.8))
        ->capture_default_str();
    app.add_option("--water", settings.water, "Share of the picture's height that is under shimmering water")
        ->check(Within(0, 0.8))
        ->capture_default_str();
    app.add_flag("--empty", settings.isEmpty, "Nobody comes");
    app.add_option("--disturbance", options.disturbances,
                   "What is wrong from START to END seconds; several times for several of: " +
                       std::string(MdScene::NamesOfDisturbances()))
        ->type_name("KIND[@START[-END]]")
        ->allow_extra_args(false);
    app.add_option("--output", options.outputPath, "Video file, YUV4MPEG2 4:2:0; - is standard output")
        ->capture_default_str();
    app.add_option("--truth", options.truthPath, "File for the truth, one JSON object per frame and line");
    app.add_option("--masks", options.maskFolder, "Existing folder for one mask per frame, 000000.pgm and so on")
        ->check(CLI::ExistingDirectory);
}

// Only after all options are read is the length of the scene known.
void PlanDisturbances(Options& options) {
    MdScene::DisturbancePlan& plan = options.settings.disturbances;
    if (options.disturbances.size() > plan.size())
        throw CLI::ValidationError("--disturbance", "at most " + std::to_string(plan.size()) + " times");
    for (std::size_t i = 0; i < options.disturbances.size(); ++i) {
        const auto read = MdScene::ReadDisturbance(options.disturbances[i], options.settings.frames / options.settings.fps);
        if (!read)
            throw CLI::ValidationError("--disturbance", "must be KIND, KIND@START or KIND@START-END, KIND one of " +
                                                            std::string(MdScene::NamesOfDisturbances()));
        plan[i] = *read;
    }
}

std::ofstream Open(const std::filesystem::path& path) {
    std::ofstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("cannot write " + path.string());
    return file;
}

void Require(const std::ostream& out, const std::string& path) {
    if (!out) throw std::runtime_error("writing to " + path + " failed");
}

void WriteScene(const Options& options) {
    std::ofstream videoFile, truthFile;
    if (options.outputPath != "-") videoFile = Open(options.outputPath);
    if (!options.truthPath.empty()) truthFile = Open(options.truthPath);
    std::ostream& video = options.outputPath == "-" ? std::cout : videoFile;

    const MdScene::Scene scene(options.settings);
    MdScene::Frame frame;
    MdScene::WriteVideoHeader(options.settings, video);
    for (int number = 0; number < options.settings.frames; ++number) {
        scene.Render(number, frame);
        MdScene::WriteVideoFrame(frame, video);
        Require(video, options.outputPath);
        if (truthFile.is_open()) MdScene::WriteTruthLine(frame, truthFile);
        if (!options.maskFolder.empty()) {
            char name[32];
            std::snprintf(name, sizeof name, "%06d.pgm", number);
            std::ofstream mask = Open(std::filesystem::path(options.maskFolder) / name);
            MdScene::WriteMask(frame, mask);
            Require(mask, name);
        }
    }
    Require(video.flush(), options.outputPath);
    if (truthFile.is_open()) Require(truthFile.flush(), options.truthPath);
}

int Run(int argc, char** argv) {
    Options options;
    CLI::App app("Renders a surveillance scene with exact ground truth: a street with persons and cars.", "mdscene");
    Describe(app, options);
    try {
        app.parse(argc, argv);
        PlanDisturbances(options);
    } catch (const CLI::Success& help) {
        return app.exit(help);
    } catch (const CLI::ParseError& fault) {
        std::cerr << "mdscene: " << fault.what() << " (see mdscene --help)\n";
        return 2;
    }
    WriteScene(options);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (const std::exception& fault) {
        std::cerr << "mdscene: " << fault.what() << '\n';
        return 1;
    }
}
