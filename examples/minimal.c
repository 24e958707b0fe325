/* What is the least that a host in C does?  Shows a grey scene to a detector, lets a bright square cross it, prints what
 * moved. */
#include <stdio.h>
#include <string.h>

#include "coreMD.h"

enum { columns = 80, rows = 45, blocks = columns * rows };

int main(void) {
    static uint8_t everywhere = 1;      /* a zone mask of one cell: the whole picture */
    static uint8_t planes[3 * blocks];  /* Y, Cb, Cr: one value per block */
    static uint8_t picture[3 * blocks]; /* one BGR pixel per block */

    DetectorHandle detector = NULL;
    MDZoneInfo zone = {.mask = &everywhere, .maskWidth = 1, .maskHeight = 1};
    h15(&detector);
    h12(&detector, &zone);

    for (int frame = 0; frame < 120; ++frame) {
        memset(planes, 128, sizeof planes);
        if (frame >= 80)
            for (int y = 20; y < 26; ++y) memset(planes + y * columns + (frame - 80), 220, 6);

        DetectionInfo info = {.width = columns,
                              .height = rows,
                              .bgr24stride = 3 * columns,
                              .bgr24ForEachBlock = picture,
                              .ycbcrForEachBlock = planes,
                              .timestamp = frame * INT64_C(1000000),
                              .fps = 10};
        h13(&detector, &info);

        MDResultInfo summary;
        MDZoneDetectionInfo result;
        MDObjectInfo object;
        h17(&detector, &summary);
        for (int i = 0; i < summary.zoneResultsCount && h19(&detector, &result) == COREMD_DELIVERED; ++i)
            while (h18(&detector, &object) == COREMD_DELIVERED && frame % 10 == 0)
                printf("%4.1f s: columns %d to %d, rows %d to %d\n", frame / 10.0, object.left, object.right, object.top,
                       object.bottom);
    }
    h14(&detector);
    return 0;
}
