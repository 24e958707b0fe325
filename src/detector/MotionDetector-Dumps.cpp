// What do the blocks look like right now?  Text dumps of block arrays, one line per block row. Called by hosts only.
#include <cstddef>
#include <cstdio>
#include <memory>

#include "detector/MotionDetector.h"
#include "utils/Assert.h"

namespace MD {
namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

// print(file, index) writes one value with its separator.
template <class T, class Print>
void DumpBlocks(const T* blocks, const char* path, Grid grid, Print print) {
    const std::unique_ptr<std::FILE, CloseFile> file(path ? std::fopen(path, "w+") : nullptr);
    if (!file) return;  // a debugging aid shall not end the process
    const bool isEmpty = grid.rows <= 0 || grid.columns <= 0;
    assert(blocks || isEmpty);
    for (std::ptrdiff_t y = 0; y < grid.rows; ++y) {
        for (std::ptrdiff_t x = 0; x < grid.columns; ++x) print(file.get(), y * grid.columns + x);
        std::fputc('\n', file.get());
    }
}

}  // namespace

void MotionDetector::SaveBlocksArray(unsigned char* blocks, int, char* path) {
    DumpBlocks(blocks, path, BlockGrid(),
               [&](std::FILE* file, std::ptrdiff_t i) { std::fprintf(file, "%d", blocks[i] ? 1 : 0); });
}

void MotionDetector::SaveBlocksArrayV(unsigned char* blocks, int, char* path) {
    DumpBlocks(blocks, path, BlockGrid(),
               [&](std::FILE* file, std::ptrdiff_t i) { std::fprintf(file, "%0*d ", 3, blocks[i]); });
}

void MotionDetector::SaveBlocksArray(float* blocks, int, char* path) {
    DumpBlocks(blocks, path, BlockGrid(), [&](std::FILE* file, std::ptrdiff_t i) {
        std::fprintf(file, "%0*.*f ", 3, 1, static_cast<double>(blocks[i]));
    });
}

}  // namespace MD
