#include "zel_features/language/variables.hpp"

#include "ground/memory.hpp"
#include "zel_features/language/zel_feature_report.hpp"

namespace zel {

VariableState& variableState()
{
    static VariableState state;
    return state;
}

VariableStruct* defineVariables()
{
    VariableState& state = variableState();
    if (state.table) return state.table;
    auto* table = allocate<VariableStruct>(ZEL_FEATURE_NUM_VARIABLES);
    if (!table) failWithError("defineVariables: calloc error\n");
    for (const VariableRow& row : variableRows) table[row.index].name = row.name;
    return state.table = table;
}

void bindVariables(ZELPixelStruct& pixel)
{
    VariableState& state = variableState();
    if (state.bound) return;
    VariableStruct* const table = defineVariables();
    for (const VariableRow& row : variableRows) table[row.index].varPtr = &(pixel.*row.field);
    state.bound = true;
}

void resetVariables()
{
    discard(variableState().table);
    variableState().bound = false;
}

}  // namespace zel
