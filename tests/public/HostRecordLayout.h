// Do the records of coreMD-host.h lie in memory as every host was compiled to expect?  Sizes and offsets, by the size of a
// pointer; for C11 and C++. A record never changes: what fails here is a broken host.
#ifndef COREMD_TESTS_HOST_RECORD_LAYOUT_H
#define COREMD_TESTS_HOST_RECORD_LAYOUT_H

#include "coreMD-host.h"

#include <assert.h>
#include <stddef.h>
#include <stdint.h>

#define HOST_RECORD_SIZE(record, size) static_assert(sizeof(record) == (size), "size of " #record)
#define HOST_FIELD(type, record, field, offset)                                          \
    static_assert(offsetof(record, field) == (offset), "offset of " #record "." #field); \
    static_assert(sizeof(((record*)0)->field) == sizeof(type), "size of " #record "." #field)

HOST_RECORD_SIZE(coreMD_PictureFormat, 36);
HOST_FIELD(int32_t, coreMD_PictureFormat, width, 0);
HOST_FIELD(int32_t, coreMD_PictureFormat, height, 4);
HOST_FIELD(int32_t, coreMD_PictureFormat, layout, 8);
HOST_FIELD(int32_t, coreMD_PictureFormat, blockSize, 12);
HOST_FIELD(int32_t, coreMD_PictureFormat, range, 16);
HOST_FIELD(int32_t, coreMD_PictureFormat, cropLeft, 20);
HOST_FIELD(int32_t, coreMD_PictureFormat, cropTop, 24);
HOST_FIELD(int32_t, coreMD_PictureFormat, cropWidth, 28);
HOST_FIELD(int32_t, coreMD_PictureFormat, cropHeight, 32);

HOST_RECORD_SIZE(coreMD_Picture, 3 * sizeof(void*) + 3 * sizeof(ptrdiff_t));
HOST_FIELD(const uint8_t* [3], coreMD_Picture, plane, 0);
HOST_FIELD(ptrdiff_t[3], coreMD_Picture, stride, 3 * sizeof(void*));

HOST_RECORD_SIZE(coreMD_Grid, 20);
HOST_FIELD(int32_t, coreMD_Grid, columns, 0);
HOST_FIELD(int32_t, coreMD_Grid, rows, 4);
HOST_FIELD(int32_t, coreMD_Grid, width, 8);
HOST_FIELD(int32_t, coreMD_Grid, height, 12);
HOST_FIELD(int32_t, coreMD_Grid, blockSize, 16);

HOST_RECORD_SIZE(coreMD_Shift, 8);
HOST_FIELD(int32_t, coreMD_Shift, dx16, 0);
HOST_FIELD(int32_t, coreMD_Shift, dy16, 4);

HOST_RECORD_SIZE(coreMD_PictureState, 12);
HOST_FIELD(int32_t, coreMD_PictureState, wasShown, 0);
HOST_FIELD(int32_t, coreMD_PictureState, isDark, 4);
HOST_FIELD(int32_t, coreMD_PictureState, suppresses, 8);

HOST_RECORD_SIZE(coreMD_DisturbanceSpell, 32);
HOST_FIELD(int64_t, coreMD_DisturbanceSpell, begin, 0);
HOST_FIELD(int64_t, coreMD_DisturbanceSpell, end, 8);
HOST_FIELD(int32_t, coreMD_DisturbanceSpell, isRunning, 16);
HOST_FIELD(int32_t, coreMD_DisturbanceSpell, hasBegun, 20);
HOST_FIELD(int32_t, coreMD_DisturbanceSpell, hasEnded, 24);
HOST_FIELD(int32_t, coreMD_DisturbanceSpell, reserved, 28);

HOST_RECORD_SIZE(coreMD_Outline, 24);
HOST_FIELD(int32_t, coreMD_Outline, label, 0);
HOST_FIELD(int32_t, coreMD_Outline, blocks, 4);
HOST_FIELD(int32_t, coreMD_Outline, left, 8);
HOST_FIELD(int32_t, coreMD_Outline, top, 12);
HOST_FIELD(int32_t, coreMD_Outline, right, 16);
HOST_FIELD(int32_t, coreMD_Outline, bottom, 20);

#endif
