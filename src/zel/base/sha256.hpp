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

    // The same for two sums of one form, in less time than one after the other.
    static void addTwo(Sha256& one, std::string_view bytes, Sha256& other,
                       std::string_view otherBytes);

    // The sum of all that was added, as 64 hexadecimal digits; nothing may be added after it.
    std::string finish();

private:
    // Adds as many bytes as complete a block that has begun, and takes them off.
    void completeBlock(std::string_view& bytes);

    Sha256Work work_;
    Sha256State state_;
    std::array<unsigned char, sha256BlockSize> pending_{};
    std::uint64_t length_ = 0;
};

// The sum of a file. Throws Failure.
std::string sha256Of(const std::string& file);

}  // namespace zel_tool
