// What is behind a coreMD_Priming?  The pictures, and the grid that they have.
#pragma once

#include <cstdint>

#include "c/Border.h"
#include "conditioning/Priming.h"

struct coreMD_Priming {
    coreMD_Priming(std::int32_t acrossGrid, std::int32_t downGrid, std::int32_t mostPictures)
        : columns(acrossGrid), rows(downGrid), pictures(acrossGrid, downGrid, mostPictures) {}

    std::int64_t PlaneBytes() const { return 3 * Host::InC::BlocksOf(columns, rows); }

    const std::int32_t columns, rows;
    Host::Priming pictures;
};
