// What is chosen for each channel: its method, and which of its stored numbers mean "missing".
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "zel.h"

namespace zel_tool {

// How a block of pixels becomes one.
enum class Method { mean, nearest, mode, min, max, sum };

const std::vector<std::string>& methodNames();
std::string methodName(Method method);

// The stored numbers of missing pixels; for a float channel their bits.
struct Missing {
    std::vector<std::uint32_t> stored;
    bool notANumber = false;         // every float that is not a number
    std::vector<std::string> texts;  // as they were given

    bool isDeclared() const { return !stored.empty() || notANumber; }

    // What a pixel gets that has no value.
    std::uint32_t fill() const;
};

// The method that "CHANNEL=METHOD" chooses for each slot of the view, the last one that fits.
// CHANNEL is a name, or a pattern with * and ? for labels. Throws Misuse, or Failure when no
// channel fits.
std::vector<std::optional<Method>> methodsOf(const ZELType& view,
                                             const std::vector<std::string>& choices);

// The same for "CHANNEL=VALUE": all that fit count. VALUE is a value in the channel's units, "nan",
// or "raw:N" for a stored number.
std::vector<Missing> missingOf(const ZELType& view, const std::vector<std::string>& choices);

// Throws Misuse for what is wrong with choices whatever the channels are.
void checkChoices(const std::vector<std::string>& methods, const std::vector<std::string>& missing,
                  const std::string& minValid);

// The number of pixels that must not be missing in a block: of "3", or of "50%".
class MinValid {
public:
    explicit MinValid(const std::string& text);  // throws Misuse
    long long of(long long blockPixels) const;

private:
    double number_ = 1.0;
    bool percent_ = false;
};

}  // namespace zel_tool
