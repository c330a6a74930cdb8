#include "scene/metadata_text.hpp"

#include <algorithm>
#include <cstring>

#include "base/provenance.hpp"

namespace zel_tool {
namespace {

std::string_view usedText(const ZELHeaderType& header)
{
    const int used = std::clamp(header.MetaDataSize, 0, int{ZEL_METADATA_SIZE});
    return {header.MetaDataText, static_cast<std::size_t>(used)};
}

bool isFree(const ZELHeaderType& header)
{
    if (header.MetaDataType != 0) return false;
    const std::string_view all(header.MetaDataText, ZEL_METADATA_SIZE);
    return all.find_first_not_of('\0', usedText(header).size()) == std::string_view::npos;
}

}  // namespace

bool addMetadataLine(ZELHeaderType& header, const std::string& line)
{
    if (!isFree(header)) return false;
    const std::string_view used = usedText(header);
    const std::string text = (used.empty() || used.back() == '\n' ? "" : "\n") + line + "\n";
    if (text.size() > ZEL_METADATA_SIZE - used.size()) return false;
    std::memcpy(header.MetaDataText + used.size(), text.data(), text.size());
    header.MetaDataSize = static_cast<std::int32_t>(used.size() + text.size());
    return true;
}

std::optional<std::string> lastMetadataLine(const ZELHeaderType& header, std::string_view mark)
{
    const std::string_view text = usedText(header);
    const auto place = text.rfind(mark);
    if (place == std::string_view::npos) return std::nullopt;
    const std::string_view rest = text.substr(place + mark.size());
    return std::string(rest.substr(0, rest.find('\n')));
}

void addProvenance(ZELHeaderType& header)
{
    if (provenance().record.empty()) return;
    if (lastMetadataLine(header, provenanceMark) != provenance().record)
        addMetadataLine(header, provenanceLine());
}

}  // namespace zel_tool
