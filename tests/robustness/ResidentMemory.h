// How much memory does this process hold right now?  From /proc, Linux only.
#pragma once

#include <cstdio>

#include <unistd.h>

namespace Kit {

// Resident pages of the process, code included; 0 where /proc is not there.
inline long ResidentKiB() {
    long all = 0, resident = 0;
    std::FILE* const file = std::fopen("/proc/self/statm", "r");
    if (!file) return 0;
    if (std::fscanf(file, "%ld %ld", &all, &resident) != 2) resident = 0;
    std::fclose(file);
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

}  // namespace Kit
