#include "zel_features/evaluate/plan_cache.hpp"

#include <algorithm>
#include <array>

namespace zel {

KeptPlan& keptPlanOf(const void* origin)
{
    static thread_local std::array<KeptPlan, 32> plans;
    static thread_local std::size_t oldest = 0;
    const auto found = std::find_if(plans.begin(), plans.end(), [origin](const KeptPlan& kept) {
        return kept.origin == origin;
    });
    if (found != plans.end()) return *found;
    KeptPlan& place = plans[oldest];
    oldest = (oldest + 1) % plans.size();
    return place;
}

}  // namespace zel
