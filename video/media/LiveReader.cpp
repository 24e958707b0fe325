// How is a live source read?
//
// The thread blocks in FFmpeg, whose waiting ends by Patience. Looking up a name cannot be interrupted at all: a thread that
// is still at it when the source is no longer wanted is left to itself; what it shares stays until it has noticed.
#include "video/media/LiveReader.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

#include "video/base/Interruption.h"
#include "video/media/Connection.h"
#include "video/media/Libav.h"
#include "video/time/TickTime.h"

namespace Video {

namespace {

constexpr Ticks longestGop = 10 * oneSecond;                // without a keyframe: the source marks none
constexpr auto cameraPause = std::chrono::milliseconds(5);  // between two questions to a camera
constexpr auto longestFarewell = std::chrono::seconds(1);

auto Duration(Ticks ticks) { return std::chrono::microseconds(ticks / 10); }

std::string ReasonOf(int error) {
    switch (error) {
        case AVERROR_EOF: return "the connection ended";
        case AVERROR_EXIT: return "the source fell silent";
        default: return "the connection broke: " + ErrorText(error);
    }
}

}  // namespace

struct LiveReader::Shared {
    std::string url;
    LiveLimits limits;
    std::unique_ptr<Patience> patience;

    std::mutex mutex;  // of all below
    std::condition_variable changed;
    std::deque<LivePacket> queue;
    std::size_t bytes = 0;           // in the queue
    std::int64_t dropped = 0;        // packets, of all
    std::int64_t droppedInARow = 0;  // since the last one that was kept
    Ticks droppingSince = 0;         // ticks of the steady clock; while that is not 0
    std::string hole;                // before the next packet that is kept
    std::string trouble;             // why there is no connection
    bool unwanted = false;           // the thread is to end
    bool over = false;               // the thread has ended

