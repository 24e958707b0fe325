/* How does a host in C find what moves in decoded pictures, as mdscan does?  Draws YUV pictures of a street, with a lamp
 * that is switched on, and a van that crosses it; reduces them to blocks, conditions them, prints objects and what was no
 * motion, and keeps the background in bytes. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "coreMD-host.h"
#include "coreMD.h"

enum { width = 320, height = 192, picturesPerSecond = 6, seconds = 20 };

/* One picture in 4:2:0, as a decoder leaves it. */
static uint8_t luma[width * height], cb[width * height / 4], cr[width * height / 4];

static void Draw(int picture) {
    const int light = picture >= 8 * picturesPerSecond ? 125 : 100; /* percent: from then on the lamp is on */
    const int van = picture >= 12 * picturesPerSecond ? 10 * (picture - 12 * picturesPerSecond) : -1000;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const int isVan = x >= van && x < van + 60 && y >= 90 && y < 130;
            const int level = isVan ? 40 + (x - van) / 8 : 70 + 40 * (x / 24 % 2) + 30 * (y / 32 % 2);
            luma[y * width + x] = (uint8_t)(level * light / 100 + (x * 7 + y * 13 + picture * 5) % 3);
        }
    memset(cb, 120, sizeof cb);
    memset(cr, 132, sizeof cr);
}

/* The detector, and the grid that it is shown. */
typedef struct Watch {
    DetectorHandle detector;
    coreMD_Grid grid;
    uint8_t* picture; /* 3 * [block]; h13 wants the address */
} Watch;

/* Called by the conditioner for what the detector is to see. */
static void Show(void* context, uint8_t* ycbcr, int64_t stamp) {
    Watch* const watch = context;
    DetectionInfo info = {.width = watch->grid.columns,
                          .height = watch->grid.rows,
                          .bgr24stride = 3 * watch->grid.columns,
                          .bgr24ForEachBlock = watch->picture,
                          .ycbcrForEachBlock = ycbcr,
                          .timestamp = stamp,
                          .isIFrame = 1,
                          .fps = 1000,
                          .detectShadow = 1};
    h13(&watch->detector, &info);
}

static void Require(int32_t status, const char* what) {
    if (status == COREMD_HOST_DONE) return;
    fprintf(stderr, "conditioned: %s: %s\n", what, coreMD_HostStatusText(status));
    exit(1);
}

static void* Bytes(int64_t size) {
    void* const bytes = calloc((size_t)size, 1);
    Require(bytes ? COREMD_HOST_DONE : COREMD_HOST_NO_MEMORY, "memory");
    return bytes;
}

/* What moves in the newest picture, in pixels, and what disturbs it. */
static void Report(const Watch* watch, const coreMD_Conditioner* conditioner, const uint16_t* labels, double time) {
    coreMD_Outline objects[16];
    int64_t count = 0;
    const int32_t status = coreMD_OutlineLabels(labels, watch->grid.columns, watch->grid.rows, objects, 16, &count);
    if (status != COREMD_HOST_NO_ROOM) Require(status, "objects"); /* of more than sixteen the first are enough */
    for (int i = 0; i < count && i < 16; ++i)
        printf("%4.1f s: %d x %d pixels at %d, %d\n", time, (objects[i].right - objects[i].left + 1) * watch->grid.blockSize,
               (objects[i].bottom - objects[i].top + 1) * watch->grid.blockSize, objects[i].left * watch->grid.blockSize,
               objects[i].top * watch->grid.blockSize);
    for (int32_t kind = COREMD_LIGHT; kind <= COREMD_RAIN; ++kind) {
        coreMD_DisturbanceSpell spell;
        Require(coreMD_Disturbance(conditioner, kind, &spell), "disturbance");
        if (spell.hasBegun) printf("%4.1f s: no motion, but %s\n", time, coreMD_DisturbanceName(kind));
    }
}

