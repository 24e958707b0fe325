// Does the C interface hold together under any order of allowed calls?  The input is a program of calls: zones, frames of
// every kind, readouts, settings.  Calls that end the process by contract are not made.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "ByteSource.h"
#include "Claim.h"
#include "DetectChoices.h"
#include "FuzzTarget.h"
#include "FuzzedScene.h"
#include "ReadoutClaims.h"
#include "coreMD.h"

namespace {

using Fuzz::ByteSource;
using Fuzz::Expected;

constexpr int historyLength = 11;  // frames
constexpr int mostZones = 6;
constexpr std::int64_t mostWork = 40000;          // blocks times frames of one input, so that it takes milliseconds;
constexpr std::int64_t mostWorkPerFrame = 3000;   // large grids count less: they need their eleven frames, too
constexpr std::int64_t mostSpareBytes = 1 << 22;  // of the buffer whose size a stride decides

// Sums of the host's stamps wrap here: the interface takes any.
std::int64_t Later(std::int64_t time, std::int64_t ticks) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(time) + static_cast<std::uint64_t>(ticks));
}

class Host {
public:
    explicit Host(ByteSource& bytes) : _bytes(bytes) {
        std::srand(bytes.Byte());  // the detector draws its phase with rand()
        _flags.fps = 25;
        Create();
        ChooseGrid();
    }
    ~Host() { h14(&_handle); }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    void Run() {
        while (!_bytes.AtEnd() && _work < mostWork) Step();
        ReadEverything();
    }

private:
    void Step() {
        switch (_bytes.Byte() % 24) {
            case 0:
            case 1:
            case 2:
            case 3: Frames(1); break;
            case 4:
            case 5: Frames(_bytes.Between(2, 16)); break;
            case 6:
            case 7:
            case 8: _scene.Stroke(_bytes); break;
            case 9: Fuzz::ChooseFlags(_bytes, _flags); break;
            case 10: _step = Fuzz::ChooseStep(_bytes); break;
            case 11: _time = Fuzz::ChooseTime(_bytes); break;
            case 12: ChooseGrid(); break;
            case 13: AddZone(); break;
            case 14: RemoveZones(); break;
            case 15: Create(); break;
            case 16: h35(&_handle, _bytes.Flag()); break;
            case 17: h36(&_handle, _bytes.Flag()); break;
            case 18: Fuzz::ClaimSummary(&_handle, Known()); break;
            case 19: Fuzz::ClaimZoneResult(&_handle, Known()); break;
            case 20: ReadAnyhow(); break;
            case 21: ReadBackground(); break;
            case 22: CopyBytes(); break;
            case 23:
                _flags.fps = Fuzz::ChooseRate(_bytes);
                _stride = _bytes.Byte() % 4 == 0 ? _bytes.Int32() : 0;
                break;
        }
    }

    // ---- Detectors and zones ----------------------------------------------------------------------------------------

    void Create() {
        h14(&_handle);
        FUZZ_CLAIM(!_handle);
        FUZZ_CLAIM(h15(&_handle) == 0);
        _columns = _rows = _ringFrames = _zones = 0;
        _lastTime = 0;
        _metZones = _hasObjectCursor = _hasUnfittedZone = _hasLimit = _detectsShadow = _passThroughFlag = false;
    }

    void AddZone() {
        if (_zones >= mostZones) return;
        Fuzz::ChosenZone zone(_bytes);
        FUZZ_CLAIM(h12(&_handle, &zone.info) == 0);
        ++_zones;
        _hasUnfittedZone = true;
        _hasLimit |= zone.isLimited;
    }

    void RemoveZones() {
        FUZZ_CLAIM(h11(&_handle) == 0);
        _zones = 0;
        _hasUnfittedZone = _hasLimit = false;
    }

    // ---- Frames -----------------------------------------------------------------------------------------------------

    void ChooseGrid() {
        const std::uint8_t code = _bytes.Byte();
        int columns = _bytes.Between(1, 40), rows = _bytes.Between(1, 40);
        if (code % 8 == 1) columns = 1;
        if (code % 8 == 2) rows = 1;
        if (code == 251) columns = 9999, rows = 1;
        if (code == 252) columns = 1, rows = 9999;
        if (code == 253) columns *= 6, rows *= 4;
        _nextColumns = columns;
        _nextRows = rows;
        _scene.Resize(columns, rows);
    }

    void Frames(int count) {
        const std::uint8_t motion = count > 1 ? _bytes.Byte() : std::uint8_t{0};  // 0: the same picture again and again
        for (int i = 0; i < count && _work < mostWork; ++i) {
            Frame();
            if (motion > 127) _scene.Shift(motion & 127);
            if (motion > 250) Fuzz::ClaimZoneResult(&_handle, Known());
        }
    }

    bool StartsAfresh() const { return _nextColumns != _columns || _nextRows != _rows || _time < _lastTime; }

    // No frame that meets a zone which does not fit, nor a start without a zone.
    void Prepare() {
        if (_hasLimit && _nextColumns < 2) {
            _nextColumns = 2;
            _scene.Resize(_nextColumns, _nextRows);
        }
        if (_hasUnfittedZone && !StartsAfresh()) {
            if (_lastTime > Fuzz::earliest) _time = _lastTime - 1;
            else _nextRows = _nextRows % 40 + 1, _scene.Resize(_nextColumns, _nextRows);
        }
        if (StartsAfresh() && _zones == 0) AddZoneOfAll();
    }

    void AddZoneOfAll() {
        std::uint8_t cell = 1;
        MDZoneInfo zone{&cell, 1, 1, 0, 0, 0};
        h12(&_handle, &zone);
        ++_zones;
    }

