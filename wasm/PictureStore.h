// Where does a browser put a picture, and how are its planes handed on?  One piece of memory, planes one after another, rows
// without padding.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "BlockReducer.h"
#include "RgbaPicture.h"

namespace Web {

// As package/detector.js counts them.
enum class Format { I420, I422, I444, Nv12, Rgba };

constexpr Host::PixelFormat ReducedAs(Format format) {
    switch (format) {
        case Format::I420: return Host::PixelFormat::Yuv420;
        case Format::I422: return Host::PixelFormat::Yuv422;
        case Format::Nv12: return Host::PixelFormat::Nv12;
        default: return Host::PixelFormat::Yuv444;
    }
}

class PictureStore {
public:
    PictureStore(int width, int height, Format format)
        : _width(static_cast<std::size_t>(width)), _height(static_cast<std::size_t>(height)), _format(format) {
        const std::size_t pixels = _width * _height;
        _planes.resize(pixels + 2 * ChromaSamples());
        if (_format == Format::Rgba) _rgba.resize(4 * pixels);
    }

    // The browser writes here.
    std::uint8_t* Bytes() { return _format == Format::Rgba ? _rgba.data() : _planes.data(); }
    std::size_t ByteCount() const { return _format == Format::Rgba ? _rgba.size() : _planes.size(); }

    // What it wrote, for Host::BlockReducer.
    Host::PictureView View() {
        std::uint8_t* const y = _planes.data();
        std::uint8_t* const cb = y + _width * _height;
        std::uint8_t* const cr = cb + ChromaSamples();
        if (_format == Format::Rgba) SplitRgba(_rgba.data(), _width * _height, y, cb, cr);
        const auto luma = static_cast<std::ptrdiff_t>(_width), chroma = static_cast<std::ptrdiff_t>(ChromaColumns());
        if (_format == Format::Nv12) return {.plane = {y, cb, nullptr}, .stride = {luma, 2 * chroma, 0}};
        return {.plane = {y, cb, cr}, .stride = {luma, chroma, chroma}};
    }

private:
    bool HasHalvedColumns() const { return _format != Format::I444 && _format != Format::Rgba; }
    bool HasHalvedRows() const { return _format == Format::I420 || _format == Format::Nv12; }
    std::size_t ChromaColumns() const { return HasHalvedColumns() ? (_width + 1) / 2 : _width; }
    std::size_t ChromaSamples() const { return ChromaColumns() * (HasHalvedRows() ? (_height + 1) / 2 : _height); }

    const std::size_t _width;   // pixels
    const std::size_t _height;  // pixels
    const Format _format;
    std::vector<std::uint8_t> _planes;  // Y, Cb, Cr; Nv12: Y, then Cb and Cr in turn
    std::vector<std::uint8_t> _rgba;    // 4 * [pixel]; empty in other formats
};

}  // namespace Web
