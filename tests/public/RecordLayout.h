// Do the records lie in memory as every host was compiled to expect?  Sizes and offsets where pointers have 64 bits, on
// Linux and on Windows; for C11 and C++. A record never changes: what fails here is a broken host.
#ifndef COREMD_TESTS_RECORD_LAYOUT_H
#define COREMD_TESTS_RECORD_LAYOUT_H

#include "coreMD.h"

#include <assert.h>
#include <stddef.h>
#include <stdint.h>

#if UINTPTR_MAX > 0xFFFFFFFF

#define RECORD_SIZE(record, size) static_assert(sizeof(record) == (size), "size of " #record)
#define FIELD_OFFSET(record, field, offset) \
    static_assert(offsetof(record, field) == (offset), "offset of " #record "." #field)

RECORD_SIZE(DetectorHandle, 8);

RECORD_SIZE(DetectionInfo, 96);
FIELD_OFFSET(DetectionInfo, width, 0);
FIELD_OFFSET(DetectionInfo, height, 4);
FIELD_OFFSET(DetectionInfo, bgr24stride, 8); /* four bytes of padding follow */
FIELD_OFFSET(DetectionInfo, timestamp, 16);
FIELD_OFFSET(DetectionInfo, bgr24ForEachBlock, 24);
FIELD_OFFSET(DetectionInfo, ycbcrForEachBlock, 32);
FIELD_OFFSET(DetectionInfo, mpeg4ReferenceLuma, 40);
FIELD_OFFSET(DetectionInfo, extraFlag1, 48);
FIELD_OFFSET(DetectionInfo, isIFrame, 52);
FIELD_OFFSET(DetectionInfo, fps, 56);
FIELD_OFFSET(DetectionInfo, passThroughFlag, 64);
FIELD_OFFSET(DetectionInfo, detectShadow, 68);
FIELD_OFFSET(DetectionInfo, extraFlag2, 72);
FIELD_OFFSET(DetectionInfo, reserved, 76);
FIELD_OFFSET(DetectionInfo, isMPEG4, 80);
FIELD_OFFSET(DetectionInfo, isH264Partly, 84);
FIELD_OFFSET(DetectionInfo, isH264PartlyIFrame, 88); /* four bytes of padding follow */

RECORD_SIZE(MDZoneInfo, 32);
FIELD_OFFSET(MDZoneInfo, mask, 0);
FIELD_OFFSET(MDZoneInfo, maskWidth, 8);
FIELD_OFFSET(MDZoneInfo, maskHeight, 12);
FIELD_OFFSET(MDZoneInfo, zoneValue, 16);
FIELD_OFFSET(MDZoneInfo, minObjectWidth, 20);
FIELD_OFFSET(MDZoneInfo, minObjectHeight, 24); /* four bytes of padding follow */

RECORD_SIZE(MDResultInfo, 12);
FIELD_OFFSET(MDResultInfo, zoneResultsCount, 0);
FIELD_OFFSET(MDResultInfo, isIFrame, 4);
FIELD_OFFSET(MDResultInfo, passThroughFlag, 8);

RECORD_SIZE(MDZoneDetectionInfo, 24);
FIELD_OFFSET(MDZoneDetectionInfo, objectsCount, 0); /* four bytes of padding follow */
FIELD_OFFSET(MDZoneDetectionInfo, objectsMap, 8);
FIELD_OFFSET(MDZoneDetectionInfo, zoneMap, 16);

RECORD_SIZE(MDObjectInfo, 32);
FIELD_OFFSET(MDObjectInfo, pixelsX, 0);
FIELD_OFFSET(MDObjectInfo, pixelsY, 8);
FIELD_OFFSET(MDObjectInfo, pixelsCount, 16);
FIELD_OFFSET(MDObjectInfo, index, 20);
FIELD_OFFSET(MDObjectInfo, secondIndex, 22);
FIELD_OFFSET(MDObjectInfo, left, 24);
FIELD_OFFSET(MDObjectInfo, right, 26);
FIELD_OFFSET(MDObjectInfo, top, 28);
FIELD_OFFSET(MDObjectInfo, bottom, 30);

#endif

#endif
