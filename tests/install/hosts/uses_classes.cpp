// What does a host need that reaches behind the handle?  The version node of the classes, beside that of the C interface.
#include <coreMD.hpp>
#include <coreMD/detector/MotionDetector.h>

int main() {
    coremd::Detector detector;
    return detector.Classes().blockCount;
}