int main(void) {
    /* 128 columns at most are a good choice for conditioned pictures. */
    const coreMD_PictureFormat format = {
        .width = width, .height = height, .layout = COREMD_YUV420, .blockSize = (width + 127) / 128};
    const coreMD_Picture picture = {{luma, cb, cr}, {width, width / 2, width / 2}};
    coreMD_Reducer* reducer = NULL;
    Watch watch = {.detector = NULL};
    Require(coreMD_CreateReducer(&format, COREMD_STABILISE_AUTO, &reducer), "reducer");
    Require(coreMD_ReducerGrid(reducer, &watch.grid), "grid");
    const int64_t blocks = (int64_t)watch.grid.columns * watch.grid.rows;
    uint8_t* const planes = Bytes(3 * blocks);
    uint8_t* const background = Bytes(3 * blocks);
    uint16_t* const labels = Bytes(2 * blocks);
    watch.picture = Bytes(3 * blocks);

    /* The detector, as the conditioner wants it. */
    uint8_t everywhere = 1;
    MDZoneInfo zone = {
        .mask = &everywhere, .maskWidth = 1, .maskHeight = 1, .minObjectWidth = 0.03f, .minObjectHeight = 0.03f};
    h15(&watch.detector);
    h12(&watch.detector, &zone);
    h35(&watch.detector, 1);

    /* The first six seconds tell what the street looks like when nothing happens. They are watched like all others, so that
     * they are reduced twice here; where a source cannot go back, keep planes and shifts. */
    coreMD_Priming* first = NULL;
    coreMD_Conditioner* conditioner = NULL;
    Require(coreMD_CreatePriming(watch.grid.columns, watch.grid.rows, 6 * picturesPerSecond, &first), "priming");
    for (int i = 0; i < 6 * picturesPerSecond; ++i) {
        Draw(i);
        Require(coreMD_Reduce(reducer, &picture, planes, 3 * blocks, NULL), "picture");
        Require(coreMD_KeepPicture(first, planes, 3 * blocks), "picture to keep");
    }
    Require(coreMD_MostFrequent(first, 4, background, 3 * blocks), "background");
    Require(coreMD_CreateConditioner(watch.grid.columns, watch.grid.rows, COREMD_LIMITED_RANGE, COREMD_NORMAL_SENSITIVITY,
                                     &conditioner),
            "conditioner");
    Require(coreMD_PrimeConditioner(conditioner, background, 3 * blocks, first, Show, &watch), "priming");

    for (int i = 0; i < seconds * picturesPerSecond; ++i) {
        const int64_t time = i * INT64_C(10000000) / picturesPerSecond;
        coreMD_Shift shift;
        MDResultInfo summary;
        MDZoneDetectionInfo result = {0};
        Draw(i);
        Require(coreMD_Reduce(reducer, &picture, planes, 3 * blocks, &shift), "picture");
        Require(coreMD_ConditionPicture(conditioner, planes, 3 * blocks, &shift, time, Show, &watch), "picture to show");
        h17(&watch.detector, &summary);
        if (summary.zoneResultsCount == 0 || h19(&watch.detector, &result) != COREMD_DELIVERED)
            result.objectsMap = NULL, result.zoneMap = NULL;
        Require(coreMD_ConditionAnswer(conditioner, result.objectsMap, result.zoneMap, labels, blocks), "answer");
        if (i % picturesPerSecond == 0) Report(&watch, conditioner, labels, (double)time / 1e7);
    }

    /* The background in bytes, for a file or a database: the same on every machine. */
    int64_t size = 0;
    coreMD_PackBackground(&watch.grid, 0, NULL, NULL, NULL, 0, &size);
    uint8_t* const memory = Bytes(size);
    Require(coreMD_PackBackground(&watch.grid, 0, background, NULL, memory, size, NULL), "memory");
    memory[size / 2] ^= 1;
    const int32_t damaged = coreMD_UnpackBackground(memory, size, &watch.grid, NULL, background, NULL, blocks);
    memory[size / 2] ^= 1;
    Require(coreMD_UnpackBackground(memory, size, &watch.grid, NULL, background, NULL, blocks), "memory");
    printf("background: %lld bytes; with a bit flipped: %s\n", (long long)size, coreMD_HostStatusText(damaged));

    free(memory);
    free(watch.picture);
    free(labels);
    free(background);
    free(planes);
    coreMD_DestroyConditioner(&conditioner);
    coreMD_DestroyPriming(&first);
    coreMD_DestroyReducer(&reducer);
    h14(&watch.detector);
    return 0;
}
