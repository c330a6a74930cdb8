#include "zel_features/evaluate/plan.hpp"

#include <algorithm>
#include <bit>

#include "zel_features/language/variables.hpp"
#include "zel_features/zel_program.h"

namespace {

using zel::Kept;
using zel::Name;
using zel::Plan;
using zel::Run;

struct alignas(64) Buffer {
    float values[zel::rowSize];
};

// Plans of a thread share its buffers: nothing stays in them from one run to the next.
std::vector<Buffer>& buffers()
{
    static thread_local std::vector<Buffer> all;
    return all;
}

float* elementOf(float** rows, int index)
{
    return rows ? rows[index] : nullptr;
}

// The addresses of a plan's rows, for one strip of the line after the other.
class Strip {
public:
    Strip(const Plan& plan, const Run& run) : plan_(plan), run_(run)
    {
        Buffer* const buffer = buffers().data();
        at_[0] = nullptr;
        for (std::size_t i = 1; i < plan.rows.size(); ++i) {
            const Name name = plan.rows[i];
            if (name.kind == Name::buffer)
                at_[i] = buffer[name.index].values;
            else
                at_[i] = name.kind == Name::values ? run.values : zel::rowOf(run.line, name);
        }
    }

    void compute(int start, int n)
    {
        if (plan_.active) markActive(run_.passedOver + start, n);
        for (const zel::Step& step : plan_.steps) {
            zel::Operand operands[3];
            for (int i = 0; i < 3; ++i)
                operands[i] = {at_[step.operands[i].row], step.operands[i].value};
            step.kernel(operands, at_[step.result], n);
        }
        for (const Kept& kept : plan_.kept) keepLast(kept, n);
        if (run_.results) storeResults(start, n);
        if (plan_.evaluates) noteSkipFlag(n);
    }
    void advance()
    {
        for (std::size_t i = 1; i < plan_.rows.size(); ++i)
            if (plan_.rows[i].kind != Name::buffer) at_[i] += zel::rowSize;
    }

private:
    bool isActive(int i) const { return !plan_.active || at_[plan_.active][i] != 0.0f; }
    bool isSkipped(int i) const { return plan_.skipped && at_[plan_.skipped][i] != 0.0f; }

    void markActive(const int* passedOver, int n)
    {
        float* const active = at_[plan_.active];
        for (int i = 0; i < n; ++i) active[i] = passedOver[i] == 0 ? 1.0f : 0.0f;
    }

    void keepLast(const Kept& kept, int n)
    {
        const auto wrote = [this, &kept](int i) {
            return std::any_of(kept.masks.begin(), kept.masks.end(),
                               [this, i](int mask) { return !mask || at_[mask][i] != 0.0f; });
        };
        int i = n - 1;
        while (i >= 0 && !wrote(i)) --i;
        if (i < 0) return;
        zel::fieldOf(run_.record, kept.name) =
            kept.value.row ? at_[kept.value.row][i] : kept.value.value;
    }

    void storeResults(int start, int n)
    {
        int* const results = run_.results + start;
        for (int i = 0; i < n; ++i)
            results[i] = isSkipped(i) ? ZEL_PROGRAM_SKIPPED : ZEL_PROGRAM_DONE;
        if (!plan_.active) return;
        const int* const passedOver = run_.passedOver + start;
        for (int i = 0; i < n; ++i)
            results[i] = passedOver[i] != 0 ? passedOver[i] : results[i];
    }

    // The flag of the last pixel that was not passed over.
    void noteSkipFlag(int n)
    {
        int last = n - 1;
        while (last >= 0 && !isActive(last)) --last;
        if (last >= 0) run_.record.skipPixelFlag = isSkipped(last) ? 1 : 0;
    }

    const Plan& plan_;
    const Run& run_;
    float* at_[zel::maxRows];
};

bool sameBits(float a, float b)
{
    return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}

}  // namespace

namespace zel {

float* rowOf(const ZELLineStruct& line, Name name)
{
    switch (name.kind) {
    case Name::channel:
        return name.index < line.numChannels ? line.Channels[name.index] : nullptr;
    case Name::variable:
        return line.*variableRows[name.index].row;
    case Name::reg:
        return elementOf(line.Registers, name.index);
    case Name::weight:
        return elementOf(line.ClassWeights, name.index);
    default:
        return nullptr;
    }
}

float& fieldOf(ZELPixelStruct& record, Name name)
{
    if (name.kind == Name::reg) return record.Registers[name.index];
    if (name.kind == Name::weight) return record.class_weights[name.index];
    return record.*variableRows[name.index].field;
}

bool fits(const Plan& plan, const ZELLineStruct& line, ZELPixelStruct& record)
{
    if (plan.numChannels != line.numChannels || plan.width != kernelWidth()) return false;
    for (const Name& name : plan.rows)
        if (name.kind >= Name::channel && name.kind <= Name::weight && !rowOf(line, name))
            return false;
    for (const Name& name : plan.absent)
        if (rowOf(line, name)) return false;
    return std::all_of(plan.carried.begin(), plan.carried.end(), [&record](const Carried& c) {
        return sameBits(fieldOf(record, c.name), c.value);
    });
}

void reserveBuffers(const Plan& plan)
{
    const auto count = static_cast<std::size_t>(plan.numBuffers);
    if (buffers().size() < count) buffers().resize(count);
}

void runPlan(const Plan& plan, const Run& run)
{
    Strip strip(plan, run);
    for (int start = 0; start < run.line.numPixels; start += rowSize) {
        strip.compute(start, std::min(rowSize, run.line.numPixels - start));
        strip.advance();
    }
}

}  // namespace zel
