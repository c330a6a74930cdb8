#include "combine/record.hpp"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "base/failure.hpp"
#include "base/progress.hpp"
#include "base/sha256.hpp"
#include "base/text.hpp"
#include "scene/library.hpp"
#include "scene/names.hpp"

namespace zel_tool {
namespace {

constexpr std::string_view mark = "zel combine: ";

// The text in use, when nothing follows it and it is of no kind that a program takes apart.
std::optional<std::string_view> freeAfter(const ZELHeaderType& header)
{
    if (header.MetaDataType != 0) return std::nullopt;
    const auto used =
        static_cast<std::size_t>(std::clamp(header.MetaDataSize, 0, int{ZEL_METADATA_SIZE}));
    const std::string_view all(header.MetaDataText, ZEL_METADATA_SIZE);
    if (all.find_first_not_of('\0', used) != std::string_view::npos) return std::nullopt;
    return all.substr(0, used);
}

Json channelsJson(const Plan& plan)
{
    Json list = Json::array();
    for (const ChannelPlan& c : plan.channels)
        list.push_back({utf8(c.label), c.part, c.sourceSlot, c.factor, c.methodText(),
                        storageName(c.storage)});
    return list;
}

std::string lineOf(const Json& document)
{
    return std::string(mark) + document.dump() + "\n";
}

}  // namespace

std::vector<Recorded> sumsOf(const Recipe& recipe)
{
    std::vector<Recorded> sums;
    const std::vector<std::string> names = recipe.inputs();
    Progress progress("checksums", static_cast<long long>(names.size()));
    for (const std::string& name : names) {
        const std::string& path = recipe.pathOf(name);
        try {
            const long long bytes = requireFile(path);
            const std::string sum = sha256Of(path);
            sums.push_back({name, bytes, sum});
        } catch (const Failure& failure) {
            throw Failure(printable(path) + ": " + failure.what());
        }
        progress.update(static_cast<long long>(sums.size()));
    }
    return sums;
}

bool recordPlan(ZELHeaderType& header, const Plan& plan, const Recipe& recipe)
{
    const std::optional<std::string_view> used = freeAfter(header);
    if (!used) return false;
    Json document = {{"version", ZEL_LIBRARY_VERSION_TEXT}, {"recipe", recipeJson(recipe)}};
    for (const Recorded& input : sumsOf(recipe))
        document["inputs"].push_back(
            {{"file", utf8(input.name)}, {"bytes", input.bytes}, {"sha256", input.sum}});
    const std::string start = used->empty() || used->back() == '\n' ? "" : "\n";
    std::string text = start + lineOf(document);
    document["channels"] = channelsJson(plan);
    const std::string whole = start + lineOf(document);
    const std::size_t room = ZEL_METADATA_SIZE - used->size();
    if (whole.size() <= room) text = whole;
    if (text.size() > room) return false;
    std::memcpy(header.MetaDataText + used->size(), text.data(), text.size());
    header.MetaDataSize = static_cast<std::int32_t>(used->size() + text.size());
    return true;
}

std::optional<Record> recordIn(const ZELHeaderType& header)
{
    const auto used =
        static_cast<std::size_t>(std::clamp(header.MetaDataSize, 0, int{ZEL_METADATA_SIZE}));
    const std::string_view text(header.MetaDataText, used);
    const auto place = text.rfind(mark);
    if (place == std::string_view::npos) return std::nullopt;
    const std::string_view rest = text.substr(place + mark.size());
    Record record;
    try {
        const Json document = Json::parse(rest.substr(0, rest.find('\n')));
        record.version = document.at("version").get<std::string>();
        record.recipe = recipeOf(document.at("recipe"));
        for (const Json& input : document.at("inputs"))
            record.inputs.push_back({input.at("file").get<std::string>(),
                                     input.at("bytes").get<long long>(),
                                     input.at("sha256").get<std::string>()});
    } catch (const Json::exception&) {
        throw Failure(damagedPlan);
    }
    return record;
}

}  // namespace zel_tool
