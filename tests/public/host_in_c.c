/* Can a host do everything beside the detector in plain C?  A picture becomes blocks, blocks are conditioned around a real
 * detector, what was learned becomes bytes that are the same on every machine; bad arguments become statuses. The first
 * expectation that is not met is printed and ends the program with 1. */
#include "coreMD-host.h"

#include <stdio.h>
#include <string.h>

#include "ExpectInC.h"
#include "HostRecordLayout.h"
#include "coreMD.h"

enum { width = 96, height = 64, size = 4, columns = width / size, rows = height / size, blocks = columns * rows };

static uint8_t luma[width * height], chroma[width * height / 4];
static uint8_t planes[3 * blocks], background[3 * blocks], bgr[3 * blocks], memory[4 * blocks + 64];
static uint16_t labels[blocks];
static int32_t known[blocks];

/* A detector that belongs to a conditioner. */
typedef struct Watch {
    DetectorHandle detector;
    int shown;
} Watch;

static void Show(void* context, uint8_t* ycbcr, int64_t stamp) {
    Watch* const watch = context;
    DetectionInfo info;
    memset(&info, 0, sizeof info);
    info.width = columns;
    info.height = rows;
    info.bgr24stride = 3 * columns;
    info.bgr24ForEachBlock = bgr;
    info.ycbcrForEachBlock = ycbcr;
    info.timestamp = stamp;
    info.isIFrame = 1;
    info.fps = 1000;
    info.detectShadow = 1;
    h13(&watch->detector, &info);
    ++watch->shown;
}

/* A texture with a dark square in it. */
static void Draw(int x) {
    int i, j;
    for (j = 0; j < height; ++j)
        for (i = 0; i < width; ++i) luma[j * width + i] = (uint8_t)(120 + 40 * (i / 8 % 2) + 20 * (j / 8 % 2));
    for (j = 24; j < 44 && x >= 0; ++j) memset(luma + j * width + x, 30, 20);
    memset(chroma, 128, sizeof chroma);
}

static int TestStatuses(void) {
    int32_t status;
    EXPECT(coreMD_HostVersion() == COREMD_HOST_VERSION);
    EXPECT(COREMD_HOST_VERSION == COREMD_VERSION);
    EXPECT(strcmp(coreMD_HostStatusText(COREMD_HOST_DONE), "done") == 0);
    EXPECT(strcmp(coreMD_HostStatusText(COREMD_HOST_FAILED), "a function of the host failed") == 0);
    EXPECT(strcmp(coreMD_HostStatusText(COREMD_HOST_FAILED + 1), "unknown status") == 0);
    EXPECT(strcmp(coreMD_HostStatusText(-1), "unknown status") == 0);
    for (status = 0; status < COREMD_HOST_FAILED; ++status)
        EXPECT(strcmp(coreMD_HostStatusText(status), coreMD_HostStatusText(status + 1)) != 0);
    EXPECT(strcmp(coreMD_DisturbanceName(COREMD_RAIN), "rain-like") == 0);
    EXPECT(strcmp(coreMD_DisturbanceName(COREMD_RAIN + 1), "unknown") == 0);
    return 0;
}

