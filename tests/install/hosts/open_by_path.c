/* Opens the library at run time: open_by_path <name or path>. */
#include <dlfcn.h>
#include <stdio.h>

int main(int count, char** arguments) {
    void* library = count == 2 ? dlopen(arguments[1], RTLD_NOW) : NULL;
    if (library == NULL || dlsym(library, "coreMD_Version") == NULL) {
        fprintf(stderr, "open_by_path: %s\n", count == 2 ? dlerror() : "which library?");
        return 1;
    }
    return dlclose(library);
}
