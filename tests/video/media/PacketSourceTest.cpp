// Is a path opened as a file, and an address as what is behind it?
#include "video/media/PacketSource.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "ClipFixture.h"
#include "video/base/Failure.h"

namespace Video {
namespace {

class PacketSourceTest : public ClipFixture {
protected:
    static std::string TroubleWith(const std::string& path) {
        try {
            OpenSource(path);
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.Concerns(), Concern::Input);
            return failure.what();
        }
        return "";
    }
};

TEST_F(PacketSourceTest, APathIsAFileThatEnds) {
    const std::unique_ptr<PacketSource> source = OpenSource(RawClip({.width = 64, .height = 48, .seconds = 1}), 60);
    EXPECT_FALSE(source->IsLive());
    EXPECT_EQ(source->DroppedPackets(), 0);
}

TEST_F(PacketSourceTest, AnAddressIsNotLookedForAmongFiles) {
    constexpr const char* nobody = "tcp://127.0.0.1:1";  // the port of a service that has died out
    EXPECT_EQ(TroubleWith(nobody).find("cannot open: Connection refused"), 0u) << TroubleWith(nobody);
    EXPECT_EQ(TroubleWith(In(nobody)), "cannot open: No such file or directory");
}

}  // namespace
}  // namespace Video
