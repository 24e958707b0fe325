/* Where do a few lines of C about what stands beside the detector stand?  In a host that has a decoded picture, planes and a
 * grid; for fragments in documentation. */
#include <coreMD-host.h>

#include <stdio.h>
#include <stdlib.h>

int host(uint8_t* const* data, const int* stride, uint8_t* planes, const coreMD_Grid* known, int64_t time);

int host(uint8_t* const* data, const int* stride, uint8_t* planes, const coreMD_Grid* known, int64_t time) {
    const coreMD_Grid* const grid = known;
    (void)data, (void)stride, (void)planes, (void)time, (void)grid;
    {
        /* clang-format off */
BLOCK
        /* clang-format on */
    }
    return 0;
}

int main(void) { return 0; }