static int TestPictures(void) {
    static const coreMD_PictureFormat format = {width, height, COREMD_YUV420, size, 0, 0, 0, 0, 0};
    coreMD_Picture picture = {{luma, chroma, chroma}, {width, width / 2, width / 2}};
    coreMD_Reducer* reducer = NULL;
    coreMD_Priming* priming = NULL;
    coreMD_Conditioner* conditioner = NULL;
    coreMD_Grid grid;
    coreMD_Shift shift = {7, 7};
    coreMD_PictureState state;
    coreMD_DisturbanceSpell spell;
    coreMD_Outline outline;
    Watch watch = {NULL, 0};
    uint8_t everywhere = 1;
    MDZoneInfo zone = {&everywhere, 1, 1, 0, 0.03f, 0.03f};
    int64_t count = -1, second = 10000000;
    int32_t pictures = -1;
    int frame, found = 0;

    EXPECT(coreMD_ChooseBlockSize(width, height, columns) == size);
    EXPECT(coreMD_CreateReducer(&format, COREMD_STABILISE_AUTO, &reducer) == COREMD_HOST_DONE && reducer);
    EXPECT(coreMD_ReducerGrid(reducer, &grid) == COREMD_HOST_DONE);
    EXPECT(grid.columns == columns && grid.rows == rows && grid.width == width && grid.height == height);
    EXPECT(coreMD_CreatePriming(columns, rows, 3, &priming) == COREMD_HOST_DONE && priming);
    EXPECT(coreMD_MostFrequent(priming, 1, background, sizeof background) == COREMD_HOST_WRONG_ORDER);
    for (frame = 0; frame < 3; ++frame) {
        Draw(frame == 1 ? 40 : -1);
        EXPECT(coreMD_Reduce(reducer, &picture, planes, sizeof planes, &shift) == COREMD_HOST_DONE);
        EXPECT(shift.dx16 == 0 && shift.dy16 == 0);
        EXPECT(coreMD_KeepPicture(priming, planes, sizeof planes) == COREMD_HOST_DONE);
    }
    EXPECT(coreMD_KeepPicture(priming, planes, sizeof planes) == COREMD_HOST_NO_ROOM);
    EXPECT(coreMD_KeptPictures(priming, &pictures) == COREMD_HOST_DONE && pictures == 3);
    EXPECT(coreMD_MostFrequent(priming, 1, background, sizeof background) == COREMD_HOST_DONE);
    EXPECT(memcmp(background, planes, sizeof planes) == 0);
    EXPECT(coreMD_KeptPicture(priming, 1, planes, sizeof planes) == COREMD_HOST_DONE);
    EXPECT(memcmp(background, planes, sizeof planes) != 0);
    EXPECT(coreMD_PaintBlocks(planes, blocks, COREMD_LIMITED_RANGE, bgr) == COREMD_HOST_DONE);

    h15(&watch.detector);
    h12(&watch.detector, &zone);
    h35(&watch.detector, 1);
    EXPECT(coreMD_CreateConditioner(columns, rows, COREMD_LIMITED_RANGE, COREMD_HIGH_SENSITIVITY, &conditioner) ==
           COREMD_HOST_DONE);
    EXPECT(coreMD_ConditionerState(conditioner, &state) == COREMD_HOST_WRONG_ORDER);
    EXPECT(coreMD_ConditionAnswer(conditioner, NULL, NULL, labels, blocks) == COREMD_HOST_WRONG_ORDER);
    EXPECT(coreMD_PrimeConditioner(conditioner, background, sizeof background, priming, Show, &watch) == COREMD_HOST_DONE);
    EXPECT(watch.shown == 14);
    for (frame = 0; frame < 24; ++frame) {
        MDResultInfo summary;
        MDZoneDetectionInfo result = {0, NULL, NULL};
        Draw(frame < 8 ? -1 : 2 * frame);
        EXPECT(coreMD_Reduce(reducer, &picture, planes, sizeof planes, &shift) == COREMD_HOST_DONE);
        EXPECT(coreMD_ConditionPicture(conditioner, planes, sizeof planes, &shift, frame * second / 6, Show, &watch) ==
               COREMD_HOST_DONE);
        h17(&watch.detector, &summary);
        if (summary.zoneResultsCount > 0) EXPECT(h19(&watch.detector, &result) == COREMD_DELIVERED);
        EXPECT(coreMD_ConditionAnswer(conditioner, result.objectsMap, result.zoneMap, labels, blocks) == COREMD_HOST_DONE);
        EXPECT(coreMD_ConditionerState(conditioner, &state) == COREMD_HOST_DONE && state.wasShown && !state.isDark);
        EXPECT(coreMD_OutlineLabels(labels, columns, rows, &outline, 1, &count) == COREMD_HOST_DONE);
        EXPECT(frame >= 8 || count == 0);
        if (count == 1) {
            ++found;
            EXPECT(outline.left * size <= 2 * frame + 4 && (outline.right + 1) * size >= 2 * frame + 16);
            EXPECT(outline.top == 6 && outline.bottom == 10 && outline.blocks >= 20);
        }
    }
    EXPECT(found >= 14);
    EXPECT(watch.shown == 14 + 24);
    EXPECT(coreMD_LabelsWithStopped(conditioner, labels, blocks) == COREMD_HOST_DONE);
    EXPECT(coreMD_Disturbance(conditioner, COREMD_COVERED, &spell) == COREMD_HOST_DONE && !spell.isRunning);
    EXPECT(h33(&watch.detector, bgr, known) == 0);
    EXPECT(coreMD_BrightenBackground(conditioner, bgr, known, blocks) == COREMD_HOST_DONE);
    EXPECT(coreMD_ForgetPictures(priming) == COREMD_HOST_DONE);

    h14(&watch.detector);
    coreMD_DestroyConditioner(&conditioner);
    coreMD_DestroyPriming(&priming);
    coreMD_DestroyReducer(&reducer);
    EXPECT(!conditioner && !priming && !reducer);
    coreMD_DestroyConditioner(&conditioner);
    coreMD_DestroyPriming(&priming);
    coreMD_DestroyReducer(&reducer);
    coreMD_DestroyConditioner(NULL);
    coreMD_DestroyPriming(NULL);
    coreMD_DestroyReducer(NULL);
    return 0;
}

