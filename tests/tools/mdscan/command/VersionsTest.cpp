// Are the versions those of the libraries at work?
#include "command/Versions.h"

#include <gtest/gtest.h>

#include <string>

extern "C" {
#include <libavformat/avformat.h>
}

#include "coreMD.hpp"

namespace Scan {
namespace {

TEST(Versions, HeadersAreNamedWhereTheyDiffer) {
    EXPECT_EQ(VersionOf("lib", {1, 2, 3}, {1, 2, 3}), "lib 1.2.3");
    EXPECT_EQ(VersionOf("lib", {1, 2, 3}, {1, 1, 7}), "lib 1.2.3 (built with 1.1.7)");
}

TEST(Versions, EveryLibraryTellsItsOwn) {
    const auto [major, minor, patch] = coremd::LibraryVersion();
    const unsigned media = avformat_version();
    const std::string text = VersionText();
    EXPECT_EQ(
        text.rfind("mdscan, coreMD " + std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch), 0),
        0u);
    EXPECT_NE(text.find("libavformat " + std::to_string(AV_VERSION_MAJOR(media)) + "." +
                        std::to_string(AV_VERSION_MINOR(media)) + "." + std::to_string(AV_VERSION_MICRO(media))),
              std::string::npos)
        << text;
    for (const char* name : {"\nFFmpeg ", "libavcodec ", "libavutil ", "libswscale "}) {
        EXPECT_NE(text.find(name), std::string::npos) << text;
    }
}

}  // namespace
}  // namespace Scan
