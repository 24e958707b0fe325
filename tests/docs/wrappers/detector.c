/* Where do a few lines of C stand?  In a host that has a detector and a frame's record; for fragments in documentation. */
#include <coreMD.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { columns = 80, rows = 45 };

int host(DetectorHandle* detector, DetectionInfo* info);

int host(DetectorHandle* detector, DetectionInfo* info) {
    (void)detector, (void)info;
    /* clang-format off */
BLOCK
    /* clang-format on */
    return 0;
}

int main(void) { return 0; }
