// Are shadows found alike on rows longer than the pieces that the kernel works on?  Compared with the reference model, frame
// by frame, on widths around one and several pieces.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include <gtest/gtest.h>

#include "../reference/ReferenceModel.h"
#include "DetectorHost.h"
#include "ScriptedStream.h"

namespace {

class WideShadowTest : public testing::TestWithParam<int> {};

TEST_P(WideShadowTest, EqualsTheModel) {
    Kit::StreamScript script;
    script.kind = Kit::InputKind::StandardWithShadows;
    script.columns = GetParam();
    script.rows = 12;
    script.things = 4;
    script.shadows = 12;
    script.interval = Kit::oneSecond / 2;
    Kit::ScriptedStream stream(script);

    std::srand(1);
    Reference::Model model(Reference::Model::StartPhase(std::rand()));
    std::srand(1);
    Kit::DetectorHost host;
    host.AddWholeFrame();
    std::uint8_t cell = 1;
    model.AddZone({&cell, 1, 1, 0.3f, 0.0f, 0.0f});

    int shadowsBeyondFirstPiece = 0, shadowsBeforeLastPiece = 0;
    for (int frame = 0; frame < 160; ++frame) {
        const DetectionInfo info = stream.Next();
        model.Detect(info);
        const Kit::FrameResult found = host.Detect(info);
        const Reference::ZoneResult expected = model.Result();
        if (found.zoneStatus != COREMD_DELIVERED) continue;
        ASSERT_EQ(expected.status, COREMD_DELIVERED);
        ASSERT_EQ(found.zoneMap, *expected.results) << "frame " << frame;
        ASSERT_EQ(found.labels, *expected.labels) << "frame " << frame;
        for (int i = 0; i < stream.BlockCount(); ++i) {
            if (found.zoneMap[static_cast<std::size_t>(i)] != 2) continue;
            const int x = i % script.columns;
            shadowsBeyondFirstPiece += x >= 64;
            shadowsBeforeLastPiece += x < (script.columns - 1) / 64 * 64;
        }
    }
    if (script.columns > 70) {
        EXPECT_GT(shadowsBeyondFirstPiece, 0);
        EXPECT_GT(shadowsBeforeLastPiece, 0);
    }
}

INSTANTIATE_TEST_SUITE_P(Columns, WideShadowTest, testing::Values(63, 64, 65, 66, 127, 128, 129, 130, 200, 333));

}  // namespace
