// An expression or a program as steps over rows of pixels: which operator reads and writes which
// rows. planner.hpp makes plans, plan_cache.hpp keeps them.
#ifndef ZEL_FEATURES_EVALUATE_PLAN_HPP
#define ZEL_FEATURES_EVALUATE_PLAN_HPP

#include <cstdint>
#include <vector>

#include "zel_features/evaluate/rows.hpp"
#include "zel_features/zel_feature_types.h"

namespace zel {

// Something that has a value for each pixel.
struct Name {
    enum Kind { none, buffer, channel, variable, reg, weight, values } kind = none;
    int index = 0;  // from 0
    friend bool operator==(const Name&, const Name&) = default;
};

// Its row of the line, null without one. Buffers and the row of results are not rows of a line.
float* rowOf(const ZELLineStruct& line, Name name);

// Its place in the pixel record. For variables, registers and weights.
float& fieldOf(ZELPixelStruct& record, Name name);

// The number of a row in its plan. Row 0 is no row: the value is that of all pixels.
struct Source {
    int row = 0;
    float value = 0.0f;
};

struct Step {
    Kernel kernel;
    int result;
    Source operands[3];  // those that the kernel takes
};

// What a pixel leaves in the record, of those pixels where one of the masks is not 0. Mask 0 means
// all.
struct Kept {
    Name name;
    Source value;
    int buffer;
    std::vector<int> masks;
};

// A value of the record that stands in the plan as a constant.
struct Carried {
    Name name;
    float value;
};

// The row numbers of a plan end below this. Plans with more are not made.
inline constexpr int maxRows = 1024;

struct Plan {
    std::vector<Name> rows = {Name()};
    int numBuffers = 0;
    std::vector<Step> steps;
    std::vector<Kept> kept;
    // What must be so for the plan to hold, beside that named rows are there.
    std::vector<Name> absent;
    std::vector<Carried> carried;
    int numChannels = 0;
    Width width = Width::narrow;
    // For programs.
    int active = 0;          // mask of the pixels that are not passed over; 0: all are active
    int skipped = 0;         // mask of the pixels that the program skips; 0: none
    bool evaluates = false;  // an active pixel evaluates at least one expression
    bool skips = false;      // for expressions: every pixel is skipped
};

// Whether the plan was made for rows and values like these.
bool fits(const Plan& plan, const ZELLineStruct& line, ZELPixelStruct& record);

// Takes the memory that a run of the plan in this thread needs.
void reserveBuffers(const Plan& plan);

// Where a plan runs. values, passedOver and results may be null if the plan has no use for them.
struct Run {
    const ZELLineStruct& line;
    ZELPixelStruct& record;
    float* values;
    const int* passedOver;
    int* results;
};

// Runs all steps of a plan, whose buffers are reserved, over the line and updates the pixel record
// and the results.
void runPlan(const Plan& plan, const Run& run);

}  // namespace zel

#endif
