// How does a host in C find out what its scene looks like?  coreMD-host.h states what is promised.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>

#include "c/Border.h"
#include "c/PrimingHandle.h"
#include "conditioning/Priming.h"
#include "coreMD-host.h"

using namespace Host;
using namespace Host::InC;

int32_t coreMD_CreatePriming(int32_t columns, int32_t rows, int32_t mostPictures, coreMD_Priming** priming) {
    if (!priming) return COREMD_HOST_NULL;
    *priming = nullptr;
    if (!IsGridSize(columns) || !IsGridSize(rows) || mostPictures < 1 || mostPictures > Priming::largestPictures)
        return COREMD_HOST_OUT_OF_RANGE;
    if (3 * BlocksOf(columns, rows) > std::numeric_limits<std::ptrdiff_t>::max() / mostPictures)
        return COREMD_HOST_NO_MEMORY;
    return Guarded([&] {
        *priming = std::make_unique<coreMD_Priming>(columns, rows, mostPictures).release();
        return COREMD_HOST_DONE;
    });
}

void coreMD_DestroyPriming(coreMD_Priming** priming) {
    if (!priming) return;
    delete *priming;
    *priming = nullptr;
}

int32_t coreMD_KeepPicture(coreMD_Priming* priming, const uint8_t* ycbcr, int64_t size) {
    if (!priming || !ycbcr) return COREMD_HOST_NULL;
    const bool isFull = priming->pictures.Pictures() == priming->pictures.MostPictures();
    if (isFull || size < priming->PlaneBytes()) return COREMD_HOST_NO_ROOM;
    priming->pictures.Add(ycbcr);
    return COREMD_HOST_DONE;
}

int32_t coreMD_KeptPictures(const coreMD_Priming* priming, int32_t* pictures) {
    if (!priming || !pictures) return COREMD_HOST_NULL;
    *pictures = priming->pictures.Pictures();
    return COREMD_HOST_DONE;
}

int32_t coreMD_KeptPicture(const coreMD_Priming* priming, int32_t index, uint8_t* ycbcr, int64_t size) {
    if (!priming || !ycbcr) return COREMD_HOST_NULL;
    if (index < 0 || index >= priming->pictures.Pictures()) return COREMD_HOST_OUT_OF_RANGE;
    if (size < priming->PlaneBytes()) return COREMD_HOST_NO_ROOM;
    std::copy_n(priming->pictures.Picture(index), priming->PlaneBytes(), ycbcr);
    return COREMD_HOST_DONE;
}

int32_t coreMD_ForgetPictures(coreMD_Priming* priming) {
    if (!priming) return COREMD_HOST_NULL;
    priming->pictures.Clear();
    return COREMD_HOST_DONE;
}

int32_t coreMD_MostFrequent(const coreMD_Priming* priming, int32_t ahead, uint8_t* ycbcr, int64_t size) {
    if (!priming || !ycbcr) return COREMD_HOST_NULL;
    if (ahead < 1) return COREMD_HOST_OUT_OF_RANGE;
    if (priming->pictures.Pictures() == 0) return COREMD_HOST_WRONG_ORDER;
    if (size < priming->PlaneBytes()) return COREMD_HOST_NO_ROOM;
    priming->pictures.MostFrequent(std::min(ahead, Priming::largestPictures), ycbcr);
    return COREMD_HOST_DONE;
}
