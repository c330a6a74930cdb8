// Evaluates formulas for a line of a scene at a time.
#pragma once

#include <vector>

#include "formula/formulas.hpp"
#include "formula/pixel_rows.hpp"

namespace zel_tool {

class Evaluator {
public:
    Evaluator(ZELType& record, const Formulas& formulas);

    // For the line that the record holds: the program, then the statements. A pixel that is skipped
    // has NaN in every new channel. Throws Failure with the pixel.
    void run(int line);

    // The row of a new channel.
    const float* made(int index) { return rows_.made(index); }

private:
    void evaluate(const ZELLineStruct& line, int first);
    void runProgram(const ZELLineStruct& line, int first);
    void blankSkipped();
    [[noreturn]] void failAtPixel(int line, const std::string& reason);

    const Formulas& formulas_;
    PixelRows rows_;
    std::vector<float> unused_;
    std::vector<int> skipped_;
    std::vector<int> flags_;
};

}  // namespace zel_tool
