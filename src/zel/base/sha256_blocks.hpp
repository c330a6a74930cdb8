// The work of SHA-256: what a block of 64 bytes makes of the state.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace zel_tool {

inline constexpr std::size_t sha256BlockSize = 64;
using Sha256State = std::array<std::uint32_t, 8>;

// Adds that many blocks, one after the other, to the state.
using Sha256Blocks = void (*)(Sha256State& state, const unsigned char* bytes, std::size_t blocks);

// Instructions that every processor has, or those that some have for this sum. Both give the same.
enum class Sha256Form { portable, processor };

// The faster form that this processor has.
Sha256Form bestSha256Form();

// The portable one where the processor does not have the form.
Sha256Blocks sha256Blocks(Sha256Form form);

}  // namespace zel_tool
