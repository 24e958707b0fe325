/* What does an older library look like to a host?  The functions and a version below the header's; nothing works. */
#include <stdint.h>

int32_t h11(void** handle) {
    (void)handle;
    return 0;
}
int32_t h12(void** handle, void* zone) {
    (void)handle, (void)zone;
    return 0;
}
void h13(void** handle, void* info) { (void)handle, (void)info; }
void h14(void** handle) { *handle = 0; }
int32_t h15(void** handle) {
    *handle = handle;
    return 0;
}
int32_t h17(void** handle, void* result) {
    (void)handle, (void)result;
    return 2;
}
int32_t h18(void** handle, void* object) {
    (void)handle, (void)object;
    return 1;
}
int32_t h19(void** handle, void* result) {
    (void)handle, (void)result;
    return 2;
}
int32_t h33(void** handle, uint8_t* image, int32_t* mask) {
    (void)handle, (void)image, (void)mask;
    return -1;
}
#ifdef VERSION
int32_t coreMD_Version(void) { return VERSION; }
#endif
