#include "base/sha256.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "base/failure.hpp"
#include "base/text.hpp"

namespace zel_tool {
namespace {

// The first 32 bits of the fractional parts of the square roots of the first eight primes.
constexpr std::array<std::uint32_t, 8> start = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                                0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};

const unsigned char* bytesOf(std::string_view bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes.data());
}

struct Close {
    void operator()(FILE* file) const { std::fclose(file); }
};

}  // namespace

Sha256::Sha256(Sha256Form form) : work_(sha256Work(form)), state_(start) {}

// Whole blocks are taken where they are; only what is left of one is copied.
void Sha256::add(std::string_view bytes)
{
    while (!bytes.empty()) {
        const std::size_t held = length_ % sha256BlockSize;
        const std::size_t whole = bytes.size() / sha256BlockSize;
        std::size_t part = std::min(bytes.size(), sha256BlockSize - held);
        if (held == 0 && whole > 0) {
            part = whole * sha256BlockSize;
            work_.add(state_, bytesOf(bytes), whole);
        } else {
            std::memcpy(pending_.data() + held, bytes.data(), part);
            if (held + part == sha256BlockSize) work_.add(state_, pending_.data(), 1);
        }
        length_ += part;
        bytes.remove_prefix(part);
    }
}

void Sha256::completeBlock(std::string_view& bytes)
{
    const std::size_t missing = (sha256BlockSize - length_ % sha256BlockSize) % sha256BlockSize;
    const std::size_t part = std::min(bytes.size(), missing);
    add(bytes.substr(0, part));
    bytes.remove_prefix(part);
}

void Sha256::addTwo(Sha256& one, std::string_view bytes, Sha256& other, std::string_view otherBytes)
{
    one.completeBlock(bytes);
    other.completeBlock(otherBytes);
    const std::size_t blocks = std::min(bytes.size(), otherBytes.size()) / sha256BlockSize;
    const std::size_t size = blocks * sha256BlockSize;
    if (size > 0) {
        one.work_.addTwo({one.state_, bytesOf(bytes)}, {other.state_, bytesOf(otherBytes)}, blocks);
        one.length_ += size;
        other.length_ += size;
    }
    one.add(bytes.substr(size));
    other.add(otherBytes.substr(size));
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
