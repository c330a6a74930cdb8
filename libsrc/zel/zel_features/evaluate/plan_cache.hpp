// Plans are kept for the next line: making one costs as much as a short line.
//
// A plan is found by the address of what it was made from. That may have changed since, or may be
// something else at the same address: a plan therefore keeps a description of what it was made
// from, element by element, which is compared each time.
#ifndef ZEL_FEATURES_EVALUATE_PLAN_CACHE_HPP
#define ZEL_FEATURES_EVALUATE_PLAN_CACHE_HPP

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "zel_features/evaluate/plan.hpp"
#include "zel_features/zel_expression.h"

namespace zel {

using Description = std::vector<std::uint64_t>;

// Takes a description down.
class DescriptionWriter {
public:
    explicit DescriptionWriter(Description& description) : description_(description)
    {
        description_.clear();
    }
    void add(std::uint64_t item) { description_.push_back(item); }

private:
    Description& description_;
};

// Compares with one taken down before.
class DescriptionChecker {
public:
    explicit DescriptionChecker(const Description& description)
        : next_(description.data()), end_(next_ + description.size())
    {
    }
    void add(std::uint64_t item)
    {
        same_ = same_ && next_ != end_ && *next_ == item;
        if (same_) ++next_;
    }
    bool isSame() const { return same_ && next_ == end_; }

private:
    const std::uint64_t* next_;
    const std::uint64_t* end_;
    bool same_ = true;
};

inline std::uint64_t itemOf(const void* address)
{
    return static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(address));
}

// The elements of an expression and their number.
template <class Describer>
void describe(const StackElementStruct* element, Describer& describer)
{
    std::uint64_t count = 0;
    for (; element; element = element->nextElement, ++count)
        describer.add(static_cast<std::uint64_t>(static_cast<std::uint32_t>(element->type)) << 32 |
                      std::bit_cast<std::uint32_t>(element->op));
    describer.add(count);
}

struct KeptPlan {
    const void* origin = nullptr;
    bool made = false;
    Description description;
    Plan plan;
};

// The plan of that origin, or an old one's place for it.
KeptPlan& keptPlanOf(const void* origin);

// The plan for the line, kept or made by make(plan), which returns false when it cannot be made;
// then null. describe describes what the plan is made from.
template <class Describe, class Make>
const Plan* planFor(const void* origin, Describe describe, Make make, const ZELLineStruct& line,
                    ZELPixelStruct& record)
{
    KeptPlan& kept = keptPlanOf(origin);
    if (kept.made && kept.origin == origin) {
        DescriptionChecker checker(kept.description);
        describe(checker);
        if (checker.isSame() && fits(kept.plan, line, record)) return &kept.plan;
    }
    kept.made = false;
    kept.origin = origin;
    DescriptionWriter writer(kept.description);
    describe(writer);
    if (!make(kept.plan)) return nullptr;
    reserveBuffers(kept.plan);
    kept.made = true;
    return &kept.plan;
}

}  // namespace zel

#endif
