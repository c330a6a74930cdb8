#include "base/provenance.hpp"

namespace zel_tool {

Provenance& provenance()
{
    static Provenance theProvenance;
    return theProvenance;
}

std::string provenanceLine()
{
    return std::string(provenanceMark) + provenance().record;
}

std::string recordedName(const std::string& path)
{
    const auto& names = provenance().names;
    const auto found = names.find(path);
    return found == names.end() ? path : found->second;
}

}  // namespace zel_tool
