#include "archive/merge/merged_log.hpp"

#include <algorithm>
#include <tuple>

#include "base/report.hpp"

namespace zel_tool {
namespace {

constexpr const char* statuses[] = {"failed", "skipped", "done"};

int rankOf(const std::string& status)
{
    const auto* const found = std::find(std::begin(statuses), std::end(statuses), status);
    return found == std::end(statuses) ? -1 : static_cast<int>(found - std::begin(statuses));
}

}  // namespace

void MergedLog::addLine(const MergeInput& input, const std::string& line)
{
    const Json value = Json::parse(line, nullptr, false);
    if (value.is_discarded() && input.isCut()) {
        warn(input.file(), "the last line is cut; it is left out");
        return;
    }
    if (!value.is_object()) input.failAtLine("is no line of a run log");
    const bool isFile = value.contains("id") && value["id"].is_null();
    const std::string name = textAt(value, isFile ? "file" : "id");
    const std::string status = textAt(value, "status");
    const int rank = rankOf(status);
    if (name.empty() || rank < 0) input.failAtLine("is no line of a run log");
    Entry entry{rank, textAt(value, "start"), line, status};
    Entry& best = best_[{isFile, name, textAt(value, "recipe")}];
    if (best.line.empty() ||
        std::tie(best.rank, best.start, best.line) < std::tie(entry.rank, entry.start, entry.line))
        best = std::move(entry);
}

void MergedLog::add(MergeInput& input)
{
    std::string line;
    while (input.nextLine(line)) {
        while (!line.empty() && (line.back() == '\r' || line.back() == ' ')) line.pop_back();
        if (!line.empty()) addLine(input, line);
    }
}

std::size_t MergedLog::scenes() const
{
    return static_cast<std::size_t>(std::count_if(
        best_.begin(), best_.end(), [](const auto& e) { return !std::get<0>(e.first); }));
}

std::size_t MergedLog::withStatus(const std::string& status) const
{
    return static_cast<std::size_t>(std::count_if(best_.begin(), best_.end(), [&](const auto& e) {
        return !std::get<0>(e.first) && e.second.status == status;
    }));
}

}  // namespace zel_tool
