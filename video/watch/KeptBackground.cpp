// How is a camera's background kept?
#include "video/watch/KeptBackground.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <system_error>
#include <utility>

#include "conditioning/BackgroundMemory.h"
#include "conditioning/MemoryFile.h"
#include "video/base/Failure.h"
#include "video/base/PictureGrid.h"
#include "video/files/PassingFile.h"
#include "video/time/TickTime.h"

namespace Video {

namespace {

// Below, what stands there for a moment may be most of what was seen.
constexpr int fewestPictures = 15;

Host::MemoryGrid MemoryGridOf(const PictureGrid& grid) {
    return {.columns = grid.columns,
            .rows = grid.rows,
            .width = grid.pictureWidth,
            .height = grid.pictureHeight,
            .blockSize = grid.blockSize};
}

std::size_t BlocksOf(const PictureGrid& grid) {
    return static_cast<std::size_t>(grid.columns) * static_cast<std::size_t>(grid.rows);
}

}  // namespace

void KeptBackground::Add(const BlockPicture& picture, const PictureGrid& grid, Ticks time) {
    if (_last && time < *_last + interval) {
        return;
    }
    _last = time;
    if (!_pictures || MemoryGridOf(grid) != MemoryGridOf(_grid)) {
        _grid = grid;
        _settled.clear();
        _pictures.emplace(grid.columns, grid.rows, mostPictures);
    }
    if (_pictures->Pictures() == mostPictures) {
        Settle();
    }
    _pictures->Add(picture.ycbcr);
}

void KeptBackground::Settle() {
    _settled.resize(3 * BlocksOf(_grid));
    _pictures->MostFrequent(1, _settled.data());
    _pictures->Clear();
}

void KeptBackground::Save(const std::string& path) {
    if (!_pictures) {
        return;
    }
    if (_settled.empty() || _pictures->Pictures() >= fewestPictures) {
        Settle();
    }
    const Host::BackgroundMemory memory{.grid = MemoryGridOf(_grid),
                                        .time = *_last,
                                        .ycbcr = _settled,
                                        .isKnown = std::vector<std::uint8_t>(BlocksOf(_grid), 255)};
    RemoveLeftovers(path);
    const std::string trouble = Host::SaveMemory(path, Host::Encode(memory));
    if (!trouble.empty()) {
        throw Failure(Concern::Output, trouble);
    }
}

std::optional<std::vector<std::uint8_t>> LoadBackground(const std::string& path, const PictureGrid& grid) {
    std::error_code error;
    if (!std::filesystem::exists(path, error) && !error) {
        return std::nullopt;
    }
    const Host::LoadedBytes loaded = Host::LoadMemory(path);
    if (!loaded.bytes) {
        throw Failure(Concern::Input, loaded.failure);
    }
    Host::Recalled<Host::BackgroundMemory> recalled = Host::DecodeBackground(*loaded.bytes, MemoryGridOf(grid));
    if (!recalled.memory) {
        throw Failure(Concern::Input, path + ": " + recalled.refusal);
    }
    return std::move(recalled.memory->ycbcr);
}

}  // namespace Video
