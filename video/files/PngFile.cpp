// How is a PNG file written?
#include "video/files/PngFile.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <exception>
#include <filesystem>
#include <stdexcept>

#include <png.h>

#include "video/base/BgrPicture.h"
#include "video/base/Failure.h"
#include "video/files/AtomicFile.h"
#include "video/files/FileBytes.h"

namespace Video {

namespace {

png_image HeaderOf(const BgrPicture& picture) {
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(picture.width);
    image.height = static_cast<png_uint_32>(picture.height);
    image.format = PNG_FORMAT_BGR;
    return image;
}

}  // namespace

void RefuseUnlessPng(const std::string& option, const std::string& path) {
    std::string ending = std::filesystem::path(path).extension().native();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (!ending.empty() && ending != ".png") {
        throw Failure(Concern::Usage, option + " writes PNG: " + path + " must end in .png");
    }
}

void WritePng(const BgrPicture& picture, const AtomicFile& file) {
    std::string bytes;
    try {
        bytes = PngBytes(picture);
    } catch (const std::exception& error) {
        throw Failure(Concern::Output, "cannot write " + file.Path() + ": " + error.what());
    }
    WriteBytes(bytes, file);
}

std::string PngBytes(const BgrPicture& picture) {
    png_image image = HeaderOf(picture);
    std::string bytes(PNG_IMAGE_PNG_SIZE_MAX(image), '\0');
    png_alloc_size_t size = bytes.size();
    if (!png_image_write_to_memory(&image, bytes.data(), &size, 0, picture.pixels.data(), 0, nullptr)) {
        throw std::runtime_error(image.message);
    }
    bytes.resize(size);
    return bytes;
}

BgrPicture ReadPngBytes(const std::string& bytes) {
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_memory(&image, bytes.data(), bytes.size())) {
        throw std::runtime_error(image.message);
    }
    image.format = PNG_FORMAT_BGR;
    BgrPicture picture{static_cast<int>(image.width), static_cast<int>(image.height), {}};
    picture.pixels.resize(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, picture.pixels.data(), 0, nullptr)) {
        throw std::runtime_error(image.message);
    }
    return picture;
}

}  // namespace Video
