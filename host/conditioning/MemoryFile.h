// How does a memory get into a file, and back?  All at once: the name stands for the old bytes or for the new ones, whatever
// happens in between. Used by hosts, with the bytes of BackgroundMemory.h.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Host {

// More is no memory: a background of the largest grid takes 312 MB, the state of 1920 x 1080 blocks 212 MB.
inline constexpr std::int64_t mostMemoryBytes = std::int64_t{1} << 30;

// Writes PATH.<process>.part beside it, sees it to the disk, and gives it the name. Returns what went wrong, path and
// reason; nothing is left behind then, and an older file is as it was. An empty text: it is done. One thread at a time per
// path. A process that is killed meanwhile leaves the part behind; while it is written, it is locked (flock).
std::string SaveMemory(const std::string& path, std::span<const std::uint8_t> bytes);

// One of the two.
struct LoadedBytes {
    std::optional<std::vector<std::uint8_t>> bytes;
    std::string failure;  // path and reason: "cannot read a/b: No such file or directory"
};

// Plain files of at most mostMemoryBytes. What they hold is not looked at.
LoadedBytes LoadMemory(const std::string& path);

}  // namespace Host
