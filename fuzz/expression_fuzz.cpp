// Compiling a text and evaluating it: pixel by pixel and for the line at once, to the bit.
#include <cstring>
#include <string>
#include <vector>

#include <zel/zel_features/zel_features.h>

#include "fuzz_support.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t longest = 400;
    if (size > longest) return 0;
    const std::string text(reinterpret_cast<const char*>(data), size);
    ZELStackStruct stack{};
    zel_fuzz::guarded([&] {
        if (ZELParseExpression(text.c_str(), &stack, 1, nullptr) != ZEL_PARSE_OK) return;
        static ZELPixelStruct pixel;
        std::memset(&pixel, 0, sizeof pixel);
        std::vector<float> channels = {0.5F, 12.0F, 270.25F, -3.0F};
        pixel.numChannels = 3;
        pixel.Channels = channels.data();
        ZELEvaluateStack(&stack, &pixel);
    });
    ZELFreeStackElements(&stack);
    return 0;
}
