#include <array>
#include <cstddef>

#include "zel_features/language/operators.hpp"
#include "zel_features/zel_expression.h"

namespace {

using zel::operatorRows;

static_assert(zel::numLevels <= ZEL_MAX_OPERATOR_LEVELS);

constexpr auto operatorTable = [] {
    std::array<OperatorStruct, ZEL_NUM_OPERATORS> table{};
    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = {operatorRows[i].text, operatorRows[i].index, operatorRows[i].operands};
    return table;
}();

constexpr auto operatorLabelTable = [] {
    std::array<const char*, ZEL_NUM_OPERATORS> table{};
    for (std::size_t i = 0; i < table.size(); ++i) table[i] = operatorRows[i].label;
    return table;
}();

// The rows of a level stand next to each other.
constexpr auto levelTable = [] {
    std::array<OperatorLevelStruct, ZEL_MAX_OPERATOR_LEVELS> table{};
    for (const OperatorStruct& record : operatorTable) {
        auto& level = table[static_cast<std::size_t>(operatorRows[record.OperatorIndex].level)];
        if (level.numOperators == 0) level.Operators = &record;
        ++level.numOperators;
    }
    return table;
}();

// Registers joined the language later; their two kinds have no label here.
constexpr auto kindLabelTable = [] {
    std::array<const char*, REG> table{};
    for (std::size_t i = 0; i < table.size(); ++i) table[i] = zel::kindRows[i].label;
    return table;
}();

}  // namespace

const OperatorStruct* const Operators = operatorTable.data();
const char* const* const operatorLabels = operatorLabelTable.data();
const int numOperators = ZEL_NUM_OPERATORS;
const OperatorLevelStruct* const OperatorLevels = levelTable.data();
const int numOperatorLevels = zel::numLevels;
const char* const* const typeLabels = kindLabelTable.data();
