// Programs and filters for a line of pixels: statements that lead on to later ones, planned so that
// each runs on whole rows, for the pixels of a mask.
#ifndef ZEL_FEATURES_PROGRAM_FLOW_HPP
#define ZEL_FEATURES_PROGRAM_FLOW_HPP

#include <vector>

#include "zel_features/evaluate/plan.hpp"

namespace zel {

struct Statement {
    enum Kind {
        pass,      // does nothing
        evaluate,  // skips the pixel where the expression does
        test,      // the same, of an expression that must not skip
        weigh,     // sets the weights of classes to the expression's value, 0 without one
        finish     // is the pixel's last
    } kind;
    const ZELStackStruct* expression;
    const ZELStackStruct* classes;
    int onTrue, onFalse;  // statements after this one; the number of statements: the end
};

using Flow = std::vector<Statement>;

// False where pixels depend on each other or a statement can fail: pixel after pixel must then run.
// mayPassOver: some pixels are passed over.
bool planFlow(Plan& plan, const Flow& flow, bool mayPassOver, const ZELLineStruct& line,
              ZELPixelStruct& record);

}  // namespace zel

#endif
