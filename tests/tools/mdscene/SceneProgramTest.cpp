// Does the program write what the library renders, and does it refuse bad arguments in one line?
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <sstream>
#include <string>

#include <sys/wait.h>

#include "FolderFixture.h"
#include "Scene.h"
#include "SceneOutput.h"

namespace {

struct Outcome {
    int exitCode;
    std::string out;
    std::string errors;
};

class SceneProgram : public Kit::FolderFixture {
protected:
    Outcome Run(const std::string& arguments) const {
        std::string command = MDSCENE_PROGRAM " ";
        command.append(arguments).append(" 2>").append(In("errors"));
        Outcome outcome = {};
        FILE* pipe = popen(command.c_str(), "r");
        std::array<char, 4096> chunk;
        while (const std::size_t length = fread(chunk.data(), 1, chunk.size(), pipe))
            outcome.out.append(chunk.data(), length);
        const int status = pclose(pipe);
        outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        outcome.errors = Read("errors");
        return outcome;
    }
};

// The same scene for the program and for the library.
const std::string smallScene =
    "--size 96x54 --frames 40 --fps 4 --seed 9 --quiet-seconds 2 --pause-seconds -20 --noise 2 --wind 0.5";
constexpr MdScene::Settings smallSettings = {.width = 96,
                                             .height = 54,
                                             .fps = 4,
                                             .frames = 40,
                                             .seed = 9,
                                             .quietSeconds = 2,
                                             .pauseSeconds = -20,
                                             .noise = 2,
                                             .wind = 0.5};

}  // namespace

TEST_F(SceneProgram, WritesWhatTheLibraryRenders) {
    std::ostringstream video, truth;
    const MdScene::Scene scene(smallSettings);
    MdScene::Frame frame;
    MdScene::WriteVideoHeader(smallSettings, video);
    for (int number = 0; number < smallSettings.frames; ++number) {
        scene.Render(number, frame);
        MdScene::WriteVideoFrame(frame, video);
        MdScene::WriteTruthLine(frame, truth);
    }
    const Outcome toPipe = Run(smallScene + " --truth " + In("truth"));
    EXPECT_EQ(toPipe.exitCode, 0);
    EXPECT_EQ(toPipe.errors, "");
    EXPECT_TRUE(toPipe.out == video.str());
    EXPECT_EQ(Read("truth"), truth.str());
    EXPECT_NE(truth.str().find("\"car\""), std::string::npos);

    const Outcome toFile = Run(smallScene + " --output " + In("video"));
    EXPECT_EQ(toFile.exitCode, 0);
    EXPECT_EQ(toFile.out, "");
    EXPECT_TRUE(Read("video") == video.str());
}

TEST_F(SceneProgram, RendersNatureAndDisturbances) {
    MdScene::Settings settings = smallSettings;
    settings.foliage = 0.3;
    settings.water = 0.2;
    settings.isEmpty = true;
    settings.disturbances[0] = {MdScene::DisturbanceKind::Rain, 1, 3};
    settings.disturbances[1] = {MdScene::DisturbanceKind::Light, 2, 10};  // a fifth of the scene
    std::ostringstream video, truth;
    const MdScene::Scene scene(settings);
    MdScene::Frame frame;
    MdScene::WriteVideoHeader(settings, video);
    for (int number = 0; number < settings.frames; ++number) {
        scene.Render(number, frame);
        MdScene::WriteVideoFrame(frame, video);
        MdScene::WriteTruthLine(frame, truth);
    }
    const Outcome outcome = Run(
        smallScene + " --foliage 0.3 --water 0.2 --empty --disturbance rain@1-3 --disturbance light --truth " + In("truth"));
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_TRUE(outcome.out == video.str());
    EXPECT_EQ(Read("truth"), truth.str());
    EXPECT_NE(truth.str().find("[\"light\",\"rain\"]"), std::string::npos);
}

TEST_F(SceneProgram, WritesOneMaskPerFrame) {
    std::filesystem::create_directory(In("masks"));
    EXPECT_EQ(Run(smallScene + " --output /dev/null --masks " + In("masks")).exitCode, 0);
    const std::filesystem::directory_iterator masks(In("masks"));
    EXPECT_EQ(std::distance(begin(masks), end(masks)), smallSettings.frames);
    MdScene::Frame frame;
    MdScene::Scene(smallSettings).Render(33, frame);
    std::ostringstream mask;
    MdScene::WriteMask(frame, mask);
    EXPECT_TRUE(Read("masks/000033.pgm") == mask.str());
}

TEST_F(SceneProgram, BadArgumentsGetOneLineAndAnExitCode) {
    for (const std::string arguments : {"--size 640",         "--size 640x360x3",
                                        "--size 16x16",       "--size x",
                                        "--frames -1",        "--frames 1.5",
                                        "--frames many",      "--fps 0",
                                        "--fps nan",          "--seed -5",
                                        "--quiet-seconds -1", "--noise inf",
                                        "--wind 99",          "--masks /nonexistent/masks",
                                        "--foliage 1",        "--water nan",
                                        "--disturbance fog",  "--disturbance rain@9-5",
                                        "--disturbance",      "--frames",
                                        "--colour",           "video.y4m"}) {
        const Outcome outcome = Run(arguments);
        EXPECT_EQ(outcome.exitCode, 2) << arguments;
        EXPECT_EQ(outcome.out, "") << arguments;
        EXPECT_EQ(outcome.errors.rfind("mdscene: ", 0), 0u) << arguments << ": " << outcome.errors;
        EXPECT_EQ(std::count(outcome.errors.begin(), outcome.errors.end(), '\n'), 1) << arguments << ": " << outcome.errors;
    }
}

TEST_F(SceneProgram, FilesThatCannotBeWrittenEndTheProgram) {
    for (const std::string arguments :
         {"--frames 2 --output /nonexistent/folder/video", "--frames 2 --truth /nonexistent/folder/truth",
          "--frames 2 --output /dev/full", "--frames 2 --truth /dev/full"}) {
        const Outcome outcome = Run(arguments);
        EXPECT_EQ(outcome.exitCode, 1) << arguments;
        EXPECT_EQ(std::count(outcome.errors.begin(), outcome.errors.end(), '\n'), 1) << arguments << ": " << outcome.errors;
    }
}

TEST_F(SceneProgram, HelpNamesEveryOption) {
    const Outcome outcome = Run("--help");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.errors, "");
    for (const char* option :
         {"--size", "--frames", "--fps", "--seed", "--quiet-seconds", "--pause-seconds", "--noise", "--wind", "--foliage",
          "--water", "--empty", "--disturbance", "--output", "--truth", "--masks"})
        EXPECT_NE(outcome.out.find(option), std::string::npos) << option;
}
