/* Breaks a precondition: the library has to end the process and say which. */
#include <coreMD.h>
#include <stddef.h>

int main(void) {
    DetectorHandle handle = NULL;
    h15(&handle);
    h15(&handle); /* must not be alive */
    return 0;
}
