// What do bytes amount to?  Their SHA-256 digest, as hexadecimal digits.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

struct AVSHA;

namespace Scan {

class Digest {
public:
    static constexpr std::size_t size = 32;  // bytes

    Digest();  // throws Failure

    void Add(std::string_view bytes);

    // Of all that was added, the first `bytes` bytes, two digits each. Once.
    std::string Hex(std::size_t bytes = size);

private:
    std::unique_ptr<AVSHA, void (*)(void*)> _sha;
};

// Of the file's whole content, or of what was read of it when the user had enough. Throws Failure where it cannot be read.
// Its message does not name the file.
std::string DigestOfFile(const std::string& path);

}  // namespace Scan
