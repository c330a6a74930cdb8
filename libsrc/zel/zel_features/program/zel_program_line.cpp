// Programs for a line of pixels.
#include "zel_features/program/flow_line.hpp"
#include "zel_features/program/run.hpp"
#include "zel_features/zel_program.h"

namespace {

using zel::Flow;
using zel::Statement;

template <class Describer>
void describeProgram(const ProgramStruct* s, Describer& describer)
{
    for (; s; s = s->next) {
        describer.add(zel::itemOf(s));
        describer.add(zel::itemOf(s->nextTrue));
        describer.add(zel::itemOf(s->nextFalse));
        describer.add(static_cast<std::uint64_t>(s->statementType));
        for (const ZELStackStruct* stack : {s->Statement, s->ClassList}) {
            describer.add(stack ? 1 : 0);
            if (stack) zel::describe(stack->stackHead, describer);
        }
    }
}

// The place of a successor of the statement at that place, which must come after it; -1 when it
// does not. The end comes after all statements.
int placeOf(const ProgramStruct* successor, const ProgramStruct* statement, int place)
{
    do {
        statement = statement->next;
        ++place;
        if (statement == successor) return place;
    } while (statement);
    return -1;
}

Statement::Kind kindOf(const ProgramStruct& s)
{
    if (s.statementType == RETURN_STATEMENT) return Statement::finish;
    if (s.statementType == WEIGHT_STATEMENT) return Statement::weigh;
    return s.Statement ? Statement::evaluate : Statement::pass;
}

// False for programs that go back or that can fail.
bool makeFlow(const ProgramStruct* program, Flow& flow)
{
    int place = 0, end = 0;
    for (const ProgramStruct* s = program; s; s = s->next) ++end;
    for (const ProgramStruct* s = program; s; s = s->next, ++place) {
        const Statement::Kind kind = kindOf(*s);
        if (kind == Statement::weigh && !(s->ClassList && s->Statement)) return false;
        if (kind == Statement::pass && s->statementType == IF_STATEMENT) return false;
        const int onTrue = s->nextTrue ? placeOf(s->nextTrue, s, place) : end;
        const int onFalse = s->nextFalse ? placeOf(s->nextFalse, s, place) : end;
        if (onTrue < 0 || onFalse < 0) return false;
        flow.push_back({kind, s->Statement, s->ClassList, onTrue, onFalse});
    }
    return true;
}

// What is to be said of a result, if anything, and whether there is something to say of a skipped
// pixel.
struct Reports {
    void (*report)(int result);
    bool ofSkips;
};

void reportSkips(const zel::Run& run, Reports reports)
{
    for (int i = 0; i < run.line.numPixels; ++i)
        if (!run.passedOver || run.passedOver[i] == 0) reports.report(run.results[i]);
}

// A program that has a plan does not fail.
void executeLine(const ProgramStruct* program, const zel::Run& run, Reports reports)
{
    if (run.line.numPixels <= 0) return;
    const zel::Plan* plan = zel::flowPlanFor(
        program, [program](auto& describer) { describeProgram(program, describer); },
        [program](Flow& flow) { return makeFlow(program, flow); }, run);
    if (plan) {
        zel::runPlan(*plan, run);
        if (plan->skipped && reports.ofSkips) reportSkips(run, reports);
        return;
    }
    zel::runByPixels(run, [&](zel::LinePixel& pixel, int i) {
        run.results[i] = zel::execute(program, pixel);
        reports.report(run.results[i]);
    });
}

void reportNothing(int) {}

}  // namespace

void ZELExecuteProgramLine(const ProgramStruct* Program, ZELPixelStruct* pixel,
                           const ZELLineStruct* line, const int* passedOver, int* results)
{
    executeLine(Program, {*line, *pixel, nullptr, passedOver, results}, {reportNothing, false});
}

void ZELPreProcessLine(const ZELMaskParameterType* Parameters, ZELPixelStruct* pixel,
                       const ZELLineStruct* line, const int* passedOver, int* results)
{
    executeLine(Parameters->PreProcessHead, {*line, *pixel, nullptr, passedOver, results},
                {zel::reportPreProcess, false});
}

void ZELPostProcessLine(const ZELMaskParameterType* Parameters, ZELPixelStruct* pixel,
                        const ZELLineStruct* line, const int* passedOver, int* results)
{
    executeLine(Parameters->PostProcessHead, {*line, *pixel, nullptr, passedOver, results},
                {zel::reportPostProcess, true});
}
