#include "base/clock.hpp"

#include <chrono>
#include <cmath>

#include "base/text.hpp"

namespace zel_tool {
namespace {

constexpr double longestHours = 7 * 24.0;
constexpr long long millisecondsPerDay = 86'400'000;

std::optional<std::chrono::sys_days> dayOf(int year, int dayOfYear)
{
    using std::chrono::January;
    const std::chrono::sys_days first = std::chrono::year(year) / January / 1;
    const std::chrono::sys_days next = std::chrono::year(year + 1) / January / 1;
    const std::chrono::sys_days day = first + std::chrono::days(dayOfYear - 1);
    if (day < first || day >= next) return std::nullopt;
    return day;
}

std::string dateText(std::chrono::sys_days day)
{
    const std::chrono::year_month_day date(day);
    return format("%04d-%02u-%02u", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
}

}  // namespace

std::optional<std::string> isoDate(int year, int dayOfYear)
{
    const auto day = dayOf(year, dayOfYear);
    if (!day) return std::nullopt;
    return dateText(*day);
}

std::optional<long long> dayNumber(int year, int dayOfYear)
{
    const auto day = dayOf(year, dayOfYear);
    if (!day) return std::nullopt;
    return day->time_since_epoch().count();
}

std::optional<std::string> isoTime(int year, int dayOfYear, double hours)
{
    const auto day = dayOf(year, dayOfYear);
    if (!day || hours == 0.0 || !(std::fabs(hours) <= longestHours)) return std::nullopt;
    const long long time = std::llround(hours * 3.6e6);
    long long days = time / millisecondsPerDay;
    if (time % millisecondsPerDay < 0) --days;
    const long long left = time - days * millisecondsPerDay;
    return dateText(*day + std::chrono::days(days)) + format("T%02lld:%02lld:%02lld.%03lldZ",
                                                             left / 3'600'000, left / 60'000 % 60,
                                                             left / 1000 % 60, left % 1000);
}

}  // namespace zel_tool
