// Loops over pixels, compiled for the instructions that the processor has. No result depends on the
// width: every pixel is computed by the same operations, in their order, and none is fused with
// another.
#ifndef ZEL_GROUND_WIDTH_HPP
#define ZEL_GROUND_WIDTH_HPP

namespace zel {

// Instructions that every processor of the kind has, and wider ones.
enum class Width { narrow, wide, widest };

// The width that is chosen, at first the widest that this processor has.
Width kernelWidth();

// For tests. What the processor does not have is not chosen.
void limitKernelWidth(Width width);

#if defined(__x86_64__) && defined(__GNUC__)
template <class Loop>
[[gnu::target("avx2"), gnu::flatten]] void runWide(const Loop& loop)
{
    loop();
}
#endif

// Runs loop(), a loop over a line, with wide instructions where there are some.
template <class Loop>
void runLoop(const Loop& loop)
{
#if defined(__x86_64__) && defined(__GNUC__)
    if (kernelWidth() != Width::narrow) return runWide(loop);
#endif
    loop();
}

}  // namespace zel

#endif
