// Does every input of the corpus still pass?  Runs a target over files and folders given as arguments, without a fuzzer, so
// that any compiler can: an ordinary test.  A finding ends the process; the last file named is the one.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "FuzzTarget.h"

namespace {

namespace fs = std::filesystem;

void Collect(const fs::path& place, std::vector<fs::path>& inputs) {
    if (!fs::is_directory(place)) {
        inputs.push_back(place);
        return;
    }
    for (const fs::directory_entry& entry : fs::directory_iterator(place))
        if (entry.is_regular_file()) inputs.push_back(entry.path());
}

bool Run(const fs::path& input) {
    std::fprintf(stderr, "%s\n", input.c_str());
    std::ifstream file(input, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!file) {
        std::fprintf(stderr, "cannot be read\n");
        return false;
    }
    const std::vector<std::uint8_t> exact(bytes.begin(), bytes.end());  // ends where the input ends
    LLVMFuzzerTestOneInput(exact.data(), exact.size());
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<fs::path> inputs;
    for (int i = 1; i < argc; ++i) Collect(argv[i], inputs);
    std::sort(inputs.begin(), inputs.end());
    if (inputs.empty()) {
        std::fprintf(stderr, "usage: %s FILE|FOLDER...   (found no input)\n", argv[0]);
        return 2;
    }
    LLVMFuzzerTestOneInput(nullptr, 0);
    for (const fs::path& input : inputs)
        if (!Run(input)) return 1;
    std::fprintf(stderr, "%zu inputs pass\n", inputs.size());
    return 0;
}