/* What every machine has to write: grid 1 x 2 of 258 x 3 pixels, blocks of 200; the time 0x0102030405060708, and -2. */
static const uint8_t writtenBackground[] = {
    0x63, 0x6f, 0x72, 0x65, 0x4d, 0x44, 0x62, 0x6d, 0x01, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x01, 0x00,
    0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x02, 0x01, 0x00, 0x00, 0x03, 0x00, 0x00, 0x00, 0xc8, 0x00, 0x00, 0x00,
    0x00, 0x00, 0x00, 0x00, 0x08, 0x07, 0x06, 0x05, 0x04, 0x03, 0x02, 0x01, 0x07, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x00, 0xa3, 0x83, 0xa9, 0x74, 0xa5, 0xe3, 0xa8, 0x4d, 0x0a, 0x0b, 0x14, 0x15, 0x1e, 0x1f, 0x02};
static const uint8_t writtenState[] = {0x63, 0x6f, 0x72, 0x65, 0x4d, 0x44, 0x62, 0x6d, 0x01, 0x00, 0x00, 0x00, 0x02, 0x00,
                                       0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x02, 0x01, 0x00, 0x00,
                                       0x03, 0x00, 0x00, 0x00, 0xc8, 0x00, 0x00, 0x00, 0xdb, 0x27, 0x00, 0x00, 0xfe, 0xff,
                                       0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0x03, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                                       0x9e, 0xfa, 0xd2, 0x41, 0x86, 0x40, 0x8c, 0xab, 0x09, 0x08, 0x07};

static int TestMemories(void) {
    static const coreMD_Grid grid = {1, 2, 258, 3, 200}, other = {2, 1, 258, 3, 200};
    static const uint8_t ycbcr[6] = {10, 11, 20, 21, 30, 31}, isKnown[2] = {0, 1}, state[3] = {9, 8, 7};
    const int64_t then = (int64_t)0x01020304 << 32 | 0x05060708;
    uint8_t colours[6], isThere[2];
    int64_t needed = 0, time = 0, place = 0, length = 0;

    EXPECT(coreMD_PackBackground(&grid, then, NULL, NULL, NULL, 0, &needed) == COREMD_HOST_NO_ROOM);
    EXPECT(needed == (int64_t)sizeof writtenBackground);
    EXPECT(coreMD_PackBackground(&grid, then, ycbcr, isKnown, memory, needed, NULL) == COREMD_HOST_DONE);
    EXPECT(memcmp(memory, writtenBackground, sizeof writtenBackground) == 0);
    EXPECT(coreMD_UnpackBackground(writtenBackground, needed, &grid, &time, colours, isThere, 2) == COREMD_HOST_DONE);
    EXPECT(time == then && memcmp(colours, ycbcr, 6) == 0 && isThere[0] == 0 && isThere[1] == 255);
    EXPECT(coreMD_UnpackBackground(writtenBackground, needed, &other, &time, colours, isThere, 2) == COREMD_HOST_OTHER_GRID);
    EXPECT(coreMD_UnpackBackground(memory, needed - 1, &grid, &time, colours, isThere, 2) == COREMD_HOST_DAMAGED);

    EXPECT(coreMD_PackState(&grid, -2, 10203, state, 3, memory, sizeof memory, &needed) == COREMD_HOST_DONE);
    EXPECT(needed == (int64_t)sizeof writtenState && memcmp(memory, writtenState, sizeof writtenState) == 0);
    EXPECT(coreMD_UnpackState(writtenState, needed, &grid, 10203, &time, &place, &length) == COREMD_HOST_DONE);
    EXPECT(time == -2 && length == 3 && memcmp(writtenState + place, state, 3) == 0);
    EXPECT(coreMD_UnpackState(writtenState, needed, &grid, 10204, &time, &place, &length) == COREMD_HOST_OTHER_VERSION);
    return 0;
}

int main(void) { return TestStatuses() + TestPictures() + TestMemories(); }
