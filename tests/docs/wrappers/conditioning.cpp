// Where do a few lines about conditioning stand?  In a host that receives pictures and has a detector; for fragments in
// documentation.
#include <coreMD/host/BlockReducer.h>
#include <coreMD/host/conditioning/BrightnessBalance.h>
#include <coreMD/host/conditioning/Disturbances.h>
#include <coreMD/host/conditioning/MotionGate.h>
#include <coreMD/host/conditioning/ObjectShape.h>
#include <coreMD/host/conditioning/Priming.h>
#include <coreMD/host/conditioning/ShiftedReduction.h>
#include <coreMD/host/conditioning/Stabiliser.h>

#include <cstdint>
#include <cstdio>
#include <vector>

constexpr int columns = 80, rows = 45;

bool NextPicture(std::vector<std::uint8_t>& planes, Host::Ticks& time);
bool NextPicture(Host::PictureView& picture, Host::Ticks& time);
void Detect(const std::uint8_t* planes, Host::Ticks time);
int Fragment(std::vector<std::uint8_t>& planes, Host::Ticks time);

bool NextPicture(std::vector<std::uint8_t>&, Host::Ticks&) { return false; }
bool NextPicture(Host::PictureView&, Host::Ticks&) { return false; }
void Detect(const std::uint8_t*, Host::Ticks) {}

int Fragment([[maybe_unused]] std::vector<std::uint8_t>& planes, [[maybe_unused]] Host::Ticks time) {
    // clang-format off
BLOCK
    // clang-format on
    return 0;
}

int main() {}
