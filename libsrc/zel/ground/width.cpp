#include "ground/width.hpp"

#include <algorithm>

namespace zel {
namespace {

#if defined(__x86_64__) && defined(__GNUC__)
Width widthOfProcessor()
{
    if (!__builtin_cpu_supports("avx2")) return Width::narrow;
    const bool widest = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
                        __builtin_cpu_supports("avx512vl");
    return widest ? Width::widest : Width::wide;
}
#else
Width widthOfProcessor()
{
    return Width::narrow;
}
#endif

Width& chosenWidth()
{
    static Width width = widthOfProcessor();
    return width;
}

}  // namespace

Width kernelWidth()
{
    return chosenWidth();
}

void limitKernelWidth(Width width)
{
    chosenWidth() = std::min(width, widthOfProcessor());
}

}  // namespace zel
