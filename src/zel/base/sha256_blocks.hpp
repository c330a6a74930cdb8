// The work of SHA-256: what a block of 64 bytes makes of the state.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace zel_tool {

inline constexpr std::size_t sha256BlockSize = 64;
using Sha256State = std::array<std::uint32_t, 8>;

// Blocks that are added to a state, one after the other.
struct Sha256Input {
    Sha256State& state;
    const unsigned char* bytes;
};

// Adds that many blocks to a state, or to each of two states.
struct Sha256Work {
    void (*add)(Sha256State& state, const unsigned char* bytes, std::size_t blocks);
    void (*addTwo)(Sha256Input one, Sha256Input other, std::size_t blocks);
};

// Instructions that every processor has, or those that some have for this sum. Both give the same.
enum class Sha256Form { portable, processor };

// The faster form that this processor has.
Sha256Form bestSha256Form();

// The portable one where the processor does not have the form.
Sha256Work sha256Work(Sha256Form form);

}  // namespace zel_tool
