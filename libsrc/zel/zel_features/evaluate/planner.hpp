// From a postfix list to steps over rows.
//
// (Ch2-Ch1)/(Ch2+Ch1) > 0.1, for a line with rows for both channels and the results in values:
//
//   postfix  pending values after it                    step
//   Ch2      row Ch2
//   Ch1      row Ch2, row Ch1
//   SUB      buffer 0                                   buffer 0 = SUB(row Ch2, row Ch1)
//   Ch2      buffer 0, row Ch2
//   Ch1      buffer 0, row Ch2, row Ch1
//   ADD      buffer 0, buffer 1                         buffer 1 = ADD(row Ch2, row Ch1)
//   DIV      buffer 0                                   the last step becomes buffer 0 =
//                                                       DIV(buffer 0, ADD(row Ch2, row Ch1))
//   0.1      buffer 0, value 0.1
//   GREATER  buffer 0                                   buffer 0 = GREATER(buffer 0, value 0.1)
//   the end                                             the last step writes values, not buffer 0
//
// A line runs in strips of rowSize pixels, all steps on one strip after the other. An operator of
// single values (2*3, or year, when the line has no row of it) is computed here and makes no step.
// Two operators that follow each other may become one step (pairs.hpp).
#ifndef ZEL_FEATURES_EVALUATE_PLANNER_HPP
#define ZEL_FEATURES_EVALUATE_PLANNER_HPP

#include <initializer_list>

#include "zel_features/evaluate/follow.hpp"
#include "zel_features/evaluate/plan.hpp"

namespace zel {

// Expressions with more pending values are rare; they are evaluated pixel after pixel.
inline constexpr int maxPending = 24;

// Registers and variables without a row are cells of the record: a value there goes from pixel to
// pixel. One that a pixel may read before it has written it makes pixels depend on each other.
// Bit i of a set stands for register i, from bit 20 on for variables.
using CellSet = std::uint64_t;
inline constexpr CellSet allCells = ~CellSet{0};

// Adds the steps of expressions and assignments to a plan. Functions return false, and follow()
// refuses, where pixels depend on each other or an evaluation fails: the plan is then of no use.
class Planner {
public:
    Planner(Plan& plan, ZELPixelStruct& record, const ZELLineStruct& line);

    // What comes next is for pixels with a mask that is not 0, which have all written these cells.
    void enter(int mask, CellSet written);
    // The cells that the pixels of the mask have all written by now.
    CellSet written() const { return written_; }

    // Plans an expression that begins with nothing pending.
    Followed plan(const StackElementStruct* head);
    // Its value: the bottom one, 0 when nothing was left.
    Source value() const { return size_ > 0 ? pending_[0] : Source(); }
    // Sends a value to a row of the plan: straight from the last step where that makes it.
    bool sendTo(int row, Source value);
    // The mask of the pixels whose value, without its fraction, is not 0.
    bool makeTruth(Source value, int& truth);
    // Gives a class weight or a variable that value, and says where the value stands from then on.
    bool set(Name name, Source& value);

    bool add(Kernel kernel, int result, std::initializer_list<Source> operands);
    int newBuffer();
    int rowFor(Name name);

    // For follow().
    bool allowsChannel(int n) const { return n >= 1 && n - 1 <= line_.numChannels; }
    bool allowsRegister(int n) const { return n >= 1 && n <= ZEL_FEATURE_NUM_REGISTERS; }
    bool allowsVariable(int index) const;
    bool allowsOperator(bool known) const { return known; }
    bool push(float value) { return push(Source{0, value}); }
    bool pushChannel(int index);
    bool pushVariable(int index);
    bool pushRegister(int index);
    bool apply(int operatorIndex);
    bool assign();

private:
    bool push(Source value);
    bool pushAssigned(Source value);
    bool pushCell(Name name);
    bool assignRow(int row, Source value);
    bool assignCell(Name name, Source value);
    bool write(int row, Source value);
    bool saveFromOverwrite(int row);
    bool isFromLastStep(Source value) const;
    bool joinLastStep(int operatorIndex, const Source* arguments, int row);
    int lineRow(Name name);
    int resultRow(int depth);
    Kept& keptOf(Name name);

    Plan& plan_;
    ZELPixelStruct& record_;
    const ZELLineStruct& line_;
    int mask_ = 0;
    CellSet written_ = 0;
    CellSet everWritten_ = 0;
    CellSet readFirst_ = 0;  // these show a pixel what the one before it left there
    Source pending_[maxPending];
    int size_ = 0;
    bool lastIsTruth_ = false;             // the last step yields 1 or 0
    int lastOperator_ = -1;                // of two arguments, which the last step computes
    int resultRows_[maxPending + 1] = {};  // of the pending value at a depth, if it was computed
};

}  // namespace zel

#endif