    std::int32_t Stride() const {
        const std::uint32_t product = static_cast<std::uint32_t>(_stride) * static_cast<std::uint32_t>(_nextRows);
        const auto wrapped = static_cast<std::int32_t>(product);  // as the detector computes it
        return _stride > 0 && wrapped < mostSpareBytes ? _stride : 3 * _nextColumns;
    }

    void Frame() {
        Prepare();
        // Buffers that end where they must, and that are gone after the call.
        std::vector<std::uint8_t> planes = _scene.Planes();
        std::vector<std::uint8_t> reference;
        if (_flags.reserved % 4 != 3) reference.assign(_earlierLuma.begin(), _earlierLuma.end());
        reference.resize(_scene.Blocks(), 90);
        const auto pixel = std::make_unique<std::uint8_t>();  // not read
        DetectionInfo info = _flags;
        info.width = _nextColumns;
        info.height = _nextRows;
        info.bgr24stride = Stride();
        info.timestamp = _time;
        info.bgr24ForEachBlock = pixel.get();
        info.ycbcrForEachBlock = planes.data();
        info.mpeg4ReferenceLuma = _flags.reserved % 8 == 7 ? nullptr : reference.data();
        if (StartsAfresh()) {
            _ringFrames = 0;
            _detectsShadow = info.detectShadow != 0;
            _hasUnfittedZone = false;
        }
        h13(&_handle, &info);
        _columns = _nextColumns;
        _rows = _nextRows;
        _lastTime = _time;
        _passThroughFlag = info.passThroughFlag != 0;
        _metZones = _zones > 0;
        _hasObjectCursor = false;
        if (info.isH264Partly == 0 || info.isH264PartlyIFrame != 0) ++_ringFrames;
        _work += std::min(static_cast<std::int64_t>(_scene.Blocks()), mostWorkPerFrame);
        _time = Later(_time, _step);
        _earlierLuma.assign(planes.begin(), planes.begin() + static_cast<std::ptrdiff_t>(_scene.Blocks()));
    }

    // ---- Readouts ---------------------------------------------------------------------------------------------------

    Expected Known() const {
        return {.columns = _columns,
                .rows = _rows,
                .isReady = _ringFrames >= historyLength,
                .hasZones = _metZones,
                .detectsShadow = _detectsShadow,
                .passThroughFlag = _passThroughFlag};
    }
    bool HasFrame() const { return _columns > 0; }

    // Any number of calls in any order; h18 only once there was a frame.
    void ReadAnyhow() {
        for (int calls = _bytes.Between(0, 15); calls > 0; --calls) {
            MDResultInfo summary{};
            MDZoneDetectionInfo zone{};
            MDObjectInfo object{};
            switch (_bytes.Byte() % 4) {
                case 0: h17(&_handle, &summary); break;
                case 1: _hasObjectCursor |= h19(&_handle, &zone) == COREMD_DELIVERED; break;
                default:
                    if (!HasFrame() || h18(&_handle, &object) != COREMD_DELIVERED) break;
                    FUZZ_CLAIM(_hasObjectCursor);  // the objects of the frame before are gone
                    for (int i = 0; i < object.pixelsCount; ++i)
                        FUZZ_CLAIM(object.pixelsX[i] >= object.left && object.pixelsX[i] <= object.right &&
                                   object.pixelsY[i] >= object.top && object.pixelsY[i] <= object.bottom);
            }
        }
    }

    void ReadBackground() {
        if (HasFrame()) {
            Fuzz::ClaimBackground(&_handle, Known());
            return;
        }
        std::uint8_t image[3] = {1, 2, 3};
        std::int32_t mask = 4;
        FUZZ_CLAIM(h33(&_handle, image, &mask) < 0);
        FUZZ_CLAIM(image[0] == 1 && image[1] == 2 && image[2] == 3 && mask == 4);
    }

    void ReadEverything() {
        Fuzz::ClaimSummary(&_handle, Known());
        Fuzz::ClaimZoneResult(&_handle, Known());
        Fuzz::ClaimZoneResult(&_handle, Known());  // delivered again
        ReadBackground();
    }

    void CopyBytes() {
        const int length = _bytes.Between(-3, 40);
        std::vector<std::uint8_t> source(static_cast<std::size_t>(std::max(length, 0))), destination(source.size());
        _bytes.Fill(source);
        FUZZ_CLAIM(h20(source.data(), destination.data(), length) == destination.data());
        FUZZ_CLAIM(source == destination);
        FUZZ_CLAIM(h16() == 0);
        h34();
    }

    ByteSource& _bytes;
    DetectorHandle _handle = nullptr;
    Fuzz::FuzzedScene _scene;
    DetectionInfo _flags{};    // the next frame's, as far as they do not follow from the scene
    std::int32_t _stride = 0;  // bytes; 0: that of the grid
    int _nextColumns = 0;      // blocks, of the next frame
    int _nextRows = 0;
    std::int64_t _time = 0;                  // ticks, of the next frame
    std::int64_t _step = Fuzz::oneSecond;    // ticks between frames
    std::int64_t _work = 0;                  // blocks times frames so far
    std::vector<std::uint8_t> _earlierLuma;  // of the last frame

    // What the detector is expected to know.
    int _columns = 0;  // blocks; 0: no frame yet
    int _rows = 0;
    std::int64_t _lastTime = 0;  // ticks
    int _ringFrames = 0;         // frames of history since the last fresh start
    int _zones = 0;
    bool _metZones = false;         // the last frame did
    bool _hasObjectCursor = false;  // h19 has delivered since the last frame
    bool _hasUnfittedZone = false;
    bool _hasLimit = false;  // a zone with a least size beyond the grid
    bool _detectsShadow = false;
    bool _passThroughFlag = false;
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ByteSource bytes(data, size);
    Host(bytes).Run();
    return 0;
}
