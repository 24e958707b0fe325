// Does what was learned come back unchanged or not at all, whatever its bytes are?  Memories and states, cut, damaged and
// sealed anew, are decoded and loaded; what is accepted must be what was shown, and a detector must live on it.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "ByteSource.h"
#include "Claim.h"
#include "FuzzTarget.h"
#include "FuzzedScene.h"
#include "conditioning/BackgroundMemory.h"
#include "coreMD.h"
#include "detector/MotionDetector.h"

namespace {

using Fuzz::ByteSource;
using Bytes = std::vector<std::uint8_t>;

// FNV-1a over all but itself: damage behind the seal reaches what the seal protects.
void Seal(Bytes& bytes, std::size_t place) {
    if (bytes.size() < place + 8) return;
    std::uint64_t sum = 14695981039346656037u;
    for (std::size_t i = 0; i < bytes.size(); ++i)
        if (i < place || i >= place + 8) sum = (sum ^ bytes[i]) * 1099511628211u;
    for (std::size_t i = 0; i < 8; ++i) bytes[place + i] = static_cast<std::uint8_t>(sum >> (8 * i));
}

void PutLength(Bytes& bytes, std::size_t place, std::size_t length) {
    for (std::size_t i = 0; i < 8 && place + i < bytes.size(); ++i)
        bytes[place + i] = static_cast<std::uint8_t>(std::uint64_t{length} >> (8 * i));
}

// A few changes, near the front more often than behind, and now and then another length.
void Damage(ByteSource& bytes, Bytes& target) {
    for (int changes = bytes.Between(0, 7); changes > 0 && !target.empty(); --changes) {
        const std::size_t reach = bytes.Bool() ? std::min<std::size_t>(target.size(), 256) : target.size();
        const std::size_t place = static_cast<std::size_t>(bytes.Between(0, 65535)) % reach;
        static constexpr std::uint8_t likely[] = {0, 1, 2, 127, 128, 254, 255};
        target[place] = bytes.Bool() ? bytes.Pick(likely) : bytes.Byte();
    }
    const std::uint8_t cut = bytes.Byte();
    if (cut % 8 == 7) target.resize(static_cast<std::size_t>(bytes.Between(0, 65535)) % (target.size() + 9));
}

Host::MemoryGrid ChooseGrid(ByteSource& bytes) {
    return {.columns = bytes.Between(1, 9),
            .rows = bytes.Between(1, 5),
            .width = bytes.Between(1, 80),
            .height = bytes.Between(1, 60),
            .blockSize = bytes.Between(1, 16)};
}

// ---- Memories -----------------------------------------------------------------------------------------------------------

void ClaimDecoding(const Bytes& bytes, const Host::MemoryGrid& wanted, int library) {
    const auto background = Host::DecodeBackground(bytes, wanted);
    FUZZ_CLAIM(background.memory.has_value() == background.refusal.empty());
    const auto state = Host::DecodeState(bytes, wanted, library);
    FUZZ_CLAIM(state.memory.has_value() == state.refusal.empty());
    FUZZ_CLAIM(!background.memory || !state.memory);
    if (state.memory) {
        FUZZ_CLAIM(state.memory->grid == wanted && state.memory->libraryVersion == library);
        FUZZ_CLAIM(Host::Encode(*state.memory) == bytes);
    }
    if (!background.memory) return;
    FUZZ_CLAIM(background.memory->grid == wanted);
    const auto again = Host::DecodeBackground(Host::Encode(*background.memory), wanted);
    FUZZ_CLAIM(again.memory && again.memory->ycbcr == background.memory->ycbcr);
    FUZZ_CLAIM(again.memory->isKnown == background.memory->isKnown && again.memory->time == background.memory->time);
}

Bytes WholeMemory(ByteSource& bytes, const Host::MemoryGrid& grid, int library) {
    const auto blocks = static_cast<std::size_t>(grid.columns * grid.rows);
    if (bytes.Bool()) {
        Host::StateMemory memory{.grid = grid, .time = bytes.Int64(), .libraryVersion = library, .state = Bytes(blocks)};
        bytes.Fill(memory.state);
        return Host::Encode(memory);
    }
    Host::BackgroundMemory memory{.grid = grid, .time = bytes.Int64(), .ycbcr = Bytes(3 * blocks), .isKnown = Bytes(blocks)};
    bytes.Fill(memory.isKnown);
    bytes.Fill(memory.ycbcr);
    return Host::Encode(memory);
}

void DamagedMemory(ByteSource& bytes) {
    const Host::MemoryGrid grid = ChooseGrid(bytes);
    const int library = bytes.Between(0, 30000);
    Bytes memory = WholeMemory(bytes, grid, library);
    const std::uint8_t sealing = bytes.Byte();
    Damage(bytes, memory);
    if (sealing % 4 > 1) PutLength(memory, 48, memory.size() < 64 ? 0 : memory.size() - 64);
    if (sealing % 4 > 0 && memory.size() >= 64) Seal(memory, 56);
    ClaimDecoding(memory, bytes.Byte() % 8 == 7 ? ChooseGrid(bytes) : grid, library);
}

// ---- States -------------------------------------------------------------------------------------------------------------

class Camera {
public:
    explicit Camera(ByteSource& bytes) : _bytes(bytes) {
        std::srand(bytes.Byte());
        h15(&_handle);
        for (int zones = bytes.Between(1, 3); zones > 0; --zones) {
            Bytes mask(6, 1);
            mask[static_cast<std::size_t>(bytes.Between(0, 5))] = bytes.Byte() & 1;
            MDZoneInfo zone{mask.data(), 3, 2, bytes.Float(), bytes.Bool() ? 0.25f : 0.0f, 0.0f};
            h12(&_handle, &zone);
        }
        _info.fps = bytes.Bool() ? 25 : 2;
        _info.detectShadow = bytes.Bool();
        _info.isMPEG4 = bytes.Bool();
    }
    ~Camera() { h14(&_handle); }
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    void Show(int columns, int rows, int frames, std::int64_t from) {
        _scene.Resize(columns, rows);
        Bytes grid(_scene.Blocks() * 3);
        _info.width = columns;
        _info.height = rows;
        _info.bgr24stride = 3 * columns;
        _info.timestamp = from;
        for (; frames > 0; --frames) {
            if (_bytes.Byte() % 4 == 0) _scene.Stroke(_bytes);
            _info.isH264Partly = _bytes.Byte() % 8 == 0;
            _info.isH264PartlyIFrame = _info.isIFrame = _bytes.Bool();
            grid = _scene.Planes();
            _info.bgr24ForEachBlock = _info.ycbcrForEachBlock = grid.data();
            h13(&_handle, &_info);
            ReadEverything();
            constexpr std::int64_t step = 7'000'000, latest = INT64_MAX - step;
            _info.timestamp = std::min(_info.timestamp, latest) + step;
        }
    }

