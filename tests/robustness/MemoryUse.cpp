// How much memory does a handle take per block?  Runs one detector on one grid with things moving all over it and prints
// what it asked for and what became resident.  The figures of docs/limits.md come from here.
//
//     MemoryUse 240x135             without shadow detection
//     MemoryUse 240x135 shadow      with it
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "AllocationGate.h"
#include "ResidentMemory.h"
#include "StreamScene.h"
#include "coreMD.h"

int main(int count, char** arguments) {
    int columns = 0, rows = 0;
    if (count < 2 || std::sscanf(arguments[1], "%dx%d", &columns, &rows) != 2 || columns < 1 || rows < 1) {
        std::fputs("usage: MemoryUse COLUMNSxROWS [shadow]\n", stderr);
        return 2;
    }
    const bool hasShadows = count > 2 && std::strcmp(arguments[2], "shadow") == 0;
    Kit::SeededRandom random(1);
    Kit::FrameFeed feed(hasShadows ? Kit::InputKind::StandardWithShadows : Kit::InputKind::Standard, Kit::oneSecond / 5);
    const Kit::Picture ground = Kit::Texture(columns, rows, random, 60, 180);
    Kit::Picture moved = ground;
    for (int y = 0; y < rows; y += 20)
        for (int x = 0; x < columns; x += 20) Kit::Fill(moved, {x, y, 10, 10}, 240);
    DetectionInfo info = feed.Next(ground);  // the feed has its memory now

    const double blocks = static_cast<double>(columns) * rows;
    const long residentBefore = Kit::ResidentKiB();
    const std::size_t bytesBefore = AllocationGate::LiveBytes();
    const auto print = [&](const char* when) {
        const std::size_t asked = AllocationGate::LiveBytes() - bytesBefore;
        const double resident = 1024.0 * static_cast<double>(Kit::ResidentKiB() - residentBefore);
        std::printf("%dx%d%s, %-22s asked for %11zu bytes %6.1f per block; resident %11.0f bytes %6.1f per block\n", columns,
                    rows, hasShadows ? " shadow" : "", when, asked, static_cast<double>(asked) / blocks, resident,
                    resident / blocks);
    };

    DetectorHandle handle = nullptr;
    h15(&handle);
    std::uint8_t cell = 1;
    MDZoneInfo zone{&cell, 1, 1, 0.3f, 0.0f, 0.0f};
    h12(&handle, &zone);
    h13(&handle, &info);
    print("after the first frame");
    for (int frame = 0; frame < 60; ++frame) {
        info = feed.Next(frame < 58 ? ground : moved);
        h13(&handle, &info);
    }
    MDResultInfo summary{};
    MDZoneDetectionInfo result{};
    h17(&handle, &summary);
    h19(&handle, &result);
    print("after 61 frames");
    std::printf("%d objects in the last frame\n", result.objectsCount);
    h14(&handle);
    print("after h14");
    return 0;
}
