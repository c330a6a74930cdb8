// An expression laid out for many pixels at a time: which operator reads and writes which rows.
#ifndef ZEL_FEATURES_EVALUATE_PLAN_HPP
#define ZEL_FEATURES_EVALUATE_PLAN_HPP

#include "zel_features/evaluate/rows.hpp"
#include "zel_features/zel_feature_types.h"

namespace zel {

// A row that steps read or write. It runs along the line, or stays in place and is filled anew for
// each group of pixels.
struct RowPlace {
    float* start;  // null: no row, a value that all pixels share
    bool runs;

    float* at(int pixel) const { return start && runs ? start + pixel : start; }
};

struct Argument {
    RowPlace place;
    float value;  // without a row
};

struct Step {
    Kernel kernel;
    RowPlace result;
    int numArguments;
    Argument arguments[3];
};

// What an expression leaves in the pixel record: the last pixel's value.
struct Kept {
    float* target;
    Argument value;
};

// Larger expressions than these are rare; they are evaluated pixel after pixel.
inline constexpr int maxSteps = 128;
inline constexpr int maxPendingRows = 24;
inline constexpr int maxKept = 8;

// The steps compute maxPendingRows results, of each pending value at most one, and the values to be
// kept in rows of the plan. Nothing of it is zeroed: a plan is made for every line.
struct Plan {
    int numSteps;
    int numKept;
    bool skips;  // the expression comes to skip_pixel
    Step steps[maxSteps];
    Kept kept[maxKept];
    float results[maxPendingRows][rowSize];
    float keptRows[maxKept][rowSize];
};

// Lays out the expression for a line and the rest of its pixel record, with the result in values.
// False when pixels depend on each other or an evaluation fails: pixel after pixel must then be
// evaluated. With true, the steps give what that would give.
bool makePlan(Plan& plan, const StackElementStruct* head, ZELPixelStruct& record,
              const ZELLineStruct& line, float* values);

// Runs all steps of a plan over the line and updates the pixel record.
void runPlan(const Plan& plan, int numPixels);

}  // namespace zel

#endif
