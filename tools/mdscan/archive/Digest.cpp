// How are bytes digested that come piece by piece?
#include "archive/Digest.h"

#include <cerrno>
#include <cstdint>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

extern "C" {
#include <libavutil/mem.h>
#include <libavutil/sha.h>
}

#include "video/base/Failure.h"
#include "video/base/Interruption.h"

namespace Scan {

namespace {

constexpr std::size_t pieceSize = std::size_t{1} << 20;  // bytes

// Closes what was opened.
struct OpenFile {
    int descriptor;

    explicit OpenFile(int opened) : descriptor(opened) {}
    ~OpenFile() { close(descriptor); }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
};

}  // namespace

Digest::Digest() : _sha(av_sha_alloc(), av_free) {
    if (!_sha || av_sha_init(_sha.get(), 8 * static_cast<int>(size)) != 0) {
        throw Video::Failure(Video::Concern::System, "not enough memory");
    }
}

void Digest::Add(std::string_view bytes) {
    av_sha_update(_sha.get(), reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

std::string Digest::Hex(std::size_t bytes) {
    constexpr const char* digits = "0123456789abcdef";
    std::uint8_t digest[size] = {};
    av_sha_final(_sha.get(), digest);
    std::string text;
    for (std::size_t i = 0; i < bytes; ++i) {
        text += {digits[digest[i] >> 4], digits[digest[i] & 15]};
    }
    return text;
}

std::string DigestOfFile(const std::string& path) {
    const OpenFile file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    Digest digest;
    std::string piece(pieceSize, '\0');
    ssize_t got = 0;
    while (!Video::Interrupted() &&
           ((got = read(file.descriptor, piece.data(), piece.size())) > 0 || (got < 0 && errno == EINTR))) {
        digest.Add(std::string_view(piece).substr(0, got > 0 ? static_cast<std::size_t>(got) : 0));
    }
    if (got < 0) {
        throw Video::Failure(Video::Concern::Input, std::string("cannot be read: ") + std::strerror(errno));
    }
    return digest.Hex();
}

}  // namespace Scan
