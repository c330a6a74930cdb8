#include "formula/uses.hpp"

#include <algorithm>
#include <map>

#include "scene/library.hpp"

namespace zel_tool {
namespace {

struct VariableName {
    const char* name;
    Variable variable;
};
constexpr VariableName variableNames[] = {{"class", Variable::pixelClass},
                                          {"sz", Variable::solarZenith},
                                          {"solar_zenith", Variable::solarZenith},
                                          {"vz", Variable::viewZenith},
                                          {"viewing_zenith", Variable::viewZenith},
                                          {"az", Variable::azimuth},
                                          {"azimuth", Variable::azimuth},
                                          {"sg", Variable::sunGlint},
                                          {"sunglint", Variable::sunGlint},
                                          {"lat", Variable::latitude},
                                          {"latitude", Variable::latitude},
                                          {"lon", Variable::longitude},
                                          {"longitude", Variable::longitude},
                                          {"olson_eco", Variable::olson},
                                          {"igbp_eco", Variable::igbp},
                                          {"percent_water", Variable::percentWater},
                                          {"terrain", Variable::terrain},
                                          {"julian_day", Variable::julianDay},
                                          {"year", Variable::year}};

// The number that the language gives a variable shows when its name is compiled.
const std::map<int, Variable>& variablesByIndex()
{
    static const std::map<int, Variable> byIndex = [] {
        std::map<int, Variable> all;
        for (const VariableName& row : variableNames) {
            int status = ZEL_PARSE_OK;
            const Stack stack = compile(row.name, status, true);
            if (stack) all.emplace(stack->stackHead->op.int_t, row.variable);
        }
        return all;
    }();
    return byIndex;
}

}  // namespace

Stack compile(const std::string& text, int& status, bool checked,
              const CommandListStruct* definitions)
{
    Stack stack;
    guarded(
        [&] { stack.reset(parseCondition(text.c_str(), &status, checked ? 1 : 0, definitions)); });
    return stack;
}

void Uses::add(const ZELStackStruct* stack)
{
    for (const StackElementStruct* e = stack ? stack->stackHead : nullptr; e; e = e->nextElement) {
        const int number = e->op.int_t;
        if (e->type == CHAN || e->type == CHAN_LVALUE) channels.insert(number);
        if (e->type == CHAN_LVALUE) writtenChannels.insert(number);
        if (e->type == REG || e->type == REG_LVALUE) registers.insert(number);
        if (e->type != VAR && e->type != LVALUE) continue;
        const auto found = variablesByIndex().find(number);
        if (found == variablesByIndex().end()) continue;
        variables.insert(found->second);
        if (e->type == LVALUE) writtenVariables.insert(found->second);
    }
}

void Uses::add(const ProgramStruct* program)
{
    for (; program; program = program->next) add(program->Statement);
}

void Uses::add(const CommandStruct& commands)
{
    for (const CommandListStruct* entry = commands.ListHead; entry; entry = entry->next) {
        add(entry->Condition);
        add(entry->Action);
    }
}

bool Uses::any(std::initializer_list<Variable> of) const
{
    return std::any_of(of.begin(), of.end(), [&](Variable v) { return variables.contains(v); });
}

}  // namespace zel_tool
