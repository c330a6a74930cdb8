// Running programs and filters on one pixel, wherever its values are kept. Pixel has
// evaluate(stack), 0 for null; skipped(), whether the last evaluation reached skip_pixel; setClass
// and setWeight.
#ifndef ZEL_FEATURES_PROGRAM_RUN_HPP
#define ZEL_FEATURES_PROGRAM_RUN_HPP

#include "zel_features/language/truncate.hpp"
#include "zel_features/language/zel_feature_report.hpp"
#include "zel_features/program/zel_program.hpp"
#include "zel_features/zel_evaluate.h"

namespace zel {

// A pixel that is all in its record.
class RecordPixel {
public:
    explicit RecordPixel(ZELPixelStruct& record) : record_(record) {}
    float evaluate(const ZELStackStruct* stack)
    {
        return stack ? ZELEvaluateStack(stack, &record_) : 0.0f;
    }
    bool skipped() const { return record_.skipPixelFlag != 0; }
    void setClass(float value) { record_.Class = value; }
    void setWeight(int classIndex, float value)
    {
        ZELFeatureSetClassWeight(&record_, classIndex, value);
    }

private:
    ZELPixelStruct& record_;
};

template <class Pixel>
void setListedWeights(const ZELStackStruct& classList, Pixel& pixel, float weight)
{
    for (const StackElementStruct* e = classList.stackHead; e; e = e->nextElement)
        pixel.setWeight(listedClass(*e), weight);
}

inline int failExecution(const char* text)
{
    printError(message("executeProgram: %s", text));
    return ZEL_PROGRAM_ERROR;
}

template <class Pixel>
int setWeights(const ProgramStruct& statement, Pixel& pixel)
{
    if (!statement.ClassList) return failExecution("weightclasses error: missing class list\n");
    if (!statement.Statement) return failExecution("weightclasses error: missing value\n");
    const float weight = pixel.evaluate(statement.Statement);
    if (pixel.skipped())
        return failExecution("invalid statement error:\n"
                             "skip_pixel statement cannot be used in a weightclasses\n");
    setListedWeights(*statement.ClassList, pixel, weight);
    return ZEL_PROGRAM_DONE;
}

template <class Pixel>
int execute(const ProgramStruct* statement, Pixel& pixel)
{
    while (statement) {
        const ProgramStruct& s = *statement;
        statement = s.nextTrue;
        if (s.statementType == RETURN_STATEMENT) return ZEL_PROGRAM_DONE;
        if (s.statementType == WEIGHT_STATEMENT) {
            if (setWeights(s, pixel) != ZEL_PROGRAM_DONE) return ZEL_PROGRAM_ERROR;
        } else if (s.Statement) {
            const float value = pixel.evaluate(s.Statement);
            if (pixel.skipped()) {
                pixel.setClass(0.0f);
                return ZEL_PROGRAM_SKIPPED;
            }
            if (truncatesToZero(value)) statement = s.nextFalse;
        } else if (s.statementType == IF_STATEMENT) {
            return failExecution("If error: missing statement\n");
        }
    }
    return ZEL_PROGRAM_DONE;
}

}  // namespace zel

#endif
