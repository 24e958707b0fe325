// What is a file, and what is live?
#include "video/media/PacketSource.h"

#include <algorithm>
#include <utility>

#include "video/base/LiveName.h"
#include "video/media/Connection.h"
#include "video/media/FileSource.h"
#include "video/media/LiveReader.h"
#include "video/media/LiveSource.h"
#include "video/time/TickTime.h"

namespace Video {

// A download that has an end is a file like others; all else that has no path is live.
std::unique_ptr<PacketSource> OpenSource(const std::string& path, double reconnect, const std::function<void()>& onWait) {
    if (!IsUrl(path) && !IsCamera(path)) {
        return std::make_unique<FileSource>(path, onWait);
    }
    const LiveLimits limits{.reconnect = reconnect};
    auto patience = std::make_unique<Patience>();
    patience->Allow(limits.silence);
    InputPointer input = OpenRemote(path, *patience, reconnect);
    if (path.starts_with("http") && ((input->pb && avio_size(input->pb) > 0) || input->duration > 0)) {
        const Ticks silence = std::max(limits.silence, FromSeconds(reconnect));  // FFmpeg may try to take it up again
        return std::make_unique<FileSource>(path, std::move(input), std::move(patience), silence);
    }
    Connection connection = FindVideo(std::move(input));
    return std::make_unique<LiveSource>(path, limits, std::move(patience), std::move(connection));
}

}  // namespace Video
