// Where are versions asked for?
#include "command/Versions.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/avutil.h>
#include <libswscale/swscale.h>
}

#include "coreMD.hpp"

namespace Scan {

namespace {

VersionNumbers Numbers(const coremd::Version& version) { return {version.major, version.minor, version.patch}; }

VersionNumbers Numbers(unsigned version) {
    return {static_cast<int>(AV_VERSION_MAJOR(version)), static_cast<int>(AV_VERSION_MINOR(version)),
            static_cast<int>(AV_VERSION_MICRO(version))};
}

std::string Text(const VersionNumbers& version) {
    return std::to_string(version[0]) + "." + std::to_string(version[1]) + "." + std::to_string(version[2]);
}

}  // namespace

std::string VersionOf(const std::string& name, const VersionNumbers& running, const VersionNumbers& built) {
    return name + " " + Text(running) + (running == built ? "" : " (built with " + Text(built) + ")");
}

std::string VersionText() {
    return VersionOf("mdscan, coreMD", Numbers(coremd::LibraryVersion()), Numbers(coremd::headerVersion)) + "\nFFmpeg " +
           av_version_info() + " (" +
           VersionOf("libavformat", Numbers(avformat_version()), Numbers(LIBAVFORMAT_VERSION_INT)) + ", " +
           VersionOf("libavcodec", Numbers(avcodec_version()), Numbers(LIBAVCODEC_VERSION_INT)) + ", " +
           VersionOf("libavutil", Numbers(avutil_version()), Numbers(LIBAVUTIL_VERSION_INT)) + ", " +
           VersionOf("libswscale", Numbers(swscale_version()), Numbers(LIBSWSCALE_VERSION_INT)) + ")";
}

}  // namespace Scan
