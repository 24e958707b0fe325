// Does the library load and construct?  The self-test program.
#include <cstdio>

#include "detector/MotionDetector.h"

int main() {
    std::puts("Hello world!");
    static MD::MotionDetector* const detector = new MD::MotionDetector;  // lives as long as the program
    detector->RemoveAllZones();
    return 0;
}