    void Run(Connection connection);
    std::string ReadAll(Connection& connection);
    std::optional<Connection> ConnectAnew();
    void Accept(LivePacket packet);
    bool Sleep(Ticks duration);
};

// False: no longer wanted.
bool LiveReader::Shared::Sleep(Ticks duration) {
    std::unique_lock lock(mutex);
    return !changed.wait_for(lock, Duration(duration), [&] { return unwanted; });
}

void LiveReader::Shared::Run(Connection connection) {
    for (;;) {
        const std::string reason = ReadAll(connection);
        connection = {};
        {
            const std::lock_guard lock(mutex);
            if (unwanted || Interrupted()) {  // it did not break
                break;
            }
            hole = hole.empty() ? reason : hole;
            trouble = reason;
            if (limits.reconnect <= 0) {
                break;
            }
        }
        std::optional<Connection> next = ConnectAnew();
        if (!next) {
            break;
        }
        connection = std::move(*next);
    }
    const std::lock_guard lock(mutex);
    over = true;
    changed.notify_all();
}

std::optional<Connection> LiveReader::Shared::ConnectAnew() {
    for (Ticks wait = limits.firstWait; Sleep(wait); wait = std::min(2 * wait, limits.longestWait)) {
        try {
            patience->Allow(limits.silence);
            return FindVideo(OpenRemote(url, *patience, 0));
        } catch (const std::exception& failure) {
            const std::lock_guard lock(mutex);
            trouble = Interrupted() ? trouble : failure.what();
        }
    }
    return std::nullopt;
}

// Until it breaks; returns why.
std::string LiveReader::Shared::ReadAll(Connection& connection) {
    const Ticks opened = SteadyTicks(connection.opened), looked = SteadyNow();
    const AVRational timeBase = connection.stream->time_base;
    std::optional<Ticks> firstStamp;
    bool begun = false;  // there was a keyframe
    Ticks lastData = looked;
    for (;;) {
        LivePacket next{NewPacket(), 0, connection.facts};
        patience->Allow(limits.silence);
        const int result = av_read_frame(connection.input.get(), next.packet.get());
        const Ticks now = SteadyNow();
        if (result == AVERROR(EAGAIN) && now - lastData < limits.silence && Sleep(0)) {
            std::this_thread::sleep_for(cameraPause);
            continue;
        }
        if (result < 0) {
            return ReasonOf(result == AVERROR(EAGAIN) ? AVERROR_EXIT : result);
        }
        lastData = now;
        if (next.packet->stream_index != connection.stream->index) {
            continue;
        }
        // What came while FFmpeg looked into the streams came earlier than it is read.
        const std::int64_t stamp = next.packet->dts != AV_NOPTS_VALUE ? next.packet->dts : next.packet->pts;
        const std::optional<Ticks> stamped = TicksOf(stamp, timeBase);
        firstStamp = firstStamp ? firstStamp : stamped;
        const bool buffered = now - looked < oneSecond / 10 && stamped;
        next.arrival = buffered ? std::clamp(opened + (*stamped - *firstStamp), opened, now) : now;
        begun = begun || (next.packet->flags & AV_PKT_FLAG_KEY) != 0 || now - opened > longestGop;
        if (begun) {
            Accept(std::move(next));
        }
        const std::lock_guard lock(mutex);
        if (unwanted) {
            return "";
        }
    }
}

void LiveReader::Shared::Accept(LivePacket packet) {
    const std::lock_guard lock(mutex);
    const auto size = static_cast<std::size_t>(std::max(0, packet.packet->size));
    const bool late = !queue.empty() && packet.arrival - queue.front().arrival > limits.mostDelay;
    if (late || bytes + size > limits.mostBytes) {
        for (const LivePacket& old : queue) {
            hole = hole.empty() ? old.hole : hole;
        }
        droppingSince = droppedInARow > 0 ? droppingSince : packet.arrival;
        droppedInARow += static_cast<std::int64_t>(queue.size());
        dropped += static_cast<std::int64_t>(queue.size());
        queue.clear();
        bytes = 0;
    }
    const bool begins = (packet.packet->flags & AV_PKT_FLAG_KEY) != 0 || packet.arrival - droppingSince > longestGop;
    if (droppedInARow > 0 && !begins) {
        ++droppedInARow;
        ++dropped;
        return;
    }
    if (droppedInARow > 0) {
        const std::string slow = "the scan was too slow, " + std::to_string(droppedInARow) +
                                 (droppedInARow == 1 ? " packet dropped" : " packets dropped");
        hole = hole.empty() ? slow : hole + "; " + slow;
        droppedInARow = 0;
    }
    packet.hole = std::exchange(hole, std::string());
    trouble.clear();
    bytes += size;
    queue.push_back(std::move(packet));
    changed.notify_all();
}

LiveReader::LiveReader(const std::string& url, const LiveLimits& limits, std::unique_ptr<Patience> patience,
                       Connection first)
    : _shared(std::make_shared<Shared>()) {
    _shared->url = url;
    _shared->limits = limits;
    _shared->patience = std::move(patience);
    std::thread reader([shared = _shared, connection = std::move(first)]() mutable { shared->Run(std::move(connection)); });
    reader.detach();
}

LiveReader::~LiveReader() {
    std::unique_lock lock(_shared->mutex);
    _shared->unwanted = true;
    _shared->patience->End();
    _shared->changed.notify_all();
    _shared->changed.wait_for(lock, longestFarewell, [&] { return _shared->over; });
}

std::optional<LivePacket> LiveReader::Take(Ticks longest) {
    std::unique_lock lock(_shared->mutex);
    _shared->changed.wait_for(lock, Duration(longest), [&] { return !_shared->queue.empty() || _shared->over; });
    if (_shared->queue.empty()) {
        return std::nullopt;
    }
    LivePacket packet = std::move(_shared->queue.front());
    _shared->queue.pop_front();
    _shared->bytes -= static_cast<std::size_t>(std::max(0, packet.packet->size));
    return packet;
}

bool LiveReader::IsOver() const {
    const std::lock_guard lock(_shared->mutex);
    return _shared->over && _shared->queue.empty();
}

std::string LiveReader::Trouble() const {
    const std::lock_guard lock(_shared->mutex);
    return _shared->queue.empty() ? _shared->trouble : "";
}

std::int64_t LiveReader::Dropped() const {
    const std::lock_guard lock(_shared->mutex);
    return _shared->dropped;
}

}  // namespace Video
