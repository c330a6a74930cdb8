#include "base/sha256_blocks.hpp"

#include <bit>

#if defined(__x86_64__) && defined(__GNUC__)
#define ZEL_SHA256_X86 1
#include <cpuid.h>
#include <immintrin.h>
#endif

namespace zel_tool {
namespace {

// The first 32 bits of the fractional parts of the cube roots of the first 64 primes.
alignas(16) constexpr std::uint32_t constants[64] = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

std::uint32_t bigEndian(const unsigned char* at)
{
    return std::uint32_t{at[0]} << 24 | std::uint32_t{at[1]} << 16 | std::uint32_t{at[2]} << 8 |
           std::uint32_t{at[3]};
}

void addBlock(Sha256State& state, const unsigned char* bytes)
{
    std::uint32_t w[64];
    for (int i = 0; i < 16; ++i) w[i] = bigEndian(bytes + 4 * i);
    for (int i = 16; i < 64; ++i) {
        const std::uint32_t a = w[i - 15];
        const std::uint32_t b = w[i - 2];
        w[i] = w[i - 16] + (std::rotr(a, 7) ^ std::rotr(a, 18) ^ a >> 3) + w[i - 7] +
               (std::rotr(b, 17) ^ std::rotr(b, 19) ^ b >> 10);
    }
    Sha256State s = state;
    for (int i = 0; i < 64; ++i) {
        const auto [a, b, c, d, e, f, g, h] = s;
        const std::uint32_t first = h + (std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25)) +
                                    ((e & f) ^ (~e & g)) + constants[i] + w[i];
        const std::uint32_t second =
            (std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22)) + ((a & b) ^ (a & c) ^ (b & c));
        s = {first + second, a, b, c, d + first, e, f, g};
    }
    for (std::size_t i = 0; i < s.size(); ++i) state[i] += s[i];
}

void addPortably(Sha256State& state, const unsigned char* bytes, std::size_t blocks)
{
    for (std::size_t i = 0; i < blocks; ++i) addBlock(state, bytes + i * sha256BlockSize);
}

void addTwoPortably(Sha256Input one, Sha256Input other, std::size_t blocks)
{
    addPortably(one.state, one.bytes, blocks);
    addPortably(other.state, other.bytes, blocks);
}

#ifdef ZEL_SHA256_X86

#define ZEL_SHA256_TARGET [[gnu::target("sha,sse4.1"), gnu::always_inline]] inline

// The instructions keep the state as two registers, the words a b e f and c d g h, a and c in the
// highest lane.
struct Halves {
    __m128i abef, cdgh;
};

ZEL_SHA256_TARGET __m128i load(const void* at)
{
    return _mm_loadu_si128(static_cast<const __m128i*>(at));
}

ZEL_SHA256_TARGET Halves halvesOf(const Sha256State& state)
{
    const __m128i abcd = _mm_shuffle_epi32(load(&state[0]), 0xB1);  // c d a b, highest lane first
    const __m128i efgh = _mm_shuffle_epi32(load(&state[4]), 0x1B);  // e f g h
    return {_mm_alignr_epi8(abcd, efgh, 8), _mm_blend_epi16(efgh, abcd, 0xF0)};
}

ZEL_SHA256_TARGET void store(Sha256State& state, const Halves& halves)
{
    const __m128i feba = _mm_shuffle_epi32(halves.abef, 0x1B);
    const __m128i dchg = _mm_shuffle_epi32(halves.cdgh, 0xB1);
    auto* to = reinterpret_cast<__m128i*>(state.data());
    _mm_storeu_si128(to, _mm_blend_epi16(feba, dchg, 0xF0));
    _mm_storeu_si128(to + 1, _mm_alignr_epi8(dchg, feba, 8));
}

// Four rounds with four words of the schedule.
ZEL_SHA256_TARGET void rounds(Halves& h, __m128i words, int group)
{
    const __m128i sums = _mm_add_epi32(words, load(constants + 4 * group));
    h.cdgh = _mm_sha256rnds2_epu32(h.cdgh, h.abef, sums);
    h.abef = _mm_sha256rnds2_epu32(h.abef, h.cdgh, _mm_shuffle_epi32(sums, 0x0E));
}

