// SHA-256, as sha256sum prints it.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/sha256_blocks.hpp"

namespace zel_tool {

class Sha256 {
public:
    explicit Sha256(Sha256Form form = bestSha256Form());
    void add(std::string_view bytes);

    // The sum of all that was added, as 64 hexadecimal digits; nothing may be added after it.
    std::string finish();

private:
    Sha256Blocks addBlocks_;
    Sha256State state_;
    std::array<unsigned char, sha256BlockSize> pending_{};
    std::uint64_t length_ = 0;
};

// The sum of a file. Throws Failure.
std::string sha256Of(const std::string& file);

}  // namespace zel_tool
