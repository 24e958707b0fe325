/* Can a host be written in plain C?  One detector from creation to destruction; the first expectation that is not met is
 * printed and ends the program with 1. */
#include "coreMD.h"

#include <stdio.h>
#include <string.h>

#include "ExpectInC.h"
#include "RecordLayout.h"

enum { columns = 12, rows = 9, blocks = columns * rows };

static uint8_t planes[3 * blocks], bgr[3 * blocks], mask[4] = {1, 1, 1, 1}, image[3 * blocks];
static int32_t isKnown[blocks], width, height;
static uint8_t state[100000], background[3 * blocks], known[blocks], foreground[blocks];

static void OnFailure(void* context, const char* condition, const char* file, int32_t line, const char* function) {
    fprintf(stderr, "%s: %s:%d: %s: %s\n", (const char*)context, file, line, function, condition);
}

int main(void) {
    DetectorHandle handle = NULL, successor = NULL;
    DetectionInfo info;
    MDZoneInfo zone = {mask, 2, 2, 0.3f, 0.0f, 0.0f};
    MDResultInfo summary = {7, 7, 7};
    MDZoneDetectionInfo result = {7, NULL, NULL};
    MDObjectInfo object;
    uint8_t copy[4] = {0, 0, 0, 0};
    int frame;

    EXPECT(coreMD_Version() == COREMD_VERSION);
    coreMD_SetFailureHandler(OnFailure, copy);
    EXPECT(strcmp(coreMD_CheckHandle(&handle), "*ptr") == 0);
    EXPECT(h15(&handle) == 0 && handle != NULL);
    EXPECT(coreMD_CheckHandle(&handle) == NULL && coreMD_CheckZone(&handle, &zone) == NULL);
    EXPECT(strcmp(coreMD_CheckZone(&handle, NULL), "zone") == 0 && strcmp(coreMD_CheckObject(&handle), "_isObject") == 0);
    EXPECT(h12(&handle, &zone) == 0);
    EXPECT(h33(&handle, image, isKnown) < 0);
    EXPECT(coreMD_ReadBlocks(&handle, NULL, NULL, NULL, 0) < 0);
    EXPECT(coreMD_ReadBlocks(&handle, background, known, foreground, blocks) < 0);
    h35(&handle, 0);
    h36(&handle, 0);
    EXPECT(h16() == 0);
    h34();
    EXPECT(h20(mask, copy, 4) == copy && memcmp(mask, copy, 4) == 0);

    memset(&info, 0, sizeof info);
    memset(planes, 100, blocks);
    memset(planes + blocks, 128, 2 * blocks);
    info.width = columns;
    info.height = rows;
    info.bgr24stride = 3 * columns;
    info.bgr24ForEachBlock = bgr;
    info.ycbcrForEachBlock = planes;
    info.fps = 25.0;
    info.passThroughFlag = 1;
    for (frame = 1; frame <= 45; ++frame) { /* nine seconds: time enough to learn the background */
        info.timestamp = frame * INT64_C(2000000);
        EXPECT(coreMD_CheckFrame(&handle, &info) == NULL);
        h13(&handle, &info);
        EXPECT(h17(&handle, &summary) == (frame < 11 ? COREMD_NOT_READY : COREMD_DELIVERED));
    }
    EXPECT(summary.zoneResultsCount == 1 && summary.isIFrame == 0 && summary.passThroughFlag == 1);
    EXPECT(h19(&handle, &result) == COREMD_DELIVERED && result.objectsCount == 0);
    EXPECT(h18(&handle, &object) == COREMD_EXHAUSTED);
    EXPECT(h33(&handle, image, isKnown) == 0 && isKnown[0] == 255 && image[0] == 100);

    memset(planes + 4 * columns + 3, 200, 2); /* two blocks light up */
    info.timestamp += 2000000;
    h13(&handle, &info);
    EXPECT(h17(&handle, &summary) == COREMD_DELIVERED);
    EXPECT(h19(&handle, &result) == COREMD_DELIVERED && result.objectsCount == 1);
    EXPECT(result.objectsMap[4 * columns + 3] == 1 && result.objectsMap[0] == 0);
    EXPECT(h18(&handle, &object) == COREMD_DELIVERED && object.pixelsCount == 2);
    EXPECT(object.left == 3 && object.right == 4 && object.top == 4 && object.bottom == 4);
    EXPECT(object.pixelsX[0] == 3 && object.pixelsY[0] == 4);
    EXPECT(h18(&handle, &object) == COREMD_EXHAUSTED);

    memset(known, 7, sizeof known);
    EXPECT(coreMD_ReadBlocks(&handle, background, known, foreground, blocks - 1) < 0 && known[0] == 7);
    EXPECT(coreMD_ReadBlocks(&handle, background, known, foreground, blocks) == 0);
    EXPECT(background[4 * columns + 3] == planes[0] && background[blocks] == planes[blocks]);
    EXPECT(background[3 * blocks - 1] == planes[3 * blocks - 1] && known[0] == 255 && known[blocks - 1] == 255);
    EXPECT(foreground[4 * columns + 3] == 255 && foreground[4 * columns + 4] == 255 && foreground[4 * columns + 5] == 0);
    EXPECT(coreMD_ReadBlocks(&handle, NULL, NULL, NULL, blocks) == 0);

    EXPECT(coreMD_StateSize(&handle) > 100 * blocks && coreMD_StateSize(&handle) < (int64_t)sizeof state);
    EXPECT(coreMD_SaveState(&handle, state, (int64_t)sizeof state) == COREMD_STATE_DONE);
    EXPECT(coreMD_SaveState(&handle, state, 100) == COREMD_STATE_NO_ROOM);
    EXPECT(coreMD_LoadState(&handle, state, 100, NULL, NULL) == COREMD_STATE_DAMAGED);
    EXPECT(coreMD_LoadState(&handle, state, coreMD_StateSize(&handle), &width, &height) == COREMD_STATE_DONE);
    EXPECT(width == columns && height == rows);
    EXPECT(h19(&handle, &result) == COREMD_DELIVERED && result.objectsMap[4 * columns + 3] == 1);

    zone.minObjectWidth = 0.5f;
    EXPECT(coreMD_ReplaceZones(&handle, &zone, 1, &successor) == 0 && successor != NULL && successor != handle);
    EXPECT(h19(&successor, &result) == COREMD_DELIVERED && result.objectsCount == 0);
    EXPECT(h19(&handle, &result) == COREMD_DELIVERED && result.objectsCount == 1);
    h14(&successor);

    EXPECT(h11(&handle) == 0);
    h14(&handle);
    EXPECT(handle == NULL);
    coreMD_SetFailureHandler(NULL, NULL);
    return 0;
}
