#include "base/sha256.hpp"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "base/failure.hpp"
#include "base/text.hpp"

namespace zel_tool {
namespace {

// The first 32 bits of the fractional parts of the cube roots of the first 64 primes.
constexpr std::uint32_t constants[64] = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

// The same of the square roots of the first eight.
constexpr std::array<std::uint32_t, 8> start = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                                0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};

std::uint32_t bigEndian(const unsigned char* at)
{
    return std::uint32_t{at[0]} << 24 | std::uint32_t{at[1]} << 16 | std::uint32_t{at[2]} << 8 |
           std::uint32_t{at[3]};
}

struct Close {
    void operator()(FILE* file) const { std::fclose(file); }
};

}  // namespace

Sha256::Sha256() : state_(start) {}

void Sha256::block(const unsigned char* bytes)
{
    std::uint32_t w[64];
    for (int i = 0; i < 16; ++i) w[i] = bigEndian(bytes + 4 * i);
    for (int i = 16; i < 64; ++i) {
        const std::uint32_t a = w[i - 15];
        const std::uint32_t b = w[i - 2];
        w[i] = w[i - 16] + (std::rotr(a, 7) ^ std::rotr(a, 18) ^ a >> 3) + w[i - 7] +
               (std::rotr(b, 17) ^ std::rotr(b, 19) ^ b >> 10);
    }
    std::array<std::uint32_t, 8> s = state_;
    for (int i = 0; i < 64; ++i) {
        const auto [a, b, c, d, e, f, g, h] = s;
        const std::uint32_t first = h + (std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25)) +
                                    ((e & f) ^ (~e & g)) + constants[i] + w[i];
        const std::uint32_t second =
            (std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22)) + ((a & b) ^ (a & c) ^ (b & c));
        s = {first + second, a, b, c, d + first, e, f, g};
    }
    for (std::size_t i = 0; i < s.size(); ++i) state_[i] += s[i];
}

void Sha256::add(std::string_view bytes)
{
    while (!bytes.empty()) {
        const std::size_t held = length_ % pending_.size();
        const std::size_t part = std::min(bytes.size(), pending_.size() - held);
        std::memcpy(pending_.data() + held, bytes.data(), part);
        length_ += part;
        bytes.remove_prefix(part);
        if (held + part == pending_.size()) block(pending_.data());
    }
}

// A bit that is set, zeros up to the last eight bytes of a block, and there the length in bits.
std::string Sha256::finish()
{
    const std::uint64_t bits = length_ * 8;
    add("\x80");
    while (length_ % pending_.size() != pending_.size() - 8) add(std::string_view("\0", 1));
    for (int shift = 56; shift >= 0; shift -= 8) {
        const char byte = static_cast<char>(bits >> static_cast<unsigned>(shift) & 0xFFU);
        add({&byte, 1});
    }
    std::string text;
    for (const std::uint32_t word : state_) text += format("%08x", word);
    return text;
}

std::string sha256Of(const std::string& file)
{
    const std::unique_ptr<FILE, Close> stream(std::fopen(file.c_str(), "rb"));
    if (!stream) throw Failure(std::strerror(errno));
    Sha256 sum;
    std::vector<char> buffer(1 << 18);
    while (const std::size_t got = std::fread(buffer.data(), 1, buffer.size(), stream.get()))
        sum.add({buffer.data(), got});
    if (std::ferror(stream.get())) throw Failure(std::strerror(errno));
    return sum.finish();
}

}  // namespace zel_tool
