// Who wants to see the video as it is stored?  Every packet, before it is decoded.
#pragma once

#include <cstdint>

struct AVPacket;
struct AVStream;

namespace Video {

class PacketListener {
public:
    virtual ~PacketListener() = default;

    // Packets of this stream follow, which have nothing to do with earlier ones.
    virtual void OnStream(const AVStream& stream) = 0;

    // The next packet in the order of decoding. number: one more than that of the packet before.
    virtual void OnPacket(const AVPacket& packet, std::int64_t number) = 0;
};

}  // namespace Video
