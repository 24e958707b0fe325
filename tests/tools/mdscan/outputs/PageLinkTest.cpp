// Does every address lead from the page to its file, and is it never anything else than a path?
#include "outputs/PageLink.h"

#include <gtest/gtest.h>

namespace Scan {
namespace {

TEST(PageLink, AddressesAreRelativeToThePage) {
    EXPECT_EQ(LinkFrom("out/page.html", "clips/a.mp4"), "../clips/a.mp4");
    EXPECT_EQ(LinkFrom("page.html", "clips/../a.mp4"), "a.mp4");
    EXPECT_EQ(LinkFrom("/x/page.html", "/x/y/a.mp4"), "y/a.mp4");
    EXPECT_EQ(LinkFrom("/x/page.html", "/y/a.mp4"), "../y/a.mp4");
}

TEST(PageLink, NamesCannotLeaveThePath) {
    EXPECT_EQ(LinkFrom("p.html", "a b#t=1?c&\"<'.mp4"), "a%20b%23t%3D1%3Fc%26%22%3C%27.mp4");
    EXPECT_EQ(LinkFrom("p.html", "javascript:alert(1)"), "javascript%3Aalert%281%29");
    EXPECT_EQ(LinkFrom("p.html", "caf\xe9 100%.mp4"), "caf%E9%20100%25.mp4");
}

}  // namespace
}  // namespace Scan