    Bytes State() {
        Bytes state(static_cast<std::size_t>(coreMD_StateSize(&_handle)));
        FUZZ_CLAIM(coreMD_SaveState(&_handle, state.data(), static_cast<std::int64_t>(state.size())) == COREMD_STATE_DONE);
        return state;
    }

    // Loads these bytes and lives on them, or refuses them and is as before.
    void ClaimLoading(const Bytes& state) {
        const Bytes before = State();
        std::int32_t columns = -1, rows = -1;
        const auto size = static_cast<std::int64_t>(state.size());
        const std::int32_t status = coreMD_LoadState(&_handle, state.data(), size, &columns, &rows);
        FUZZ_CLAIM(status >= 0 && status != COREMD_STATE_NO_ROOM && status <= COREMD_STATE_IMPOSSIBLE);
        FUZZ_CLAIM(State() == (status == COREMD_STATE_DONE ? state : before));
        FUZZ_CLAIM((status == COREMD_STATE_DONE) == (columns >= 0 && rows >= 0));
        if (status != COREMD_STATE_DONE || columns == 0 || !MayGoOn()) return;
        ReadEverything();
        Show(columns, rows, 14, GetDetector(&_handle)->_currentTime);
    }

private:
    // The contract ends the process for zones that do not fit, and for objects that fill a grid and are too small.
    bool MayGoOn() {
        const MD::MotionDetector& detector = *GetDetector(&_handle);
        for (const MD::MDZone* zone = detector._zones._first; zone; zone = zone->next)
            if (zone->pixelMapWidth != detector.blockCountX || zone->minObjectWidth > 1 || zone->minObjectHeight > 1 ||
                detector.blockCount < 2)
                return false;
        return true;
    }

    void ReadEverything() {
        MDResultInfo summary{};
        MDZoneDetectionInfo zone{};
        MDObjectInfo object{};
        h17(&_handle, &summary);
        if (h19(&_handle, &zone) != COREMD_DELIVERED) return;
        while (h18(&_handle, &object) == COREMD_DELIVERED)
            for (int i = 0; i < object.pixelsCount; ++i)
                FUZZ_CLAIM(object.pixelsX[i] >= object.left && object.pixelsX[i] <= object.right &&
                           object.pixelsY[i] >= object.top && object.pixelsY[i] <= object.bottom);
        const MD::MotionDetector& detector = *GetDetector(&_handle);
        Bytes image(3 * static_cast<std::size_t>(detector.blockCount));
        FUZZ_CLAIM(h33(&_handle, image.data(), nullptr) <= 0);
    }

    ByteSource& _bytes;
    DetectorHandle _handle = nullptr;
    DetectionInfo _info{};
    Fuzz::FuzzedScene _scene;
};

void DamagedState(ByteSource& bytes) {
    Camera saved(bytes), loaded(bytes);
    const int frames = bytes.Between(0, 20);
    if (frames > 0) {
        const int columns = bytes.Between(1, 8), rows = bytes.Between(1, 6);
        saved.Show(columns, rows, frames, bytes.Int32());
    }
    Bytes state = saved.State();
    const std::uint8_t sealing = bytes.Byte();
    Damage(bytes, state);
    if (sealing % 4 > 1) PutLength(state, 24, state.size());
    if (sealing % 4 > 0) Seal(state, 32);
    if (bytes.Bool()) loaded.Show(2, 3, 12, 0);
    loaded.ClaimLoading(state);
}

// ---- Anything -----------------------------------------------------------------------------------------------------------

void AnyBytes(ByteSource& bytes) {
    const Host::MemoryGrid grid = ChooseGrid(bytes);
    Bytes rest(bytes.Left());
    bytes.Fill(rest);
    ClaimDecoding(rest, grid, 10000);
    Camera camera(bytes);
    camera.ClaimLoading(rest);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ByteSource bytes(data, size);
    switch (bytes.Byte() % 4) {
        case 0: AnyBytes(bytes); break;
        case 1: DamagedMemory(bytes); break;
        default: DamagedState(bytes); break;
    }
    return 0;
}