// The next four words of the schedule from the sixteen before them.
ZEL_SHA256_TARGET __m128i nextWords(const __m128i (&w)[4])
{
    const __m128i seventh = _mm_alignr_epi8(w[3], w[2], 4);
    const __m128i sums = _mm_add_epi32(_mm_sha256msg1_epu32(w[0], w[1]), seventh);
    return _mm_sha256msg2_epu32(sums, w[3]);
}

// A sum on its way, and the sixteen latest words of its schedule.
class Lane {
public:
    ZEL_SHA256_TARGET explicit Lane(const Sha256State& state) : now_(halvesOf(state)) {}

    ZEL_SHA256_TARGET void begin() { before_ = now_; }
    ZEL_SHA256_TARGET void addStored(const unsigned char* block, int group)
    {
        const __m128i bigEndianWords = _mm_set_epi64x(0x0C0D0E0F08090A0B, 0x0405060700010203);
        words_[group] = _mm_shuffle_epi8(load(block + 16 * group), bigEndianWords);
        rounds(now_, words_[group], group);
    }
    ZEL_SHA256_TARGET void addScheduled(int group)
    {
        const __m128i next = nextWords(words_);
        rounds(now_, next, group);
        words_[0] = words_[1];
        words_[1] = words_[2];
        words_[2] = words_[3];
        words_[3] = next;
    }
    ZEL_SHA256_TARGET void end()
    {
        now_.abef = _mm_add_epi32(now_.abef, before_.abef);
        now_.cdgh = _mm_add_epi32(now_.cdgh, before_.cdgh);
    }
    ZEL_SHA256_TARGET void storeTo(Sha256State& state) const { store(state, now_); }

private:
    Halves now_, before_;
    __m128i words_[4];
};

[[gnu::target("sha,sse4.1")]] void addByProcessor(Sha256State& state, const unsigned char* bytes,
                                                  std::size_t blocks)
{
    Lane lane(state);
    for (; blocks > 0; --blocks, bytes += sha256BlockSize) {
        lane.begin();
        for (int group = 0; group < 4; ++group) lane.addStored(bytes, group);
        for (int group = 4; group < 16; ++group) lane.addScheduled(group);
        lane.end();
    }
    lane.storeTo(state);
}

// Each round needs the one before it, and takes longer than it keeps the processor busy: two sums
// are ready in little more time than one.
[[gnu::target("sha,sse4.1")]] void addTwoByProcessor(Sha256Input one, Sha256Input other,
                                                     std::size_t blocks)
{
    Lane a(one.state);
    Lane b(other.state);
    for (std::size_t at = 0; at < blocks * sha256BlockSize; at += sha256BlockSize) {
        a.begin();
        b.begin();
        for (int group = 0; group < 4; ++group) {
            a.addStored(one.bytes + at, group);
            b.addStored(other.bytes + at, group);
        }
        for (int group = 4; group < 16; ++group) {
            a.addScheduled(group);
            b.addScheduled(group);
        }
        a.end();
        b.end();
    }
    a.storeTo(one.state);
    b.storeTo(other.state);
}

bool hasInstructions()
{
    unsigned eax = 0;
    unsigned ebx = 0;
    unsigned ecx = 0;
    unsigned edx = 0;
    constexpr unsigned sha = 1U << 29U;  // leaf 7: gcc 12 does not know it by name
    return __builtin_cpu_supports("sse4.1") && __get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx) &&
           (ebx & sha) != 0;
}

#endif

}  // namespace

Sha256Form bestSha256Form()
{
#ifdef ZEL_SHA256_X86
    static const bool has = hasInstructions();
    return has ? Sha256Form::processor : Sha256Form::portable;
#else
    return Sha256Form::portable;
#endif
}

Sha256Work sha256Work(Sha256Form form)
{
#ifdef ZEL_SHA256_X86
    if (form == Sha256Form::processor && bestSha256Form() == form)
        return {addByProcessor, addTwoByProcessor};
#endif
    static_cast<void>(form);
    return {addPortably, addTwoPortably};
}

}  // namespace zel_tool
