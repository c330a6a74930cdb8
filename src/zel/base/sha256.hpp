// SHA-256, as sha256sum prints it.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace zel_tool {

class Sha256 {
public:
    Sha256();
    void add(std::string_view bytes);

    // The sum of all that was added, as 64 hexadecimal digits; nothing may be added after it.
    std::string finish();

private:
    void block(const unsigned char* bytes);

    std::array<std::uint32_t, 8> state_;
    std::array<unsigned char, 64> pending_{};
    std::uint64_t length_ = 0;
};

// The sum of a file. Throws Failure.
std::string sha256Of(const std::string& file);

}  // namespace zel_tool
