/* Where do a few lines of C about what stands beside the detector stand?  In a host that has a decoded picture, planes, a
 * grid and pictures that it kept; for fragments in documentation. */
#include <coreMD-host.h>

#include <stdio.h>
#include <stdlib.h>

int host(uint8_t* const* data, const int* stride, uint8_t* planes, const coreMD_Priming* kept, int64_t time);

int host(uint8_t* const* data, const int* stride, uint8_t* planes, const coreMD_Priming* kept, int64_t time) {
    const coreMD_Grid grid = {.columns = 128, .rows = 72, .width = 1920, .height = 1080, .blockSize = 15};
    uint8_t* const background = planes;
    (void)data, (void)stride, (void)planes, (void)kept, (void)time, (void)grid, (void)background;
    {
        /* clang-format off */
BLOCK
        /* clang-format on */
    }
    return 0;
}

int main(void) { return 0; }
