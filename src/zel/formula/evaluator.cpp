#include "formula/evaluator.hpp"

#include <algorithm>
#include <cmath>

#include "base/failure.hpp"
#include "base/text.hpp"
#include "scene/library.hpp"

namespace zel_tool {

Evaluator::Evaluator(ZELType& record, const Formulas& formulas)
    : formulas_(formulas),
      rows_(record, formulas.uses(), formulas.vocabulary.firstNewChannel(),
            static_cast<int>(formulas.vocabulary.newChannels().size())),
      unused_(static_cast<std::size_t>(record.ZELHeader.NPixelPerLine)),
      skipped_(unused_.size()),
      flags_(unused_.size())
{
}

void Evaluator::runProgram(const ZELLineStruct& line, int first)
{
    int* results = flags_.data();
    int* skipped = skipped_.data() + first;
    guarded([&] {
        ZELExecuteProgramLine(formulas_.program.program.get(), &rows_.pixel(), &line, nullptr,
                              results);
    });
    for (int x = 0; x < line.numPixels; ++x) {
        if (results[x] == ZEL_PROGRAM_ERROR)
            throw Failure(heard().empty() ? "the program failed" : printable(heard().back()));
        if (results[x] == ZEL_PROGRAM_SKIPPED) skipped[x] = 1;
    }
}

void Evaluator::evaluate(const ZELLineStruct& line, int first)
{
    if (formulas_.program.program) runProgram(line, first);
    int* skipped = skipped_.data() + first;
    const int firstNew = formulas_.vocabulary.firstNewChannel();
    for (const Statement& statement : formulas_.statements) {
        float* values = statement.channel > 0 ? rows_.made(statement.channel - firstNew) + first
                                              : unused_.data();
        guarded([&] {
            ZELEvaluateLine(statement.stack.get(), &rows_.pixel(), &line, values, flags_.data());
        });
        for (int x = 0; x < line.numPixels; ++x) skipped[x] |= flags_[static_cast<std::size_t>(x)];
    }
}

void Evaluator::blankSkipped()
{
    if (std::find(skipped_.begin(), skipped_.end(), 1) == skipped_.end()) return;
    const int channels = static_cast<int>(formulas_.vocabulary.newChannels().size());
    for (int i = 0; i < channels; ++i)
        for (std::size_t x = 0; x < skipped_.size(); ++x)
            if (skipped_[x]) rows_.made(i)[x] = NAN;
}

// The line failed as a whole; its pixels one by one show where.
void Evaluator::failAtPixel(int line, const std::string& reason)
{
    rows_.begin();
    for (int x = 0; x < rows_.line().numPixels; ++x) {
        const ZELLineStruct one = rows_.pixelAt(x);
        try {
            evaluate(one, x);
        } catch (const Failure& failure) {
            throw Failure(format("line %d, pixel %d: ", line, x) + failure.what());
        }
    }
    throw Failure(format("line %d: ", line) + reason);
}

void Evaluator::run(int line)
{
    std::fill(skipped_.begin(), skipped_.end(), 0);
    rows_.begin();
    try {
        evaluate(rows_.line(), 0);
    } catch (const Failure& failure) {
        failAtPixel(line, failure.what());
    }
    blankSkipped();
}

}  // namespace zel_tool
