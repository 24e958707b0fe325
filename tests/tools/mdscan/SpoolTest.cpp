// Does a text come back as it was, in any order?
#include "Spool.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Scan {
namespace {

TEST(Spool, TextsComeBackInAnyOrder) {
    Spool spool;
    std::vector<Spool::Place> places;
    for (std::size_t i = 0; i < 5; ++i) {
        places.push_back(spool.Add(std::string(i * 40'000, static_cast<char>('a' + i))));
    }
    for (const std::size_t i : {3u, 0u, 4u, 1u, 2u}) {
        EXPECT_EQ(spool.Get(places[i]), std::string(i * 40'000, static_cast<char>('a' + i)));
        const Spool::Place more = spool.Add("more");
        EXPECT_EQ(spool.Get(more), "more");
    }
}

}  // namespace
}  // namespace Scan
