/* What does a host see of a condition that it breaks?  Tells what its handler is told, on every system in the same words;
 * process_ends.cmake compares them. Nothing is to come after the call that breaks it. */
#include "coreMD.h"

#include <stdio.h>

static void OnFailure(void* context, const char* condition, const char* file, int32_t line, const char* function) {
    (void)line;
    fprintf(stderr, "%s was told: %s, %s, %s\n", (const char*)context, condition, file, function);
    fflush(stderr);
}

int main(void) {
    static char host[] = "the host";
    DetectorHandle handle = NULL;
    coreMD_SetFailureHandler(OnFailure, host);
    h15(&handle);
    fprintf(stderr, "so far, so good\n");
    fflush(stderr);
    h15(&handle);
    fprintf(stderr, "it went on\n");
    return 0;
}
