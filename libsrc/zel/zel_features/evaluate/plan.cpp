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

// The last of the first n pixels where the mask is not 0, -1 for none. Masks are 1 or 0.
int lastOf(const float* mask, int n)
{
    constexpr int block = 32;
    for (; n >= block; n -= block) {
        std::uint32_t any = 0;
        for (int i = n - block; i < n; ++i) any |= std::bit_cast<std::uint32_t>(mask[i]);
        if (any != 0) break;
    }
    while (n > 0 && mask[n - 1] == 0.0f) --n;
    return n - 1;
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
            if (name.kind != Name::buffer) moving_[numMoving_++] = static_cast<int>(i);
        }
        if (numMoving_ * static_cast<std::size_t>(run.line.numPixels) > fetchedFrom)
            share_ = (numMoving_ * cacheLines + plan.steps.size()) / (plan.steps.size() + 1);
    }

    void compute(int start, int n)
    {
        if (plan_.active) markActive(run_.passedOver + start, at_[plan_.active], n);
        const bool fetches = share_ > 0 && start + 2 * zel::rowSize <= run_.line.numPixels;
        for (const zel::Step& step : plan_.steps) {
            zel::Operand operands[3];
            for (int i = 0; i < 3; ++i)
                operands[i] = {at_[step.operands[i].row], step.operands[i].value};
            step.kernel(operands, at_[step.result], n);
            if (fetches) fetchAhead();
        }
        for (const Kept& kept : plan_.kept) keepLast(kept, n);
        if (plan_.evaluates) noteSkipFlag(n);
        if (run_.results) storeResults(start, n);
    }
    void advance()
    {
        for (std::size_t i = 0; i < numMoving_; ++i) at_[moving_[i]] += zel::rowSize;
        fetched_ = 0;
    }

private:
    static constexpr int lineSize = 16;  // values in a line of the processor's cache
    static constexpr std::size_t cacheLines = zel::rowSize / lineSize;
    static constexpr std::size_t fetchedFrom = 1 << 17;  // values that the cache may not hold

    // Asks for a share of the next strip, which the steps of this one leave time for: a strip reads
    // memory in bursts, and the processor does not see the next burst coming.
    void fetchAhead()
    {
        const std::size_t end = std::min(fetched_ + share_, numMoving_ * cacheLines);
        for (; fetched_ < end; ++fetched_) {
            const float* const row = at_[moving_[fetched_ / cacheLines]];
            __builtin_prefetch(row + zel::rowSize + fetched_ % cacheLines * lineSize);
        }
    }

    static void markActive(const int* passedOver, float* active, int n)
    {
        for (int i = 0; i < n; ++i) active[i] = passedOver[i] == 0 ? 1.0f : 0.0f;
    }

    void keepLast(const Kept& kept, int n)
    {
        int last = -1;
        for (const int mask : kept.masks)
            last = std::max(last, mask ? lastOf(at_[mask], n) : n - 1);
        if (last < 0) return;
        zel::fieldOf(run_.record, kept.name) =
            kept.value.row ? at_[kept.value.row][last] : kept.value.value;
    }

    // The flag of the last pixel that was not passed over.
    void noteSkipFlag(int n)
    {
        const int last = plan_.active ? lastOf(at_[plan_.active], n) : n - 1;
        if (last < 0) return;
        run_.record.skipPixelFlag = plan_.skipped && at_[plan_.skipped][last] != 0.0f ? 1 : 0;
    }

    void storeResults(int start, int n)
    {
        int* const results = run_.results + start;
        if (plan_.skipped)
            markSkipped(at_[plan_.skipped], results, n);
        else
            std::fill_n(results, n, +ZEL_PROGRAM_DONE);
        if (plan_.active) copyPassedOver(run_.passedOver + start, results, n);
    }

    static void markSkipped(const float* skipped, int* results, int n)
    {
        for (int i = 0; i < n; ++i)
            results[i] = skipped[i] != 0.0f ? ZEL_PROGRAM_SKIPPED : ZEL_PROGRAM_DONE;
    }

    static void copyPassedOver(const int* passedOver, int* results, int n)
    {
        for (int i = 0; i < n; ++i) results[i] = passedOver[i] != 0 ? passedOver[i] : results[i];
    }

    const Plan& plan_;
    const Run& run_;
    float* at_[zel::maxRows];
    int moving_[zel::maxRows];  // rows that are not buffers
    std::size_t numMoving_ = 0;
    std::size_t share_ = 0;  // cache lines to fetch after each step, 0 for short lines
    std::size_t fetched_ = 0;
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
