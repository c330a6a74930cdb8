// What the pixels of channels are.
#pragma once

#include <cmath>
#include <string>
#include <vector>

#include "zel.h"

namespace zel_tool {

// Whether it is a number, and not 3.4028235e+38, which means missing.
bool isValue(float v);

// Of those values.
struct Statistics {
    long long pixels = 0;
    long long count = 0;
    float min = 0.0F;
    float max = 0.0F;
    double mean = 0.0;
    double squares = 0.0;  // sum of squared differences from the mean

    void add(const float* values, int n);
    double sigma() const
    {
        return count > 1 ? std::sqrt(squares / static_cast<double>(count - 1)) : 0.0;
    }
};

// Reads every line. Throws Failure.
std::vector<Statistics> measure(ZELType& record, const std::vector<int>& slots,
                                const std::string& file);

}  // namespace zel_tool
